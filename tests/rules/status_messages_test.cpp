// Of several messages the newest is shown, and before all the edit's.
#include "gui/status_messages.h"

#include <QtTest>

class StatusMessagesTest : public QObject
{
    Q_OBJECT

private slots:
    void nothing_is_shown_at_first() { QCOMPARE(StatusMessages().shown().text, QString()); }

    void the_newest_is_shown()
    {
        StatusMessages messages;
        messages.put(MessageKind::Uploads, "uploads");
        messages.put(MessageKind::Command, "command", "tip");
        QCOMPARE(messages.shown().text, QString("command"));
        QCOMPARE(messages.shown().tip, QString("tip"));
        messages.put(MessageKind::SecondCopy, "copy");
        QVERIFY(messages.is_shown(MessageKind::SecondCopy));
    }

    void what_stood_before_comes_back()
    {
        StatusMessages messages;
        messages.put(MessageKind::SecondCopy, "copy");
        messages.put(MessageKind::Uploads, "uploads");
        messages.put(MessageKind::Command, "command");
        messages.put(MessageKind::Command, QString());
        QCOMPARE(messages.shown().text, QString("uploads"));
        messages.put(MessageKind::Uploads, QString());
        QCOMPARE(messages.shown().text, QString("copy"));
    }

    void an_edit_stands_before_newer_ones()
    {
        StatusMessages messages;
        messages.put(MessageKind::Editing, "edit");
        messages.put(MessageKind::Command, "command");
        QCOMPARE(messages.shown().text, QString("edit"));
        messages.put(MessageKind::Editing, QString());
        QCOMPARE(messages.shown().text, QString("command"));
    }

    void a_message_that_counts_up_is_no_news()
    {
        StatusMessages messages;
        messages.put(MessageKind::Uploads, "1 %", QString(), false);
        messages.put(MessageKind::Command, "command");
        messages.put(MessageKind::Uploads, "2 %", QString(), false);
        QCOMPARE(messages.shown().text, QString("command"));
        messages.put(MessageKind::Uploads, "done");
        QCOMPARE(messages.shown().text, QString("done"));
    }
};

QTEST_GUILESS_MAIN(StatusMessagesTest)
#include "status_messages_test.moc"
