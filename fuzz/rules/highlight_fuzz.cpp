// Search in cell texts: the HTML says what the text says, and marks what was searched.
#include "fuzz/rules/fuzz_bytes.h"
#include "gui/highlight.h"

namespace {

const QString OPEN = "<span style='background-color: #FFFF00'>";
const QString CLOSE = "</span>";

struct Entity
{
    QLatin1String html;
    QChar letter;
};

const Entity ENTITIES[] = {{QLatin1String("&lt;"), '<'},
                           {QLatin1String("&gt;"), '>'},
                           {QLatin1String("&quot;"), '"'},
                           {QLatin1String("&amp;"), '&'}};

QString unescaped(const QString &html)
{
    QString text;
    int place = 0;
    for (int i = html.indexOf('&'); i >= 0; i = html.indexOf('&', place)) {
        const QStringRef rest = html.midRef(i);
        const Entity *entity = nullptr;
        for (const Entity &one : ENTITIES)
            if (rest.startsWith(one.html))
                entity = &one;
        expect(entity, "no text of a device becomes an entity");
        text += html.midRef(place, i - place);
        text += entity->letter;
        place = i + entity->html.size();
    }
    return text + html.midRef(place);
}

void check_html(const QString &text, const QString &search)
{
    const QString html = highlight_html(text, search);
    const bool is_hit = contains_search(text, search);
    expect(search.isEmpty() || html.contains(OPEN) == is_hit, "a hit is marked, and only a hit");
    QString plain;
    int hits = 0;
    int place = 0;
    for (int hit = html.indexOf(OPEN); hit >= 0; hit = html.indexOf(OPEN, place)) {
        plain += html.mid(place, hit - place);
        const int begin = hit + OPEN.size();
        const int end = html.indexOf(CLOSE, begin);
        expect(end > begin, "a mark has an end and something in it");
        const QString marked = unescaped(html.mid(begin, end - begin));
        expect(marked.compare(search, Qt::CaseInsensitive) == 0, "what is marked was searched");
        plain += html.mid(begin, end - begin);
        place = end + CLOSE.size();
        ++hits;
    }
    plain += html.mid(place);
    expect(!plain.contains('<') && !plain.contains('>'), "no text of a device becomes a tag");
    expect(unescaped(plain) == text, "the HTML says what the text says");
    expect(search.isEmpty() || hits <= text.size() / search.size(), "marks do not overlap");
}

void check_part(const QString &text)
{
    const QString part = shown_part(text);
    expect(text.startsWith(part) && part.size() <= 512, "a cell shows the beginning");
    expect(part == text || part.size() >= 511, "and as much as it may");
    expect(part == text || !part.at(part.size() - 1).isHighSurrogate(), "and no half letter");
    expect(shown_part(part) == part, "and the same of that again");
}

} // namespace

void fuzz_highlight(const uint8_t *data, size_t size)
{
    FuzzBytes bytes(data, size);
    const bool is_wide = bytes.flag(); // any 16 bits are a letter: halves of surrogate pairs, too
    QString search = QString::fromUtf8(bytes.bytes(bytes.below(12)));
    const QByteArray rest = bytes.rest();
    const QString text = is_wide
        ? QString(reinterpret_cast<const QChar *>(rest.constData()), rest.size() / 2)
        : QString::fromUtf8(rest);
    // What was typed is often a part of what is there.
    if (!text.isEmpty() && search.startsWith('~'))
        search = text.mid(search.size() % text.size(), search.size()).toUpper();
    check_html(text, search);
    check_part(text);
}
