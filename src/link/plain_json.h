// JSON as devices write it, read piece by piece without making objects of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Goes through a text once. Each step is false where the text is not plain JSON or not what was
// asked for; then the rest says nothing, and whoever reads has to ask the toolkit's parser.
class PlainJson
{
public:
    explicit PlainJson(std::string_view json)
        : text(json)
    {
    }

    // Whether nothing but space is left.
    bool is_at_end()
    {
        skip_space();
        return at == text.size();
    }

    bool take(char letter)
    {
        skip_space();
        return take_at_once(letter);
    }

    // Nothing that would read otherwise than it is written: no escapes, no letters beyond ASCII.
    bool take_text(std::string_view &result)
    {
        if (!take('"'))
            return false;
        const size_t begin = at;
        while (at < text.size() && text[at] >= ' ' && text[at] <= '~' && text[at] != '"'
               && text[at] != '\\')
            ++at;
        result = text.substr(begin, at - begin);
        return take_at_once('"');
    }

    // A whole number of so many digits at most, 15 being what a double holds exactly, and without a
    // zero in front.
    bool take_number(int64_t &result, size_t most_digits)
    {
        skip_space();
        const bool is_negative = take_at_once('-');
        const size_t begin = at;
        int64_t number = 0;
        while (at < text.size() && at - begin < most_digits && is_digit(text[at]))
            number = number * 10 + (text[at++] - '0');
        result = is_negative ? -number : number;
        const bool leads_with_zero = at > begin && text[begin] == '0';
        return at > begin && (!leads_with_zero || (at == begin + 1 && !is_negative));
    }

    bool take_bool(bool &result)
    {
        skip_space();
        result = take_word("true");
        return result || take_word("false");
    }

    // An object with one member at least; `take_value_of(key)` takes the value of each.
    template<typename TakeValue>
    bool take_object(TakeValue take_value_of)
    {
        if (!take('{'))
            return false;
        do {
            std::string_view key;
            if (!take_text(key) || !take(':') || !take_value_of(key))
                return false;
        } while (take(','));
        return take('}');
    }

private:
    static bool is_digit(char letter) { return letter >= '0' && letter <= '9'; }

    void skip_space()
    {
        while (at < text.size()
               && (text[at] == ' ' || text[at] == '\n' || text[at] == '\r' || text[at] == '\t'))
            ++at;
    }

    bool take_at_once(char letter)
    {
        const bool is_there = at < text.size() && text[at] == letter;
        at += is_there;
        return is_there;
    }

    bool take_word(std::string_view word)
    {
        const bool is_there = text.substr(at, word.size()) == word;
        at += is_there ? word.size() : 0;
        return is_there;
    }

    const std::string_view text;
    size_t at = 0;
};
