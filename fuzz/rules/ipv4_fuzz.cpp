// IPv4 addresses as an operator types them.
#include "fuzz/rules/fuzz_bytes.h"
#include "gui/value_parser.h"

#include <QHostAddress>

#include <algorithm>
#include <memory>

namespace {

bool reads(const QByteArray &text)
{
    const auto length = static_cast<size_t>(text.size()) + 1;
    const std::unique_ptr<char[]> block(new char[length]);
    std::copy_n(text.constData(), length, block.get()); // the zero at the end included
    return is_ipv4_text(block.get());
}

void check_plain(FuzzBytes &bytes)
{
    const uint32_t number = bytes.u32();
    const QByteArray text = QHostAddress(number).toString().toLatin1();
    expect(reads(text), "every address in its usual form is one");
    expect(!reads(text + ".1") && !reads(text + ".") && !reads(text + " ")
               && !reads(text.left(text.lastIndexOf('.'))),
           "four numbers, and nothing behind them");
    expect(!reads(text + "999"), "no number beyond 255");
    expect(reads("0x" + QByteArray::number(bytes.u8(), 16) + text.mid(text.indexOf('.'))),
           "hexadecimal passes");
}

} // namespace

void fuzz_ipv4(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    if (bytes.flag()) {
        check_plain(bytes);
        return;
    }
    QByteArray text = bytes.rest();
    const int end = text.indexOf('\0');
    if (end >= 0)
        text.truncate(end);
    if (!reads(text))
        return;
    expect(text.count('.') == 3, "an address has three points");
    for (const QByteArray &part : text.split('.'))
        expect(!part.isEmpty() && part.size() <= text.size() - 6, "and a number at each");
    for (const char letter : text)
        expect(QByteArray("0123456789abcdefABCDEFxX+-. \t\n\v\f\r").contains(letter),
               "nothing but numbers as the C library reads them");
}
