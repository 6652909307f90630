-- One line that tells a technician what a datagram says.

local frames = require("velmark_frame")
local json = require("velmark_json")

local LONGEST_LINE = 160

local summary = {}

-- At most `limit` characters, without control characters, which would tear the line.
function summary.one_line(text, limit)
    local line = text:gsub("%c+", " ")
    local count, at = 0, 1
    while at <= #line do
        if count == limit then
            return line:sub(1, at - 1) .. "…"
        end
        at = (line:find("[^\128-\191]", at + 1)) or #line + 1
        count = count + 1
    end
    return line
end

local function value_text(value)
    if value == json.NULL then
        return "null"
    elseif type(value) == "table" then
        return value.is_object and "{}" or "[" .. #value.keys .. "]"
    elseif type(value) == "number" then
        return string.format("%.10g", value)
    end
    return type(value) == "string" and '"' .. value .. '"' or tostring(value)
end

local ENVELOPE = { command = true, seq = true, api_version = true }
local MOST_LISTED = 20 -- of a longer command's values the line has no room to tell

-- "dsp/mute=true, ui/name="Sub 1"": the values of a command, nested ones along their paths.
local function list_values(object, path, list)
    for _, key in ipairs(object.keys) do
        local value = object.members[key]
        local is_nested = type(value) == "table" and value.is_object and #value.keys > 0
        if #list >= MOST_LISTED then
            return list
        elseif is_nested then
            list_values(value, path .. key .. "/", list)
        elseif path ~= "" or not ENVELOPE[key] then
            list[#list + 1] = path .. key .. "=" .. value_text(value)
        end
    end
    return list
end

local function command_name(object)
    local name = json.text_of(object, "command")
    return name == "" and "unnamed command" or name
end

local function with_errors(line, object)
    for _, key in ipairs({ "error", "warning", "firmware_update_error" }) do
        local text = json.text_of(object, key)
        if text ~= "" then
            line = line .. ", " .. key .. ": " .. text
        end
    end
    local dsp_error = json.text_of(json.object_of(object, "dsp"), "error")
    return dsp_error == "" and line or line .. ", dsp error: " .. dsp_error
end

local summaries = {}

function summaries.request(object)
    local wishes = {}
    for key, wish in pairs({ add_crc = "checksums", metering = "metering" }) do
        if object.members[key] == true then
            wishes[#wishes + 1] = wish
        end
    end
    table.sort(wishes)
    local line = "request for reports" .. (#wishes > 0 and " with " or "")
    return line .. table.concat(wishes, " and ")
end

function summaries.command(object)
    local values = table.concat(list_values(object, "", {}), ", ")
    return command_name(object) .. (values == "" and "" or ": " .. values)
end

function summaries.report(object)
    local name = json.text_of(json.object_of(object, "ui"), "name")
    local who = name == "" and json.text_of(object, "device_id") or '"' .. name .. '"'
    local firmware = json.text_of(object, "firmware_version")
    return with_errors("report of " .. who .. ", firmware " .. firmware, object)
end

function summaries.reply(object)
    local status = json.text_of(object, "status")
    local line = command_name(object) .. " reply" .. (status == "" and "" or ": " .. status)
    return with_errors(line, object)
end

function summaries.metering(object)
    local metering = json.object_of(object, "metering")
    local peaks = json.array_of(metering, "channel_peaks")
    local overdrive = json.array_of(metering, "channel_overdrive")
    local line = string.format("metering %d channels", #peaks.keys)
    local highest
    for _, value in ipairs(peaks.members) do
        highest = math.max(highest or -frames.WRAP, json.small_integer(value))
    end
    local driven = {}
    for i, value in ipairs(overdrive.members) do
        if json.small_integer(value) ~= 0 and #driven < MOST_LISTED then
            driven[#driven + 1] = i
        end
    end
    line = highest and string.format("%s, highest %d dB", line, highest - 70) or line
    return #driven == 0 and line or line .. ", overdrive on " .. table.concat(driven, ", ")
end

function summaries.log(object, frame, found)
    local position = frames.log_position(object)
    local length = frames.log_length(frame.attachment) or 0
    local line = string.format("log %d bytes at %.0f", length, position)
    if object.members.overflow == true then
        line = line .. ", overflow"
    end
    if found.expected and found.expected ~= position then
        line = line .. (position == 0 and ", starts anew" or ", bytes missing before")
    end
    return line
end

function summary.of(frame, found)
    local reason = frames.drop_reason(frame, found)
    local line
    if found.kind == "console text" then
        line = "console text: " .. frame.json:gsub("[^\32-\126]", ".")
    elseif not frame.object then
        line = "unreadable, " .. frame.size .. " bytes"
    else
        line = summaries[found.kind](frame.object, frame, found)
    end
    if reason then
        line = "[" .. reason .. "] " .. line
    end
    return summary.one_line(line, LONGEST_LINE)
end

return summary
