// One file for 1,500 selected devices, in a window that may hold fewer files open than that.
#include "firmware/upload_summary.h"
#include "firmware/uploads.h"
#include "gui/device_list_view.h"
#include "support/dialog_probe.h"
#include "support/many_devices.h"
#include "support/window_main.h"

#include <QLabel>
#include <QNetworkInterface>
#include <QStatusBar>

namespace {

const QString REFUSED = "too many open files";

} // namespace

class ManyUpdatesTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    void report_all()
    {
        gui().begin_batch();
        for (int i = 0; i < MANY_DEVICES; ++i)
            gui().report(device_address(FIRST_NUMBER + i),
                         loudspeaker_report(QString("device %1").arg(i, 4, 10, QChar('0'))), true,
                         "lo");
        gui().end_batch();
    }

    void offer_to_all()
    {
        const QString path = window->folder.filePath("file");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(made_data(700));
        file.close();
        DialogProbe probe;
        probe.choose_file(path);
        gui().view()->selectAll();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QTest::keyClick(&gui().widget(), Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(probe.titles.size(), 1);
    }

    int running()
    {
        int count = 0;
        for (const auto &[id, device] : gui().all_devices())
            count += gui().transfer(device) != nullptr;
        return count;
    }

    QString status_message()
    {
        return gui().widget().statusBar()->findChild<QLabel *>("status_message")->text();
    }

private slots:
    void what_cannot_start_fails_at_once_and_is_told_data() { add_limit_rows(150); }
    void what_cannot_start_fails_at_once_and_is_told()
    {
        QFETCH(const int, soft);
        QFETCH(const int, hard);
        QFETCH(const int, least);
        QVERIFY(set_limit(rlim_t(soft), rlim_t(hard)));
        window = std::make_unique<WindowCase>();
        gui().show();
        gui().discovery_timer().stop(); // nobody reports here, and silence would take all offline
        report_all();
        offer_to_all();

        // At once: the dialog has just closed, and no event has been waited for since.
        const int started = running();
        qInfo("%d of %d run", started, MANY_DEVICES);
        QVERIFY2(started >= least, qPrintable(QString::number(started)));
        const UploadSummary at_start = gui().uploads().summary();
        QCOMPARE(at_start.total, MANY_DEVICES);
        QCOMPARE(int(at_start.failures.size()), MANY_DEVICES - started);
        for (const UploadFailure &failure : at_start.failures)
            QCOMPARE(failure.reason, REFUSED);
        QVERIFY(QNetworkInterface::interfaceFromName("lo").isValid()); // can still be listed

        QTRY_COMPARE_WITH_TIMEOUT(running(), 0, 60000);
        int good = 0;
        for (const auto &[id, device] : gui().all_devices())
            good += device->upload_ok;
        QCOMPARE(good, started);
        QCOMPARE(gui().uploads().summary().succeeded, started);
        const QString text = upload_message(gui().uploads().summary());
        QTRY_COMPARE(status_message(), text);
        QCOMPARE(text.contains("failed: "), started < MANY_DEVICES);
        window.reset();
    }
};

int main(int argc, char **argv)
{
    // Before the toolkit starts any thread: the kernel asks for that.
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    if (!start_many_devices())
        qFatal("the devices did not start");
    set_program_names();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    register_resources();
    build_catalogue();
    ManyUpdatesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "many_updates_test.moc"
