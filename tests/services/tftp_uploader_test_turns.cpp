// How many answers an upload takes in one turn of the event loop.
#include "support/plain_tftp_device.h"
#include "support/test_parts.h"
#include "support/tftp_upload.h"

#include <QtTest>

#include <chrono>
#include <memory>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

// Acknowledges all blocks in a thread of its own, each 600 µs after it came.
class PromptDevice
{
public:
    explicit PromptDevice(int number)
        : descriptor(open_device(number))
        , thread([this] { serve(); })
    {
    }
    ~PromptDevice()
    {
        shutdown(descriptor, SHUT_RDWR); // ends its waiting
        thread.join();
        close(descriptor);
    }
    Q_DISABLE_COPY_MOVE(PromptDevice)

private:
    void serve() const
    {
        char byte = 0;
        while (recv(descriptor, &byte, 1, MSG_PEEK) > 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(600));
            acknowledge(descriptor);
        }
    }

    int descriptor;
    std::thread thread;
};

} // namespace

class TftpUploaderTurnsTest : public QObject
{
    Q_OBJECT

private slots:
    void a_turn_takes_as_many_answers_as_leave_the_window_its_turn_data()
    {
        QTest::addColumn<QString>("other");
        QTest::addColumn<int>("most");
        QTest::newRow("alone") << "" << 1;
        QTest::newRow("beside one that runs") << "runs" << 64;
        QTest::newRow("beside one that has arrived") << "arrives" << 1;
        QTest::newRow("beside one that has failed") << "fails" << 1;
        QTest::newRow("after one that was deleted while it ran") << "is deleted" << 1;
    }

    // Answers that come faster than they are read would keep the window waiting for ever. Behind
    // the answer to one that runs alone stands no other, unless the device repeats itself.
    void a_turn_takes_as_many_answers_as_leave_the_window_its_turn()
    {
        QFETCH(const QString, other);
        QFETCH(const int, most);
        Peer peer(11);
        Peer second(12);
        peer.stop_at(0);
        second.stop_at(other == "arrives" ? 100 : 0);
        auto beside = std::make_unique<Upload>(12, "data");
        if (!other.isEmpty()) {
            beside->uploader.start();
            QTRY_COMPARE(second.requests, 1);
        }
        if (other == "fails")
            second.send(ack(7));
        if (other == "arrives" || other == "fails")
            QTRY_COMPARE(beside->done.size(), 1);
        Upload upload(11, made_data(100 * 512)); // bound last: it hears all
        upload.uploader.start();
        QTRY_COMPARE(peer.requests, 1);
        if (other == "is deleted")
            beside.reset();
        QElapsedTimer since_request;
        since_request.start();
        QTRY_VERIFY(since_request.elapsed() > 1); // an answer within a millisecond counts as quick
        for (int block = 0; block < 100; ++block)
            peer.send(ack(block));
        const auto before = upload.progress.size();
        QCoreApplication::processEvents();
        QCOMPARE(upload.progress.size() - before, most);
        QTRY_COMPARE(upload.progress.size() - before, 100);
    }

    // The way round the event loop takes longer than a block.
    void a_device_that_answers_at_once_is_heard_more_than_once_in_a_turn()
    {
        constexpr int ANSWERS = 200;
        bool is_seen = false;
        const auto try_once = [&is_seen] { // in vain when another program takes the cores
            Peer peer(11);
            peer.stop_at(0);
            Upload upload(11, made_data(ANSWERS * 512));
            upload.uploader.start();
            QTRY_COMPARE(peer.requests, 1);
            for (int block = 0; block < ANSWERS; ++block)
                peer.send(ack(block));
            const auto before = upload.progress.size();
            int turns = 0;
            for (; upload.progress.size() - before < ANSWERS; ++turns)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            is_seen = turns < ANSWERS / 2;
        };
        QTRY_VERIFY_WITH_TIMEOUT((try_once(), is_seen), 60000);
    }

    // Each of its answers takes 600 µs, so it is the time that ends a turn.
    void a_turn_that_waits_for_answers_ends_after_2_ms()
    {
        int most = 0;
        const auto try_once = [&most] { // in vain when another program takes the cores
            const PromptDevice device(11);
            Upload upload(11, made_data(400 * 512));
            upload.uploader.start();
            while (upload.done.isEmpty()) {
                const auto before = upload.progress.size();
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
                most = std::max(most, static_cast<int>(upload.progress.size() - before));
            }
            QVERIFY(upload.is_good());
        };
        QTRY_VERIFY_WITH_TIMEOUT((try_once(), most > 1), 60000);
        QVERIFY2(most <= 6, qPrintable(QString::number(most))); // the last announces twice
    }
};

TEST_PART(TftpUploaderTurnsTest)
#include "tftp_uploader_test_turns.moc"
