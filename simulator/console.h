// Standard input and output: one JSON object a line in both directions.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>

namespace simulator {

class Console : public QObject
{
    Q_OBJECT

public:
    Console();

    // Prints the object in compact form and a line end, at once.
    static void print(const QJsonObject &object);

signals:
    // A line that holds a JSON object. Other lines are answered with an error here; empty ones
    // are skipped.
    void asked(const QJsonObject &request);
    void ended();

private:
    void on_readable();
    void take_line(const QByteArray &line);

    QSocketNotifier notifier;
    QByteArray buffer = {};
};

} // namespace simulator
