// Typed text to values: numbers with units, and IPv4 addresses.
#pragma once

#include <QString>

// Reads a number with or without its unit; comma and point are decimal marks in every locale. A
// field whose unit is "Hz" also takes a bare k for thousands. Gives false, and 0 in `value`, for
// anything else. Bounds are not looked at, and "inf" and "nan" are numbers.
bool parse_value_text(const QString &text, const QString &unit, double *value);

// Cuts `suffix` (in any case) from the end of `text`; false, and `text` left alone, when it does
// not end so.
bool strip_suffix(QString &text, const QString &suffix);

// Four numbers from 0 to 255 with points between. Each is read as strtol reads it with base 0, so
// hexadecimal, octal and blanks before a number pass.
bool is_ipv4_text(const char *text);
