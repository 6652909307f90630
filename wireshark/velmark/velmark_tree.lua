-- The tree of one datagram.

local frames = require("velmark_frame")
local json = require("velmark_json")
local one_line = require("velmark_summary").one_line
local fields = require("velmark_fields").fields
local experts = require("velmark_fields").experts

local MOST_CHANNELS = 1024 -- the manager reads no more
local DEEPEST_SHOWN = 64 -- a deeper object is shown as text: a tree of it helps nobody

local function add_generated(tree, field, value)
    return tree:add(field, value):set_generated()
end

-- The bytes of a member's value.
local function span_of(tvb, object, key)
    local first, last = object.firsts[key], object.lasts[key]
    return tvb(first - 1, last - first + 1)
end

local function add_text(tree, tvb, field, object, key)
    local value = json.text_of(object, key)
    return value ~= "" and tree:add(field, span_of(tvb, object, key), value) or nil
end

local function add_number(tree, tvb, field, object, key)
    local value = json.number_of(object, key)
    return value and tree:add(field, span_of(tvb, object, key), value) or nil
end

local function add_error(tree, tvb, field, object, key)
    local item = add_text(tree, tvb, field, object, key)
    if item then
        item:add_proto_expert_info(experts.error_text, one_line(json.text_of(object, key), 200))
    end
end

local function add_members(tree, tvb, object)
    local ui = json.object_of(object, "ui")
    add_text(tree, tvb, fields.command, object, "command")
    add_number(tree, tvb, fields.seq, object, "seq")
    add_text(tree, tvb, fields.device_id, object, "device_id")
    add_text(tree, tvb, fields.status, object, "status")
    add_text(tree, tvb, fields.product, object, "product")
    add_number(tree, tvb, fields.product_id, object, "product_id")
    add_text(tree, tvb, fields.name, ui, "name")
    add_text(tree, tvb, fields.location, ui, "loc")
    add_text(tree, tvb, fields.firmware, object, "firmware_version")
    add_error(tree, tvb, fields.error, object, "error")
    add_error(tree, tvb, fields.warning, object, "warning")
    add_error(tree, tvb, fields.update_error, object, "firmware_update_error")
    add_error(tree, tvb, fields.dsp_error, json.object_of(object, "dsp"), "error")
end

local function add_entries(tree, tvb, field, array, text)
    for i, value in ipairs(array.members) do
        if i > MOST_CHANNELS then
            break
        end
        local number = json.small_integer(value)
        tree:add(field, span_of(tvb, array, i), number):set_text(text(i, number))
    end
end

local function add_metering(tree, tvb, object)
    local metering = json.object_of(object, "metering")
    local peaks = json.array_of(metering, "channel_peaks")
    local overdrive = json.array_of(metering, "channel_overdrive")
    local count = add_generated(tree, fields.channels, #peaks.keys)
    if #peaks.keys ~= #overdrive.keys then
        count:add_proto_expert_info(experts.metering, string.format(
            "%d peaks, but %d overdrive flags", #peaks.keys, #overdrive.keys))
    end
    if #peaks.keys > MOST_CHANNELS then
        count:add_proto_expert_info(experts.metering,
            "The manager reads no more than " .. MOST_CHANNELS .. " channels")
    end
    add_entries(tree, tvb, fields.peak, peaks, function(channel, number)
        return string.format("Channel %d: %d dB (%d)", channel, number - 70, number)
    end)
    add_entries(tree, tvb, fields.overdrive, overdrive, function(channel, number)
        local state = number ~= 0 and "overdrive" or "no overdrive"
        return string.format("Channel %d: %s", channel, state)
    end)
end

-- Terminal codes, and what follows the first zero byte, which no window shows.
local function plain_text(bytes)
    local text = bytes:gsub("\27%[[^\64-\126]*[\64-\126]?", ""):gsub("\27", "")
    text = text:match("^[^%z]*")
    return json.is_utf8(text) and text or text:gsub("[\128-\255]", "?")
end

local function add_log_attachment(tree, range, frame)
    local attachment = frame.attachment or ""
    local length = frames.log_length(attachment)
    if not length then
        tree:add_proto_expert_info(experts.log_length,
            "A log message without a length: the manager drops it")
        return
    end
    local present = #attachment - 2
    local item = tree:add_le(fields.log_length, range(0, 2))
    if length > present then
        item:add_proto_expert_info(experts.log_length, string.format(
            "%d bytes are stated and %d are there: the manager drops this", length, present))
    end
    local shown = math.min(length, present)
    if shown > 0 then
        tree:add(fields.log_bytes, range(2, shown))
        tree:add(fields.log_text, range(2, shown), plain_text(attachment:sub(3, 2 + shown)))
    end
    if present > length then
        local padding = range(2 + length, present - length)
        tree:add(fields.log_padding, padding):add_proto_expert_info(experts.log_padding,
            string.format("%d bytes are counted, but not shown", present - length))
    end
end

local function add_gap(tree, item, position, expected)
    local gap = (position - expected) % frames.WRAP
    add_generated(tree, fields.log_expected, expected)
    if gap == 0 then
        return
    end
    add_generated(tree, fields.log_gap, gap)
    if position == 0 then
        item:add_proto_expert_info(experts.log_restart,
            "Position 0 again: the device has started anew")
    elseif gap < frames.WRAP / 2 then
        item:add_proto_expert_info(experts.log_gap, string.format("%.0f log bytes lost", gap))
    else
        item:add_proto_expert_info(experts.log_gap,
            string.format("The position goes back by %.0f", frames.WRAP - gap))
    end
end

local function add_log(tree, tvb, frame, found)
    local object = frame.object
    local position = frames.log_position(object)
    local item = object.members.pos ~= nil
            and tree:add(fields.log_pos, span_of(tvb, object, "pos"), position)
        or add_generated(tree, fields.log_pos, position)
    if found.expected then
        add_gap(tree, item, position, found.expected)
    end
    local overflow = object.members.overflow
    if type(overflow) == "boolean" then
        item = tree:add(fields.log_overflow, span_of(tvb, object, "overflow"), overflow)
    end
    if overflow == true then
        item:add_proto_expert_info(experts.log_overflow, "The device lost log bytes itself")
    end
    if not frame.attachment then
        tree:add_proto_expert_info(experts.log_length,
            "A log message without an attachment: the manager drops it")
    end
end

local function add_attachment(tree, tvb, frame, found)
    if not frame.attachment then
        return
    end
    local start, size = frame.json_size + 1, #frame.attachment
    tree:add(fields.separator, tvb(frame.json_size, 1))
    add_generated(tree, fields.attachment_size, size)
    local item = tree
    if size > 0 then
        item = tree:add(fields.attachment, tvb(start, size))
    end
    if found.kind == "log" then
        add_log_attachment(item, size > 0 and tvb(start, size), frame)
    elseif size > 0 and found.direction ~= "to device" then
        item:add_proto_expert_info(experts.attachment_ignored,
            "Only log messages have an attachment that the manager reads")
    end
end

local function add_checksum(tree, tvb, frame, direction)
    local status = frame.status
    if status == frames.GOOD or status == frames.BAD then
        local trailer = tvb(frame.size, frames.TRAILER_SIZE)
        local item = tree:add(fields.checksum, trailer, frame.carried)
        item:append_text(status == frames.GOOD and " [correct]"
            or string.format(" [wrong, should be 0x%08x]", frame.computed))
        add_generated(item, fields.checksum_computed, frame.computed)
        add_generated(item, fields.checksum_status, status)
        if status == frames.BAD then
            item:add_proto_expert_info(experts.checksum_bad, string.format(
                "Wrong checksum, should be 0x%08x: the manager drops this", frame.computed))
        end
        return
    end
    local item = add_generated(tree, fields.checksum_status, status)
    if status == frames.MISSING and direction == "from device" then
        item:add_proto_expert_info(experts.checksum_missing,
            "No checksum: the manager takes this as it is")
    end
end

-- A report in all but one condition is read as a reply: worth a word to whoever makes devices.
local function add_near_miss(tree, object)
    if json.text_of(object, "product") ~= "KESTA" then
        return
    end
    local has_id = json.text_of(object, "device_id") ~= ""
    tree:add_proto_expert_info(experts.no_report,
        "Taken for a reply: " .. (has_id and "its seq is not 0" or "it has no device id"))
end

-- Wireshark's own reader of JSON stumbles over half a pair of surrogates and over escapes that JSON
-- does not know; and a tree of hundreds of levels helps nobody. Such texts are shown as they are.
local function is_fit_for_tree(frame)
    local rest = frame.json:gsub("\\\\", "")
    rest = rest:gsub("\\u[dD][89abAB]%x%x\\u[dD][c-fC-F]%x%x", "")
    local odd_escape = rest:find("\\u[dD][89a-fA-F]%x%x") or rest:find('\\[^"/bfnrtu]')
    return not odd_escape and json.depth_of(frame.object) <= DEEPEST_SHOWN
end

local function add_json_text(tree, tvb, frame)
    if frame.json_size == 0 then
        return nil
    elseif frame.object and is_fit_for_tree(frame) then
        return tree:add(tvb(0, frame.json_size), "JSON text")
    end
    tree:add(fields.text, tvb(0, frame.json_size))
    return nil
end

local function add_no_object(tree, frame, direction)
    if direction == "to device" then
        return
    end
    local what = frame.json_size == 0 and "There is no JSON text" or "This is no JSON object"
    tree:add_proto_expert_info(experts.no_object, what .. ": the manager drops it")
end

local function add_findings(tree, tvb, frame, found)
    add_generated(tree, fields.direction, found.direction)
    add_generated(tree, fields.kind, found.kind)
    local reason = frames.drop_reason(frame, found)
    if reason then
        add_generated(tree, fields.dropped, reason)
    end
    if found.answers then
        add_generated(tree, fields.answers, found.answers)
    end
    if not frame.object then
        add_no_object(tree, frame, found.direction)
        return
    end
    add_members(tree, tvb, frame.object)
    if found.address_before then
        tree:add_proto_expert_info(experts.address_change,
            "This device id was last heard from " .. found.address_before)
    end
end

local function add_cut(root, tvb)
    root:add_proto_expert_info(experts.cut, "Cut short by the capture: nothing can be said of it")
    if tvb:len() > 0 then
        root:add(fields.text, tvb())
    end
end

local function add_frame(root, tvb, pinfo, frame, found)
    add_findings(root, tvb, frame, found)
    if found.kind == "log" then
        add_log(root, tvb, frame, found)
    elseif found.kind == "metering" then
        add_metering(root, tvb, frame.object)
    elseif found.kind == "reply" then
        add_near_miss(root, frame.object)
    end
    local json_item = add_json_text(root, tvb, frame)
    add_attachment(root, tvb, frame, found)
    add_checksum(root, tvb, frame, found.direction)
    if json_item then -- last: what goes wrong in there ends the whole dissection
        Dissector.get("json"):call(tvb(0, frame.json_size):tvb(), pinfo, json_item)
    end
end

return { add_frame = add_frame, add_cut = add_cut }
