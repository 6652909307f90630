// The words of the status column.
#include "firmware/upload_rules.h"
#include "gui/status_text.h"
#include "support/vectors.h"

#include <QtTest>

class StatusTextTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_texts_data() { add_vector_rows("status_text", "status"); }
    void golden_texts()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        StatusFacts facts{.online = input.value("online").toBool(),
                          .broken_net = input.value("broken_net").toBool(),
                          .is_muted = typed_value(input.value("mute").toObject()) == QVariant(true),
                          .upload_error = input.value("upload_error").toString(),
                          .firmware_update_error = input.value("firmware_update_error").toString(),
                          .dsp_error = input.value("dsp_error").toString()};
        const QJsonObject upload = input.value("uploader").toObject();
        if (!input.value("uploader").isNull())
            facts.upload = {.percent = upload.value("percent").toInt(),
                            .is_active = upload.value("active").toBool()};
        QCOMPARE(status_text(facts), expect.value("text").toString());
    }

    void golden_codes_data() { add_vector_rows("status_text", "code"); }
    void golden_codes()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        QCOMPARE(firmware_error_text(input.value("code").toInt()), expect.value("text").toString());
    }

    void an_offline_device_is_never_broken()
    {
        QCOMPARE(status_text({.online = false, .broken_net = true}), QString("Offline"));
    }

    void an_upload_is_told_behind_any_presence()
    {
        const UploadState upload{.percent = 42, .is_active = true};
        QCOMPARE(status_text({.online = true, .upload = upload}), QString("Online, updating 42%"));
        QCOMPARE(status_text({.online = true, .broken_net = true, .upload = upload}),
                 QString("Broken net, updating 42%"));
    }

    void mute_is_not_mentioned_during_an_upload()
    {
        QCOMPARE(status_text({.online = true, .is_muted = true}), QString("Online, muted"));
        QCOMPARE(status_text({.online = true, .is_muted = true, .upload = UploadState{5, true}}),
                 QString("Online, updating 5%"));
    }

    void an_ended_upload_below_100_has_failed()
    {
        QCOMPARE(status_text({.online = true, .upload = UploadState{99, false}}),
                 QString("Online, updating 99% (failed)"));
        QCOMPARE(status_text({.online = true, .upload = UploadState{100, false}}),
                 QString("Online, updating 100%"));
    }

    void our_refusal_hides_the_device_s_report_but_not_its_dsp()
    {
        QCOMPARE(status_text({.online = true,
                              .upload_error = "invalid image",
                              .firmware_update_error = "flash",
                              .dsp_error = "too hot"}),
                 QString("Online / invalid image / too hot"));
        QCOMPARE(status_text({.online = true, .firmware_update_error = "flash"}),
                 QString("Online / flash"));
    }

    void a_log_s_title_names_its_device()
    {
        QCOMPARE(log_title("VELMARK Y4 dp", QHostAddress("10.0.0.5"), "Left", false),
                 QString("Firmware log (VELMARK Y4 dp at 10.0.0.5 'Left')"));
        QCOMPARE(log_title("VELMARK Y4 dp", QHostAddress("10.0.0.5"), "Left", true),
                 QString("Firmware log (VELMARK Y4 dp at 10.0.0.5 'Left') [PAUSED]"));
    }
};

QTEST_GUILESS_MAIN(StatusTextTest)
#include "status_text_test.moc"
