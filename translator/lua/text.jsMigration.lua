-- Numbers as text, text as numbers, and strings in UTF-16 units.
local tonumber, tostring, byte, char, sub, rep = tonumber, tostring, string.byte, string.char, string.sub, string.rep
local gsub, gmatch, find, match = string.gsub, string.gmatch, string.find, string.match
local format, concat, floor, max, huge = string.format, table.concat, math.floor, math.max, math.huge

-- Numbers as text: the shortest digits that read back as the same number.

-- The digits of a number that Lua has written, without zeros at the end, and the exponent.
local function digitsOf(text)
  local first, more, e = match(text, "^(%d)%.?(%d-)0*e(.+)$")
  return first .. more, tonumber(e)
end

-- Beside a power of two the nearest 16 digits may fail where their neighbour succeeds; where two texts are as near, the
-- one with the even last digit is it.
local function shortest(n)
  for precision = (n < 2.3e-308 and n > -2.3e-308) and 1 or 15, 17 do
    local text = format("%." .. precision - 1 .. "e", n)
    local same = tonumber(text) == n
    if precision > 15 then
      local head, last, exponent = match(text, "^(.-)(%d)(e.*)$")
      local tie = last % 2 == 1 and find(format("%.40e", n), "^.-%." .. rep("%d", precision - 1) .. "50*e")
      local other = head .. last + (tie and -1 or 1) .. exponent
      if (tie or not same and last ~= "9") and tonumber(other) == n then return digitsOf(other) end
    end
    if same then return digitsOf(text) end
  end
end

-- Digits as a number is written, with an exponent and without.
local function exponential(digits, e)
  local tail = #digits > 1 and "." .. sub(digits, 2) or ""
  return sub(digits, 1, 1) .. tail .. (e < 0 and "e-" or "e+") .. tostring(e < 0 and -e or e)
end
local function positional(digits, e)
  local count = e + 1
  if count <= 0 then return "0." .. rep("0", -count) .. digits end
  if count >= #digits then return digits .. rep("0", count - #digits) end
  return sub(digits, 1, count) .. "." .. sub(digits, count + 1)
end

local small = { [0] = "0" } -- the texts of counts and indexes, as they are asked for

local function numberToString(n)
  if n % 1 == 0 and n < 1e14 and n > -1e14 then
    if n >= 1000 or n < 0 then return tostring(n) end
    local text = small[n]
    if not text then
      text = tostring(n)
      small[n] = text
    end
    return text
  end
  local size = n < 0 and -n or n
  if size >= 1e-4 and size < 1e15 then
    local text = format("%.15g", n)
    if tonumber(text) == n then return text end
    -- With bits that far down the digits neither tie nor stand beside a power of two.
    if n * 33554432 % 1 ~= 0 then
      text = format("%.16g", n)
      return tonumber(text) == n and text or format("%.17g", n)
    end
  end
  if n ~= n then return "NaN" end
  local sign = n < 0 and "-" or ""
  if size == huge then return sign .. "Infinity" end
  local digits, e = shortest(size)
  return sign .. ((e > 20 or e < -6) and exponential or positional)(digits, e)
end

local function utf8(c)
  if c < 0x80 then return char(c) end
  if c < 0x800 then return char(0xC0 + floor(c / 64), 0x80 + c % 64) end
  if c < 0x10000 then return char(0xE0 + floor(c / 4096), 0x80 + floor(c / 64) % 64, 0x80 + c % 64) end
  return char(0xF0 + floor(c / 262144), 0x80 + floor(c / 4096) % 64, 0x80 + floor(c / 64) % 64, 0x80 + c % 64)
end

-- White space as trim() and ToNumber see it, with its size in bytes.
local spaces = {}
for c in gmatch("\t\n\v\f\r ", ".") do spaces[c] = 1 end
for _, c in ipairs({ 0xA0, 0x1680, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000, 0xFEFF }) do spaces[utf8(c)] = #utf8(c) end
for c = 0x2000, 0x200A do spaces[utf8(c)] = 3 end

local function mayBeSpace(c) return c and (c <= 32 or c >= 128) end

local function trimStart(s)
  local at = 1
  while mayBeSpace(byte(s, at)) do
    local size = spaces[sub(s, at, at)] or spaces[sub(s, at, at + 1)] or spaces[sub(s, at, at + 2)]
    if not size then break end
    at = at + size
  end
  return sub(s, at)
end

local function trimEnd(s)
  local at = #s
  while mayBeSpace(byte(s, at)) do
    local size = spaces[sub(s, at, at)] or spaces[sub(s, at - 1, at)] or spaces[sub(s, at - 2, at)]
    if not size then break end
    at = at - size
  end
  return sub(s, 1, at)
end

-- The value of digits in a base; nil when one of them is none. Correctly rounded for the bases that scripts use.
local function parseDigits(digits, base)
  if #digits <= 10 then return tonumber(digits, base) end
  local n = 0
  for i = 1, #digits do
    local d = tonumber(sub(digits, i, i), 36)
    if not d or d >= base then return nil end
    n = n * base + d
  end
  if n < 9007199254740992 or base ~= 10 and base ~= 16 and base ~= 2 then return n end
  if base == 2 then
    digits = gsub(rep("0", -#digits % 4) .. digits, "....", function(four) return format("%x", tonumber(four, 2)) end)
  end
  return tonumber(base == 10 and digits or "0x" .. digits)
end

local function stringToNumber(s)
  if find(s, "^%-?%d+%.?%d*$") then return tonumber(s) end
  s = trimEnd(trimStart(s))
  if s == "" then return 0 end
  local mantissa = match(s, "^[+-]?(%d*%.?%d*)$") or match(s, "^[+-]?(%d*%.?%d*)[eE][+-]?%d+$")
  if mantissa == "" or mantissa == "." then return 0 / 0 end
  if mantissa then return tonumber(s) or tonumber((gsub(s, "(%d%d%d%d)%d+$", "%1"))) end -- Lua takes no longer exponent
  local prefix, digits = match(s, "^0([xXoObB])(%x+)$")
  if prefix then
    local base = find(prefix, "[xX]") and 16 or find(prefix, "[oO]") and 8 or 2
    return parseDigits(digits, base) or 0 / 0
  end
  local sign = match(s, "^([+-]?)Infinity$")
  return sign and (sign == "-" and -huge or huge) or 0 / 0
end

-- Strings count in UTF-16 units. A text of ASCII only is its own list of units; for any other one the list is made once
-- and kept while it is in use, with the byte position where each unit begins. The second half of a surrogate pair counts
-- as the second of its four bytes.

local function decode(s)
  local units, places, n, i, size = {}, {}, 0, 1, #s
  while i <= size do
    local c, start = byte(s, i), i
    if c < 128 then i = i + 1
    elseif c < 0xE0 then c, i = (c - 0xC0) * 64 + (byte(s, i + 1) or 128) - 128, i + 2
    elseif c < 0xF0 then
      c, i = (c - 0xE0) * 4096 + ((byte(s, i + 1) or 128) - 128) * 64 + (byte(s, i + 2) or 128) - 128, i + 3
    else
      c = (c - 0xF0) * 262144 + ((byte(s, i + 1) or 128) - 128) * 4096 + ((byte(s, i + 2) or 128) - 128) * 64
        + (byte(s, i + 3) or 128) - 128
      i = i + 4
    end
    if c >= 0x10000 then
      units[n], places[n], n = 0xD800 + floor((c - 0x10000) / 1024), start, n + 1
      c, start = 0xDC00 + c % 1024, start + 1
    end
    units[n], places[n], n = c, start, n + 1
  end
  units.n, units.places, places[n] = n, places, size + 1
  return units
end

-- Many bytes at once, for where loops are not compiled; few different numbers of them, since each is compiled apart.
local function isAscii(s)
  local n = #s
  if n < 4 then return n == 0 or max(byte(s, 1), byte(s, (n + 1) / 2), byte(s, n)) < 128 end
  local width = n < 8 and 4 or n < 32 and 8 or 32
  for i = 1, n - width, width do if max(byte(s, i, i + width - 1)) >= 128 then return false end end
  return max(byte(s, n - width + 1, n)) < 128
end

-- What has been asked for lately, of so many kilobytes or with one text more, and what had been when that was full.
local recent, older, kilobytes, MOST_KILOBYTES = {}, {}, 0, 2048

local function recall(s)
  local list = older[s]
  if list == nil then list = not isAscii(s) and decode(s) end
  kilobytes = kilobytes + 1 + #s / (list and 32 or 1024)
  if kilobytes > MOST_KILOBYTES then recent, older, kilobytes = {}, recent, 0 end
  recent[s] = list
  return list
end

-- The units of s from 0, their count as n; false for ASCII.
local function units(s)
  local list = recent[s]
  if list == nil then return recall(s) end
  return list
end

-- Whether a surrogate pair stands at i, and the character that it is.
local function isPair(list, i)
  local c = list[i]
  local low = c and c >= 0xD800 and c < 0xDC00 and list[i + 1]
  if not low or low < 0xDC00 or low >= 0xE000 then return false end
  return true, 0x10000 + (c - 0xD800) * 1024 + low - 0xDC00
end

local function encode(list, first, last)
  local out, n, i = {}, 0, first
  while i <= last do
    local c = list[i]
    local pair, character = isPair(list, i)
    if pair and i < last then c, i = character, i + 1 end
    n, i = n + 1, i + 1
    out[n] = utf8(c)
  end
  return concat(out)
end

local function length(s)
  local list = units(s)
  return list and list.n or #s
end

-- The part of s from unit first up to, not including, unit last; both within the string.
local function slice(s, first, last)
  local list = units(s)
  if not list then return sub(s, first + 1, last) end
  if isPair(list, first - 1) or isPair(list, last - 1) then return encode(list, first, last - 1) end
  return sub(s, list.places[first], list.places[last] - 1)
end

-- The halves of surrogate pairs that met when a text was put together must become one character each. A function that
-- makes one is not compiled.
local function united(halves) return encode(decode(halves), 0, 1) end
local function mend(s)
  if not find(s, "\237", 1, true) then return s end
  return (gsub(s, "\237[\160-\175].\237[\176-\191].", united))
end

-- Two texts as one.
local function join(a, b)
  if byte(b, 1) ~= 0xED or byte(b, 2) < 0xB0 or byte(a, -3) ~= 0xED then return a .. b end
  return sub(a, 1, -4) .. mend(sub(a, -3) .. sub(b, 1, 3)) .. sub(b, 4)
end

-- A text that is kept as a list of its pieces; they are one piece from then on.
local function joined(pieces)
  local n = #pieces
  if n > 1 then
    pieces[1] = mend(concat(pieces))
    for i = n, 2, -1 do pieces[i] = nil end
  end
  return pieces[1]
end

return {
  numberToString = numberToString, shortest = shortest, exponential = exponential,
  positional = positional, stringToNumber = stringToNumber, parseDigits = parseDigits, trimStart = trimStart,
  trimEnd = trimEnd, units = units, utf8 = utf8, encode = encode, length = length, slice = slice, join = join,
  mend = mend, joined = joined, isPair = isPair,
}
