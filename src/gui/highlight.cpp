// Search in cell texts: what counts as a hit, and how hits are marked.
#include "gui/highlight.h"

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
