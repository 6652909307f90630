// Spreads compact JSON over lines, as the toolkit writes it in its indented form.
#include "model/json_indent.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int INDENT = 4;    // blanks per level
constexpr int DEEPEST = 512; // the JSON reader gives up at 1,024
constexpr int ENDLESS = std::numeric_limits<int>::max();

constexpr bool is_mark(char letter)
{
    return letter == '{' || letter == '}' || letter == '[' || letter == ']' || letter == ','
        || letter == ':';
}

const char *text_end(const char *from, const char *end)
{
    for (const char *place = from + 1; place < end; ++place) {
        if (*place == '"')
            return place + 1;
        if (*place == '\\')
            ++place;
    }
    return end;
}

// Where the token at `from` ends: one of the six marks, a text with its quotes, a number or a word.
// A cache has millions of them.
const char *token_end(const char *from, const char *end)
{
    if (*from == '"')
        return text_end(from, end);
    const char *place = from + 1;
    if (!is_mark(*from))
        while (place < end && !is_mark(*place))
            ++place;
    return place;
}

// Line ends, then blanks.
struct Gap
{
    int lines = 0;
    int blanks = 0;
};

// What is due before and behind each token, which it is told by its first letter.
class Layout
{
public:
    explicit Layout(int first_depth)
        : depth(first_depth)
    {
    }

    Gap before(char letter)
    {
        const bool closes = letter == '}' || letter == ']';
        if (closes)
            --depth;
        // The line after an opening brace has been begun already.
        const bool starts_line = closes || is_line_start;
        return {.lines = closes && !is_line_start ? 1 : 0,
                .blanks = starts_line ? INDENT * std::max(depth, 0) : 0};
    }

    Gap behind(char letter)
    {
        const bool opens = letter == '{' || letter == '[';
        if (opens)
            ++depth;
        is_line_start = opens || letter == ',';
        return {.lines = is_line_start ? 1 : 0, .blanks = letter == ':' ? 1 : 0};
    }

    int level() const { return depth; }

private:
    int depth = 0;
    bool is_line_start = false; // nothing stands on the line yet
};

// Of what is appended; stops counting above `most`.
int count_letters(const QByteArray &compact, int depth, int most, int deepest)
{
    Layout layout(depth);
    int size = 0;
    const char *const end = compact.constData() + compact.size();
    const char *from = compact.constData();
    while (from < end) {
        const char *const next = token_end(from, end);
        const Gap before = layout.before(*from);
        const Gap behind = layout.behind(*from);
        size += before.lines + before.blanks + static_cast<int>(next - from) + behind.lines
            + behind.blanks;
        if (size > most || layout.level() > deepest)
            return ENDLESS;
        from = next;
    }
    return size;
}

char *put_gap(char *place, Gap gap)
{
    place = std::fill_n(place, gap.lines, '\n');
    return std::fill_n(place, gap.blanks, ' ');
}

} // namespace

void append_indented(QByteArray &text, const QByteArray &compact, int depth)
{
    append_indented(text, compact, depth, count_letters(compact, depth, ENDLESS - 1, ENDLESS));
}

// Into room of the right size: appending token by token takes three times as long.
void append_indented(QByteArray &text, const QByteArray &compact, int depth, int size)
{
    const int start = text.size();
    text.resize(start + size);
    char *place = text.data() + start;
    Layout layout(depth);
    const char *const end = compact.constData() + compact.size();
    const char *from = compact.constData();
    while (from < end) {
        const char *const next = token_end(from, end);
        place = put_gap(place, layout.before(*from));
        place = std::copy(from, next, place);
        place = put_gap(place, layout.behind(*from));
        from = next;
    }
}

int indented_size(const QByteArray &compact, int depth, int most)
{
    return count_letters(compact, depth, most, DEEPEST);
}
