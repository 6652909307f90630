// A report with the bytes of the last one is not read again, and must change just what reading
// changes.
#include "firmware/deppen_ass.h"
#include "gui/device_list_view.h"
#include "link/datagram.h"
#include "support/allocation_count.h"
#include "support/window_main.h"

#include <QDateTime>
#include <QJsonArray>
#include <QLineEdit>
#include <QRandomGenerator>

namespace {

constexpr int DEVICES = 4;

QString address_of(int device)
{
    // Two of them stand behind one address.
    return QString("10.0.0.%1").arg(std::min(device, DEVICES - 2));
}

// One of a few states, so that a device often comes back to an earlier one.
QByteArray some_report(int device, QRandomGenerator &random)
{
    QJsonObject report = loudspeaker_report(QString("d%1").arg(device), 3 + random.bounded(2),
                                            random.bounded(2) == 0 ? "Left" : "Right");
    if (random.bounded(4) == 0)
        report.insert("dsp", QJsonObject{{"error", "DSP fault"}, {"level", random.bounded(3)}});
    if (random.bounded(4) == 0)
        report.insert("streams",
                      QJsonObject{{"list", QJsonArray{QJsonObject{{"n", "Console"}, {"c", 2}}}}});
    if (random.bounded(5) == 0)
        report.insert(random.bounded(2) == 0 ? "warning" : "error", "hot");
    if (random.bounded(6) == 0)
        report.insert("fw_magic", "none");
    if (random.bounded(6) == 0)
        report.insert("firmware_update_error", "flash");
    return bytes_of(report);
}

QByteArray something_else(int device, QRandomGenerator &random)
{
    const QByteArray id = "d" + QByteArray::number(device);
    switch (random.bounded(4)) {
    case 0:
        return R"({"seq":1,"status":"ok"})";
    case 1:
        return R"({"command":"broadcast_info","device_id":")" + id
            + R"(","metering":{"channel_peaks":[30,20]}})";
    case 2:
        return "{\"device_id\":\"" + id + "\"}\n//#00000000";
    default:
        return "{";
    }
}

// All that can be seen of a window's devices.
QStringList picture_of(const WindowCase &window)
{
    QStringList lines;
    for (const auto &[id, device] : window.gui->all_devices()) {
        QStringList facts{id,
                          device->address.toString(),
                          device->interface,
                          device->upload_error,
                          device->firmware_update_error,
                          device->dsp_error};
        facts << QString::number(device->fw_magic) << QString::number(device->online)
              << QString::number(device->broken_net) << QString::number(device->awaiting_reply)
              << QString::number(device->reports_without_reply) << QString::number(device->stale)
              << QString::number(device->session_list.size()) << bytes_of(device->last_report);
        for (const auto &[key, value] : device->values)
            facts << QString::fromStdString(key) + "=" + value.toString();
        const int row = window.gui->row_of(device);
        for (int column = 0; column < window.gui->model().columnCount(); ++column)
            facts << window.gui->model().item(row, column)->text();
        facts << QString::number(window.gui->is_selected(device));
        lines << facts.join("|");
    }
    for (const auto &[key, row] : window.gui->rows())
        lines << QString::fromStdString(key) + ": " + row.value.toString()
                + QString::number(row.uniform) + QString::number(row.edited)
                + (row.line_edit ? row.line_edit->text() : QString());
    lines << QString::number(window.gui->is_editing())
          << QString::number(window.gui->identify_button()->isEnabled());
    return lines;
}

// One act, the same for both windows.
struct Act
{
    int kind = 0;
    int device = 0;
    QByteArray bytes = {};
};

} // namespace

class RepeatedReportsTest : public QObject
{
    Q_OBJECT

    static std::unique_ptr<WindowCase> make_window()
    {
        auto window = std::make_unique<WindowCase>();
        for (QTimer *timer : {&window->gui->discovery_timer(), &window->gui->meter_timer()})
            timer->stop();
        for (int column = 0; column < window->gui->model().columnCount(); ++column)
            window->gui->view()->setColumnHidden(column, false);
        return window;
    }

    static void perform(WindowCase &window, const Act &act)
    {
        Device *device = window.gui->find_device(QString("d%1").arg(act.device));
        switch (act.kind) {
        case 0:
            if (!device)
                return;
            window.gui->view()->clearSelection();
            window.gui->view()->selectionModel()->select(
                window.gui->model().index(window.gui->row_of(device), 0),
                QItemSelectionModel::Select | QItemSelectionModel::Rows);
            return;
        case 1:
            window.gui->set_edit_mode(true);
            return;
        case 2:
            window.gui->cancel_button()->click();
            return;
        case 3:
            if (QLineEdit *memo = window.gui->row("ui/memo").line_edit; memo && memo->isEnabled()) {
                memo->selectAll();
                QTest::keyClicks(memo, QString::number(act.device));
            }
            return;
        case 4:
            if (device)
                window.gui->send_to_device(device, {{"command", "blink_leds"}}, false);
            return;
        case 5:
            // The other window looks a moment later, when somebody else may have been silent for
            // too long.
            for (const auto &[id, one] : window.gui->all_devices())
                if (one->online)
                    one->last_seen = QDateTime::currentMSecsSinceEpoch();
            if (device)
                device->last_seen -= 3000;
            window.gui->discover();
            window.gui->discovery_timer().stop();
            return;
        default:
            window.gui->deliver(QHostAddress(address_of(act.device)), act.bytes);
        }
    }

private slots:
    void init()
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }
    void cleanup() { qInstallMessageHandler(nullptr); }

    void repeated_bytes_change_what_reading_them_changes_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 6; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void repeated_bytes_change_what_reading_them_changes()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        const std::unique_ptr<WindowCase> quick = make_window();
        const std::unique_ptr<WindowCase> thorough = make_window();
        std::array<QByteArray, DEVICES> last;
        int repeated = 0;
        for (int step = 0; step < 250; ++step) {
            Act act{.kind = random.bounded(14), .device = random.bounded(DEVICES)};
            if (act.kind > 5) {
                QByteArray &report = last.at(static_cast<size_t>(act.device));
                if (report.isEmpty() || random.bounded(2) == 0)
                    report = some_report(act.device, random);
                act.bytes = act.kind > 12 ? something_else(act.device, random) : report;
                const Device *device = quick->gui->find_device(QString("d%1").arg(act.device));
                repeated += device && device->last_payload == act.bytes;
            }
            perform(*quick, act);
            perform(*thorough, act);
            // What has been replaced goes, or what goes later takes ever longer to find.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            // This one knows no bytes, and so reads all that comes.
            for (const auto &[id, device] : thorough->gui->all_devices())
                device->last_payload.clear();
            const QStringList expected = picture_of(*thorough);
            const QStringList seen = picture_of(*quick);
            for (int i = 0; i < expected.size(); ++i)
                QVERIFY2(seen.value(i) == expected.at(i),
                         qPrintable(QString("step %1, act %2 of device %3:\n%4\ninstead of\n%5")
                                        .arg(step)
                                        .arg(act.kind)
                                        .arg(act.device)
                                        .arg(seen.value(i), expected.at(i))));
        }
        QVERIFY(repeated > 25); // or nothing was compared
    }

    void a_datagram_without_bytes_repeats_nothing()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress address("10.0.0.1");
        QJsonObject report = loudspeaker_report("a");
        report.insert("warning", "hot"); // such a report's bytes are not kept
        window->gui->deliver(address, bytes_of(report));
        Device *device = window->gui->find_device("a");
        device->last_seen -= 1000;
        const qint64 before = device->last_seen;
        window->gui->deliver(address, QByteArray());
        QCOMPARE(device->last_seen, before);
    }

    void a_text_for_the_debug_log_is_told_each_time_that_it_comes_data()
    {
        QTest::addColumn<QString>("label");
        for (const char *label : {"warning", "error"})
            QTest::newRow(label) << QString(label);
    }

    // Though its bytes are the same.
    void a_text_for_the_debug_log_is_told_each_time_that_it_comes()
    {
        QFETCH(const QString, label);
        static int told = 0;
        told = 0;
        const std::unique_ptr<WindowCase> window = make_window();
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            told += text.contains("very hot");
        });
        QJsonObject report = loudspeaker_report("a");
        report.insert(label, "very hot");
        for (int times = 1; times <= 3; ++times) {
            window->gui->deliver(QHostAddress("10.0.0.1"), bytes_of(report));
            QCOMPARE(told, times);
        }
    }

    void a_report_with_a_warning_during_an_edit_is_not_taken_for_the_one_before()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress address("10.0.0.1");
        const QJsonObject good = loudspeaker_report("a");
        QJsonObject bad = good;
        bad.insert("dsp", QJsonObject{{"error", "DSP fault"}});
        bad.insert("warning", "hot");
        window->gui->deliver(address, bytes_of(good));
        Device *device = window->gui->find_device("a");
        window->gui->view()->selectAll();
        window->gui->set_edit_mode(true);
        window->gui->deliver(address, bytes_of(bad));
        QCOMPARE(window->cell(device, "status"), QString("Online / DSP fault"));
        window->gui->deliver(address, bytes_of(good));
        QCOMPARE(window->cell(device, "status"), QString("Online"));
        window->gui->cancel_button()->click();
        QCOMPARE(device->value("dsp/level"), QVariant(4));
        QCOMPARE(device->last_report, good);
    }

    void the_same_bytes_during_an_edit_are_held_back_as_others_are()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress address("10.0.0.1");
        const QByteArray report = bytes_of(loudspeaker_report("a"));
        window->gui->deliver(address, report);
        const Device *device = window->gui->find_device("a");
        window->gui->view()->selectAll();
        window->gui->deliver(address, report);
        QVERIFY(!device->stale);
        window->gui->set_edit_mode(true);
        window->gui->deliver(address, report);
        QVERIFY(device->stale);
        window->gui->cancel_button()->click();
        QVERIFY(!device->stale);
    }

    void the_same_bytes_bring_the_assistant_when_its_turn_comes_data()
    {
        QTest::addColumn<bool>("is_edited");
        QTest::newRow("in peace") << false;
        QTest::newRow("while it is edited") << true;
    }
    void the_same_bytes_bring_the_assistant_when_its_turn_comes()
    {
        QFETCH(bool, is_edited);
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress addresses[]{QHostAddress("10.0.0.1"), QHostAddress("10.0.0.2")};
        const char *ids[]{"a", "b"};
        for (int i : {0, 1, 1}) {
            QJsonObject report = loudspeaker_report(ids[i]);
            report.insert("firmware_version", "1.1");
            window->gui->deliver(addresses[i], bytes_of(report));
        }
        Device *first = window->gui->find_device("a");
        const Device *second = window->gui->find_device("b");
        QVERIFY(first->has_assistant);
        if (is_edited) {
            window->gui->view()->selectAll();
            window->gui->set_edit_mode(true);
        }
        QVERIFY(window->gui->assistant(first)->close());
        QVERIFY(!second->has_assistant);
        QJsonObject report = loudspeaker_report("b");
        report.insert("firmware_version", "1.1");
        window->gui->deliver(addresses[1], bytes_of(report));
        QVERIFY(second->has_assistant);
    }

    // A merge allocates a dozen times, even when nothing comes of it.
    void the_same_bytes_are_merged_once()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress address("10.0.0.1");
        const QByteArray report = bytes_of(loudspeaker_report("a"));
        for (int i = 0; i < 2; ++i)
            window->gui->deliver(address, report);
        const size_t before = allocations;
        window->gui->deliver(address, report);
        const size_t made = static_cast<size_t>(allocations) - before;
        QVERIFY2(made <= 4, qPrintable(QString::number(made)));
    }

    void a_moved_device_leaves_no_address_behind()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QByteArray report = bytes_of(loudspeaker_report("a"));
        for (int i = 1; i <= 300; ++i)
            window->gui->deliver(QHostAddress(QString("10.0.%1.7").arg(i % 250)), report);
        QCOMPARE(window->gui->known_senders(), size_t(1));
        window->gui->deliver(QHostAddress("10.9.0.1"), bytes_of(loudspeaker_report("b")));
        QCOMPARE(window->gui->known_senders(), size_t(2));
        window->gui->view()->selectAll();
        window->gui->delete_selected();
        QCOMPARE(window->gui->known_senders(), size_t(0));
        // The bytes are those of a device that is gone: it comes back as a new one.
        window->gui->deliver(QHostAddress("10.0.50.7"), report);
        QCOMPARE(window->gui->model().rowCount(), 1);
    }

    // It is the network at the moment of receipt, whatever network the device was on before.
    void a_devices_network_is_the_one_selected_at_receipt()
    {
        const std::unique_ptr<WindowCase> window = make_window();
        const QHostAddress address("10.0.0.1");
        const QByteArray report = bytes_of(loudspeaker_report("a"));
        window->gui->network_box()->addItem("first");
        window->gui->network_box()->addItem("second");
        QCOMPARE(window->gui->network(), QString("first"));
        window->gui->deliver(address, report);
        const Device *device = window->gui->find_device("a");
        QCOMPARE(device->interface, QString("first"));
        window->gui->network_box()->setCurrentIndex(1);
        QCOMPARE(device->interface, QString("first"));
        window->gui->deliver(address, report); // the same bytes
        QCOMPARE(device->interface, QString("second"));
        window->gui->network_box()->setCurrentIndex(0);
        window->gui->deliver(address, bytes_of(loudspeaker_report("a", 4)));
        QCOMPARE(device->interface, QString("first"));
    }
};

WINDOW_TEST_MAIN(RepeatedReportsTest)
#include "repeated_reports_test.moc"
