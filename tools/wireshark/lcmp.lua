-- LCMP, the management protocol between a shelf's controller and its interface cards, for Wireshark and tshark.
--
--   tshark -r session.pcap -X lua_script:lcmp.lua -Y 'lcmp.result == 9'
--
-- or copy this file and the names beside it to the folder that Help, About, Folders calls "Personal Lua Plugins".
-- Datagrams that begin with the magic are found on any UDP port; "Decode As" takes a port's others, too. Nothing
-- is read that was not captured, whatever lengths a frame declares.

local lcmp = Proto("lcmp", "LCMP")

local MAGIC = 0x4F544E31
local VERSION = 1
local READ, WRITE, READ_RESPONSE, WRITE_RESPONSE, EVENT = 1, 2, 3, 4, 5
local ELEMENT_HEADER = 7
local UNIX_TIME, MAC_ADDRESS = 11, 13

local action_names = {
    [READ] = "read", [WRITE] = "write", [READ_RESPONSE] = "read response",
    [WRITE_RESPONSE] = "write response", [EVENT] = "event",
}

local result_names = {
    [0] = "RESULT OK", "RESULT PROTOCOL VERSION_MISMATCH", "RESULT DUPLICATE MSG", "RESULT LOST MSG",
    "RESULT INVALID ACTION", "RESULT GENERAL ERROR", "RESULT WRONG TYPE", "RESULT WRONG OID", "RESULT WRONG LEN",
    "RESULT WRONG VALUE", "RESULT READ ONLY", "RESULT TOO LONG", "RESULT CANNOT EXEC", "RESULT WRONG MAGIC",
    "RESULT NOT RECEIVED", "RESULT NOT SEND",
}

local type_names = {
    [0] = "UINT64", "UINT32", "UINT16", "UINT8", "INT64", "INT32", "INT16", "INT8", "BOOLEAN", "STRING",
    "IPv4ADDRESS", "UNIX_TIME", "BYTE_ARRAY", "MAC_ADDRESS",
}

-- Of the types that have a length of their own.
local type_lengths = {
    [0] = 8, 4, 2, 1, 8, 4, 2, 1, 1, nil, 4, 8, nil, 6,
}

local kind_names = {[0] = "scalar", [1] = "table"}

-- Fields

local f = {
    magic = ProtoField.uint32("lcmp.magic", "Magic", base.HEX),
    version = ProtoField.uint8("lcmp.version", "Version"),
    action = ProtoField.uint8("lcmp.action", "Action", base.DEC, action_names),
    message_id = ProtoField.uint16("lcmp.message_id", "Message id"),
    result = ProtoField.uint8("lcmp.result", "Result", base.DEC, result_names),
    error_index = ProtoField.uint16("lcmp.error_index", "Error index"),
    error_oid = ProtoField.uint32("lcmp.error_oid", "Variable at fault", base.HEX),
    error_name = ProtoField.string("lcmp.error_name", "Name of the variable at fault"),
    seconds = ProtoField.uint32("lcmp.seconds", "Seconds"),
    microseconds = ProtoField.uint32("lcmp.microseconds", "Microseconds"),
    sent = ProtoField.absolute_time("lcmp.sent", "Sent", base.UTC),

    element = ProtoField.none("lcmp.element", "Element"),
    oid = ProtoField.uint32("lcmp.oid", "OID", base.HEX),
    kind = ProtoField.uint8("lcmp.kind", "Kind", base.DEC, kind_names),
    common = ProtoField.bool("lcmp.common", "Common"),
    table = ProtoField.uint8("lcmp.table", "Table"),
    column = ProtoField.uint8("lcmp.column", "Column"),
    row = ProtoField.uint16("lcmp.row", "Row"),
    group = ProtoField.uint8("lcmp.group", "Group"),
    variable = ProtoField.uint32("lcmp.variable", "Variable"),
    name = ProtoField.string("lcmp.name", "Name"),
    type = ProtoField.uint8("lcmp.type", "Type", base.DEC, type_names),
    length = ProtoField.uint16("lcmp.length", "Length"),
    word = ProtoField.string("lcmp.word", "Word"),
    unit = ProtoField.string("lcmp.unit", "Unit"),

    response_in = ProtoField.framenum("lcmp.response_in", "Response in", base.NONE, frametype.RESPONSE),
    response_to = ProtoField.framenum("lcmp.response_to", "Response to", base.NONE, frametype.REQUEST),
    repeats = ProtoField.framenum("lcmp.repeats", "Repeats", base.NONE, frametype.RETRANS_PREV),
    time = ProtoField.relative_time("lcmp.time", "Response time"),

    fault = ProtoField.string("lcmp.fault", "Fault"),
    fault_offset = ProtoField.uint32("lcmp.fault.offset", "Offset of the fault"),
    value_fault = ProtoField.string("lcmp.value.fault", "Fault of the value"),
}

-- By type; values of an unknown type, or of the wrong length, are bytes.
local values = {
    [0] = ProtoField.uint64("lcmp.value.uint64", "Value"),
    ProtoField.uint32("lcmp.value.uint32", "Value"),
    ProtoField.uint16("lcmp.value.uint16", "Value"),
    ProtoField.uint8("lcmp.value.uint8", "Value"),
    ProtoField.int64("lcmp.value.int64", "Value"),
    ProtoField.int32("lcmp.value.int32", "Value"),
    ProtoField.int16("lcmp.value.int16", "Value"),
    ProtoField.int8("lcmp.value.int8", "Value"),
    ProtoField.bool("lcmp.value.boolean", "Value"),
    ProtoField.string("lcmp.value.string", "Value"),
    ProtoField.ipv4("lcmp.value.ipv4", "Value"),
    ProtoField.int64("lcmp.value.seconds", "Value in seconds since 1970"),
    ProtoField.bytes("lcmp.value.bytes", "Value"),
    ProtoField.ether("lcmp.value.mac", "Value"),
}
local STRING, BYTE_ARRAY = 9, 12
local value_time = ProtoField.absolute_time("lcmp.value.time", "Value", base.UTC)

local all_fields = {value_time}
for _, field in pairs(f) do table.insert(all_fields, field) end
for _, field in pairs(values) do table.insert(all_fields, field) end
lcmp.fields = all_fields

local malformed = ProtoExpert.new("lcmp.malformed", "Malformed frame", expert.group.MALFORMED, expert.severity.ERROR)
local malformed_value =
    ProtoExpert.new("lcmp.malformed_value", "Malformed value", expert.group.MALFORMED, expert.severity.ERROR)
local refused = ProtoExpert.new("lcmp.refused", "Refused", expert.group.RESPONSE_CODE, expert.severity.WARN)
local repeated = ProtoExpert.new("lcmp.repeated", "Repeated request", expert.group.SEQUENCE, expert.severity.NOTE)
lcmp.experts = {malformed, malformed_value, refused, repeated}

-- Names: a file that is one table, as `lcmp model generate --wireshark` writes it.

lcmp.prefs.names = Pref.string("File with names", "",
    "The names of another card model, as 'lcmp model generate --wireshark' writes them; empty for the standard card's")

local folder = debug.getinfo(1, "S").source:match("^@(.*[/\\])") or ""
local names = {}

-- Data only: what the file says is evaluated without a single function at hand.
local function read_names(path)
    local file = io.open(path, "r")
    local text = file and file:read("*a")
    if file then file:close() end
    local chunk = text and load(text, "@" .. path, "t", {})
    local worked, content = pcall(chunk or error)
    if worked and type(content) == "table" and type(content.variables) == "table" then
        return content.variables
    end
    report_failure("lcmp: " .. path .. " holds no names")
    return {}
end

local function load_names()
    local path = lcmp.prefs.names
    names = read_names((path ~= nil and path ~= "") and path or folder .. "lcmp_names_standard.lua")
end

function lcmp.prefs_changed() load_names() end

-- OIDs. Arithmetic instead of bit operations, which differ between versions of Lua.

local function bits(number, first, count) return math.floor(number / 2 ^ first) % 2 ^ count end

local function kind_of(oid) return bits(oid, 30, 2) end

-- Bit 29 means nothing, and all rows of a table share their names.
local function known(oid)
    local key = oid - bits(oid, 29, 1) * 2 ^ 29
    if kind_of(oid) == 1 then key = key - bits(oid, 0, 14) end
    return names[key]
end

local function name_of(oid)
    local variable = known(oid)
    if not variable then return nil end
    local row = kind_of(oid) == 1 and string.format("[%d]", bits(oid, 0, 14)) or ""
    return variable.object .. row .. "." .. variable.name
end

local function oid_text(oid) return string.format("0x%08x", oid) end

-- Results

local function result_text(result) return result_names[result] or string.format("RESULT %d", result) end

-- 16 and 17 are told of peers, 13 to 15 are never sent; an application's own codes begin above.
local function refuses_element(result) return (result >= 5 and result <= 10) or result > 17 end

-- The request has been served, whatever the card noticed about its id or its sender.
local function is_served(result) return result == 0 or result == 2 or result == 3 or result == 16 or result == 17 end

-- Which response answers which request: the last request before it that went the other way between the same
-- addresses and has its message id and its kind.

local open = {}    -- by addresses, action of the answer and message id: the frame of the last request
local last = {}    -- by addresses: the key of the last request
local linked = {}  -- by frame: what is known of it

function lcmp.init() open, last, linked = {}, {}, {} end

local function is_response(action) return action == READ_RESPONSE or action == WRITE_RESPONSE end

local function address(host, port) return tostring(host) .. ":" .. tostring(port) end

local function link_request(pinfo, action, message_id)
    local ends = address(pinfo.src, pinfo.src_port) .. ">" .. address(pinfo.dst, pinfo.dst_port)
    local key = string.format("%s %d %d", ends, action == READ and READ_RESPONSE or WRITE_RESPONSE, message_id)
    local link = {time = pinfo.rel_ts, oids = {}}
    if last[ends] == key then link.repeats = open[key] end
    open[key], last[ends], linked[pinfo.number] = pinfo.number, key, link
end

local function link_response(pinfo, action, message_id)
    local ends = address(pinfo.dst, pinfo.dst_port) .. ">" .. address(pinfo.src, pinfo.src_port)
    local request = open[string.format("%s %d %d", ends, action, message_id)]
    if not request then return end
    linked[pinfo.number] = {request = request, time = pinfo.rel_ts - linked[request].time}
    linked[request].response = linked[request].response or pinfo.number
end

local function link(pinfo, action, message_id)
    if pinfo.visited then return end
    if is_response(action) then
        link_response(pinfo, action, message_id)
    elseif action ~= EVENT then
        link_request(pinfo, action, message_id)
    end
end

local function duration(seconds)
    local sign = seconds < 0 and -1 or 1
    local nanoseconds = math.floor(math.abs(seconds) * 1e9 + 0.5)
    return NSTime.new(sign * math.floor(nanoseconds / 1e9), sign * (nanoseconds % 1e9))
end

local function show_links(pinfo, tree)
    local links = linked[pinfo.number]
    if not links then return end
    if links.response then tree:add(f.response_in, links.response):set_generated() end
    if links.repeats then
        tree:add(f.repeats, links.repeats):set_generated()
        tree:add_proto_expert_info(repeated)
    end
    if links.request then
        tree:add(f.response_to, links.request):set_generated()
        tree:add(f.time, duration(links.time)):set_generated()
    end
end

-- The variable that a response refuses, as the request names it.
local function refused_oid(pinfo, result, error_index)
    local links = linked[pinfo.number]
    if not links or not links.request or not refuses_element(result) then return nil end
    return linked[links.request].oids[error_index]
end

-- Faults

local function fault(reason, offset, ends_early) return {reason = reason, offset = offset, ends_early = ends_early} end

local function of_bytes(there, all) return string.format("%d of %d bytes", there, all) end

local function show_fault(tree, tvb, found)
    local offset = math.min(found.offset, tvb:len())
    local item = tree:add(f.fault, tvb(offset, tvb:len() - offset), found.reason)
    item:add_proto_expert_info(malformed, found.reason)
    tree:add(f.fault_offset, found.offset):set_generated()
end

-- Elements

local function show_oid(tree, range, oid)
    local item = tree:add(f.oid, range)
    local kind = kind_of(oid)
    if kind > 1 then
        item:append_text(" (no valid kind)")
        return
    end
    item:add(f.kind, range, kind)
    item:add(f.common, range, bits(oid, 28, 1) == 1)
    if kind == 1 then
        item:add(f.table, range, bits(oid, 22, 6))
        item:add(f.column, range, bits(oid, 14, 8))
        item:add(f.row, range, bits(oid, 0, 14))
    else
        item:add(f.group, range, bits(oid, 23, 5))
        item:add(f.variable, range, bits(oid, 0, 23))
    end
end

-- Beyond the year 9999 there is no calendar, only seconds.
local function show_time(tree, range)
    local seconds = range:int64():tonumber()
    if math.abs(seconds) < 253402300800 then tree:add(value_time, range, NSTime.new(seconds, 0)) end
end

-- The number of a value, as far as words for it go; and its text.
local function show_value(tree, range, type_code)
    if type_code == STRING then
        tree:add_packet_field(values[STRING], range, ENC_UTF_8 + ENC_STRING)
        return nil, '"' .. range:string(ENC_UTF_8) .. '"'
    end
    tree:add(values[type_code] or values[BYTE_ARRAY], range)
    if type_code == UNIX_TIME then show_time(tree, range) end
    if type_code <= 3 then
        local number = range:uint64()
        return number:tonumber(), tostring(number)
    elseif type_code <= 7 then
        local number = range:int64()
        return number:tonumber(), tostring(number)
    elseif type_code == 8 then
        local number = range:uint()
        return number ~= 0 and 1 or 0, tostring(number ~= 0)
    elseif type_code == 10 then
        return nil, tostring(range:ipv4())
    elseif type_code == UNIX_TIME then
        return nil, tostring(range:int64()) .. " s"
    elseif type_code == MAC_ADDRESS then
        return nil, tostring(range:ether())
    end
    return nil, tostring(range:bytes())
end

local function fault_of_value(action, type_code, length)
    local right = type_lengths[type_code]
    if action == READ or right == nil or right == length then return nil end
    return string.format("the length of a %s is %d, not %d", type_names[type_code], right, length)
end

local function show_known(tree, oid, number)
    local variable = known(oid)
    if not variable then return "" end
    local text = ""
    local word = number and variable.words and variable.words[number]
    if word then
        tree:add(f.word, word):set_generated()
        text = " (" .. word .. ")"
    end
    if variable.unit then
        tree:add(f.unit, variable.unit):set_generated()
        text = text .. " " .. variable.unit
    end
    return text
end

-- A value without bytes is one only where its type has none of its own.
local function show_element_value(tree, tvb, offset, length, action, type_code, oid)
    local right = type_lengths[type_code]
    local wrong = fault_of_value(action, type_code, length)
    local text, number = ""
    if right == nil or right == length then
        number, text = show_value(tree, tvb(offset, length), type_code)
    elseif length > 0 then
        tree:add(values[BYTE_ARRAY], tvb(offset, length))
        text = tostring(tvb(offset, length):bytes())
    end
    text = text .. show_known(tree, oid, number)
    if wrong then
        tree:add(f.value_fault, tvb(offset, length), wrong):add_proto_expert_info(malformed_value, wrong)
    end
    return text
end

local function show_element(tree, tvb, offset, length, action)
    local oid, type_code = tvb(offset, 4):uint(), tvb(offset + 4, 1):uint()
    local item = tree:add(f.element, tvb(offset, ELEMENT_HEADER + length))
    local name = name_of(oid)
    show_oid(item, tvb(offset, 4), oid)
    if name then item:add(f.name, tvb(offset, 4), name):set_generated() end
    item:add(f.type, tvb(offset + 4, 1))
    item:add(f.length, tvb(offset + 5, 2))
    local text = show_element_value(item, tvb, offset + ELEMENT_HEADER, length, action, type_code, oid)
    item:set_text(string.format("%s, %s", name or oid_text(oid), type_names[type_code] or "type " .. type_code))
    if text ~= "" then item:append_text(": " .. text) end
    return oid
end

local function type_text(type_code) return type_names[type_code] or string.format("type %d", type_code) end

local function fault_of_rest(tvb, offset, index)
    local left = tvb:len() - offset
    if left < ELEMENT_HEADER then
        return fault(string.format("element %d ends in its header: it has %s", index, of_bytes(left, ELEMENT_HEADER)),
            offset, true)
    end
    local there = of_bytes(left - ELEMENT_HEADER, tvb(offset + 5, 2):uint())
    return fault(string.format("element %d, %s %s, does not fit: its value has %s", index,
        oid_text(tvb(offset, 4):uint()), type_text(tvb(offset + 4, 1):uint()), there), offset, true)
end

local function show_elements(tree, tvb, offset, action, oids)
    local index = 0
    while offset < tvb:len() do
        local left = tvb:len() - offset
        local length = left >= ELEMENT_HEADER and tvb(offset + 5, 2):uint()
        if not length or length > left - ELEMENT_HEADER then return fault_of_rest(tvb, offset, index) end
        oids[index] = show_element(tree, tvb, offset, length, action)
        offset = offset + ELEMENT_HEADER + length
        index = index + 1
    end
    return nil
end

-- Header. Each field that is there is shown; the first that is not, or is wrong, is the fault.

local function ends_in_header(tvb, offset, size)
    return fault("the frame ends in its header: it has " .. of_bytes(tvb:len(), size), offset, true)
end

local function take(tree, tvb, offset, size, field)
    if tvb:len() - offset < size then return nil end
    tree:add(field, tvb(offset, size))
    return tvb(offset, size):uint()
end

local function show_response_header(tree, tvb, head)
    local size = 11
    head.result = take(tree, tvb, 8, 1, f.result)
    if not head.result then return ends_in_header(tvb, 8, size) end
    head.error_index = take(tree, tvb, 9, 2, f.error_index)
    if not head.error_index then return ends_in_header(tvb, 9, size) end
    head.size = size
    return nil
end

local function show_event_header(tree, tvb, head)
    local size = 16
    head.seconds = take(tree, tvb, 8, 4, f.seconds)
    if not head.seconds then return ends_in_header(tvb, 8, size) end
    head.microseconds = take(tree, tvb, 12, 4, f.microseconds)
    if not head.microseconds then return ends_in_header(tvb, 12, size) end
    local carried = math.floor(head.microseconds / 1e6)
    local time = NSTime.new(head.seconds + carried, head.microseconds % 1e6 * 1000)
    tree:add(f.sent, tvb(8, 8), time):set_generated()
    head.size = size
    return nil
end

local function show_header(tree, tvb, head)
    local magic = take(tree, tvb, 0, 4, f.magic)
    if not magic then return ends_in_header(tvb, 0, 8) end
    if magic ~= MAGIC then
        return fault(string.format('the magic is %08x, not %08x "OTN1"', magic, MAGIC), 0)
    end
    local version = take(tree, tvb, 4, 1, f.version)
    if not version then return ends_in_header(tvb, 4, 8) end
    head.action = take(tree, tvb, 5, 1, f.action)
    if not head.action then return ends_in_header(tvb, 5, 8) end
    head.message_id = take(tree, tvb, 6, 2, f.message_id)
    if not head.message_id then return ends_in_header(tvb, 6, 8) end
    if version ~= VERSION then return fault(string.format("the version is %d, not 1", version), 4) end
    if not action_names[head.action] then
        return fault(string.format("there is no action %d, only 1 to 5", head.action), 5)
    end
    head.size = 8
    if is_response(head.action) then return show_response_header(tree, tvb, head) end
    if head.action == EVENT then return show_event_header(tree, tvb, head) end
    return nil
end

-- What people read in the list of packets

local function result_part(tree, pinfo, head)
    local text = ": " .. result_text(head.result)
    if head.result < 16 then text = string.format("%s (%d)", text, head.result) end
    if head.error_index and refuses_element(head.result) then
        text = string.format("%s at element %d", text, head.error_index)
        local oid = refused_oid(pinfo, head.result, head.error_index)
        if oid then
            local name = name_of(oid)
            text = text .. ", " .. (name or oid_text(oid))
            tree:add(f.error_oid, oid):set_generated()
            if name then tree:add(f.error_name, name):set_generated() end
        end
    end
    return text
end

local function summary(tree, tvb, pinfo, head)
    if not head.action then return string.format(tvb:len() == 1 and "%d byte" or "%d bytes", tvb:len()) end
    local text = action_names[head.action] or string.format("action %d", head.action)
    if head.message_id then text = string.format("%s, message %d", text, head.message_id) end
    if head.result then text = text .. result_part(tree, pinfo, head) end
    return text
end

local function show_refusal(tree, head)
    if head.result and not is_served(head.result) then
        tree:add_proto_expert_info(refused, result_text(head.result))
    end
end

function lcmp.dissector(tvb, pinfo, root)
    local tree = root:add(lcmp, tvb())
    local head = {}
    local found = show_header(tree, tvb, head)
    if head.message_id then link(pinfo, head.action, head.message_id) end
    if not found then
        local own = linked[pinfo.number]
        found = show_elements(tree, tvb, head.size, head.action, own and own.oids or {})
    end
    if tvb:len() < tvb:reported_len() and (not found or found.ends_early) then
        found = fault("the capture kept " .. of_bytes(tvb:len(), tvb:reported_len()), tvb:len(), true)
    end
    local text = summary(tree, tvb, pinfo, head)
    tree:append_text(", " .. text)
    show_links(pinfo, tree)
    show_refusal(tree, head)
    if found then show_fault(tree, tvb, found) end
    pinfo.cols.protocol = "LCMP"
    pinfo.cols.info = text .. (found and " [" .. found.reason .. "]" or "")
    return tvb:len()
end

local function heuristic(tvb, pinfo, root)
    if tvb:len() < 4 or tvb(0, 4):uint() ~= MAGIC then return false end
    lcmp.dissector(tvb, pinfo, root)
    return true
end

load_names()
lcmp:register_heuristic("udp", heuristic)
DissectorTable.get("udp.port"):add_for_decode_as(lcmp)
