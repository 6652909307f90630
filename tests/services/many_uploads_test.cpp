// More transfers at once than the program may hold sockets.
#include "firmware/tftp_uploader.h"
#include "support/many_devices.h"
#include "support/private_network.h"

#include <QFile>
#include <QNetworkInterface>
#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

constexpr int DEVICES = MANY_DEVICES;
constexpr unsigned LOOPBACK = 1; // its index in a fresh network namespace
const QString REFUSED = "Error: too many open files";

struct Outcome
{
    int ends = 0; // times `done` was told
    bool is_good = false;
};

} // namespace

class many_uploads_test : public QObject
{
    Q_OBJECT

    std::vector<std::unique_ptr<QTFTPFileUploader>> uploaders;
    std::vector<Outcome> outcomes;

    void start_all()
    {
        outcomes.assign(DEVICES, {});
        for (int i = 0; i < DEVICES; ++i) {
            uploaders.push_back(std::make_unique<QTFTPFileUploader>(
                LOOPBACK, device_address(FIRST_NUMBER + i), made_data(700), "firmware.bin"));
            Outcome &outcome = outcomes[size_t(i)];
            connect(uploaders.back().get(), &QTFTPFileUploader::done, this,
                    [&outcome](bool success) {
                        outcome = {.ends = outcome.ends + 1, .is_good = success};
                    });
            uploaders.back()->start();
        }
    }

    int succeeded() const
    {
        return int(std::count_if(outcomes.begin(), outcomes.end(),
                                 [](const Outcome &one) { return one.is_good; }));
    }

private slots:
    void initTestCase() { QVERIFY2(problem.empty(), problem.c_str()); }
    void cleanup() { uploaders.clear(); }

    void what_cannot_start_fails_at_once_and_the_rest_arrives_data() { add_limit_rows(200); }

    void what_cannot_start_fails_at_once_and_the_rest_arrives()
    {
        QFETCH(const int, soft);
        QFETCH(const int, hard);
        QFETCH(const int, least);
        QVERIFY(set_limit(rlim_t(soft), rlim_t(hard)));
        start_all();

        int running = 0;
        for (size_t i = 0; i < uploaders.size(); ++i) {
            if (uploaders[i]->is_active())
                ++running;
            else
                QCOMPARE(uploaders[i]->status(), REFUSED);
            QCOMPARE(outcomes[i].ends, uploaders[i]->is_active() ? 0 : 1);
        }
        QVERIFY2(running >= least, qPrintable(QString::number(running)));
        qInfo("%d of %d run", running, DEVICES);

        // What else needs a descriptor goes on.
        QVERIFY(QNetworkInterface::interfaceFromName("lo").isValid());
        QFile file("/proc/self/status");
        QVERIFY(file.open(QIODevice::ReadOnly));

        QTRY_COMPARE_WITH_TIMEOUT(succeeded(), running, 60000);
    }

    void a_failed_start_is_told_once_and_leaves_the_next_one_free_to_run()
    {
        QVERIFY(set_limit(256, 256));
        start_all();
        QTFTPFileUploader &last = *uploaders.back();
        QCOMPARE(last.status(), REFUSED);
        QCOMPARE(outcomes.back().ends, 1);
        QVERIFY(!outcomes.back().is_good);
        QTRY_VERIFY_WITH_TIMEOUT(succeeded() >= 200, 60000);
        uploaders.resize(1);
        QTFTPFileUploader again(LOOPBACK, device_address(FIRST_NUMBER + DEVICES - 1),
                                made_data(700), "firmware.bin");
        again.start();
        QTRY_COMPARE(again.status(), QString("Upload succeeded."));
    }

public:
    static std::string problem;
};

std::string many_uploads_test::problem;

int main(int argument_count, char **arguments)
{
    // Before Qt starts any thread: the kernel asks for that.
    if (enter_private_network(&many_uploads_test::problem) && !start_many_devices())
        many_uploads_test::problem = "the devices did not start";
    QCoreApplication application(argument_count, arguments);
    many_uploads_test test;
    return QTest::qExec(&test, argument_count, arguments);
}

#include "many_uploads_test.moc"
