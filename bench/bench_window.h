// What benchmarks with the real window share: a private network, settings of their own, and a
// fleet's worth of reports.
#pragma once

#include "gui/program_names.h"
#include "link/crc32.h"
#include "measure.h"
#include "model/meta.h"
#include "support/private_network.h"
#include "support/window_handle.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

// Ends the program when the kernel refuses: a benchmark must not ask the machine's own network.
inline void start_bench_process()
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg) {
            std::fprintf(stderr, "%s\n", qPrintable(text));
            std::abort();
        }
    });
    set_program_names();
}

// A window with a fresh settings folder.
inline std::unique_ptr<WindowHandle> make_bench_window(const QString &folder)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    auto gui = std::make_unique<WindowHandle>();
    gui->resize(1900, 1000);
    return gui;
}

// A loudspeaker's report of about 2.5 KB; `change` makes a visible cell differ.
inline QJsonObject bench_report(int number, int change = 0)
{
    QJsonObject dsp{{"bank", 1},    {"preset", 2},   {"level", 4}, {"mute", false},
                    {"delay", 0.0}, {"eq_en", true}, {"error", ""}};
    for (int band = 0; band < 5; ++band)
        dsp.insert(
            QString("eq%1").arg(band),
            QJsonObject{
                {"type", 2}, {"freq", 100 * (band + 1)}, {"q", 1.5}, {"gain", -3.5}, {"en", true}});
    QJsonArray sessions;
    for (int i = 0; i < 12; ++i)
        sessions.append(QJsonObject{{"n", QString("Console %1 main mix").arg(i)},
                                    {"i", QString("8 channels, L24, 48 kHz, card %1").arg(i)},
                                    {"c", 8}});
    return {{"product", "KESTA"},
            {"seq", 0},
            {"device_id", QString("%1").arg(number, 24, 16, QChar('0'))},
            {"product_id", 11 + number % 10},
            {"firmware_version", "v1.5.5.8d"},
            {"fw_magic", 894052662},
            {"api_version", 6},
            {"ui",
             QJsonObject{{"name", QString("Loudspeaker %1").arg(number)},
                         {"loc", QString("Stage %1").arg(number % 7)},
                         {"memo", "checked on Tuesday"},
                         {"order", number % 5}}},
            {"dsp", dsp},
            {"net", QJsonObject{{"static_ip", "0.0.0.0"}, {"mac", "02:00:00:00:00:01"}}},
            {"link_state", QJsonObject{{"rx_bw", 1000}, {"tx_bw", 2000}, {"bw", 3000}}},
            {"stream",
             QJsonObject{
                 {"name", "Console 3 main mix"}, {"ch0", 1}, {"link_offset", 96}, {"gain_db", -6}}},
            {"rtp", QJsonObject{{"lock", change % 4}}},
            {"streams", QJsonObject{{"list", sessions}}},
            {"logging", QJsonObject{{"en", false}}}};
}

inline QByteArray bench_datagram(const QJsonObject &report)
{
    const QByteArray json = QJsonDocument(report).toJson(QJsonDocument::Compact) + '\n';
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(json.constData()),
                               static_cast<size_t>(json.size()));
    return json + "\n//#" + QByteArray::number(sum, 16).rightJustified(8, '0');
}

inline QHostAddress bench_address(int number)
{
    return QHostAddress((quint32(10) << 24) + (quint32(71) << 16)
                        + static_cast<quint32>(number + 10));
}
