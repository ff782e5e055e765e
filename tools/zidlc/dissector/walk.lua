-- The walk over a message's bytes, as the decoder reads them: what of them is a value that it keeps, and where and why
-- decoding fails. It knows nothing of Wireshark and runs in any Lua from 5.2 on: numbers have at most 53 bits in some of
-- them, so that 64 bits are a low and a high half of 32, and no operator is used that not all of them have.
--
-- A place is a position in the string of bytes, the first being 1. An offset, in what is told of a failure, counts from 0.

local kinds, messages, reasons = ...

local byte, floor = string.byte, math.floor

-- What a varint's groups of 7 bits count, the first one first: four in the low half, one on the border, five in the high.
local LOW_GROUPS = { 1, 128, 16384, 2097152 }
local BORDER = 268435456
local HIGH_GROUPS = { 8, 1024, 131072, 16777216, 2147483648 }
local HALF = 4294967296

-- The place behind the varint and its low 64 bits, as halves; nothing where it is cut off behind `last`.
local function read_varint(bytes, place, last)
    local only = byte(bytes, place)
    if place <= last and only < 128 then
        return place + 1, only, 0
    end
    local low, high, groups = 0, 0, 0
    while place <= last do
        local group = byte(bytes, place)
        place = place + 1
        groups = groups + 1
        local bits = group % 128
        if groups <= 4 then
            low = low + bits * LOW_GROUPS[groups]
        elseif groups == 5 then
            low = low + bits % 16 * BORDER
            high = floor(bits / 16)
        elseif groups < 10 then
            high = high + bits * HIGH_GROUPS[groups - 5]
        elseif groups == 10 then
            high = high + bits % 2 * HIGH_GROUPS[5]
        end
        if group < 128 then
            return place, low, high
        end
    end
end

-- What the decoder keeps of a number, by the word of its kind.
local kept = {}

function kept.u8(low)
    return low % 256, 0
end

function kept.u32(low)
    return low, 0
end

function kept.u64(low, high)
    return low, high
end

kept.fixed32 = kept.u32

-- Zigzag; a negative number is its complement to 2^64.
function kept.sint64(low, high)
    local half_low = floor(low / 2) + high % 2 * 2147483648
    local half_high = floor(high / 2)
    if low % 2 == 0 then
        return half_low, half_high
    end
    return HALF - 1 - half_low, HALF - 1 - half_high
end

kept["bool"] = function(low, high)
    return (low ~= 0 or high ~= 0) and 1 or 0, 0
end

for _, message in pairs(messages) do
    message.by_number = {}
    for _, field in ipairs(message) do
        field.number, field.name = field[1], field[2]
        field.nested = messages[field[3]]
        field.kind = field.nested and "message" or field[3]
        field.wire_type = kinds[field.kind]
        field.kept = kept[field.kind]
        field.is_delimited = field.wire_type == 2
        assert(field.is_delimited or field.kept, field.name .. ": a kind that is not known here")
        message.by_number[field.number] = field
    end
end

-- Notes the first failure. `step` names the field; without one it is about the message. The messages around it add theirs.
local function fail(walk, reason, place, step)
    walk.failure = { reason = reason, text = reasons[reason].text, status = reasons[reason].status, offset = place - 1,
                     path = step or "" }
end

local function step_of(field, index)
    return field.is_repeated and ("%s[%d]"):format(field.name, index) or field.name
end

local function add_outer_step(failure, step)
    failure.path = failure.path == "" and step or step .. "." .. failure.path
end

local read_message

-- A value of the field's own kind at `place`, its tag at `tag_place`. Returns the item, also of a message that fails
-- further inside; nothing where the value itself fails.
local function read_value(walk, field, index, tag_place, place, last)
    if field.wire_type == 5 then
        if last - place < 3 then
            return fail(walk, "cut_off", place, step_of(field, index))
        end
        local first, second, third, fourth = byte(walk.bytes, place, place + 3)
        return { field = field, index = index, tag_place = tag_place, place = place, stop = place + 4,
                 low = first + second * 256 + third * 65536 + fourth * 16777216, high = 0 }
    end
    local stop, low, high = read_varint(walk.bytes, place, last)
    if not stop then
        return fail(walk, "cut_off", place, step_of(field, index))
    end
    if not field.is_delimited then
        low, high = field.kept(low, high)
        return { field = field, index = index, tag_place = tag_place, place = place, stop = stop, low = low, high = high }
    end
    if low > last - stop + 1 then
        return fail(walk, "past_the_end", place, step_of(field, index))
    end
    local message
    if field.nested then
        message = read_message(walk, field.nested, stop, stop + low - 1)
        if walk.failure then
            add_outer_step(walk.failure, step_of(field, index))
        end
    end
    return { field = field, index = index, tag_place = tag_place, place = stop, stop = stop + low, message = message }
end

-- The places of all tags and values of a run, whose first tag is read, and the place behind it. All of it is measured
-- before the first element is read; nothing where that fails.
local function measure_run(walk, field, tag_place, place, last)
    local places = {}
    while true do
        local count = #places / 2
        places[#places + 1] = tag_place
        places[#places + 1] = place
        local stop, low = read_varint(walk.bytes, place, last)
        if not stop then
            return fail(walk, "cut_off", place, step_of(field, count))
        end
        if field.is_delimited then
            if low > last - stop + 1 then
                return fail(walk, "past_the_end", place, step_of(field, count))
            end
            stop = stop + low
        end
        if stop > last then
            return places, stop
        end
        local tag
        tag_place = stop
        place, tag = read_varint(walk.bytes, stop, last)
        if not place then
            return fail(walk, "cut_off", tag_place)
        end
        if floor(tag / 8) ~= field.number then -- its wire type is not looked at
            return places, tag_place
        end
    end
end

-- Returns the place behind the run; nothing where it fails.
local function read_run(walk, message, field, tag_place, place, last)
    local places, stop = measure_run(walk, field, tag_place, place, last)
    if not places then
        return
    end
    local elements = {}
    message.kept[field.name] = elements
    for index = 0, #places / 2 - 1 do
        local item = read_value(walk, field, index, places[2 * index + 1], places[2 * index + 2], last)
        if item then
            elements[index + 1] = item
            message[#message + 1] = item
        end
        if walk.failure then
            return
        end
    end
    return stop
end

-- A field that the message does not have. A value that reaches past the end ends the message, and that is no failure.
local function skip(walk, number, wire_type, tag_place, place, last)
    local item = { number = number, wire_type = wire_type, tag_place = tag_place, place = place }
    if wire_type == 0 or wire_type == 2 then
        local stop, low, high = read_varint(walk.bytes, place, last)
        if not stop then
            return fail(walk, "cut_off", place, tostring(number))
        end
        item.low, item.high, item.stop = low, high, stop
        if wire_type == 2 then
            item.place = stop
            item.stop = stop + low
        end
    elseif wire_type == 1 or wire_type == 5 then
        item.stop = place + (wire_type == 1 and 8 or 4)
    else
        return fail(walk, "unknown_wire_type", tag_place, tostring(number))
    end
    if item.stop > last + 1 then
        item.is_cut = true
        item.stop = last + 1
    end
    return item
end

-- The place behind the field, or behind the run that begins with it; nothing where it fails.
local function read_field(walk, message, tag, tag_place, place, last)
    local number, wire_type = floor(tag / 8), tag % 8
    local field = message.type.by_number[number]
    local item
    if not field then
        item = skip(walk, number, wire_type, tag_place, place, last)
    else
        local earlier = message.kept[field.name]
        local count = field.is_repeated and earlier and #earlier or 0
        if wire_type ~= field.wire_type then
            return fail(walk, "wrong_wire_type", tag_place, step_of(field, count))
        elseif field.is_repeated then
            if earlier then
                return fail(walk, "second_run", tag_place, step_of(field, count))
            end
            return read_run(walk, message, field, tag_place, place, last)
        elseif earlier and (field.kind == "string" or field.kind == "bytes") then
            return fail(walk, "second_value", tag_place, field.name)
        end
        item = read_value(walk, field, 0, tag_place, place, last)
        if item then
            if earlier then
                earlier.is_replaced = true
            end
            message.kept[field.name] = item
        end
    end
    message[#message + 1] = item
    return not walk.failure and item.stop
end

-- The items of a message in the order of its bytes, and in `kept`, by name, those that the decoder keeps: an item, or of
-- a repeated field the list of them.
function read_message(walk, type, first, last)
    local message = { type = type, place = first, stop = last + 1, kept = {} }
    local place = first
    while place and place <= last do
        local value_place, tag = read_varint(walk.bytes, place, last)
        if not value_place then
            fail(walk, "cut_off", place)
            break
        end
        place = read_field(walk, message, tag, place, value_place, last)
    end
    return message
end

-- Reads `bytes` as a message of `type`. Gives what is read of it, and what fails, if it does: { reason, text, status,
-- offset, path }, the path naming the field, or the message when its tag is what fails.
local function read(type, bytes)
    local walk = { bytes = bytes }
    return read_message(walk, type, 1, #bytes), walk.failure
end

-- A number of 64 bits, which is negative when `is_signed` and its highest bit is set, in decimal.
local function decimal(low, high, is_signed)
    if high == 0 then
        return ("%d"):format(low)
    end
    if is_signed and high >= 2147483648 then
        local sum = HALF - low
        return "-" .. decimal(sum % HALF, HALF - 1 - high + floor(sum / HALF))
    end
    local rest = high % 1000000 * HALF + low
    local upper = floor(high / 1000000) * HALF + floor(rest / 1000000)
    if upper == 0 then
        return ("%d"):format(rest)
    end
    return ("%d%06d"):format(upper, rest % 1000000)
end

return { read = read, decimal = decimal }
