// Spreads compact JSON over lines, as the toolkit writes it in its indented form.
#include "model/json_indent.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace {

constexpr int INDENT = 4;    // blanks per level
constexpr int DEEPEST = 512; // the JSON reader gives up at 1,024
constexpr int ENDLESS = std::numeric_limits<int>::max();

bool is_mark(char letter)
{
    return std::string_view("{}[],:").find(letter) != std::string_view::npos;
}

// Whether an odd number of backslashes stands before `place`.
bool is_escaped(const QByteArray &json, int place)
{
    int first = place;
    while (json.at(first - 1) == '\\')
        --first;
    return (place - first) % 2 == 1;
}

int text_end(const QByteArray &json, int from)
{
    int quote = json.indexOf('"', from + 1);
    while (quote > 0 && is_escaped(json, quote))
        quote = json.indexOf('"', quote + 1);
    return quote < 0 ? json.size() : quote + 1;
}

// Where the token at `from` ends: one of the six marks, a text with its quotes, a number or a word.
int token_end(const QByteArray &json, int from)
{
    if (json.at(from) == '"')
        return text_end(json, from);
    int end = from + 1;
    if (!is_mark(json.at(from)))
        while (end < json.size() && !is_mark(json.at(end)))
            ++end;
    return end;
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
    for (int from = 0, end = 0; from < compact.size(); from = end) {
        end = token_end(compact, from);
        const Gap before = layout.before(compact.at(from));
        const Gap behind = layout.behind(compact.at(from));
        size += before.lines + before.blanks + end - from + behind.lines + behind.blanks;
        if (size > most || layout.level() > deepest)
            return ENDLESS;
    }
    return size;
}

char *put_gap(char *place, Gap gap)
{
    place = std::fill_n(place, gap.lines, '\n');
    return std::fill_n(place, gap.blanks, ' ');
}

} // namespace

// Into room of the right size: appending token by token takes three times as long.
void append_indented(QByteArray &text, const QByteArray &compact, int depth)
{
    const int start = text.size();
    text.resize(start + count_letters(compact, depth, ENDLESS - 1, ENDLESS));
    char *place = text.data() + start;
    Layout layout(depth);
    for (int from = 0, end = 0; from < compact.size(); from = end) {
        end = token_end(compact, from);
        place = put_gap(place, layout.before(compact.at(from)));
        place = std::copy_n(compact.constData() + from, end - from, place);
        place = put_gap(place, layout.behind(compact.at(from)));
    }
}

int indented_size(const QByteArray &compact, int depth, int most)
{
    return count_letters(compact, depth, most, DEEPEST);
}
