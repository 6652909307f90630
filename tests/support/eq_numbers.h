// Numbers of the EQ's golden cases, which JSON has no words for.
#pragma once

#include <QJsonValue>

#include <limits>

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NO_NUMBER = std::numeric_limits<float>::quiet_NaN();

// A number, or one of the texts "nan", "inf" and "-inf".
inline float as_float(const QJsonValue &value)
{
    if (!value.isString())
        return static_cast<float>(value.toDouble());
    if (value.toString() == "nan")
        return NO_NUMBER;
    return value.toString() == "-inf" ? -INF : INF;
}
