// The assistant that is open, if any, and when one opens.
#include "firmware/assistants.h"

#include "firmware/assistant_rules.h"
#include "model/device_state.h"

Assistants::Assistants(QWidget *its_parent)
    : parent(its_parent)
{
}

void Assistants::offer(Device *device)
{
    if (device->has_assistant) {
        emit assistant->update_props();
        return;
    }
    const DeppenAss *last = assistant;
    const bool one_is_open = last && last->helped();
    if (opens_assistant(*device, needs_assistant(*device), one_is_open))
        make(device)->show();
}

DeppenAss *Assistants::make(Device *device)
{
    assistant = new DeppenAss(device, parent);
    connect(assistant, &DeppenAss::update_wanted, this, &Assistants::update_wanted);
    connect(assistant, &DeppenAss::product_confirmed, this, &Assistants::product_confirmed);
    return assistant;
}

void Assistants::forget(const Device *device)
{
    if (device->has_assistant)
        assistant->forget_device();
}
