-- What a datagram is: checksum, JSON text, attachment, and what the manager takes it for.

local bit = bit or require("bit")
local band, bxor, rshift = bit.band, bit.bxor, bit.rshift
local json = require("velmark_json")

local TRAILER_SIZE = 12 -- "\n//#" and eight hexadecimal digits
local WRAP = 4294967296 -- positions and checksums have 32 bits

local frames = {
    -- States of a checksum, by the numbers that Wireshark gives them.
    BAD = 0,
    GOOD = 1,
    MISSING = 3,
    TRAILER_SIZE = TRAILER_SIZE,
    WRAP = WRAP,
}

-- CRC-32 in its reflected form, polynomial EDB88320, one entry per value of a byte.
local crc_table = {}
for value = 0, 255 do
    local register = value
    for _ = 1, 8 do
        local carry = band(register, 1)
        register = rshift(register, 1)
        if carry == 1 then
            register = bxor(register, 0xEDB88320)
        end
    end
    crc_table[value] = register
end

local function crc32(bytes)
    local register = bit.bnot(0)
    for i = 1, #bytes do
        local entry = crc_table[band(bxor(register, bytes:byte(i)), 0xFF)]
        register = bxor(rshift(register, 8), entry)
    end
    return bit.bnot(register) % WRAP
end

-- In the manager's order: the trailer first, so that it covers an attachment; then the first 00.
-- Sizes are of the JSON text and of all without the trailer; `carried` and `computed` are there
-- with a trailer only, `object` when the text is one, `attachment` behind a 00.
function frames.read(bytes)
    local frame = { size = #bytes, status = frames.MISSING }
    if bytes:sub(-TRAILER_SIZE, -9) == "\n//#" then
        frame.size = #bytes - TRAILER_SIZE
        frame.carried = tonumber(bytes:match("^%x+", #bytes - 7) or "0", 16)
        frame.computed = crc32(bytes:sub(1, frame.size))
        frame.status = frame.carried == frame.computed and frames.GOOD or frames.BAD
    end
    local payload = bytes:sub(1, frame.size)
    local separator = payload:find("\0", 1, true)
    frame.json_size = separator and separator - 1 or frame.size
    frame.json = payload:sub(1, frame.json_size)
    frame.object = json.read_object(frame.json)
    frame.attachment = separator and payload:sub(separator + 1)
    return frame
end

-- What the manager takes an object for, whoever sent it.
function frames.device_kind(object)
    local command = json.text_of(object, "command")
    if command == "raw_log" then
        return "log"
    elseif command == "broadcast_info" then
        return "metering"
    end
    local is_report = json.text_of(object, "product") == "KESTA"
        and json.text_of(object, "device_id") ~= "" and json.number_of(object, "seq") == 0
    return is_report and "report" or "reply"
end

function frames.is_request(object)
    return json.text_of(object, "command") == "device_info" and object.members.device_id == nil
        and object.members.product == nil and object.members.status == nil
end

function frames.tells_of_device(object)
    return frames.device_kind(object) ~= "reply" or object.members.device_id ~= nil
        or object.members.product ~= nil or object.members.status ~= nil
end

-- A position as the manager reads it: cut to a whole number, modulo 2^32; anything else is 0.
function frames.log_position(object)
    local number = json.number_of(object, "pos") or 0
    local whole = number < 0 and math.ceil(number) or math.floor(number)
    local rest = math.fmod(whole, WRAP) -- exact, unlike %
    return rest < 0 and rest + WRAP or rest + 0
end

function frames.log_length(attachment)
    if not attachment or #attachment < 2 then
        return nil
    end
    local low, high = attachment:byte(1, 2)
    return low + high * 256
end

function frames.is_log_whole(frame)
    local length = frames.log_length(frame.attachment)
    return length ~= nil and length <= #frame.attachment - 2
end

-- Why the manager takes no notice; nil when it does. What it ignores because it does not know the
-- device, or because no log window is open, cannot be seen from outside.
function frames.drop_reason(frame, found)
    if found.direction == "to device" then
        return nil
    elseif frame.status == frames.BAD then
        return "wrong checksum"
    elseif not frame.object then
        return "no JSON object"
    elseif found.kind == "log" and not frames.is_log_whole(frame) then
        return "wrong log length"
    end
    return nil
end

return frames
