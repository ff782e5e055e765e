-- How updates travel, for the dissector: frames, type codes, the older forms, link type and TCP port. zidlc puts this file
-- behind what it knows of the messages themselves; rib.lua is both in one.

local zidl, name = ...

local HEADER_LEN = 8
local DELIMITER = 0
local PORT_TYPE_TCP = 2

local rib = zidl.new(name, "RIB Updates")
local proto = rib.proto

-- ---- Addresses: what stands behind a message's name. Empty where it has no address ----

-- As inet_ntop writes 16 bytes.
local function ipv6_text(bytes)
    local words, best, best_len, run_len = {}, nil, 1, 0
    for index = 1, 8 do
        local high, low = bytes:byte(2 * index - 1, 2 * index)
        words[index] = high * 256 + low
        run_len = words[index] == 0 and run_len + 1 or 0
        if run_len > best_len then
            best, best_len = index - run_len + 1, run_len
        end
    end
    local last = 8
    if best == 1 and (best_len == 6 or best_len == 5 and words[6] == 0xffff) then
        last = 6 -- an IPv4 address in IPv6
    end
    local text, index = "", 1
    while index <= last do
        if index == best then
            text = text .. (index == 1 and "::" or ":")
            index = index + best_len
        else
            text = text .. ("%x"):format(words[index]) .. (index < 8 and ":" or "")
            index = index + 1
        end
    end
    return last == 8 and text or text .. ("%d.%d.%d.%d"):format(bytes:byte(13, 16))
end

local function ipv4_text(number)
    local function byte_above(scale)
        return math.floor(number / scale) % 256
    end
    return ("%d.%d.%d.%d"):format(byte_above(16777216), byte_above(65536), byte_above(256), byte_above(1))
end

local function number(message, field)
    local item = message.kept[field]
    return item and item.low or 0
end

local function contents(item, bytes)
    return bytes:sub(item.place, item.stop - 1)
end

-- The least significant byte first: the halves are a host's reading of the address's bytes.
local function half_bytes(item)
    local text = ""
    for _, half in ipairs({ item and item.low or 0, item and item.high or 0 }) do
        for _, scale in ipairs({ 1, 256, 65536, 16777216 }) do
            text = text .. string.char(math.floor(half / scale) % 256)
        end
    end
    return text
end

local function with_length(text, message)
    local len = message.kept.prefix_len
    return len and text ~= "" and ("%s/%d"):format(text, len.low) or text
end

local readable = rib.readable

function readable.rib_ipv6_address(message)
    local first, second = message.kept.half0, message.kept.half1
    return (first or second) and ipv6_text(half_bytes(first) .. half_bytes(second)) or ""
end

function readable.rib_address(message)
    local family, ipv4, ipv6 = number(message, "family"), message.kept.ipv4, message.kept.ipv6
    if family == 1 and ipv4 then
        return ipv4_text(ipv4.low)
    end
    return family == 2 and ipv6 and ipv6.message and readable.rib_ipv6_address(ipv6.message) or ""
end

function readable.rib_prefix(message)
    local address = message.kept.address
    return address and address.message and with_length(readable.rib_address(address.message), message) or ""
end

-- Its family codes are others, and its IPv6 bytes may be fewer than 16: the rest is zeros.
function readable.rib_msg_prefix(message, bytes)
    local family, ipv4, ipv6 = number(message, "family"), message.kept.ipv4, message.kept.ipv6
    local text = ""
    if family == 2 and ipv4 then
        text = ipv4_text(ipv4.low)
    elseif family == 10 and ipv6 and ipv6.stop - ipv6.place <= 16 then
        local address = contents(ipv6, bytes)
        text = ipv6_text(address .. ("\0"):rep(16 - #address))
    end
    return with_length(text, message)
end

function readable.srv6_prefix(message, bytes)
    local prefix = message.kept.prefix and contents(message.kept.prefix, bytes) or ""
    local text = ""
    if #prefix == 16 then
        text = ipv6_text(prefix)
    elseif #prefix == 4 then
        text = ("%d.%d.%d.%d"):format(prefix:byte(1, 4))
    end
    return with_length(text, message)
end

readable.ip_rib_srv6_prefix = readable.srv6_prefix

-- ---- Type codes ----

-- What the column Info says of a message behind the name of its type.
local function route_summary(route, bytes)
    local prefix, paths = route.kept.route_prefix, route.kept.paths
    local text = prefix and prefix.message and readable.rib_prefix(prefix.message, bytes) or ""
    return ("%s, %d paths"):format(text == "" and "no prefix" or text, paths and #paths or 0)
end

local function proto_summary(update, bytes)
    local text = update.kept.proto_name
    return text and zidl.shown_text(contents(text, bytes)) or ""
end

-- A code is a message, or one of the older forms: see below.
local UPDATES = {
    [46] = { name = "grid list", message = "rib_grid_sync_list", filter = "grid" },
    [47] = { name = "protocol", message = "ip_rib_proto_update", filter = "proto", summary = proto_summary },
    [49] = { name = "next-hop ID", message = "rib_nhid_update", filter = "nhid" },
    [50] = { name = "opaque", message = "ip_rib_opaque", filter = "opaque" },
    [51] = { name = "route", message = "rib_route", filter = "route", summary = route_summary },
    [3] = { name = "route, older form" },
    [37] = { name = "opaque, older form" },
    [38] = { name = "protocol, older form" },
}

local names = { [DELIMITER] = "delimiter" }
for code, update in pairs(UPDATES) do
    names[code] = update.name
    update.fields = update.message and rib:message(update.message, update.filter)
end

local code_field = rib:field("uint16", "code", "Type code", base.DEC, names)
local length_field = rib:field("uint16", "length", "Payload length", base.DEC)
local unread_header = rib:field("bytes", "header", "Not looked at by the library")
local payload_field = rib:field("bytes", "payload", "Payload")
local damage_field = rib:field("string", "damage", "Damage")

-- ---- The older forms: fixed layouts with big-endian numbers ----

-- Offset, size, name and title of each number.
local OPAQUE_NUMBERS = {
    { 0, 2, "opaque_type" }, { 4, 4, "opaque_id" }, { 8, 2, "first_len" }, { 10, 2, "opaque_sub_id" },
    { 12, 4, "opaque_value" }, { 16, 4, "second_len" },
}
local OPAQUE_FIXED_LEN = 24
local PROTO_NUMBERS = { { 0, 2, "proto_id" }, { 2, 2, "proto_sub_id" }, { 4, 4, "proto_value" } }
local PROTO_NAMES = { { 8, 41, "proto_name" }, { 49, 43, "proto_extra_name" } }
local PROTO_LEN = 92

local function layout(filter, rows, kind)
    local fields = {}
    for _, row in ipairs(rows) do
        fields[row[3]] = rib:field(kind or row[2] == 2 and "uint16" or "uint32", filter .. "." .. row[3], row[3])
    end
    return fields
end

local opaque_numbers = layout("older_opaque", OPAQUE_NUMBERS)
local opaque_first = rib:field("bytes", "older_opaque.first_block", "first_block")
local opaque_second = rib:field("bytes", "older_opaque.second_block", "second_block")
local proto_numbers = layout("older_proto", PROTO_NUMBERS)
local proto_names = layout("older_proto", PROTO_NAMES, "string")

local function add_numbers(tree, payload, rows, fields)
    local values = {}
    for _, row in ipairs(rows) do
        local range = payload:range(row[1], row[2])
        values[row[3]] = range:uint()
        tree:add(fields[row[3]], range)
    end
    return values
end

local function opaque_blocks(tree, payload, numbers)
    -- The sum wraps at 32 bits: what comes out is compared with the payload.
    local room = payload:len() - OPAQUE_FIXED_LEN
    if (numbers.first_len + numbers.second_len) % 4294967296 > room then
        return rib:fails(tree, payload, { reason = "blocks_do_not_fit", offset = 8,
                                          text = "the blocks are longer than the payload" })
    end
    if numbers.first_len > 0 and numbers.first_len <= room then
        tree:add(opaque_first, payload:range(OPAQUE_FIXED_LEN, numbers.first_len))
    end
    if numbers.second_len > 0 and numbers.second_len <= room then
        tree:add(opaque_second, payload:range(OPAQUE_FIXED_LEN + numbers.first_len, numbers.second_len))
    end
end

UPDATES[37].dissect = function(tree, payload)
    if not payload or payload:len() < OPAQUE_FIXED_LEN then
        return rib:fails(tree, payload, { reason = "too_short",
                                          text = "the payload is shorter than its fixed part" })
    end
    opaque_blocks(tree, payload, add_numbers(tree, payload, OPAQUE_NUMBERS, opaque_numbers))
end

UPDATES[38].dissect = function(tree, payload)
    if not payload or payload:len() < PROTO_LEN then
        return rib:fails(tree, payload, {
            reason = "not_tried_too_short",
            text = "the payload is shorter than the record that it must be, which nothing checks",
        })
    end
    add_numbers(tree, payload, PROTO_NUMBERS, proto_numbers)
    for _, row in ipairs(PROTO_NAMES) do
        local range = payload:range(row[1], row[2])
        local text = range:raw():match("^[^\0]*")
        tree:add(proto_names[row[3]], range, zidl.shown_text(text))
    end
end

UPDATES[3].dissect = function(tree, payload)
    rib:fails(tree, payload, { reason = "not_tried_converter", text = "the client itself converts this form" })
end

local function dissect_unknown(tree, payload)
    rib:fails(tree, payload, { reason = "not_tried_unknown_code", text = "no entry point takes updates of this code" })
end

rib:finish()

-- ---- Frames ----

-- Shows the payload and gives what the column Info says of it.
local function dissect_payload(update, payload, tree)
    if not update or not update.fields then
        if payload then
            tree:add(payload_field, payload)
        end
        local dissect = update and update.dissect or dissect_unknown
        dissect(tree, payload)
        return ""
    end
    local message, failure = rib:dissect(update.fields, payload, tree)
    if failure then
        return failure.path == "" and failure.reason or failure.reason .. " at " .. failure.path
    end
    return update.summary and update.summary(message, payload and payload:raw() or "") or ""
end

local function damage_of(promised, held)
    if held < promised then
        return ("truncated: its header promises %d bytes of payload, the packet holds %d"):format(promised, held)
    elseif held > promised then
        return ("%d bytes follow the frame, whose header promises %d bytes of payload"):format(held - promised, promised)
    end
end

local function add_damage(tree, text)
    tree:add(damage_field, text):set_generated():add_proto_expert_info(rib.failed, text)
end

local summaries -- of the packet's frames, for the column Info

-- One frame and nothing else.
local function dissect_frame(packet, _, tree)
    local branch = tree:add(proto, packet:range())
    local held = packet:len()
    if held < HEADER_LEN then
        add_damage(branch, ("truncated: a frame header has %d bytes, the packet %d"):format(HEADER_LEN, held))
        return held
    end
    local code, promised = packet:range(4, 2):uint(), packet:range(6, 2):uint()
    branch:add(unread_header, packet:range(0, 4))
    branch:add(code_field, packet:range(4, 2))
    branch:add(length_field, packet:range(6, 2))
    local damage = damage_of(promised, held - HEADER_LEN)
    local update = UPDATES[code]
    local text = names[code] or ("code %d"):format(code)
    branch:append_text(", " .. text)
    if damage then
        add_damage(branch, damage)
        text = text .. ": " .. damage
    elseif code ~= DELIMITER then
        local payload = promised > 0 and packet:range(HEADER_LEN, promised) or nil
        local summary = dissect_payload(update, payload, branch)
        text = summary == "" and text or text .. ": " .. summary
    elseif promised > 0 then
        branch:add(payload_field, packet:range(HEADER_LEN, promised))
    end
    summaries[#summaries + 1] = text
    return held
end

local function frame_len(packet, _, offset)
    return HEADER_LEN + packet:range(offset + 6, 2):uint()
end

local SEPARATOR = " | "
local last_shown -- number of a packet, and the pass over the capture

-- A segment that ends one frame and begins others comes here twice; what the first time has set stays in front.
local function add_to_info(info, text)
    local now = ("%d %s"):format(info.number, tostring(info.visited))
    info.cols.info = (now == last_shown and SEPARATOR or "") .. text
    last_shown = now
end

-- A packet of a capture is a frame; of a TCP stream it is any part of one or many.
function proto.dissector(packet, info, tree)
    info.cols.protocol = name:upper()
    summaries = {}
    if info.port_type == PORT_TYPE_TCP then
        dissect_tcp_pdus(packet, tree, HEADER_LEN, frame_len, dissect_frame)
    else
        dissect_frame(packet, info, tree)
    end
    if #summaries > 0 then
        add_to_info(info, table.concat(summaries, SEPARATOR))
    end
    return packet:len()
end

-- ---- Where updates are found ----

DissectorTable.get("wtap_encap"):add((wtap_encaps or wtap).USER0, proto)

local tcp_ports = DissectorTable.get("tcp.port")
local chosen_ports = ""
proto.prefs.tcp_ports = Pref.range("TCP ports", chosen_ports, "Streams of frames on these ports are updates", 65535)
tcp_ports:add_for_decode_as(proto)

function proto.prefs_changed()
    if chosen_ports ~= proto.prefs.tcp_ports then
        if chosen_ports ~= "" then
            tcp_ports:remove(chosen_ports, proto)
        end
        chosen_ports = proto.prefs.tcp_ports
        if chosen_ports ~= "" then
            tcp_ports:add(chosen_ports, proto)
        end
    end
end
