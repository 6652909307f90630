// The assistant that brings a new or outdated device into service.
#include "firmware/deppen_ass.h"

#include "firmware/assistant_rules.h"
#include "firmware/upload_rules.h"
#include "gui/desktop_colours.h"
#include "gui/input_guard.h"
#include "model/device.h"
#include "model/device_state.h"
#include "support/fatal_assert.h"

#include <QAbstractItemView>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPixmapCache>
#include <QProgressBar>
#include <QPushButton>
#include <QTextDocument>
#include <QtMath>

namespace {

constexpr int PICTURE_SIZE = 32; // points

// None for the entry that stands for no product. Unpacking all is nearly all of what going to their
// page takes, and one assistant comes after the other when a house is set up: they are remembered,
// as small as they are painted.
QIcon picture_of(int product_id, qreal device_pixel_ratio)
{
    if (product_id == 0)
        return {};
    const QString path = QString::fromStdString(find_product(product_id).icon);
    const int pixels = qCeil(PICTURE_SIZE * device_pixel_ratio);
    const QString key = QString("%1 %2").arg(path).arg(pixels);
    QPixmap picture;
    if (QPixmapCache::find(key, &picture) || !picture.load(path))
        return picture;
    picture = picture.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(device_pixel_ratio);
    QPixmapCache::insert(key, picture);
    return picture;
}

} // namespace

DeppenAss::DeppenAss(Device *dev, QWidget *parent)
    : QDialog(parent)
    , guard(new InputGuard(this))
    , device(dev)
{
    setModal(true);
    resize(400, 200);
    build_page_area();
    build_buttons();

    FATAL_ASSERT("deppen_ass.cpp", !dev->has_assistant);
    dev->has_assistant = true;
    // Queued: a report may come in while the device's row is being written.
    connect(this, &DeppenAss::update_props, this, &DeppenAss::refresh, Qt::QueuedConnection);
    // Escape hides a dialog without a close event.
    connect(this, &QDialog::finished, this, &DeppenAss::let_go);
    refresh();
}

void DeppenAss::build_page_area()
{
    text_label = new QLabel;
    text_label->setWordWrap(true);
    text_label->setFocusPolicy(Qt::StrongFocus); // where keys meant for elsewhere do nothing
    page_widget = new QWidget;
    page_layout = new QGridLayout(page_widget);
    auto *grid = new QGridLayout(this);
    grid->addWidget(text_label, 0, 0, Qt::AlignTop);
    grid->addWidget(page_widget, 1, 0, Qt::AlignBottom);
}

void DeppenAss::build_buttons()
{
    auto *buttons = new QDialogButtonBox;
    back_button = new QPushButton("Back");
    next_button = new QPushButton("Next");
    for (QPushButton *button : {back_button, next_button}) {
        button->setAutoDefault(false);
        button->setFocusPolicy(Qt::TabFocus); // a click that the guard takes moves no focus
        buttons->addButton(button, QDialogButtonBox::ActionRole);
        guard->watch(button);
    }
    guard->watch(text_label);
    guard->watch(this); // and with it the keys that nobody else takes, Escape among them
    qobject_cast<QGridLayout *>(layout())->addWidget(buttons, 2, 0);
    connect(back_button, &QPushButton::clicked, this, &DeppenAss::on_back);
    connect(next_button, &QPushButton::clicked, this, &DeppenAss::on_next);
    connect(buttons, &QDialogButtonBox::rejected, this, &DeppenAss::close);
}

// Several modules may look the same; only these two tell which one is meant. A tool tip guesses
// rich text from its content, and a device chooses its id.
void DeppenAss::tell_which_device()
{
    const QString which = "Address " + device->address.toString() + "\nID " + device->device_id;
    for (QWidget *widget :
         {static_cast<QWidget *>(this), static_cast<QWidget *>(text_label), page_widget}) {
        widget->setToolTip(Qt::convertFromPlainText(which, Qt::WhiteSpaceNormal));
        widget->setAccessibleDescription(which);
    }
}

// The page is stored first: the updating page may lead straight to the next one.
void DeppenAss::go_to_page(int new_page)
{
    if (new_page == page)
        return;
    page = new_page;
    drop_page_widgets();
    if (page == PAGE_UPDATING)
        add_progress_bar();
    if (page == PAGE_CHOOSE_PRODUCT)
        add_product_combo();
    text_label->setText(assistant_page_text(page, chosen_product_name));
    // Before a button is disabled, which would move the focus on to the next one.
    text_label->setFocus();
    back_button->setEnabled(assistant_page(page).has_back);
    next_button->setEnabled(assistant_page(page).has_next);
    if (page == PAGE_CONFIRM_PRODUCT)
        guard->start(); // what follows can't be undone
    update_progress();
}

void DeppenAss::drop_page_widgets()
{
    if (product_combo)
        product_combo->deleteLater();
    if (progress_bar)
        progress_bar->deleteLater();
    product_combo = nullptr;
    progress_bar = nullptr;
}

void DeppenAss::add_progress_bar()
{
    progress_bar = new QProgressBar;
    progress_bar->setRange(0, 100);
    progress_bar->setAccessibleName("Progress of the update");
    page_layout->addWidget(progress_bar, 0, 0);
}

// Every visit starts with nothing chosen.
void DeppenAss::add_product_combo()
{
    product_combo = new QComboBox;
    product_combo->setAccessibleName("Product type");
    product_combo->setIconSize({PICTURE_SIZE, PICTURE_SIZE});
    for (const PropertyChoice &product : assistant_products(catalogue().product_table))
        product_combo->addItem(picture_of(product.value.toInt(), devicePixelRatioF()),
                               QString::fromStdString(product.label), product.value);
    colour_selection(product_combo->view(), is_theme_dark());
    guard->watch(product_combo);
    product_combo->setCurrentIndex(0);
    page_layout->addWidget(product_combo, 0, 0);
    setTabOrder(text_label, product_combo);
}

// Comes queued, so it may arrive after the dialog has been closed and the device deleted.
void DeppenAss::refresh()
{
    if (!device)
        return;
    tell_which_device();
    const int product_id = find_product(device->value("product_id").toInt()).product_id;
    go_to_page(next_assistant_page(page, device->online, needs_assistant(*device), product_id));
    update_progress();
}

// KEPT: a failure leaves the bar where it is, and it is the success of the last
// transfer that counts, even if a later attempt was refused before it became one.
void DeppenAss::update_progress()
{
    if (!progress_bar || !device)
        return;
    if (device->upload)
        progress_bar->setValue(device->upload->percent);
    else if (device->upload_ok)
        go_to_page(PAGE_RESTARTING);
    else
        text_label->setText(assistant_failure_text());
}

void DeppenAss::on_next()
{
    if (!device)
        return;
    if (page == PAGE_OUTDATED)
        start_update();
    else if (page == PAGE_CHOOSE_PRODUCT)
        choose_product();
    else if (page == PAGE_CONFIRM_PRODUCT)
        set_product();
    else if (page == PAGE_DONE)
        close();
}

void DeppenAss::start_update()
{
    QFile image(QString(":/") + FIRMWARE_REMOTE_NAME);
    if (!image.open(QIODevice::ReadOnly))
        return;
    emit update_wanted(device, image.readAll());
    go_to_page(PAGE_UPDATING);
}

// The box waits in an event loop of its own, in which the page may change: it comes last.
void DeppenAss::choose_product()
{
    chosen_product_id = product_combo->currentData().toInt();
    chosen_product_name = product_combo->currentText();
    if (chosen_product_id != 0)
        go_to_page(PAGE_CONFIRM_PRODUCT);
    else
        QMessageBox::critical(this, "Please note", "You need to select a product.",
                              QMessageBox::Ok);
}

// KEPT: no answer is waited for: the next report that shows the product ends the page.
void DeppenAss::set_product()
{
    emit product_confirmed(device, chosen_product_id);
    go_to_page(PAGE_SETTING_PRODUCT);
}

void DeppenAss::on_back()
{
    if (page == PAGE_CONFIRM_PRODUCT)
        go_to_page(PAGE_CHOOSE_PRODUCT);
}

void DeppenAss::forget_device()
{
    device = nullptr;
    hide();
    leave_screen();
}

// Leaves the device free for deletion, and other devices for an assistant. However the dialog goes,
// it lets go once. KEPT: the object itself remains with the window.
void DeppenAss::let_go()
{
    if (!device)
        return;
    device->has_assistant = false;
    device->assistant_dismissed = true;
    device = nullptr;
    leave_screen();
}

// Gives back what the closed dialog was drawn on, a third of a megabyte that would stay as long as
// the object does. Later, as the dialog may be in the middle of its closing; and not below a
// message of its own, which would go as well.
void DeppenAss::leave_screen()
{
    const auto leave = [this] {
        if (!isVisible() && !findChild<QDialog *>())
            destroy();
    };
    QMetaObject::invokeMethod(this, leave, Qt::QueuedConnection);
}

void DeppenAss::showEvent(QShowEvent *event)
{
    guard->start();
    QDialog::showEvent(event);
}

// Return presses the button that the operator has moved to, and no other.
void DeppenAss::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
        QDialog::keyPressEvent(event);
        return;
    }
    if (auto *button = qobject_cast<QPushButton *>(focusWidget()))
        button->click();
}

void DeppenAss::closeEvent(QCloseEvent *event)
{
    let_go();
    QDialog::closeEvent(event);
}
