-- Reads JSON texts as the manager's parser does, and refuses what that refuses. A verdict by
-- Wireshark's own dissector, which shows whatever it can, would say nothing about the manager's.
--
-- A container is a table: `is_object`; `keys` in the order of the text; `members`, for an array
-- from 1 on; `firsts` and `lasts`, the first and last byte of each member's value. Every reader
-- takes the text and the place to begin, and returns the place behind the value, and the value. No
-- place: refused.

local json = { NULL = {} }

local DEEPEST = 1024 -- levels, as in the manager's parser
local TWO_TO_31 = 2147483648
local DECIMAL_POINT = tostring(1.5):sub(2, 2) -- of the user's language, which tonumber wants
local UTF8_SEQUENCES = {
    "^[\194-\223][\128-\191]",
    "^\224[\160-\191][\128-\191]",
    "^[\225-\236\238\239][\128-\191][\128-\191]",
    "^\237[\128-\159][\128-\191]",
    "^\240[\144-\191][\128-\191][\128-\191]",
    "^[\241-\243][\128-\191][\128-\191][\128-\191]",
    "^\244[\128-\143][\128-\191][\128-\191]",
}
local ESCAPES = { b = "\b", f = "\f", n = "\n", r = "\r", t = "\t" }
local WORDS = { ["true"] = true, ["false"] = false, ["null"] = json.NULL }

function json.is_utf8(text)
    local at = text:find("[\128-\255]")
    while at do
        local last
        for _, sequence in ipairs(UTF8_SEQUENCES) do
            last = last or select(2, text:find(sequence, at))
        end
        if not last then
            return false
        end
        at = text:find("[\128-\255]", last + 1)
    end
    return true
end

local function utf8_of(code)
    if code < 0x80 then
        return string.char(code)
    elseif code < 0x800 then
        return string.char(0xC0 + math.floor(code / 0x40), 0x80 + code % 0x40)
    elseif code < 0x10000 then
        return string.char(0xE0 + math.floor(code / 0x1000),
            0x80 + math.floor(code / 0x40) % 0x40, 0x80 + code % 0x40)
    end
    return string.char(0xF0 + math.floor(code / 0x40000), 0x80 + math.floor(code / 0x1000) % 0x40,
        0x80 + math.floor(code / 0x40) % 0x40, 0x80 + code % 0x40)
end

local function skip_space(text, at)
    return text:find("[^ \t\r\n]", at) or #text + 1
end

-- "\u" and its four digits at `at`; a pair of surrogates is one character, half a pair is none.
local function read_unicode_escape(text, at)
    local digits = text:match("^%x%x%x%x", at + 2)
    if not digits then
        return nil
    end
    local code, behind = tonumber(digits, 16), at + 6
    local low = tonumber(text:match("^\\u(%x%x%x%x)", behind) or "0", 16)
    if code >= 0xD800 and code < 0xDC00 and low >= 0xDC00 and low < 0xE000 then
        return behind + 6, utf8_of(0x10000 + (code - 0xD800) * 0x400 + low - 0xDC00)
    end
    local is_half = code >= 0xD800 and code < 0xE000
    return behind, utf8_of(is_half and 0xFFFD or code)
end

local function read_escape(text, at)
    local letter = text:sub(at + 1, at + 1)
    if letter == "u" then
        return read_unicode_escape(text, at)
    elseif letter == "" then
        return nil
    end
    return at + 2, ESCAPES[letter] or utf8_of(letter:byte())
end

local function read_string_with_escapes(text, at)
    local pieces = {}
    while true do
        local stop = text:find('["\\]', at)
        local piece = stop and text:sub(at, stop - 1)
        if not piece or not json.is_utf8(piece) then
            return nil
        end
        pieces[#pieces + 1] = piece
        if text:sub(stop, stop) == '"' then
            return stop + 1, table.concat(pieces)
        end
        at, pieces[#pieces + 1] = read_escape(text, stop)
        if not at then
            return nil
        end
    end
end

-- `at` is the opening quote.
local function read_string(text, at)
    local piece, behind = text:match('^([^"\\\128-\255]*)"()', at + 1)
    if piece then
        return behind, piece
    end
    return read_string_with_escapes(text, at + 1)
end

local function read_number(text, at)
    local digits = text:match("^-?0", at) or text:match("^-?%d*", at)
    local fraction = text:match("^%.%d*", at + #digits) or ""
    local exponent = text:match("^[eE][-+]?%d*", at + #digits + #fraction) or ""
    local written = digits .. fraction .. exponent
    local number = tonumber(written) or tonumber((written:gsub("%.", DECIMAL_POINT)))
    local is_too_small = number == 0 and (digits .. fraction):find("[1-9]")
    if not number or number == math.huge or number == -math.huge or is_too_small then
        return nil
    end
    return at + #digits + #fraction + #exponent, number
end

local read_value

local function read_member(text, at, container, depth)
    local key = #container.keys + 1
    if container.is_object then
        if text:sub(at, at) ~= '"' then
            return nil
        end
        at, key = read_string(text, at)
        at = at and skip_space(text, at)
        if not at or text:sub(at, at) ~= ":" then
            return nil
        end
        at = skip_space(text, at + 1)
    end
    local behind, value = read_value(text, at, depth)
    if not behind then
        return nil
    end
    if container.members[key] == nil then
        container.keys[#container.keys + 1] = key
    end
    container.members[key] = value -- of equal keys the last one counts
    container.firsts[key], container.lasts[key] = at, behind - 1
    return behind
end

local function read_container(text, at, depth)
    local is_object = text:sub(at, at) == "{"
    local closing = is_object and "}" or "]"
    local container = { is_object = is_object, keys = {}, members = {}, firsts = {}, lasts = {},
        depth = depth }
    if depth > DEEPEST then
        return nil
    end
    at = skip_space(text, at + 1)
    if text:sub(at, at) == closing then
        return at + 1, container
    end
    while true do
        at = read_member(text, at, container, depth)
        at = at and skip_space(text, at)
        local letter = at and text:sub(at, at)
        if letter == closing then
            return at + 1, container
        elseif letter ~= "," then
            return nil
        end
        at = skip_space(text, at + 1)
    end
end

function read_value(text, at, depth)
    local letter = text:sub(at, at)
    if letter == '"' then
        return read_string(text, at)
    elseif letter == "{" or letter == "[" then
        return read_container(text, at, depth + 1)
    end
    local word = text:match("^%l+", at)
    if word then
        return WORDS[word] ~= nil and at + #word or nil, WORDS[word]
    end
    return read_number(text, at)
end

-- The object that the whole text is; nil when it is none.
function json.read_object(text)
    local start = skip_space(text, text:sub(1, 3) == "\239\187\191" and 4 or 1)
    if text:sub(start, start) ~= "{" then
        return nil
    end
    local behind, object = read_container(text, start, 1)
    local is_whole = behind and skip_space(text, behind) > #text
    return is_whole and object or nil
end

local NOTHING = { keys = {}, members = {} }

function json.text_of(object, key)
    local value = object.members[key]
    return type(value) == "string" and value or ""
end

function json.number_of(object, key)
    local value = object.members[key]
    return type(value) == "number" and value or nil
end

function json.object_of(object, key)
    local value = object.members[key]
    return type(value) == "table" and value.is_object and value or NOTHING
end

function json.array_of(object, key)
    local value = object.members[key]
    return type(value) == "table" and value.is_object == false and value or NOTHING
end

-- As the manager reads entries of lists: a whole number of 32 bits, anything else is 0.
function json.small_integer(value)
    local is_one = type(value) == "number" and value % 1 == 0 and value >= -TWO_TO_31
        and value < TWO_TO_31
    return is_one and value or 0
end

function json.depth_of(object)
    local deepest = object.depth
    for _, key in ipairs(object.keys) do
        local value = object.members[key]
        if type(value) == "table" and value ~= json.NULL then
            deepest = math.max(deepest, json.depth_of(value))
        end
    end
    return deepest
end

return json
