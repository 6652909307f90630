// A device's last report, in as little memory as its text takes.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>

// Holds the object itself as long as that is cheap. Parsed, a datagram full of nested lists takes
// forty times the memory of its bytes, and a sender of ever-new ids would fill the memory with it:
// `settle` keeps the text of such a report alone, which is then read whenever it is asked for.
class KeptReport
{
public:
    KeptReport() = default;
    explicit KeptReport(const QJsonObject &report);
    KeptReport &operator=(const QJsonObject &report);

    QJsonObject object() const;
    operator QJsonObject() const { return object(); } // a record's reader need not know
    QJsonValue value(const QString &key) const { return object().value(key); }
    QByteArray compact() const; // as QJsonDocument writes it

    // To be called when the report has been taken in. `datagram` is what it was read from; without
    // one its text is made anew.
    void settle(const QByteArray &datagram = {});
    bool is_text() const { return !text.isEmpty(); }

    // Quick for two of which one is a copy of the other.
    bool operator==(const KeptReport &other) const;

private:
    QJsonObject parsed = {};
    QByteArray text = {}; // a datagram; set: `parsed` is empty
};

// About how many bytes of memory a parsed value takes beside its texts. It stops counting above
// `most`.
int parsed_weight(const QJsonValue &value, int most);
