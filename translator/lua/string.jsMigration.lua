-- String and the URI functions. Byte positions serve where the text is ASCII, units elsewhere; searching for whole
-- strings works on the bytes in both cases.
local js = require("jsMigration.lua")
local string, ipairs, tonumber = string, ipairs, tonumber
local null, num, str, units, utf8, encode = js.null, js.num, js.str, js.units, js.utf8, js.encode
local toInteger, typeError, slice, length = js.toInteger, js.typeError, js.slice, js.length
local join, mend, position = js.join, js.mend, js.position
local type, rawset, select = type, rawset, select
local byte, char, sub, find = string.byte, string.char, string.sub, string.find
local rep, lower, upper = string.rep, string.lower, string.upper
local gsub, format, concat = string.gsub, string.format, table.concat
local min, max, floor = math.min, math.max, math.floor
local StringProto = js.StringProto

js.fillProto(StringProto, js.ObjectProto)
rawset(StringProto, "\0c", "String")
rawset(StringProto, "\0v", "")
js.defineOwn(StringProto, "length", 0, 0)

local function textOf(...) return select("#", ...) == 0 and "" or str((...)) end
local String = js.constructor("String", 1, StringProto, function(_, ...) return textOf(...) end,
  function(...) return js.toObject(textOf(...)) end)

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

local valueOf = js.builtin(StringProto, "valueOf", 0, js.valueOf("String", "string"))
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
  return mend(concat(parts))
end)

static("raw", 1, function(_, template, ...)
  local strings = js.toObject(js.toObject(template).raw)
  local parts, n = {}, toInteger(strings.length)
  for i = 1, n do
    parts[2 * i - 1] = str(strings[i - 1])
    parts[2 * i] = i < n and i <= select("#", ...) and str((select(i, ...))) or ""
  end
  return mend(concat(parts))
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
  local _, character = js.isPair(units(s) or {}, i)
  return character or unitAt(s, i)
end)

-- Parts.

local function clamp(x, n, default)
  if x == nil then return default end
  return min(max(toInteger(x), 0), n)
end

method("slice", 2, function(s, first, last)
  local n = length(s)
  first, last = position(first, n, 0), position(last, n, n)
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
  first = position(first, n, 0)
  local last = count == nil and n or min(first + toInteger(count), n)
  return first < last and slice(s, first, last) or ""
end)
method("concat", 1, function(s, ...)
  local parts = { s, ... }
  for i = 2, select("#", ...) + 1 do parts[i] = str(parts[i]) end
  return mend(concat(parts))
end)
local function checkLength(n)
  if n > 536870888 then js.throwError("RangeError", "Invalid string length") end
end

method("repeat", 1, function(s, count)
  local n = toInteger(count)
  if n < 0 or n == 1 / 0 then js.throwError("RangeError", "Invalid count value: " .. str(count)) end
  checkLength(n * #s)
  return mend(rep(s, n))
end)

local function pad(s, width, filler)
  local n = length(s)
  width = toInteger(width) - n
  filler = filler == nil and " " or str(filler)
  if width <= 0 or filler == "" then return "" end
  checkLength(width)
  local size = length(filler)
  return mend(rep(filler, floor(width / size)) .. slice(filler, 0, width % size))
end
method("padStart", 1, function(s, width, filler) return join(pad(s, width, filler), s) end)
method("padEnd", 1, function(s, width, filler) return join(s, pad(s, width, filler)) end)

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
  return mend(concat(parts))
end
method("replace", 2, function(s, what, with) return replace(s, what, with, false) end)
method("replaceAll", 2, function(s, what, with) return replace(s, what, with, true) end)

local function changeCase(s, toUpper)
  if find(s, "[\128-\255]") then return js.changeCase(s, toUpper) end
  return toUpper and upper(s) or lower(s)
end
for _, infix in ipairs({ "", "Locale" }) do
  method("to" .. infix .. "UpperCase", 0, function(s) return changeCase(s, true) end)
  method("to" .. infix .. "LowerCase", 0, function(s) return changeCase(s, false) end)
end

-- What other engines have. A script that calls one of these is told why it cannot.
local function refuse(what) js.throwError("Error", "String.prototype." .. what) end
for name in string.gmatch("match matchAll search", "%S+") do
  method(name, 1, function() refuse(name .. " is not supported: there are no regular expressions here") end)
end
method("normalize", 0, function(s, form)
  form = form == nil and "NFC" or str(form)
  if not find(",NFC,NFD,NFKC,NFKD,", "," .. form .. ",", 1, true) then
    js.throwError("RangeError", "The normalization form should be one of NFC, NFD, NFKC, NFKD.")
  end
  if find(s, "[\128-\255]") then refuse("normalize is not supported beyond ASCII: there are no tables of characters here") end
  return s
end)

-- Order of words: letters by alphabet before case, small before capital; signs, then digits, then letters.
local function weight(c)
  if c >= 48 and c <= 57 then return 1000 + c end
  if c >= 97 and c <= 122 or c >= 128 then return 2000 + c end
  return c
end
method("localeCompare", 1, function(s, other)
  other = str(other)
  if s == other then return 0 end
  local a, b = changeCase(s, false), changeCase(other, false)
  for i = 0, min(length(a), length(b)) - 1 do
    local x, y = weight(unitAt(a, i)), weight(unitAt(b, i))
    if x ~= y then return x < y and -1 or 1 end
  end
  if length(a) ~= length(b) then return length(a) < length(b) and -1 or 1 end
  return s > other and -1 or 1
end)

-- URIs.

local function malformed() js.throwError("URIError", "URI malformed") end

local function encoder(name, unescaped)
  local f = function(_, x)
    local s = str(x)
    local list = units(s)
    if list then
      for i = 0, list.n - 1 do
        local c = list[i]
        if c >= 0xD800 and c < 0xE000 and not js.isPair(list, i) and not js.isPair(list, i - 1) then malformed() end
      end
    end
    return (gsub(s, "[^%w" .. unescaped .. "]", function(c) return format("%%%02X", byte(c)) end))
  end
  js.globalFunction(name, 1, f)
end
encoder("encodeURIComponent", "%-_.!~*'()")
encoder("encodeURI", "%-_.!~*'();/?:@&=+$,#")

-- Decodes the escapes from byte position i: the text and the position behind it.
local function unescape(s, i)
  local function hex(at)
    local digits = string.match(s, "^%%(%x%x)", at)
    if not digits then malformed() end
    return tonumber(digits, 16)
  end
  local c = hex(i)
  if c < 128 then return char(c), i + 3 end
  local more = c >= 0xF0 and c < 0xF5 and 3 or c >= 0xE0 and c < 0xF0 and 2 or c >= 0xC2 and c < 0xE0 and 1
  if not more then malformed() end
  local bytes = { char(c) }
  for k = 1, more do
    local d = hex(i + 3 * k)
    if d < 128 or d > 191 then malformed() end
    bytes[k + 1] = char(d)
  end
  local text = concat(bytes)
  local list = units(text)
  if more == 2 and (list[0] < 0x800 or list[0] >= 0xD800 and list[0] < 0xE000) or more == 3 and list.n ~= 2 then
    malformed()
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
  js.globalFunction(name, 1, f)
end
decoder("decodeURIComponent", "")
decoder("decodeURI", ";/?:@&=+$,#")
