-- How messages travel is not known here: each type that no other holds is a protocol of its own, NAME.TYPE, to choose for
-- a link type or a port in Wireshark's preferences. A packet is one message, without a frame.

local zidl, name, outermost = ...

for _, type_name in ipairs(outermost) do
    local dissector = zidl.new(name .. "." .. type_name, name .. " " .. type_name)
    local message = dissector:message(type_name, "")
    dissector:finish()

    function dissector.proto.dissector(packet, info, tree)
        info.cols.protocol = name
        info.cols.info = type_name
        local payload = packet:len() > 0 and packet:range() or nil
        local branch = payload and tree:add(dissector.proto, payload) or tree:add(dissector.proto)
        dissector:dissect(message, payload, branch)
        return packet:len()
    end
end
