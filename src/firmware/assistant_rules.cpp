// The setup assistant's pages: what they say, which one is shown, and when the assistant opens.
#include "firmware/assistant_rules.h"

#include "model/device.h"
#include "support/fatal_assert.h"

#include <algorithm>
#include <array>

namespace {

// clang-format off
const std::array<AssistantPageDesc, 9> &page_table()
{
    static const std::array<AssistantPageDesc, 9> pages = {{
        {.page = PAGE_NONE},
        {.page = PAGE_OUTDATED, .has_next = true,
         .text = QStringLiteral(
             "A device with outdated firmware was detected. It must be updated to make it work "
             "with this software. Be sure that there is no other similar device with old firmware "
             "connected to the network.")},
        {.page = PAGE_UPDATING,
         .text = QStringLiteral("Updating...")},
        {.page = PAGE_CHOOSE_PRODUCT, .has_next = true,
         .text = QStringLiteral("You must choose the product type.")},
        {.page = PAGE_CONFIRM_PRODUCT, .has_back = true, .has_next = true,
         .text = QStringLiteral("You chose to set the product to <b>%1</b>. "
                                "<b>This cannot be undone!</b>")},
        {.page = PAGE_SETTING_PRODUCT,
         .text = QStringLiteral("Setting product type...")},
        {.page = PAGE_DONE, .has_next = true,
         .text = QStringLiteral("The device has been setup. The 'Next' button closes the window.")},
        {.page = PAGE_OFFLINE,
         .text = QStringLiteral(
             "Device unexpectedly went offline. Be sure that there is no other device with old "
             "firmware connected to the network.")},
        {.page = PAGE_RESTARTING,
         .text = QStringLiteral("Finished, waiting for restart...")},
    }};
    return pages;
}
// clang-format on

bool is_one_of(int page, std::initializer_list<AssistantPage> pages)
{
    return std::find(pages.begin(), pages.end(), page) != pages.end();
}

} // namespace

const AssistantPageDesc &assistant_page(int page)
{
    FATAL_ASSERT("assistant_rules", page >= PAGE_NONE && page <= PAGE_RESTARTING);
    return page_table()[static_cast<size_t>(page)];
}

QString assistant_page_text(int page, const QString &product_name)
{
    const QString &text = assistant_page(page).text;
    return page == PAGE_CONFIRM_PRODUCT ? text.arg(product_name) : text;
}

QString assistant_failure_text()
{
    return QStringLiteral("Something unexpected happened.");
}

int next_assistant_page(int page, bool online, bool is_outdated, int found_product_id)
{
    // A device that restarts after its update is expected to vanish.
    if (!online && page != PAGE_RESTARTING)
        return PAGE_OFFLINE;
    if (is_outdated)
        return is_one_of(page, {PAGE_OUTDATED, PAGE_UPDATING, PAGE_RESTARTING}) ? page
                                                                                : PAGE_OUTDATED;
    if (found_product_id != 0)
        return PAGE_DONE;
    return is_one_of(page, {PAGE_CHOOSE_PRODUCT, PAGE_CONFIRM_PRODUCT, PAGE_SETTING_PRODUCT})
        ? page
        : PAGE_CHOOSE_PRODUCT;
}

bool wants_assistant(bool is_outdated, const QVariant &product_id)
{
    return is_outdated || (product_id.isValid() && product_id.toInt() == 0);
}

bool opens_assistant(const Device &device, bool is_outdated, bool one_is_open)
{
    return device.online && !device.assistant_dismissed && !one_is_open
        && wants_assistant(is_outdated, device.value("product_id"));
}

std::vector<PropertyChoice> assistant_products(const std::vector<ProductDesc> &products)
{
    std::vector<PropertyChoice> choices = {{.value = 0, .label = "<Select here>"}};
    for (const ProductDesc &product : products)
        if (product.product_id != 0)
            choices.push_back({.value = product.product_id, .label = product.name});
    return choices;
}

QJsonObject set_product_command(int product_id)
{
    return {{"command", "set_params"}, {"seq", 1}, {"product_id", product_id}};
}
