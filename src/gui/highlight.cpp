// Search in cell texts: what counts as a hit, and how hits are marked.
#include "gui/highlight.h"

namespace {

constexpr int LONGEST_SHOWN = 512; // characters of 16 bits

// Printed, as wide as it is, and the same whatever stands beside it. 0xAD is a hyphen that shows at
// the end of a line only.
bool is_plain_letter(ushort letter)
{
    return (letter > 0x20 && letter < 0x7F) || (letter > 0xA0 && letter < 0x250 && letter != 0xAD)
        || letter == 0x2026; // the dots of a text that was cut
}

} // namespace

bool contains_search(const QString &text, const QString &search)
{
    return search.isEmpty() || text.indexOf(search, 0, Qt::CaseInsensitive) >= 0;
}

std::vector<int> search_hits(const QString &text, const QString &search)
{
    std::vector<int> hits;
    int rest = 0;
    while (rest < text.size() && !search.isEmpty()) {
        // Each search starts afresh at the rest: half a character before it must not count.
        const int hit = text.midRef(rest).indexOf(search, 0, Qt::CaseInsensitive);
        if (hit < 0)
            break;
        hits.push_back(rest + hit);
        rest += hit + search.size();
    }
    return hits;
}

QString highlight_html(const QString &text, const QString &search)
{
    QString html;
    int rest = 0;
    for (const int hit : search_hits(text, search)) {
        html += text.mid(rest, hit - rest).toHtmlEscaped();
        html += QLatin1String("<span style='background-color: #FFFF00'>");
        html += text.mid(hit, search.size()).toHtmlEscaped();
        html += QLatin1String("</span>");
        rest = hit + search.size();
    }
    return html + text.mid(rest).toHtmlEscaped();
}

bool is_plain_text(const QString &text)
{
    bool is_after_blank = true;
    for (const QChar letter : text) {
        const bool is_blank = letter == ' ';
        const bool is_plain = is_blank ? !is_after_blank : is_plain_letter(letter.unicode());
        if (!is_plain)
            return false;
        is_after_blank = is_blank;
    }
    return !is_after_blank;
}

QString shown_part(const QString &text)
{
    if (text.size() <= LONGEST_SHOWN)
        return text;
    // Half of a character would show as a box.
    const bool is_split = text.at(LONGEST_SHOWN - 1).isHighSurrogate();
    return text.left(is_split ? LONGEST_SHOWN - 1 : LONGEST_SHOWN);
}
