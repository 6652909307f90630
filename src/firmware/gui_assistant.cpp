// What joins the setup assistant with the window: when it opens, and what it asks for.
#include "firmware/assistant_rules.h"
#include "firmware/deppen_ass.h"
#include "firmware/upload_rules.h"
#include "gui/gui.h"
#include "model/device_state.h"

// One assistant at a time in the whole program; it opens by itself.
void Gui::offer_assistant(Device *device)
{
    if (device->has_assistant) {
        emit assistant->update_props();
        return;
    }
    const bool one_is_open = assistant && assistant->helped();
    if (opens_assistant(*device, needs_assistant(*device), one_is_open))
        make_assistant(device)->show();
}

// One that has been closed stays with the window.
DeppenAss *Gui::make_assistant(Device *device)
{
    assistant = new DeppenAss(device, this);
    connect(assistant, &DeppenAss::update_wanted, this, &Gui::update_from_assistant);
    connect(assistant, &DeppenAss::product_confirmed, this, &Gui::set_product);
    return assistant;
}

void Gui::update_from_assistant(Device *device, const QByteArray &image)
{
    QByteArray bytes = image;
    uploads.open_round();
    start_upload(device, bytes, FIRMWARE_REMOTE_NAME);
}

// KEPT: a failure shows nowhere, and no answer is waited for.
void Gui::set_product(Device *device, int product_id)
{
    send_to_device(device, set_product_command(product_id), false);
}
