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
        messages.put(MessageKind::UPLOADS, "uploads");
        messages.put(MessageKind::COMMAND, "command", "tip");
        QCOMPARE(messages.shown().text, QString("command"));
        QCOMPARE(messages.shown().tip, QString("tip"));
        messages.put(MessageKind::SECOND_COPY, "copy");
        QVERIFY(messages.is_shown(MessageKind::SECOND_COPY));
    }

    void what_stood_before_comes_back()
    {
        StatusMessages messages;
        messages.put(MessageKind::SECOND_COPY, "copy");
        messages.put(MessageKind::UPLOADS, "uploads");
        messages.put(MessageKind::COMMAND, "command");
        messages.put(MessageKind::COMMAND, QString());
        QCOMPARE(messages.shown().text, QString("uploads"));
        messages.put(MessageKind::UPLOADS, QString());
        QCOMPARE(messages.shown().text, QString("copy"));
    }

    void an_edit_stands_before_newer_ones()
    {
        StatusMessages messages;
        messages.put(MessageKind::EDITING, "edit");
        messages.put(MessageKind::COMMAND, "command");
        QCOMPARE(messages.shown().text, QString("edit"));
        messages.put(MessageKind::EDITING, QString());
        QCOMPARE(messages.shown().text, QString("command"));
    }

    void a_message_that_counts_up_is_no_news()
    {
        StatusMessages messages;
        messages.put(MessageKind::UPLOADS, "1 %", QString(), false);
        messages.put(MessageKind::COMMAND, "command");
        messages.put(MessageKind::UPLOADS, "2 %", QString(), false);
        QCOMPARE(messages.shown().text, QString("command"));
        messages.put(MessageKind::UPLOADS, "done");
        QCOMPARE(messages.shown().text, QString("done"));
    }
};

QTEST_GUILESS_MAIN(StatusMessagesTest)
#include "status_messages_test.moc"
