-- What Wireshark shows of a message: an item for each value, under a filter name that follows the way to it, and the
-- decoder's verdict. All that is kept of a message has its filter name; what is not, a replaced value or an unknown
-- field, is shown under names of its own.

local messages, walk = ...

-- Filter types of what is no number of 64 bits, by the word of the kind.
local FIELD_OF = {
    u8 = ProtoField.uint8, u32 = ProtoField.uint32, u64 = ProtoField.uint64, sint64 = ProtoField.int64,
    bool = ProtoField.bool, fixed32 = ProtoField.uint32, string = ProtoField.string, bytes = ProtoField.bytes,
}
local TAKES_BASE = { u8 = true, u32 = true, u64 = true, sint64 = true, fixed32 = true }
local WIRE_TYPES = { [0] = "varint", [1] = "fixed64", [2] = "bytes", [5] = "fixed32" }
local ESCAPES = { ["\n"] = "\\n", ["\r"] = "\\r", ["\t"] = "\\t", ['"'] = '\\"', ["\\"] = "\\\\" }

-- The bytes of a character of UTF-8 that begins at `place`; nothing where none does.
local function character_size(text, place)
    local first, second, third, fourth = text:byte(place, place + 3)
    local function continues(next, least, most)
        return next and next >= (least or 0x80) and next <= (most or 0xbf)
    end
    if first < 0x80 then
        return 1
    elseif first >= 0xc2 and first <= 0xdf then
        return continues(second) and 2
    elseif first >= 0xe0 and first <= 0xef then
        return continues(second, first == 0xe0 and 0xa0, first == 0xed and 0x9f) and continues(third) and 3
    elseif first >= 0xf0 and first <= 0xf4 then
        return continues(second, first == 0xf0 and 0x90, first == 0xf4 and 0x8f) and continues(third) and
                   continues(fourth) and 4
    end
end

local function is_utf8(text)
    local place = 1
    while place <= #text do
        local size = character_size(text, place)
        if not size then
            return false
        end
        place = place + size
    end
    return true
end

local function escaped(character)
    return ESCAPES[character] or ("\\x%02x"):format(character:byte())
end

-- A string as a filter compares it: characters that a terminal obeys, quotes and backslashes are escaped; of a string that
-- is no UTF-8 all bytes above 7f are, too.
local function shown_text(text)
    if not text:find("[%c\"\\\127-\255]") then
        return text
    end
    return (text:gsub(is_utf8(text) and '[%c"\\]' or '[%c"\\\128-\255]', escaped))
end

local dissector = {}
dissector.__index = dissector

-- A protocol of this name, in filters, too. Its fields are declared before finish() and never after it.
local function new(name, description)
    local self = setmetatable({ name = name, proto = Proto(name, description), declared = {}, readable = {} }, dissector)
    self.status = self:field("string", "status", "Status")
    self.reason = self:field("string", "reason", "Reason")
    self.offset = self:field("uint32", "offset", "Offset", base.DEC)
    self.path = self:field("string", "path", "Path")
    self.unknown = self:field("uint32", "unknown", "Unknown field", base.DEC)
    self.replaced = self:field("string", "replaced", "Replaced value")
    self.unread = self:field("bytes", "unread", "Not read")
    self.failed = ProtoExpert.new(name .. ".failed", "Decoding fails", expert.group.MALFORMED, expert.severity.ERROR)
    return self
end

-- Declares the filter NAME.`name`; `kind` and the arguments behind the title are those of ProtoField.
function dissector:field(kind, name, title, ...)
    local field = ProtoField[kind](self.name .. "." .. name, title, ...)
    self.declared[#self.declared + 1] = field
    return field
end

function dissector:field_of(field, name)
    if field.nested then
        return self.readable[field.nested.name] and ProtoField.string(name, field.name, nil, field.comment) or
                   ProtoField.none(name, field.name, nil, field.comment)
    elseif TAKES_BASE[field.kind] then
        return FIELD_OF[field.kind](name, field.name, base.DEC, nil, nil, field.comment)
    elseif field.kind == "bool" then
        return ProtoField.bool(name, field.name, base.NONE, nil, nil, field.comment)
    end
    return FIELD_OF[field.kind](name, field.name, base.NONE, field.comment)
end

-- The filters of all that a message of this type holds, by the field.
function dissector:message_fields(type, name)
    local fields = {}
    for _, field in ipairs(type) do
        local own = name .. "." .. field.name
        local declared = self:field_of(field, own)
        self.declared[#self.declared + 1] = declared
        fields[field] = { own = declared, inner = field.nested and self:message_fields(field.nested, own) }
    end
    return fields
end

-- Declares the messages of type `type_name`, whose fields are NAME.`name`.… in filters.
function dissector:message(type_name, name)
    local type = assert(messages[type_name], type_name)
    local whole = self.name .. (name == "" and "" or "." .. name)
    local own = name ~= "" and self:field("none", name, type_name) or nil
    return { type = type, own = own, fields = self:message_fields(type, whole) }
end

function dissector:finish()
    self.proto.fields = self.declared
    self.proto.experts = { self.failed }
end

local function number_of(item)
    local kind = item.field.kind
    if kind == "u64" then
        return UInt64.new(item.low, item.high)
    elseif kind == "sint64" then
        return Int64.new(item.low, item.high)
    elseif kind == "bool" then
        return item.low ~= 0
    end
    return item.low
end

-- The items of one payload. `payload` is the part of the packet that holds it, `bytes` the same as a string, `tree` where
-- they begin.
local painter = {}
painter.__index = painter

-- All of the item: its tag, too.
function painter:range(item)
    return self.payload:range(item.tag_place - 1, item.stop - item.tag_place)
end

function painter:unknown(tree, item)
    local wire_type = WIRE_TYPES[item.wire_type]
    local value = item.low and item.wire_type == 0 and walk.decimal(item.low, item.high) or
                      ("%d bytes"):format(item.stop - item.place)
    local cut = item.is_cut and ", which reaches past the end: the message ends here" or ""
    tree:add(self.of.unknown, self:range(item), item.number)
        :set_text(("Unknown field %d (%s): %s%s"):format(item.number, wire_type, value, cut))
end

function painter:replaced(tree, item)
    tree:add(self.of.replaced, self:range(item), item.field.name)
        :set_text(item.field.name .. ": replaced by a later value")
end

-- What stands for the message behind its name: for an address, that.
function painter:readable(message)
    local text = self.of.readable[message.type.name]
    return text and text(message, self.bytes)
end

function painter:nested(tree, item, fields)
    local text = self:readable(item.message)
    if not text then
        return tree:add(fields.own, self:range(item))
    elseif text == "" then
        return tree:add(fields.own, self:range(item), text):set_text(item.field.name)
    end
    return tree:add(fields.own, self:range(item), text), text
end

function painter:value(tree, item, fields)
    local field = item.field
    if field.nested then
        return self:nested(tree, item, fields)
    elseif field.kind == "bytes" then
        if item.stop == item.place then
            return tree:add(fields.own) -- there is no range of no bytes
        end
        return tree:add(fields.own, self.payload:range(item.place - 1, item.stop - item.place))
    elseif field.kind == "string" then
        local text = shown_text(self.bytes:sub(item.place, item.stop - 1))
        return tree:add(fields.own, self:range(item), text), '"' .. text .. '"'
    end
    local text = field.kind ~= "bool" and walk.decimal(item.low, item.high, field.kind == "sint64") or nil
    return tree:add(fields.own, self:range(item), number_of(item)), text
end

-- Where nobody looks at the tree, only what a filter or a column asks for is worth its item; what it hangs on is all the
-- same then.
function painter:is_wanted(declared)
    local answer = self.wanted[declared]
    if answer == nil then
        answer = self.tree:referenced(declared)
        self.wanted[declared] = answer
    end
    return answer
end

function painter:hidden_message(message, fields)
    for _, item in ipairs(message) do
        local asked_for = item.field and fields[item.field]
        if not item.field then
            if self:is_wanted(self.of.unknown) then
                self:unknown(self.tree, item)
            end
        elseif item.is_replaced then
            if self:is_wanted(self.of.replaced) then
                self:replaced(self.tree, item)
            end
        else
            if self:is_wanted(asked_for.own) then
                self:value(self.tree, item, asked_for)
            end
            if item.message then
                self:hidden_message(item.message, asked_for.inner)
            end
        end
    end
end

function painter:message(tree, message, fields)
    for _, item in ipairs(message) do
        if not item.field then
            self:unknown(tree, item)
        elseif item.is_replaced then
            self:replaced(tree, item)
        else
            local asked_for = fields[item.field]
            local branch, text = self:value(tree, item, asked_for)
            if item.field.is_repeated then
                branch:set_text(("%s[%d]%s"):format(item.field.name, item.index, text and ": " .. text or ""))
            end
            if item.message then
                self:message(branch, item.message, asked_for.inner)
            end
        end
    end
end

-- The decoder's verdict: `failure`, or without one that all is well.
function dissector:verdict(tree, payload, failure)
    tree:add(self.status, failure and failure.status or "ZIDL_OK"):set_generated()
    if failure then
        self:fails(tree, payload, failure)
    end
end

-- Says that the payload is not read, or not to its end, and why: { reason, text, offset, path }, the last two if known.
function dissector:fails(tree, payload, failure)
    local item = tree:add(self.reason, failure.reason):set_generated()
    item:add_proto_expert_info(self.failed, failure.reason .. ": " .. failure.text)
    if failure.offset and payload and failure.offset < payload:len() then
        tree:add(self.offset, payload:range(failure.offset, 1), failure.offset):set_generated()
    elseif failure.offset then
        tree:add(self.offset, failure.offset):set_generated()
    end
    if failure.path and failure.path ~= "" then
        tree:add(self.path, failure.path):set_generated()
    end
end

-- Shows a payload, a range of the packet or nothing where it is empty, and gives what `walk.read` does.
function dissector:dissect(declared, payload, tree)
    local bytes = payload and payload:raw() or ""
    local message, failure = walk.read(declared.type, bytes)
    local paint = setmetatable({ of = self, payload = payload, bytes = bytes, tree = tree, wanted = {} }, painter)
    local branch = tree
    if declared.own then
        branch = payload and tree:add(declared.own, payload) or tree:add(declared.own)
    end
    if tree.visible then
        paint:message(branch, message, declared.fields)
    else
        paint:hidden_message(message, declared.fields)
    end
    self:verdict(tree, payload, failure)
    if failure and payload and failure.offset < payload:len() then
        tree:add(self.unread, payload:range(failure.offset))
    end
    return message, failure
end

return { new = new, messages = messages, decimal = walk.decimal, shown_text = shown_text }
