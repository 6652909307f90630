// What log messages and metering frames have in common, read as devices write it.
#pragma once

#include "link/plain_json.h"

#include <QLatin1String>

#include <cstdint>
#include <string_view>
#include <utility>

class UsualHead
{
public:
    // Takes an object that is all of the text, of "command" (this one), "device_id", maybe
    // "api_version", and what `take_other(key)` takes the values of. False where it is another.
    template<typename TakeOther>
    bool take(PlainJson &text, std::string_view command, TakeOther take_other)
    {
        const auto take_member = [this, &text, command, take_other](std::string_view key) {
            if (key == "command") {
                std::string_view said;
                return is_first(has_command) && text.take_text(said) && said == command;
            }
            if (key == "device_id")
                return is_first(has_device_id) && take_device_id(text);
            int64_t version = 0;
            if (key == "api_version")
                return is_first(has_version) && text.take_number(version, VERSION_DIGITS);
            return take_other(key);
        };
        return text.take_object(take_member) && text.is_at_end() && has_command && has_device_id;
    }

    // Of a key that is said twice the last one would count: neither is read here.
    static bool is_first(bool &has_been_said) { return !std::exchange(has_been_said, true); }

    QLatin1String device_id = {}; // stands in the text

private:
    static constexpr size_t VERSION_DIGITS = 9;

    bool take_device_id(PlainJson &text)
    {
        std::string_view id;
        const bool is_taken = text.take_text(id);
        device_id = QLatin1String(id.data(), static_cast<int>(id.size()));
        return is_taken;
    }

    bool has_version = false;
    bool has_command = false;
    bool has_device_id = false;
};
