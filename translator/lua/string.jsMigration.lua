-- String and the URI functions. Byte positions serve where the text is ASCII, units elsewhere; searching for whole
-- strings works on the bytes in both cases.
local js = require("jsMigration.lua")
local string, tonumber, type, select, byte, char = string, tonumber, type, select, string.byte, string.char
local sub, find, match, rep, gsub = string.sub, string.find, string.match, string.rep, string.gsub
local format, concat, min, max, floor, str = string.format, table.concat, math.min, math.max, math.floor, js.str
local num, units, utf8, encode, toInteger, slice = js.num, js.units, js.utf8, js.encode, js.toInteger, js.slice
local length, join, mend, position, StringProto = js.length, js.join, js.mend, js.position, js.StringProto
local String, valueOf = js.wrapperClass("String", "string", StringProto, "", str)
js.defineOwn(StringProto, "length", 0, 0)
js.builtin(StringProto, "toString", 0, function(this) return valueOf(this) end)

local function static(name, count, f) return js.builtin(String, name, count, f) end

local function refuse(kind, what) js.throwError(kind, "String.prototype." .. what) end

-- Defines a method on the text of `this`.
local function method(name, count, f)
  js.builtin(StringProto, name, count, function(this, ...)
    if type(this) ~= "string" then
      if this == nil or this == js.null then refuse("TypeError", name .. " called on null or undefined") end
      this = str(this)
    end
    return f(this, ...)
  end)
end

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
  if type(i) ~= "number" or i % 1 ~= 0 then i = toInteger(i) end
  return s[i] or ""
end)
method("at", 1, function(s, i)
  i = toInteger(i)
  return s[i < 0 and i + length(s) or i]
end)
method("codePointAt", 1, function(s, i)
  i = toInteger(i)
  local _, character = js.isPair(units(s) or {}, i)
  return character or unitAt(s, i)
end)

-- Parts.

-- A position counted from the start only.
local function clamp(x, n, default) return position(x ~= nil and max(toInteger(x), 0) or nil, n, default) end

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
method("trimStart", 0, js.trimStart)
method("trimEnd", 0, js.trimEnd)
js.defineOwn(StringProto, "trimLeft", 5, StringProto.trimStart)
js.defineOwn(StringProto, "trimRight", 5, StringProto.trimEnd)

-- Searching.

-- Units before byte position i.
local function unitsBefore(s, i)
  local list = units(s)
  if not list then return i - 1 end
  local low, high = 0, list.n
  while low < high do
    local middle = floor((low + high) / 2)
    if list.places[middle] < i then low = middle + 1 else high = middle end
  end
  return low
end

-- The byte position where unit i begins.
local function bytePosition(s, i)
  local list = units(s)
  return list and list.places[i] or i + 1
end

local function indexOf(s, what, from)
  local at = find(s, what, bytePosition(s, from), true)
  return at and unitsBefore(s, at) or -1
end

method("indexOf", 1, function(s, what, from) return indexOf(s, str(what), clamp(from, length(s), 0)) end)
method("lastIndexOf", 1, function(s, what, from)
  what, from = str(what), num(from)
  local n = length(s)
  local limit = from ~= from and n or min(max(toInteger(from), 0), n)
  if what == "" then return limit end
  local first, size = byte(what), #what
  for at = min(bytePosition(s, limit), #s - size + 1), 1, -1 do
    if byte(s, at) == first and sub(s, at, at + size - 1) == what then return unitsBefore(s, at) end
  end
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
  local given = separator
  separator = str(separator)
  if limit == 0 then return js.rest() end
  if given == nil then return js.rest(s) end
  local list, n, from = {}, 0, 1
  if separator == "" then
    n = min(length(s), limit)
    for i = 1, n do list[i] = s[i - 1] end
    return js.list(list, 1, n)
  end
  while from and n < limit do
    local at, last = find(s, separator, from, true)
    n = n + 1
    list[n] = sub(s, from, (at or 0) - 1)
    from = at and last + 1
  end
  return js.list(list, 1, n)
end)

-- Replacing. A replacement text knows $$ $& $` $'.
local function expand(template, s, at, last)
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
  local asItIs = not call and not find(with, "$", 1, true)
  local parts, from, start = {}, 1, 1
  repeat
    local at, last = find(s, what, start, true)
    if not at then break end
    parts[#parts + 1] = sub(s, from, at - 1)
    parts[#parts + 1] = asItIs and with
      or call and str(with(nil, what, unitsBefore(s, at), s)) or expand(with, s, at, last)
    from, start = last + 1, last + 1
    if what == "" then start = match(s, "^[\128-\191]*()", at + 1) end
  until not all or at > #s
  parts[#parts + 1] = sub(s, from)
  return mend(concat(parts))
end
method("replace", 2, function(s, what, with) return replace(s, what, with, false) end)
method("replaceAll", 2, function(s, what, with) return replace(s, what, with, true) end)

local function changeCase(s, toUpper)
  if find(s, "[\128-\255]") then return js.changeCase(s, toUpper) end
  return toUpper and string.upper(s) or string.lower(s)
end
for _, infix in ipairs({ "", "Locale" }) do
  local function define(name, toUpper)
    method("to" .. infix .. name, 0, function(s, locale)
      if infix ~= "" and find(str(locale), "^[talTAL][rztRZT]%f[%A]") then js.inEnglish("to" .. infix .. name, locale) end
      return changeCase(s, toUpper)
    end)
  end
  define("UpperCase", true)
  define("LowerCase", false)
end

-- What other engines have. A script that calls one of these is told why it cannot.
for name in string.gmatch("match matchAll search", "%S+") do
  method(name, 1, function() refuse("Error", name .. " is not supported: there are no regular expressions here") end)
end
method("normalize", 0, function(s, form)
  form = form == nil and "NFC" or str(form)
  if not find(",NFC,NFD,NFKC,NFKD,", "," .. form .. ",", 1, true) then
    js.throwError("RangeError", "The normalization form should be one of NFC, NFD, NFKC, NFKD.")
  end
  if find(s, "[\128-\255]") then
    refuse("Error", "normalize is not supported beyond ASCII: there are no tables of characters here")
  end
  return s
end)

-- Order of words: letters by alphabet before case, small before capital; signs, then digits, then letters.
local function weight(c)
  if c >= 48 and c <= 57 then return 1000 + c end
  if c >= 97 and c <= 122 or c >= 128 then return 2000 + c end
  return c
end
method("localeCompare", 1, function(s, other, locale, options)
  other = str(other)
  js.inEnglish("localeCompare", locale, options)
  if (units(s) or units(other)) and find(s .. other, "[\204\205][\128-\191]") then
    refuse("Error", "localeCompare is not supported for combining marks: there are no tables of characters here")
  end
  if s == other then return 0 end
  local a, b = changeCase(s, false), changeCase(other, false)
  for i = 0, max(length(a), length(b)) - 1 do
    local x, y = unitAt(a, i) or -1, unitAt(b, i) or -1
    if x ~= y then return weight(x) < weight(y) and -1 or 1 end
  end
  return s > other and -1 or 1
end)

-- URIs.

local LONE_SURROGATE = "\237[\160-\191]"
local function malformed() js.throwError("URIError", "URI malformed") end

local function encoder(name, unescaped)
  js.globalFunction(name, 1, function(_, x)
    local s = str(x)
    if find(s, LONE_SURROGATE) then malformed() end
    return (gsub(s, "[^%w" .. unescaped .. "]", function(c) return format("%%%02X", byte(c)) end))
  end)
end
encoder("encodeURIComponent", "%-_.!~*'()")
encoder("encodeURI", "%-_.!~*'();/?:@&=+$,#")

-- Decodes the escapes of a character from byte position i: the text and the position behind it.
local function unescape(s, i)
  local lead = tonumber(match(s, "^%%(%x%x)", i) or malformed(), 16)
  local size = lead < 0x80 and 1 or lead < 0xC0 and malformed() or lead < 0xE0 and 2 or lead < 0xF0 and 3 or 4
  local escapes = match(s, "^%%%x%x" .. rep("%%[89ABab]%x", size - 1), i) or malformed()
  local text = gsub(escapes, "%%(%x%x)", function(digits) return char(tonumber(digits, 16)) end)
  local list = units(text)
  -- What is longer than need be, or too large, comes back as something else.
  if find(text, LONE_SURROGATE) or list and encode(list, 0, list.n - 1) ~= text
    or text > "\244\143\191\191" then malformed() end
  return text, i + #escapes
end

local function decoder(name, reserved)
  js.globalFunction(name, 1, function(_, x)
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
  end)
end
decoder("decodeURIComponent", "")
decoder("decodeURI", ";/?:@&=+$,#")

-- Older escapes, of units; helpers for hashes turn text into bytes by unescape(encodeURIComponent(text)).

js.globalFunction("escape", 1, function(_, x)
  return (gsub(str(x), "[^%w@*_+%-./\128-\191][\128-\191]*", function(c)
    local list, text = units(c) or { [0] = byte(c), n = 1 }, ""
    for i = 0, list.n - 1 do text = text .. format(list[i] < 256 and "%%%02X" or "%%u%04X", list[i]) end
    return text
  end))
end)
js.globalFunction("unescape", 1, function(_, x)
  return mend((gsub(str(x), "%%(u?)(%x%x)(%x?%x?)", function(wide, code, rest)
    if wide == "" then return utf8(tonumber(code, 16)) .. rest end
    return #rest == 2 and utf8(tonumber(code .. rest, 16)) or nil
  end)))
end)
