// The main function of tests that open the real window, and a window with settings of its own.
#pragma once

#include "gui/program_names.h"
#include "model/meta.h"
#include "support/private_network.h"
#include "support/test_parts.h"
#include "support/window_handle.h"

#include <QApplication>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

// A window whose settings and cache live in a folder that goes with it. The folder outlives a
// window that is started again, as a user's does.
struct WindowCase
{
    QTemporaryDir folder;
    std::unique_ptr<WindowHandle> gui;

    WindowCase() { start(); }

    void start()
    {
        gui.reset();
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
        gui = std::make_unique<WindowHandle>();
    }

    // A report as a device at `address` would send it.
    Device *report(const QString &address, const QJsonObject &object, bool live = true) const
    {
        gui->report(QHostAddress(address), object, live, gui->network());
        return gui->find_device(object.value("device_id").toString());
    }

    int column(const std::string &id) const
    {
        for (size_t i = 0; i < gui->column_ids().size(); ++i)
            if (gui->column_ids()[i] == id)
                return static_cast<int>(i);
        return -1;
    }

    // What the list shows for a device in a column.
    QString cell(Device *device, const std::string &id) const
    {
        const QStandardItem *item = gui->model().item(gui->row_of(device), column(id));
        return item ? item->text() : "no item";
    }
};

// A loudspeaker's whole state as it reports it.
inline QJsonObject loudspeaker_report(const QString &id, int product_id = 3,
                                      const QString &name = "Left")
{
    return {{"product", "KESTA"},
            {"seq", 0},
            {"device_id", id},
            {"product_id", product_id},
            {"firmware_version", "v1.5.5.8d"},
            {"ui", QJsonObject{{"name", name}, {"loc", "Stage"}, {"memo", ""}, {"order", 0}}},
            {"dsp",
             QJsonObject{{"bank", 1},
                         {"preset", 0},
                         {"level", 4},
                         {"mute", false},
                         {"delay", 0.0},
                         {"eq_en", false}}},
            {"rtp", QJsonObject{{"lock", 3}}}};
}

// As it stands in a datagram.
inline QByteArray bytes_of(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

template<typename Test>
int run_window_test(int argc, char **argv, const char *file)
{
    // The window asks its network for devices as soon as it starts: nothing may get out.
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    set_program_names();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    register_resources();
    build_catalogue();
    return run_tests<Test>(argc, argv, file);
}

#define WINDOW_TEST_MAIN(Test)                                                                     \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        return run_window_test<Test>(argc, argv, __FILE__);                                        \
    }
