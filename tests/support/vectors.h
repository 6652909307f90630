// Golden cases: tests/vectors/<topic>.json, computed independently of this code.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QVariant>

// The whole file of a topic ("crc"). Ends the test program when it can't be read.
QJsonObject vector_file(const QString &topic);

// The member "cases" of that file: objects with "why", "input" and "expect".
QJsonArray vector_cases(const QString &topic);

// A typed value {"t": "int"|"double"|"bool"|"string"|"invalid"|"uint64"|"number", "v": ...} as
// a variant of that type; a "uint64"|"number" is as it comes out of JSON (64-bit when whole).
QVariant typed_value(const QJsonObject &typed);

// Adds one data row per case of the topic, named by its position and its "why"; columns "input"
// and "expect" hold QJsonObject. Cases whose input member "op" is not `op` are left out, unless
// `op` is empty.
void add_vector_rows(const QString &topic, const QString &op = {});
