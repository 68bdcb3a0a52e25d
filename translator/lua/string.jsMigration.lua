-- String and the URI functions. Byte positions serve where the text is ASCII, units elsewhere; searching for whole
-- strings works on the bytes in both cases.
local js = require("jsMigration.lua")
local string, ipairs, tonumber = string, ipairs, tonumber
local null, num, str, units, utf8, encode = js.null, js.num, js.str, js.units, js.utf8, js.encode
local toInteger, typeError, slice, length = js.toInteger, js.typeError, js.slice, js.length
local type, rawget, rawset, select = type, rawget, rawset, select
local byte, char, sub, find = string.byte, string.char, string.sub, string.find
local rep, lower, upper = string.rep, string.lower, string.upper
local gsub, format, concat = string.gsub, string.format, table.concat
local min, max, floor = math.min, math.max, math.floor
local StringProto = js.StringProto

js.fillProto(StringProto, js.ObjectProto)
rawset(StringProto, "\0c", "String")
rawset(StringProto, "\0v", "")
js.defineOwn(StringProto, "length", 0, 0)

local function construct(...) return js.toObject(select("#", ...) == 0 and "" or str((...))) end
local String = js.constructor("String", 1, StringProto, function(_, ...)
  if select("#", ...) == 0 then return "" end
  return str((...))
end, construct)

local function static(name, count, f) return js.builtin(String, name, count, f) end

-- Defines a method on the text of `this`.
local function method(name, count, f)
  js.builtin(StringProto, name, count, function(this, ...)
    if type(this) ~= "string" then
      if this == nil or this == null then typeError("String.prototype." .. name .. " called on null or undefined") end
      this = str(this)
    end
    return f(this, ...)
  end)
end

local function valueOf(this)
  if type(this) == "string" then return this end
  if type(this) == "table" and rawget(this, "\0c") == "String" then return rawget(this, "\0v") end
  typeError("String.prototype.valueOf requires that 'this' be a String")
end
js.builtin(StringProto, "valueOf", 0, valueOf)
js.builtin(StringProto, "toString", 0, function(this) return valueOf(this) end)

local function fromCharCodes(_, values, n)
  local list = {}
  for i = 0, n - 1 do list[i] = js.uint32(values[i]) % 65536 end
  return encode(list, 0, n - 1)
end
local fromCharCode = static("fromCharCode", 1, function(_, ...)
  local n = select("#", ...)
  if n == 1 then return utf8(js.uint32((...)) % 65536) end
  return fromCharCodes(nil, { [0] = (...), select(2, ...) }, n)
end)
js.applyList[fromCharCode] = fromCharCodes

static("fromCodePoint", 1, function(_, ...)
  local parts = {}
  for i = 1, select("#", ...) do
    local c = num((select(i, ...)))
    if c < 0 or c > 0x10FFFF or c % 1 ~= 0 then
      js.throwError("RangeError", "Invalid code point " .. str((select(i, ...))))
    end
    parts[i] = utf8(c)
  end
  local text = ""
  for i = 1, #parts do text = js.join(text, parts[i]) end
  return text
end)

-- Single units.

local function unitAt(s, i)
  if type(i) ~= "number" or i % 1 ~= 0 then i = toInteger(i) end
  local list = units(s)
  if list then return list[i] end
  if i >= 0 and i < #s then return byte(s, i + 1) end
end

method("charCodeAt", 1, function(s, i) return unitAt(s, i) or 0 / 0 end)
method("charAt", 1, function(s, i)
  local c = unitAt(s, i)
  return c and utf8(c) or ""
end)
method("at", 1, function(s, i)
  i = toInteger(i)
  local c = unitAt(s, i < 0 and i + length(s) or i)
  return c and utf8(c)
end)
method("codePointAt", 1, function(s, i)
  i = toInteger(i)
  local c = unitAt(s, i)
  local low = c and c >= 0xD800 and c < 0xDC00 and unitAt(s, i + 1)
  if low and low >= 0xDC00 and low < 0xE000 then return 0x10000 + (c - 0xD800) * 1024 + low - 0xDC00 end
  return c
end)

-- Parts.

local function clamp(x, n, default)
  if x == nil then return default end
  return min(max(toInteger(x), 0), n)
end

local function relative(x, n, default)
  if x == nil then return default end
  x = toInteger(x)
  return x < 0 and max(x + n, 0) or min(x, n)
end

method("slice", 2, function(s, first, last)
  local n = length(s)
  first, last = relative(first, n, 0), relative(last, n, n)
  return first < last and slice(s, first, last) or ""
end)
method("substring", 2, function(s, first, last)
  local n = length(s)
  first, last = clamp(first, n, 0), clamp(last, n, n)
  if first > last then first, last = last, first end
  return slice(s, first, last)
end)
method("substr", 2, function(s, first, count)
  local n = length(s)
  first = relative(first, n, 0)
  local last = count == nil and n or min(first + toInteger(count), n)
  return first < last and slice(s, first, last) or ""
end)
method("concat", 1, function(s, ...)
  for i = 1, select("#", ...) do s = js.join(s, str((select(i, ...)))) end
  return s
end)
local function checkLength(n)
  if n > 536870888 then js.throwError("RangeError", "Invalid string length") end
end

method("repeat", 1, function(s, count)
  local n = toInteger(count)
  if n < 0 or n == 1 / 0 then js.throwError("RangeError", "Invalid count value: " .. str(count)) end
  checkLength(n * #s)
  return rep(s, n)
end)

local function pad(s, width, filler)
  local n = length(s)
  width = toInteger(width) - n
  filler = filler == nil and " " or str(filler)
  if width <= 0 or filler == "" then return "" end
  checkLength(width)
  local size = length(filler)
  return rep(filler, floor(width / size)) .. slice(filler, 0, width % size)
end
method("padStart", 1, function(s, width, filler) return pad(s, width, filler) .. s end)
method("padEnd", 1, function(s, width, filler) return s .. pad(s, width, filler) end)

method("trim", 0, function(s) return js.trimEnd(js.trimStart(s)) end)
method("trimStart", 0, function(s) return js.trimStart(s) end)
method("trimEnd", 0, function(s) return js.trimEnd(s) end)
js.defineOwn(StringProto, "trimLeft", 5, StringProto.trimStart)
js.defineOwn(StringProto, "trimRight", 5, StringProto.trimEnd)

-- Searching.

-- Units before byte position i.
local function unitsBefore(s, i)
  if not units(s) then return i - 1 end
  return length(sub(s, 1, i - 1))
end

-- The byte position where unit i begins.
local function bytePosition(s, i)
  if not units(s) then return i + 1 end
  return #slice(s, 0, i) + 1
end

local function indexOf(s, what, from)
  if what == "" then return from end
  local at = find(s, what, bytePosition(s, from), true)
  return at and unitsBefore(s, at) or -1
end

method("indexOf", 1, function(s, what, from) return indexOf(s, str(what), clamp(from, length(s), 0)) end)
method("lastIndexOf", 1, function(s, what, from)
  what, from = str(what), num(from)
  local last = length(s) - length(what)
  local limit = from ~= from and last or min(max(toInteger(from), 0), last)
  for i = limit, 0, -1 do if slice(s, i, i + length(what)) == what then return i end end
  return -1
end)
method("includes", 1, function(s, what, from) return indexOf(s, str(what), clamp(from, length(s), 0)) >= 0 end)
method("startsWith", 1, function(s, what, from)
  what = str(what)
  local at = bytePosition(s, clamp(from, length(s), 0))
  return sub(s, at, at + #what - 1) == what
end)
method("endsWith", 1, function(s, what, last)
  what = str(what)
  local n = length(s)
  local head = last == nil and s or slice(s, 0, clamp(last, n, n))
  return #what <= #head and sub(head, #head - #what + 1) == what
end)

method("split", 2, function(s, separator, limit)
  limit = limit == nil and 4294967295 or js.uint32(limit)
  local list, n = {}, 0
  if limit == 0 then return js.rest() end
  if separator == nil then return js.rest(s) end
  separator = str(separator)
  if separator == "" then
    for i = 0, length(s) - 1 do
      if n == limit then break end
      n = n + 1
      list[n] = utf8(unitAt(s, i))
    end
    return js.list(list, 1, n)
  end
  local from = 1
  while n < limit do
    local at, last = find(s, separator, from, true)
    n = n + 1
    list[n] = sub(s, from, (at or 0) - 1)
    if not at then break end
    from = last + 1
  end
  return js.list(list, 1, n)
end)

-- Replacing. A replacement text knows $$ $& $` $'.
local function expand(template, s, at, last)
  if not find(template, "$", 1, true) then return template end
  return (gsub(template, "%$([$&`'])", function(c)
    if c == "$" then return "$" elseif c == "&" then return sub(s, at, last)
    elseif c == "`" then return sub(s, 1, at - 1) end
    return sub(s, last + 1)
  end))
end

local function replace(s, what, with, all)
  what = str(what)
  local call = type(with) == "function"
  if not call then with = str(with) end
  local parts, from, start = {}, 1, 1
  repeat
    local at, last = find(s, what, start, true)
    if not at then break end
    parts[#parts + 1] = sub(s, from, at - 1)
    parts[#parts + 1] = call and str(with(nil, what, unitsBefore(s, at), s)) or expand(with, s, at, last)
    from, start = last + 1, last + 1
    if what == "" then
      start = at + 1
      while (byte(s, start) or 0) >= 128 and byte(s, start) < 192 do start = start + 1 end
    end
  until not all or start > #s + 1
  parts[#parts + 1] = sub(s, from)
  return concat(parts)
end
method("replace", 2, function(s, what, with) return replace(s, what, with, false) end)
method("replaceAll", 2, function(s, what, with) return replace(s, what, with, true) end)

-- Case. Beyond ASCII: Latin, Greek, Cyrillic, Armenian; ranges of lower-case units with the distance to their capitals,
-- and ranges where capitals and small letters alternate.
local distances = { { 0xE0, 0xF6, -32 }, { 0xF8, 0xFE, -32 }, { 0x3B1, 0x3C1, -32 }, { 0x3C3, 0x3CB, -32 }, { 0x3AD, 0x3AF, -37 },
  { 0x430, 0x44F, -32 }, { 0x450, 0x45F, -80 }, { 0x561, 0x586, -48 }, { 0xFF41, 0xFF5A, -32 }, { 0x24D0, 0x24E9, -26 } }
local alternating = { { 0x100, 0x12F }, { 0x132, 0x137 }, { 0x14A, 0x177 }, { 0x1DE, 0x1EF }, { 0x1F8, 0x21F }, { 0x222, 0x233 },
  { 0x370, 0x373 }, { 0x3D8, 0x3EF }, { 0x460, 0x481 }, { 0x48A, 0x4BF }, { 0x4D0, 0x52F }, { 0x1E00, 0x1E95 }, { 0x1EA0, 0x1EFF } }
local shifted = { { 0x139, 0x148 }, { 0x179, 0x17E }, { 0x4C1, 0x4CE }, { 0x1CD, 0x1DC } } -- here capitals are odd
local toUpper, toLower
local function caseTables()
  toUpper, toLower = { [0xFF] = 0x178, [0xB5] = 0x39C, [0x17F] = 0x53, [0x3C2] = 0x3A3, [0x3AC] = 0x386, [0x3CC] = 0x38C, [0x3CD] = 0x38E,
    [0x3CE] = 0x38F, [0x131] = 0x49, [0x1E9B] = 0x1E60 }, { [0x178] = 0xFF, [0x386] = 0x3AC, [0x38C] = 0x3CC, [0x38E] = 0x3CD, [0x38F] = 0x3CE }
  local function pair(small, capital) toUpper[small], toLower[capital] = capital, small end
  for _, r in ipairs(distances) do for c = r[1], r[2] do pair(c, c + r[3]) end end
  for _, r in ipairs(alternating) do for c = r[1], r[2], 2 do pair(c + 1, c) end end
  for _, r in ipairs(shifted) do for c = r[1], r[2], 2 do pair(c + 1, c) end end
  for c = 97, 122 do pair(c, c - 32) end
  toUpper[0x1F0] = nil
end

local function isCased(c) return c and (toUpper[c] or toLower[c] or c == 0xDF or c == 0x130) end

local function changeCase(s, ascii, toward)
  local list = units(s)
  if not list then return ascii(s) end
  if not toUpper then caseTables() end
  local map, out, n = toward == "upper" and toUpper or toLower, {}, 0
  for i = 0, list.n - 1 do
    local c = list[i]
    if c == 0xDF and toward == "upper" then
      out[n], out[n + 1], n = 0x53, 0x53, n + 2
    elseif c == 0x130 and toward == "lower" then
      out[n], out[n + 1], n = 0x69, 0x307, n + 2
    elseif c == 0x3A3 and toward == "lower" and isCased(list[i - 1]) and not isCased(list[i + 1]) then
      out[n], n = 0x3C2, n + 1 -- a sigma that ends a word
    else
      out[n], n = map[c] or c, n + 1
    end
  end
  return encode(out, 0, n - 1)
end
for _, infix in ipairs({ "", "Locale" }) do
  method("to" .. infix .. "UpperCase", 0, function(s) return changeCase(s, upper, "upper") end)
  method("to" .. infix .. "LowerCase", 0, function(s) return changeCase(s, lower, "lower") end)
end

-- Order of words: letters by alphabet before case, small before capital; signs, then digits, then letters.
local function weight(c)
  if c >= 48 and c <= 57 then return 1000 + c end
  if c >= 97 and c <= 122 or c >= 128 then return 2000 + c end
  return c
end
method("localeCompare", 1, function(s, other)
  other = str(other)
  if s == other then return 0 end
  local a, b = changeCase(s, lower, "lower"), changeCase(other, lower, "lower")
  for i = 0, min(length(a), length(b)) - 1 do
    local x, y = weight(unitAt(a, i)), weight(unitAt(b, i))
    if x ~= y then return x < y and -1 or 1 end
  end
  if length(a) ~= length(b) then return length(a) < length(b) and -1 or 1 end
  return s > other and -1 or 1
end)

-- URIs.

local function encoder(name, unescaped)
  local f = function(_, x)
    local s = str(x)
    local list = units(s)
    if list then
      for i = 0, list.n - 1 do
        local c, low = list[i], list[i + 1] or 0
        local before = i > 0 and list[i - 1] or 0
        if c >= 0xD800 and c < 0xDC00 and not (low >= 0xDC00 and low < 0xE000)
          or c >= 0xDC00 and c < 0xE000 and not (before >= 0xD800 and before < 0xDC00) then
          js.throwError("URIError", "URI malformed")
        end
      end
    end
    return (gsub(s, "[^%w" .. unescaped .. "]", function(c) return format("%%%02X", byte(c)) end))
  end
  js.names[f], js.arity[f] = name, 1
  js.global(name, f)
end
encoder("encodeURIComponent", "%-_.!~*'()")
encoder("encodeURI", "%-_.!~*'();/?:@&=+$,#")

-- Decodes the escapes from byte position i: the text and the position behind it.
local function unescape(s, i)
  local function hex(at)
    local digits = string.match(s, "^%%(%x%x)", at)
    if not digits then js.throwError("URIError", "URI malformed") end
    return tonumber(digits, 16)
  end
  local c = hex(i)
  if c < 128 then return char(c), i + 3 end
  local more = c >= 0xF0 and c < 0xF5 and 3 or c >= 0xE0 and c < 0xF0 and 2 or c >= 0xC2 and c < 0xE0 and 1
  if not more then js.throwError("URIError", "URI malformed") end
  local bytes = { char(c) }
  for k = 1, more do
    local d = hex(i + 3 * k)
    if d < 128 or d > 191 then js.throwError("URIError", "URI malformed") end
    bytes[k + 1] = char(d)
  end
  local text = concat(bytes)
  local list = units(text)
  if more == 2 and (list[0] < 0x800 or list[0] >= 0xD800 and list[0] < 0xE000) or more == 3 and list.n ~= 2 then
    js.throwError("URIError", "URI malformed")
  end
  return text, i + 3 * more + 3
end

local function decoder(name, reserved)
  local f = function(_, x)
    local s = str(x)
    local parts, from = {}, 1
    while true do
      local at = find(s, "%", from, true)
      parts[#parts + 1] = sub(s, from, (at or 0) - 1)
      if not at then return concat(parts) end
      local text, behind = unescape(s, at)
      parts[#parts + 1] = find(reserved, text, 1, true) and sub(s, at, behind - 1) or text
      from = behind
    end
  end
  js.names[f], js.arity[f] = name, 1
  js.global(name, f)
end
decoder("decodeURIComponent", "")
decoder("decodeURI", ";/?:@&=+$,#")
