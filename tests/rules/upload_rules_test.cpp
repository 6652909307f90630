// Whether a device gets an upload: every refusal with its text, and the exact bytes.
#include "firmware/upload_rules.h"
#include "support/vectors.h"

#include <QtTest>

#include <malloc.h>

namespace {

constexpr uint32_t MODULE_MAGIC = 0x354A2936;

// The first golden image: one section for MODULE_MAGIC.
QByteArray good_image()
{
    const QJsonObject one = vector_cases("firmware").at(0).toObject();
    return QByteArray::fromBase64(one["input"]["image"].toString().toLatin1());
}

UploadDecision decide(bool online, uint32_t fw_magic, const QString &remote_name,
                      const QByteArray &bytes)
{
    KeptSections kept;
    return decide_upload(online, fw_magic, remote_name, bytes, kept);
}

} // namespace

class upload_rules_test : public QObject
{
    Q_OBJECT

private slots:
    void golden_codes_have_their_texts_data() { add_vector_rows("status_text", "code"); }
    void golden_codes_have_their_texts()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        QCOMPARE(firmware_error_text(input["code"].toInt()), expect["text"].toString());
    }

    void a_device_gets_its_section()
    {
        const QByteArray image = good_image();
        const UploadDecision decision = decide(true, MODULE_MAGIC, "firmware.bin", image);
        QCOMPARE(decision.error, QString());
        QCOMPARE(decision.bytes, image);
    }

    void what_is_taken_from_an_image_is_given_back()
    {
        QByteArray image = good_image();
        const auto heap = [] {
            const struct mallinfo2 held = mallinfo2();
            return held.uordblks + held.hblkhd;
        };
        decide(true, MODULE_MAGIC, "firmware.bin", image);
        const size_t before = heap();
        for (int i = 0; i < 1000; ++i)
            decide(true, MODULE_MAGIC, "firmware.bin", image);
        QVERIFY(heap() < before + 100 * static_cast<size_t>(image.size()));
    }

    void devices_of_one_module_type_share_a_section()
    {
        KeptSections kept;
        const QByteArray file = good_image();
        const auto bytes_for = [&kept](const QByteArray &image, quint32 fw_magic) {
            return decide_upload(true, fw_magic, "firmware.bin", image, kept);
        };
        const QByteArray first = bytes_for(file, MODULE_MAGIC).bytes;
        QCOMPARE(bytes_for(file, 1234).error, QString("device not supported by image"));
        QVERIFY(bytes_for(file, MODULE_MAGIC).bytes.isSharedWith(first));
        QCOMPARE(bytes_for(file, 1234).error, QString("device not supported by image"));

        // Another file is looked into anew, and so is the one that its owner has changed.
        QByteArray other = file;
        other[4] = static_cast<char>(~other.at(4));
        QCOMPARE(bytes_for(other, MODULE_MAGIC).error, QString("invalid image"));
        QVERIFY(!bytes_for(file, MODULE_MAGIC).bytes.isSharedWith(first));
        QCOMPARE(bytes_for(file, MODULE_MAGIC).bytes, first);
    }

    void refusals_data()
    {
        QTest::addColumn<bool>("online");
        QTest::addColumn<quint32>("fw_magic");
        QTest::addColumn<QString>("remote_name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("error");
        const QByteArray image = good_image();
        const QByteArray cut = image.left(100);
        QTest::newRow("offline") << false << quint32{MODULE_MAGIC} << "firmware.bin" << image
                                 << "not updating";
        QTest::newRow("offline goes before all else")
            << false << 0U << "lpi.bin" << cut << "not updating";
        QTest::newRow("no number, image")
            << true << 0U << "firmware.bin" << image << "unknown device";
        QTest::newRow("no number, other file")
            << true << 0U << "lpi.bin" << image << "unknown device";
        QTest::newRow("truncated")
            << true << quint32{MODULE_MAGIC} << "firmware.bin" << cut << "invalid image";
        QTest::newRow("empty file")
            << true << quint32{MODULE_MAGIC} << "firmware.bin" << QByteArray() << "invalid image";
        QTest::newRow("another product")
            << true << 1234U << "firmware.bin" << image << "device not supported by image";
    }
    void refusals()
    {
        QFETCH(bool, online);
        QFETCH(quint32, fw_magic);
        QFETCH(QString, remote_name);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, error);
        const UploadDecision decision = decide(online, fw_magic, remote_name, bytes);
        QCOMPARE(decision.error, error);
        QVERIFY(decision.bytes.isEmpty());
    }

    void a_size_decides_before_a_file_is_read_data()
    {
        QTest::addColumn<QString>("remote_name");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("failure");
        const QString image = "firmware.bin";
        const QByteArray header = good_image().left(128);
        QByteArray damaged = header;
        damaged[60] = 'x';
        const qint64 most = 33'553'920;
        const auto row = [](const char *name, const QString &remote_name, qint64 size,
                            const QByteArray &head, const char *error, const char *failure) {
            QTest::newRow(name) << remote_name << size << head << error << failure;
        };
        const char *large = "file size too large";
        row("a usual image", image, 926'841, header, "", "");
        row("no image, but small: looked at when it is read", image, most, "no image", "", "");
        row("an empty file", image, 0, "", "", "");
        row("an image for several modules", image, most + 1, header, "", "");
        row("the largest image", image, 4 * most, header, "", "");
        row("an image for nobody", image, 4 * most + 1, header, "", large);
        row("large and no image", image, most + 1, damaged, "invalid image", "");
        row("large and no header", image, most + 1, header.left(127), "invalid image", "");
        row("huge and no image", image, qint64{1} << 40, damaged, "invalid image", "");
        row("another file of the largest size", "lpi.bin", most, "", "", "");
        row("another file that is too large", "lpi.bin", most + 1, "", "", large);
    }
    void a_size_decides_before_a_file_is_read()
    {
        QFETCH(const QString, remote_name);
        QFETCH(const qint64, size);
        QFETCH(const QByteArray, head);
        const UploadDecision decision = decide_by_size(remote_name, size, head);
        QTEST(decision.error, "error");
        QTEST(decision.failure, "failure");
        QVERIFY(decision.bytes.isEmpty());
    }

    void what_the_size_decided_comes_after_what_the_device_lacks()
    {
        KeptSections kept{.for_all = {.failure = "file size too large"}};
        const auto decide_for = [&kept](bool online, quint32 fw_magic, const QString &name) {
            return decide_upload(online, fw_magic, name, {}, kept);
        };
        QCOMPARE(decide_for(false, 1, "lpi.bin").error, QString("not updating"));
        QCOMPARE(decide_for(true, 0, "lpi.bin").error, QString("unknown device"));
        QCOMPARE(decide_for(true, 1, "lpi.bin").error, QString());
        QCOMPARE(decide_for(true, 1, "lpi.bin").failure, QString("file size too large"));
        kept.for_all = {.error = "invalid image"};
        QCOMPARE(decide_for(true, 1, "firmware.bin").error, QString("invalid image"));
    }

    void any_other_name_is_sent_byte_for_byte()
    {
        for (const char *name : {"lpi.bin", "FIRMWARE.BIN", ""}) {
            const UploadDecision decision = decide(true, 1, name, "no image at all");
            QCOMPARE(decision.error, QString());
            QCOMPARE(decision.bytes, QByteArray("no image at all"));
        }
    }
};

QTEST_GUILESS_MAIN(upload_rules_test)
#include "upload_rules_test.moc"
