// printf into a standard string.
#include "support/text_format.h"

#include <cstdarg>
#include <cstdio>

std::string format_text(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);

    std::string text = "<error>";
    if (length >= 0) {
        text.resize(static_cast<size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    }
    va_end(arguments);
    return text;
}
