// A window with devices whose values are edited.
#pragma once

#include "support/panel_case.h"

class EditCase : public QObject
{
protected:
    std::unique_ptr<PanelCase> window;

    FakeDevice &device(int number) { return *window->devices[static_cast<std::size_t>(number)]; }

    QList<QJsonObject> sent_to(int number) { return window->sent_to(number); }
};
