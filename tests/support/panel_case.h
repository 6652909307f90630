// A shown window whose list and panel are used by mouse and keys.
#pragma once

#include "gui/device_list_view.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"
#include "support/fake_device.h"
#include "support/window_main.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>

#include <memory>
#include <vector>

struct PanelCase : WindowCase
{
    std::vector<std::unique_ptr<FakeDevice>> devices = {};

    PanelCase()
    {
        gui->resize(1100, 700);
        gui->show();
        gui->widget().activateWindow();
        // Devices here report when the test says so, and must not go offline in between.
        gui->discovery_timer().stop();
    }

    ~PanelCase() { devices.clear(); }

    // A device "device 000", "device 001"... at 127.0.0.11 and up.
    FakeDevice &add(const QJsonObject &members, int product_id = 3)
    {
        const int number = static_cast<int>(devices.size());
        QJsonObject state
            = loudspeaker_report(QString("device %1").arg(number, 3, 10, QChar('0')), product_id);
        for (auto it = members.begin(); it != members.end(); ++it) {
            QJsonObject part = state.value(it.key()).toObject();
            const QJsonObject change = it.value().toObject();
            for (auto member = change.begin(); member != change.end(); ++member)
                part.insert(member.key(), member.value());
            state.insert(it.key(), part);
        }
        devices.push_back(
            std::make_unique<FakeDevice>(gui.get(), QString("127.0.0.%1").arg(11 + number), state));
        return *devices.back();
    }

    // Clicks the devices' rows in this order, holding Ctrl after the first.
    void select(std::initializer_list<int> numbers)
    {
        Qt::KeyboardModifiers modifiers = Qt::NoModifier;
        for (const int number : numbers) {
            const int row = gui->row_of(devices[static_cast<std::size_t>(number)]->record());
            const QModelIndex index = gui->model().index(row, 0);
            gui->view()->scrollTo(index);
            QTest::mouseClick(gui->view()->viewport(), Qt::LeftButton, modifiers,
                              gui->view()->visualRect(index).center());
            modifiers = Qt::ControlModifier;
        }
    }

    // All that has come to a device once everything sent has arrived: a last datagram marks it.
    QList<QJsonObject> sent_to(int number)
    {
        FakeDevice &device = *devices[static_cast<std::size_t>(number)];
        gui->send_to_device(device.record(), {{"command", "end"}}, false);
        QList<QJsonObject> commands;
        const bool arrived = QTest::qWaitFor([&device, &commands] {
            commands = device.commands();
            return !commands.isEmpty() && commands.last().value("command") == QJsonValue("end");
        });
        if (!arrived)
            qFatal("no datagram came");
        const QJsonObject end = commands.last();
        commands.removeAll(end);
        return commands;
    }

    PanelRow row(const std::string &key) { return gui->row(key); }
    bool is_shown(const std::string &key)
    {
        return row(key).holder && row(key).holder->isVisible();
    }

    void press_edit() { QTest::mouseClick(gui->edit_button(), Qt::LeftButton); }
    void press_confirm() { QTest::mouseClick(gui->confirm_button(), Qt::LeftButton); }
    void press_cancel() { QTest::mouseClick(gui->cancel_button(), Qt::LeftButton); }

    // Replaces a field's text by typing.
    void type(const std::string &key, const QString &text)
    {
        const PanelRow prop = row(key);
        QWidget *editor = prop.line_edit ? static_cast<QWidget *>(prop.line_edit) : prop.spinner;
        gui->property_scroll()->ensureWidgetVisible(editor);
        editor->setFocus();
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor, text);
    }

    // Picks an item of a combo box by keys, in its open popup.
    void pick(const std::string &key, const QString &item)
    {
        ModifiedComboBox *combo = row(key).combo;
        const int wanted = combo->findText(item);
        if (wanted < 0)
            qFatal("no item %s", qPrintable(item));
        combo->setFocus();
        QTest::keyClick(combo, Qt::Key_Home);
        for (int i = 0; i < wanted; ++i)
            QTest::keyClick(combo, Qt::Key_Down);
    }
};

inline QJsonObject set_params(QJsonObject parts)
{
    parts.insert("command", "set_params");
    parts.insert("seq", 1);
    return parts;
}

inline QJsonObject dsp(const QString &key, const QJsonValue &value)
{
    return {{"dsp", QJsonObject{{key, value}}}};
}
