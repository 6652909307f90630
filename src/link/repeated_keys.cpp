// Leaves out of a JSON text what the same object says again further behind.
#include "link/repeated_keys.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

struct Member
{
    int object = 0; // number of its object in the text
    std::string_view key;
    int begin = 0; // of the key, with its quotes
    int end = -1;  // where the next member of the object begins
};

// Looks at nothing but quotes, brackets and commas: whatever the parser takes is read alike here,
// and what it refuses it refuses at the same place.
class MemberScanner
{
public:
    explicit MemberScanner(const QByteArray &json)
        : text(json.constData(), static_cast<size_t>(json.size()))
    {
    }

    // Their keys stand in the text or in this scanner.
    std::vector<Member> scan()
    {
        members.reserve(text.size() / 16);
        for (size_t at = 0; at < text.size(); ++at) {
            const char letter = text[at];
            if (letter == '"')
                at = take_text(at);
            else if (letter == '{' || letter == '[')
                levels.push_back(letter == '{' ? Level{objects++, -1, true} : Level{});
            else if ((letter == '}' || letter == ']') && !levels.empty())
                levels.pop_back();
            else if (letter == ',' && !levels.empty())
                levels.back().expects_key = levels.back().object >= 0;
        }
        return std::move(members);
    }

private:
    struct Level
    {
        int object = -1; // -1: a list
        int last_member = -1;
        bool expects_key = false;
    };

    // Returns the place of the closing quote, or the end of the text.
    size_t take_text(size_t begin)
    {
        size_t end = begin + 1;
        bool has_escape = false;
        while (end < text.size() && text[end] != '"') {
            has_escape = has_escape || text[end] == '\\';
            end += text[end] == '\\' ? 2U : 1U;
        }
        end = std::min(end, text.size());
        if (!levels.empty() && levels.back().expects_key) {
            const std::string_view key = text.substr(begin + 1, end - begin - 1);
            add_member(has_escape ? unescaped(key) : key, static_cast<int>(begin));
        }
        return end;
    }

    void add_member(std::string_view key, int begin)
    {
        Level &level = levels.back();
        if (level.last_member >= 0)
            members[static_cast<size_t>(level.last_member)].end = begin;
        level.last_member = static_cast<int>(members.size());
        level.expects_key = false;
        members.push_back({level.object, key, begin, -1});
    }

    std::string_view unescaped(std::string_view key)
    {
        const QByteArray list
            = "[\"" + QByteArray(key.data(), static_cast<int>(key.size())) + "\"]";
        const QJsonArray read = QJsonDocument::fromJson(list).array();
        decoded.push_back(read.isEmpty() ? list : read.at(0).toString().toUtf8());
        return {decoded.back().constData(), static_cast<size_t>(decoded.back().size())};
    }

    const std::string_view text;
    int objects = 0;
    std::vector<Level> levels;
    std::vector<Member> members;
    std::deque<QByteArray> decoded; // keys that were written with escapes
};

bool is_repeated(const Member &one, const Member &next)
{
    return one.object == next.object && one.key == next.key;
}

// Comparing numbers is enough for nearly every text. True is also said of different keys with one
// hash.
bool may_repeat(const std::vector<Member> &members)
{
    std::vector<uint64_t> numbers;
    numbers.reserve(members.size());
    for (const Member &member : members)
        numbers.push_back(static_cast<uint64_t>(member.object) << 32
                          | (std::hash<std::string_view>()(member.key) & 0xFFFFFFFF));
    std::sort(numbers.begin(), numbers.end());
    return std::adjacent_find(numbers.begin(), numbers.end()) != numbers.end();
}

// Those that a later one of the same object and key replaces, as they stand in the text.
std::vector<Member> replaced_members(std::vector<Member> members)
{
    if (!may_repeat(members))
        return {};
    std::sort(members.begin(), members.end(), [](const Member &a, const Member &b) {
        return std::tie(a.object, a.key, a.begin) < std::tie(b.object, b.key, b.begin);
    });
    std::vector<Member> replaced;
    for (size_t i = 1; i < members.size(); ++i)
        if (is_repeated(members[i - 1], members[i]))
            replaced.push_back(members[i - 1]);
    std::sort(replaced.begin(), replaced.end(),
              [](const Member &a, const Member &b) { return a.begin < b.begin; });
    return replaced;
}

} // namespace

QByteArray without_repeated_keys(const QByteArray &json)
{
    MemberScanner scanner(json);
    const std::vector<Member> replaced = replaced_members(scanner.scan());
    if (replaced.empty())
        return json;
    QByteArray kept;
    kept.reserve(json.size());
    int from = 0;
    for (const Member &member : replaced) {
        if (member.begin < from)
            continue; // it goes with the one around it
        kept.append(json.constData() + from, member.begin - from);
        from = member.end;
    }
    return kept.append(json.constData() + from, json.size() - from);
}
