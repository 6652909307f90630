-- What the frames before have shown: who is the manager, where a log stands, what a reply answers.

local frames = require("velmark_frame")
local json = require("velmark_json")

local BROADCAST_PORT = 7055
local LONG = 512 -- bytes; a report has more, metering and replies have less

local history = {}

local managers = {} -- by address: has asked for reports
local speakers = {} -- by address: has sent what only devices send
local addresses = {} -- by device id: where it was heard last
local commands = {} -- by address of a device: number of the last command's frame
local log_ends = {} -- by device id: position of the next log byte
local reports = {} -- by address: the last long datagram, as it was read
local findings = {} -- by frame number: what was found when the frame was first seen

function history.clear()
    managers, speakers, addresses, commands, log_ends = {}, {}, {}, {}, {}
    reports, findings = {}, {}
end

-- A device without news sends the same bytes twice a second: they are read once.
function history.read(bytes, pinfo)
    if #bytes < LONG then
        return frames.read(bytes)
    end
    local from = tostring(pinfo.src)
    local last = reports[from]
    if not last or last.bytes ~= bytes then
        last = frames.read(bytes)
        last.bytes = bytes
        reports[from] = last
    end
    return last
end

local function direction_of(frame, from, pinfo)
    local object = frame.object
    if object and frames.is_request(object) then
        managers[from] = true
    end
    if managers[from] then
        return "to device"
    elseif pinfo.dst_port == BROADCAST_PORT or speakers[from] then
        return "from device"
    elseif object and frames.tells_of_device(object) then
        speakers[from] = true
        return "from device"
    elseif frame.carried then
        return "from device" -- only devices send checksums
    elseif object and object.members.api_version ~= nil then
        return "to device"
    end
    return "unknown"
end

local function kind_of(frame, direction)
    local object = frame.object
    if not object then
        return direction == "to device" and "console text" or "unreadable"
    elseif direction ~= "to device" then
        return frames.device_kind(object)
    end
    return frames.is_request(object) and "request" or "command"
end

local function follow_log(found, frame)
    local device_id = json.text_of(frame.object, "device_id")
    local position = frames.log_position(frame.object)
    found.expected = log_ends[device_id]
    -- The manager counts what came, padding included, and not the stated length.
    log_ends[device_id] = (position + #frame.attachment - 2) % frames.WRAP
end

local function follow_address(found, frame, from)
    local device_id = json.text_of(frame.object, "device_id")
    local before = addresses[device_id]
    if before ~= from then
        found.address_before = before
    end
    addresses[device_id] = from
end

-- What Wireshark asks again for a frame must come out as the first time, in whatever order.
function history.find(frame, pinfo)
    local known = findings[pinfo.number]
    if pinfo.visited and known then
        return known
    end
    local from, to = tostring(pinfo.src), tostring(pinfo.dst)
    local found = { direction = direction_of(frame, from, pinfo) }
    found.kind = kind_of(frame, found.direction)
    findings[pinfo.number] = found
    if found.kind == "command" then
        commands[to] = pinfo.number
    elseif found.kind == "reply" then
        found.answers = commands[from]
    end
    if not frame.object or frame.status == frames.BAD then
        return found
    end
    if found.kind == "log" and frames.is_log_whole(frame) then
        follow_log(found, frame)
    elseif found.kind == "report" then
        follow_address(found, frame, from)
    end
    return found
end

return history
