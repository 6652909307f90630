// The result of a refused input.
#pragma once

#include <QMetaType>
#include <QString>

// In a QVariant this marks a rejected input; told apart by QVariant::canConvert<ErrorValue>().
struct ErrorValue
{
    QString reason = {};
};
Q_DECLARE_METATYPE(ErrorValue)
