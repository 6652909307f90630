// A window and devices whose logs are open, and what these say.
#pragma once

#include "meter/log_window.h"
#include "support/panel_case.h"

#include <QPlainTextEdit>

inline QByteArray log_datagram(const QString &id, double position, const QByteArray &text)
{
    const QJsonObject head{{"command", "raw_log"}, {"device_id", id}, {"pos", position}};
    const char length[2]
        = {static_cast<char>(text.size() & 0xFF), static_cast<char>(text.size() >> 8)};
    return QJsonDocument(head).toJson(QJsonDocument::Compact) + '\0' + QByteArray(length, 2) + text;
}

class LogCase : public QObject
{
protected:
    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }

    FakeDevice &device_with_log()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        gui().enable_logging();
        // Keys go to the active window's shortcuts.
        QApplication::setActiveWindow(gui().log_window(device.record()));
        return device;
    }

    void stream(FakeDevice &device, double position, const QByteArray &text)
    {
        gui().deliver(device.address, log_datagram(device.record()->device_id, position, text));
    }

    QLineEdit *console(FakeDevice &device)
    {
        return gui().log_window(device.record())->findChild<QLineEdit *>();
    }
};
