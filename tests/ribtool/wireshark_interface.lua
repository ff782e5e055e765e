-- What a dissector needs of Wireshark, without Wireshark: loads one and prints the items that it makes.
--
--     lua wireshark_interface.lua rib.lua FRAMES
--
-- FRAMES holds frames, each behind its length in four bytes. A line for each item: frame, filter, value; numbers of 64 bits
-- in hexadecimal.

local script, input = ...

local function kinds_of_fields(_, kind)
    return function(filter)
        return { kind = kind, filter = filter }
    end
end

ProtoField = setmetatable({}, { __index = kinds_of_fields })
ProtoExpert = { new = function() return {} end }
Pref = { range = function(_, value) return value end }
base = { DEC = 1, NONE = 0 }
expert = { group = {}, severity = {} }
wtap_encaps = { USER0 = 45 }

local function number_of_64_bits(low, high)
    return ("0x%08x%08x"):format(high, low)
end
UInt64 = { new = number_of_64_bits }
Int64 = { new = number_of_64_bits }

local dissector
local table_of_dissectors = { add_for_decode_as = function() end, remove = function() end }
function table_of_dissectors:add(_, proto)
    dissector = proto
end
Dissector = { get = function() end }
DissectorTable = { get = function() return table_of_dissectors end }

function Proto(name)
    return { name = name, prefs = {} }
end

local range = {}
range.__index = range

local function range_of(bytes)
    return setmetatable({ bytes = bytes }, range)
end

function range:range(offset, len)
    offset = offset or 0
    len = len or #self.bytes - offset
    assert(offset >= 0 and len > 0 and offset + len <= #self.bytes, "a range outside of the packet")
    return range_of(self.bytes:sub(offset + 1, offset + len))
end

function range:len()
    return #self.bytes
end

function range:raw()
    return self.bytes
end

function range:uint()
    local value = 0
    for place = 1, #self.bytes do
        value = value * 256 + self.bytes:byte(place)
    end
    return value
end

local frame_number
local tree = { visible = true }

local function value_of(field, part, value)
    if value == nil and field.kind == "bytes" then
        part = part or range_of("")
        return (part.bytes:gsub(".", function(byte) return ("%02x:"):format(byte:byte()) end):gsub(":$", ""))
    elseif value == nil then
        return field.kind == "none" and "" or ("%d"):format(part:uint())
    elseif type(value) == "boolean" then
        return value and "1" or "0"
    end
    return type(value) == "number" and ("%d"):format(value) or value
end

function tree:add(field, part, value)
    if field.filter then
        if getmetatable(part) ~= range then
            part, value = nil, part
        end
        print(frame_number .. "\t" .. field.filter .. "\t" .. value_of(field, part, value))
    end
    return self
end

local function does_nothing(self)
    return self
end
tree.set_text, tree.append_text, tree.set_generated = does_nothing, does_nothing, does_nothing
tree.add_proto_expert_info = does_nothing

assert(loadfile(script))()

local file = assert(io.open(input, "rb"))
local data = file:read("*a")
local place = 1
frame_number = 0
while place <= #data do
    local len = range_of(data:sub(place, place + 3)):uint()
    frame_number = frame_number + 1
    dissector.dissector(range_of(data:sub(place + 4, place + 3 + len)), { cols = {}, port_type = 0, number = frame_number }, tree)
    place = place + 4 + len
end
