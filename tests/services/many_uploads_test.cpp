// More transfers at once than the program may hold sockets: 1,500 devices answer from 127.0.4.0 on.
#include "firmware/tftp_uploader.h"

#include "support/private_network.h"
#include "support/tftp_peer.h"

#include <QFile>
#include <QNetworkInterface>
#include <QtTest>

#include <algorithm>
#include <arpa/inet.h>
#include <csignal>
#include <memory>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int DEVICES = 1500;
constexpr int FIRST_NUMBER = 4 * 256;
constexpr unsigned LOOPBACK = 1; // its index in a fresh network namespace
const QString REFUSED = "Error: too many open files";

bool set_limit(rlim_t soft, rlim_t hard)
{
    const rlimit limit{.rlim_cur = soft, .rlim_max = hard};
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

int open_device(int number)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(69);
    address.sin_addr.s_addr = htonl(device_address(number).toIPv4Address());
    const int one = 1;
    const int device = socket(AF_INET, SOCK_DGRAM, 0);
    setsockopt(device, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (device < 0 || bind(device, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        _exit(1);
    return device;
}

// Block 0 for a request, else the number of the DATA block, of which the bytes are used as they
// are.
void acknowledge(int device)
{
    char bytes[600];
    sockaddr_in from{};
    socklen_t size = sizeof from;
    if (recvfrom(device, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr *>(&from), &size) < 4)
        return;
    const bool is_request = bytes[1] == 2;
    const char answer[] = {0, 4, is_request ? '\0' : bytes[2], is_request ? '\0' : bytes[3]};
    sendto(device, answer, sizeof answer, 0, reinterpret_cast<sockaddr *>(&from), size);
}

// The devices, in a process of their own: their sockets must not count as ours. It ends with ours.
void play_devices(int ready)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    set_limit(limit.rlim_max, limit.rlim_max);
    std::vector<pollfd> devices;
    for (int i = 0; i < DEVICES; ++i)
        devices.push_back({.fd = open_device(FIRST_NUMBER + i), .events = POLLIN, .revents = 0});
    if (write(ready, "r", 1) != 1)
        _exit(1);
    while (poll(devices.data(), devices.size(), -1) > 0)
        for (const pollfd &device : devices)
            if (device.revents & POLLIN)
                acknowledge(device.fd);
    _exit(1);
}

bool start_devices()
{
    int ends[2];
    char word = 0;
    if (pipe(ends) != 0)
        return false;
    if (fork() == 0)
        play_devices(ends[1]);
    close(ends[1]);
    const bool is_ready = read(ends[0], &word, 1) == 1;
    close(ends[0]);
    return is_ready;
}

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

    // The second row lowers the hard limit for good.
    void what_cannot_start_fails_at_once_and_the_rest_arrives_data()
    {
        QTest::addColumn<int>("soft");
        QTest::addColumn<int>("hard");
        QTest::addColumn<int>("least");
        QTest::newRow("room above the soft limit") << 1024 << 4096 << DEVICES;
        QTest::newRow("no room") << 256 << 256 << 200;
    }

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
    if (enter_private_network(&many_uploads_test::problem) && !start_devices())
        many_uploads_test::problem = "the devices did not start";
    QCoreApplication application(argument_count, arguments);
    many_uploads_test test;
    return QTest::qExec(&test, argument_count, arguments);
}

#include "many_uploads_test.moc"
