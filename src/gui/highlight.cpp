// Search in cell texts: what counts as a hit, and how hits are marked.
#include "gui/highlight.h"

namespace {

constexpr int LONGEST_SHOWN = 512; // characters of 16 bits

} // namespace

bool contains_search(const QString &text, const QString &search)
{
    return search.isEmpty() || text.indexOf(search, 0, Qt::CaseInsensitive) >= 0;
}

QString highlight_html(const QString &text, const QString &search)
{
    QString html;
    int rest = 0;
    while (rest < text.size() && !search.isEmpty()) {
        // Each search starts afresh at the rest: half a character before it must not count.
        const int hit = text.midRef(rest).indexOf(search, 0, Qt::CaseInsensitive);
        if (hit < 0)
            break;
        html += text.mid(rest, hit).toHtmlEscaped();
        html += QLatin1String("<span style='background-color: #FFFF00'>");
        html += text.mid(rest + hit, search.size()).toHtmlEscaped();
        html += QLatin1String("</span>");
        rest += hit + search.size();
    }
    return html + text.mid(rest).toHtmlEscaped();
}

QString shown_part(const QString &text)
{
    if (text.size() <= LONGEST_SHOWN)
        return text;
    // Half of a character would show as a box.
    const bool is_split = text.at(LONGEST_SHOWN - 1).isHighSurrogate();
    return text.left(is_split ? LONGEST_SHOWN - 1 : LONGEST_SHOWN);
}
