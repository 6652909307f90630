// The setup assistant's pages: what they say, which one is shown, and when the assistant opens.
#pragma once

#include "model/meta.h"

#include <QJsonObject>
#include <QString>
#include <QVariant>

#include <vector>

struct Device;

enum AssistantPage
{
    PAGE_NONE = 0, // only until the first refresh
    PAGE_OUTDATED = 1,
    PAGE_UPDATING = 2,       // with the progress bar
    PAGE_CHOOSE_PRODUCT = 3, // with the list of products
    PAGE_CONFIRM_PRODUCT = 4,
    PAGE_SETTING_PRODUCT = 5,
    PAGE_DONE = 6,
    PAGE_OFFLINE = 7,
    PAGE_RESTARTING = 8,
};

struct AssistantPageDesc
{
    AssistantPage page = PAGE_NONE;
    bool has_back = false; // the button can be pressed
    bool has_next = false;
    QString text = {}; // rich text; "%1" stands for the chosen product on PAGE_CONFIRM_PRODUCT
};

// The page's row. A fault of the caller when there is no such page.
const AssistantPageDesc &assistant_page(int page);

// The message of a page; `product_name` is shown on PAGE_CONFIRM_PRODUCT only.
QString assistant_page_text(int page, const QString &product_name);

// Stands on PAGE_UPDATING when the transfer has ended without success. Closing is the way out.
QString assistant_failure_text();

// The page that a report leads to; `page` itself when it stays. `is_outdated` is
// needs_assistant(device), `found_product_id` the number of the catalogue row that find_product
// gives for the reported "product_id", which is 0 only when the device says 0 or nothing.
int next_assistant_page(int page, bool online, bool is_outdated, int found_product_id);

// True when a device has to be set up: its firmware is outdated, or it says that it has no product
// (a `product_id` of 0; the invalid variant of a silent device does not count).
bool wants_assistant(bool is_outdated, const QVariant &product_id);

// True when the refresh of this device's row opens an assistant. KEPT: only one may be open in the
// whole program (`one_is_open`), and a closed one does not come back until the device has been
// offline.
bool opens_assistant(const Device &device, bool is_outdated, bool one_is_open);

// The entries of PAGE_CHOOSE_PRODUCT, labels with their product ids (int): "<Select here>" with 0,
// then each product of the catalogue that has a number.
std::vector<PropertyChoice> assistant_products(const std::vector<ProductDesc> &products);

// The command that gives a device its product.
QJsonObject set_product_command(int product_id);
