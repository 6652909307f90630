// printf into a standard string.
#pragma once

#include <string>

// The formatted text, "<error>" when formatting fails (an invalid multibyte character for %ls).
[[gnu::format(printf, 1, 2)]] std::string format_text(const char *format, ...);
