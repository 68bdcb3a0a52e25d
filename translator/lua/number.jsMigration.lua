-- Number, Boolean, Math and the global number functions.
local js = require("jsMigration.lua")
local string, table, type, rawset, select, tonumber, math = string, table, type, rawset, select, tonumber, math
local bit, floor, abs, huge, frexp, ldexp, log = bit, math.floor, math.abs, math.huge, math.frexp, math.ldexp, math.log
local exp, sqrt, format, match, rep, sub = math.exp, math.sqrt, string.format, string.match, string.rep, string.sub
local find, num, str, toInteger, throwError = string.find, js.num, js.str, js.toInteger, js.throwError
local builtin, constants, NumberProto, BooleanProto = js.builtin, js.constants, js.NumberProto, js.BooleanProto
local NaN = 0 / 0

local Number, thisNumber = js.wrapperClass("Number", "number", NumberProto, 0, num)
local _, thisBoolean = js.wrapperClass("Boolean", "boolean", BooleanProto, false, js.truthy)
builtin(BooleanProto, "toString", 0, function(this) return str(thisBoolean(this)) end)

-- Numbers as text.

local DIGITS = "0123456789abcdefghijklmnopqrstuvwxyz"
local function digit(d) return sub(DIGITS, d + 1, d + 1) end

-- The fraction's digits in a base, as few as tell the number from its neighbours, and what carries into the whole part.
local function fractionDigits(value, radix)
  local fraction, _, e = value % 1, frexp(value)
  local delta = math.max(ldexp(0.5, e - 53), 5e-324)
  local list, n, carry = {}, 0, 0
  while fraction >= delta do
    fraction, delta = fraction * radix, delta * radix
    local d = floor(fraction)
    n, fraction = n + 1, fraction - d
    list[n] = d
    if (fraction > 0.5 or fraction == 0.5 and d % 2 == 1) and fraction + delta > 1 then
      while n > 0 and list[n] + 1 == radix do list[n], n = nil, n - 1 end
      if n == 0 then carry = 1 else list[n] = list[n] + 1 end
      break
    end
  end
  return list, carry
end

local function inRadix(value, radix)
  if value ~= value or abs(value) == huge then return str(value) end
  local sign = value < 0 and "-" or ""
  value = abs(value)
  if radix == 16 and value % 1 == 0 and value < 0x1p53 then return sign .. format("%x", value) end
  local list, carry = fractionDigits(value, radix)
  local whole, text = floor(value) + carry, ""
  while whole / radix >= 9007199254740992 do whole, text = whole / radix, "0" .. text end
  repeat
    local last = math.fmod(whole, radix)
    text, whole = digit(floor(last)) .. text, (whole - last) / radix
  until whole <= 0
  for i = 1, #list do list[i] = digit(list[i]) end
  return sign .. text .. (#list > 0 and "." .. table.concat(list) or "")
end

builtin(NumberProto, "toString", 1, function(this, radix)
  local value = thisNumber(this)
  radix = radix == nil and 10 or toInteger(radix)
  if radix < 2 or radix > 36 then throwError("RangeError", "toString() radix argument must be between 2 and 36") end
  return radix == 10 and str(value) or inRadix(value, radix)
end)

-- The digits of a number that is not negative, every one of them, and how many stand before the point.
local function decimal(x)
  local m, e = frexp(x)
  m, e = m * 9007199254740992, e - 53
  -- The whole m, times 2 or (for a fraction, which then has as many decimal places) 5 as often as e says.
  local limbs = { m % 1e7, floor(m / 1e7) % 1e7, floor(m / 1e14) }
  for _ = 1, abs(e) do
    local carry = 0
    for i = 1, #limbs do
      local v = limbs[i] * (e < 0 and 5 or 2) + carry
      limbs[i], carry = v % 1e7, floor(v / 1e7)
    end
    if carry > 0 then limbs[#limbs + 1] = carry end
  end
  local digits = ""
  for i = 1, #limbs do digits = format("%07d", limbs[i]) .. digits end
  digits = match(digits, "^0*(.*)$")
  return digits, #digits + math.min(e, 0)
end

-- The first digits, rounded; a tie goes up. A carry makes one more of them.
local function rounded(digits, count)
  local kept = sub(digits, 1, count) .. rep("0", count - #digits)
  if sub(digits, count + 1, count + 1) < "5" then return kept end
  local head, nines = match(kept, "^(.-)(9*)$")
  local last = head == "" and 1 or sub(head, -1) + 1
  return sub(head, 1, -2) .. last .. rep("0", #nines)
end

-- Digits of which `point` stand before the point, rounded to so many places after it.
local function placed(digits, point, places)
  local text = point + places < 0 and "" or rounded(digits, point + places)
  text = rep("0", places + 1 - #text) .. text
  return js.positional(text, #text - places - 1)
end

-- x >= 0 with so many digits after the point. Lua's own rounding is right, but stops at 99 of them.
local function fixed(x, places)
  if places < 100 then return format("%." .. places .. "f", x) end
  local digits, point = decimal(x)
  return placed(digits, point, places)
end

-- So many digits of x >= 0 and its exponent.
local function scientific(x, count)
  if count <= 100 then
    local first, more, e = match(format("%." .. count - 1 .. "e", x), "^(%d)%.?(%d*)e(.+)$")
    return first .. more, tonumber(e)
  end
  if x == 0 then return rep("0", count), 0 end
  local digits, point = decimal(x)
  local text = rounded(digits, count)
  return sub(text, 1, count), point - 1 + #text - count
end

local function signed(x, text) return x < 0 and "-" .. text or text end

-- Defines a way to write a number with a count of digits, which is at least low: write(size of the number, count).
local function writer(name, low, write)
  builtin(NumberProto, name, 1, function(this, digits)
    local x = thisNumber(this)
    local n = toInteger(digits)
    if name == "toPrecision" and digits == nil or name ~= "toFixed" and x - x ~= 0 then return str(x) end
    if n < low or n > 100 then
      local what = name == "toFixed" and "() digits" or "()"
      throwError("RangeError", name .. what .. " argument must be between " .. low .. " and 100")
    end
    if x - x ~= 0 then return str(x) end
    return signed(x, write(abs(x), n, digits == nil))
  end)
end

writer("toFixed", 0, function(x, places) return x < 1e21 and fixed(x, places) or str(x) end)
writer("toPrecision", 1, function(x, count)
  local digits, e = scientific(x, count)
  return ((e < -6 or e >= count) and js.exponential or js.positional)(digits, e)
end)
writer("toExponential", 0, function(x, count, shortest)
  if not shortest then return js.exponential(scientific(x, count + 1)) end
  return js.exponential(js.shortest(x))
end)

-- Whole numbers get their thousands marked, fractions three digits at most.
builtin(NumberProto, "toLocaleString", 0, function(this, ...)
  local x = thisNumber(this)
  js.inEnglish("toLocaleString", ...)
  if x ~= x then return "NaN" end
  if abs(x) == huge then return signed(x, "∞") end
  local digits, e = js.shortest(abs(x))
  local int, more = match(placed(digits, e + 1, 3), "^(%d+)%.(%d-)0*$")
  local groups = string.reverse((string.gsub(string.reverse(int), "(%d%d%d)", "%1,")))
  return signed(1 / x, match(groups, "^,?(.*)$") .. (more ~= "" and "." .. more or ""))
end)

-- Text as numbers.

local function parseFloat(_, x)
  local s = js.trimStart(str(x))
  local text = match(s, "^[+-]?%d*%.?%d*")
  if find(text, "%d") then return num(text .. (match(s, "^[eE][+-]?%d+", #text + 1) or "")) end
  return num(match(s, "^[+-]?Infinity") or NaN)
end

local digitsIn = {} -- by radix
for radix = 2, 36 do
  local last = digit(radix - 1)
  digitsIn[radix] = radix > 10 and "^[0-9a-" .. last .. "A-" .. string.upper(last) .. "]+" or "^[0-" .. last .. "]+"
end

local function parseInt(_, x, radix)
  local s = js.trimStart(str(x))
  radix = js.int32(radix)
  local sign, rest = match(s, "^([+-]?)(.*)$")
  if (radix == 0 or radix == 16) and find(rest, "^0[xX]") then rest, radix = sub(rest, 3), 16 end
  if radix == 0 then radix = 10 end
  if radix < 2 or radix > 36 then return NaN end
  local digits = match(rest, digitsIn[radix])
  if not digits then return NaN end
  local value = js.parseDigits(digits, radix)
  return sign == "-" and -value or value
end

local global = js.globalFunction
global("parseFloat", 1, parseFloat)
global("parseInt", 2, parseInt)
global("isNaN", 1, function(_, x) x = num(x) return x ~= x end)
global("isFinite", 1, function(_, x) x = num(x) return x - x == 0 end)
js.global("NaN", NaN)
js.global("Infinity", huge)
local function whole(x) return type(x) == "number" and x % 1 == 0 end
builtin(Number, "parseFloat", 1, parseFloat)
builtin(Number, "parseInt", 2, parseInt)
builtin(Number, "isNaN", 1, function(_, x) return type(x) == "number" and x ~= x end)
builtin(Number, "isFinite", 1, function(_, x) return type(x) == "number" and x - x == 0 end)
builtin(Number, "isInteger", 1, function(_, x) return whole(x) end)
builtin(Number, "isSafeInteger", 1, function(_, x) return whole(x) and abs(x) <= 9007199254740991 end)
constants(Number, "MAX_VALUE", 1.7976931348623157e308, "MIN_VALUE", 5e-324, "NaN", NaN, "EPSILON", 2 ^ -52,
  "POSITIVE_INFINITY", huge, "NEGATIVE_INFINITY", -huge, "MAX_SAFE_INTEGER", 9007199254740991,
  "MIN_SAFE_INTEGER", -9007199254740991)

-- Math.

local Math = js.fillProto({}, js.ObjectProto)
rawset(Math, "\0c", "Math")
js.global("Math", Math)
constants(Math, "E", exp(1), "LN10", log(10), "LN2", log(2), "LOG10E", 0.4342944819032518, "LOG2E", 1.4426950408889634,
  "PI", math.pi, "SQRT1_2", sqrt(0.5), "SQRT2", sqrt(2))

-- Defines a function of one number.
local function unary(name, f)
  builtin(Math, name, 1, function(_, x)
    if type(x) ~= "number" then x = num(x) end
    return f(x)
  end)
end

for name in string.gmatch("floor abs sqrt sin cos tan asin acos atan exp log log10 sinh cosh tanh", "%S+") do
  unary(name, math[name])
end
unary("round", js.round)
unary("ceil", js.ceil)
unary("trunc", function(x) return x < 0 and js.ceil(x) or floor(x) end)
unary("sign", function(x) return x > 0 and 1 or x < 0 and -1 or x end)
unary("log2", function(x) return log(x, 2) end)
local function log1p(x)
  local u = 1 + x
  if u == 1 or u == huge then return x end
  if u == 0 then return -huge end
  return log(u) - ((u - 1) - x) / u
end
unary("log1p", log1p)
unary("expm1", function(x)
  local u = exp(x)
  if u == 1 then return x end
  if u == huge then return u end
  if u - 1 == -1 then return -1 end
  return (u - 1) * (x / log(u))
end)
unary("acosh", function(x)
  if x < 1 then return 0 / 0 end
  if x > 1e9 then return log(x) + log(2) end
  if x > 2 then return log(2 * x - 1 / (x + sqrt(x * x - 1))) end
  local t = x - 1
  return log1p(t + sqrt(2 * t + t * t))
end)

-- Defines a function with f(-x) == -f(x).
local function odd(name, f)
  unary(name, function(x)
    if x == 0 then return x end
    return x < 0 and -f(-x) or f(x)
  end)
end
odd("asinh", function(x) return x > 1e9 and log(x) + log(2) or log1p(x + x * x / (1 + sqrt(x * x + 1))) end)
odd("atanh", function(x) return 0.5 * log1p(x < 0.5 and 2 * x + 2 * x * x / (1 - x) or 2 * x / (1 - x)) end)
odd("cbrt", function(x)
  if x == huge then return x end
  local r = x ^ (1 / 3)
  return r - (r * r * r - x) / (3 * r * r)
end)
unary("fround", function(x)
  if x == 0 or x - x ~= 0 then return x end
  local _, e = frexp(x)
  local unit = ldexp(1, math.max(e, -125) - 24)
  -- A sum of that size has no bits below 1: it rounds, and a tie goes to the even neighbour.
  local r = (x / unit + 6755399441055744 - 6755399441055744) * unit
  return abs(r) > 3.4028234663852886e38 and (r < 0 and -huge or huge) or r
end)
unary("clz32", function(x)
  x = js.uint32(x)
  if x == 0 then return 32 end
  local _, e = frexp(x)
  return 32 - e
end)
builtin(Math, "atan2", 2, function(_, y, x) return math.atan2(num(y), num(x)) end)
builtin(Math, "pow", 2, function(_, x, y) return js.pow(x, y) end)
builtin(Math, "imul", 2, function(_, a, b)
  a, b = js.int32(a), js.int32(b)
  return bit.tobit((bit.rshift(a, 16) * b % 65536) * 65536 + bit.band(a, 65535) * b)
end)
builtin(Math, "hypot", 2, function(_, ...)
  local n, largest, infinite, list = select("#", ...), 0, false, {}
  for i = 1, n do
    list[i] = abs(num((select(i, ...))))
    infinite = infinite or list[i] == huge
    if list[i] > largest or list[i] ~= list[i] then largest = list[i] end
  end
  if infinite then return huge end
  if largest == 0 then return 0 end
  local sum, lost = 0, 0
  for i = 1, n do
    local ratio = list[i] / largest
    local term = ratio * ratio - lost
    local next = sum + term
    lost = next - sum - term
    sum = next
  end
  return sqrt(sum) * largest
end)

-- max and min of any number of operands; js.max2 and js.min2 know NaN and the zeros.
local function extreme(name, pick, start)
  local function list(_, values, n)
    local r = start
    for i = 0, n - 1 do r = pick(r, num(values[i])) end
    return r
  end
  local f = builtin(Math, name, 2, function(_, ...)
    local n, a, b, c = select("#", ...), ...
    if type(a) == "number" and type(b) == "number" then
      if n == 2 then return pick(a, b) end
      if n == 3 and type(c) == "number" then return pick(pick(a, b), c) end
    end
    return list(nil, { [0] = a, select(2, ...) }, n)
  end)
  js.applyList[f] = list
end
extreme("max", js.max2, -huge)
extreme("min", js.min2, huge)
math.randomseed(js.platform.now() % 2147483648)
builtin(Math, "random", 0, function() return math.random() end)
