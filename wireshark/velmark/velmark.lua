-- Takes the datagrams between the manager and its loudspeakers apart, for Wireshark and tshark.
-- docs/developer/wireshark.md tells how to install and use it.

package.prepend_path(".") -- the other files stand beside this one

local fields = require("velmark_fields")
local history = require("velmark_history")
local summary = require("velmark_summary")
local tree_of = require("velmark_tree")

local DEVICE_PORT = 7054
local BROADCAST_PORT = 7055

local velmark = Proto("velmark", "VELMARK loudspeakers")
velmark.fields = fields.fields
velmark.experts = fields.experts
velmark.init = history.clear

function velmark.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol = "VELMARK"
    if tvb:len() < tvb:reported_len() then
        pinfo.cols.info = "cut short by the capture"
        tree_of.add_cut(tree:add(velmark, tvb()), tvb)
        return
    end
    local frame = history.read(tvb:len() > 0 and tvb:raw() or "", pinfo)
    local found = history.find(frame, pinfo)
    local line = summary.of(frame, found)
    local root = tree:add(velmark, tvb(), "VELMARK loudspeakers, " .. line)
    tree_of.add_frame(root, tvb, pinfo, frame, found)
    pinfo.cols.protocol = "VELMARK" -- Wireshark's reader of JSON has named itself
    pinfo.cols.info = line
end

local udp_ports = DissectorTable.get("udp.port")
udp_ports:add(DEVICE_PORT, velmark)
udp_ports:add(BROADCAST_PORT, velmark)
