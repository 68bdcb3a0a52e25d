-- Conversions and operators.
local js = require("objects.jsMigration.lua")
local type, rawget, getmetatable, tonumber, tostring, byte = type, rawget, getmetatable, tonumber, tostring, string.byte
local find, gsub, floor, ceil, huge, tobit = string.find, string.gsub, math.floor, math.ceil, math.huge, bit.tobit
local max, min, sqrt, null, join = math.max, math.min, math.sqrt, js.null, js.join
local numberToString, stringToNumber = js.numberToString, js.stringToNumber
local str, primitive

local function isObject(x)
  local t = type(x)
  return t == "table" and x ~= null or t == "function" or t == "userdata" or t == "cdata"
end
js.isObject = isObject

local function isScriptObject(x)
  if type(x) == "function" then return true end
  local mt = type(x) == "table" and getmetatable(x)
  return mt and mt.js or false
end
js.isScriptObject = isScriptObject

-- The class of a built-in object, as far as it has one.
local function classOf(x) return type(x) == "table" and rawget(x, "\0c") or nil end
js.classOf = classOf

function js.isArray(x)
  local mt = type(x) == "table" and getmetatable(x)
  return mt and mt.array or false
end

-- The message for what the host gave where a number is wanted: most often a series whose index was forgotten.
function js.notNumber(name)
  return (name or "An object of the host") .. " is not a number; if it is a series, take one bar, like close[period]"
end

-- What stands for an object where a primitive is wanted; what is none passes. Hint: "string", "number" or nil.
function primitive(x, hint)
  if not isObject(x) then return x end
  if not isScriptObject(x) then
    if hint == "number" then js.typeError(js.notNumber()) end
    return (gsub(tostring(x), "^%l+: 0x%x+$", "[object Object]"))
  end
  if not hint and classOf(x) == "Date" then hint = "string" end
  local first, second = "valueOf", "toString"
  if hint == "string" then first, second = second, first end
  for _ = 1, 2 do
    local f = type(x) == "function" and x[first] or js.lookup(x, first)
    if type(f) == "function" then
      local v = f(x)
      if not isObject(v) then return v end
    end
    first = second
  end
  js.typeError("Cannot convert object to primitive value")
end
js.primitive = primitive

local function num(x)
  local t = type(x)
  if t == "number" then return x end
  if t == "string" then return stringToNumber(x) end
  if x == nil then return 0 / 0 end
  if t == "boolean" then return x and 1 or 0 end
  if x == null then return 0 end
  return num(primitive(x, "number"))
end
js.num = num

function str(x)
  local t = type(x)
  if t == "string" then return x end
  if t == "number" then return numberToString(x) end
  if x == nil then return "undefined" end
  if t == "boolean" then return x and "true" or "false" end
  if x == null then return "null" end
  return str(primitive(x, "string"))
end
js.str = str
local function truthy(x) return x and x ~= 0 and x ~= "" and x ~= null and x == x or false end
js.truthy = truthy

-- Never -0, which counts and positions don't know.
local function toInteger(x)
  if type(x) ~= "number" then x = num(x) end
  if x ~= x then return 0 end
  return (x < 0 and ceil(x) or floor(x)) + 0
end
js.toInteger = toInteger

-- A relative position within 0 .. n, as slice() and its like count.
function js.position(x, n, default)
  if x == nil then return default end
  x = toInteger(x)
  return x < 0 and max(x + n, 0) or min(x, n)
end

local function int32(x)
  if type(x) ~= "number" then x = num(x) end
  local r = tobit(x)
  if r == x then return r end
  if x - x ~= 0 then return 0 end
  -- Rounded last: compiled code takes a sum apart and gives tobit its parts, which may be too large.
  return tobit(x < 0 and -floor(-x % 4294967296) or floor(x % 4294967296))
end

js.int32 = int32
function js.uint32(x) return int32(x) % 4294967296 end

local typeNames = { ["nil"] = "undefined", table = "object", userdata = "object", cdata = "object", thread = "object" }
function js.typeof(x)
  local t = type(x)
  return typeNames[t] or t
end

-- Refuses what the library's texts for people cannot follow: they are English, and without options.
function js.inEnglish(name, locale, options)
  if options == nil and (locale == nil or find(str(locale), "^en")) then return end
  js.throwError("Error", name .. " is not supported with options, or for other languages than English")
end

-- Property keys: a canonical number is a Lua number, everything else a string.
local function canonical(s)
  local n = tonumber(s)
  if n and n - n == 0 and numberToString(n) == s then return n end
  -- The library's own fields have such names.
  if find(s, "^%z%l$") then js.throwError("Error", "The property name " .. gsub(s, "%z", "\\0") .. " is not supported") end
  return s
end

local function key(k)
  if type(k) == "number" then
    if k - k ~= 0 then return numberToString(k) end
    return k
  end
  if type(k) ~= "string" then k = str(k) end
  local b = byte(k, 1)
  if b and b < 58 and (b > 47 or b == 45 or b == 0) then return canonical(k) end
  return k
end
js.key = key
function js.needFunction(f) if type(f) ~= "function" then js.typeError(js.describe(f) .. " is not a function") end end

-- Operators.

function js.add(a, b)
  local ta, tb = type(a), type(b)
  if ta == "number" and tb == "number" then return a + b end
  if ta == "string" and tb == "string" then return join(a, b) end
  if ta ~= "string" and ta ~= "number" then a = primitive(a) end
  if tb ~= "string" and tb ~= "number" then b = primitive(b) end
  if type(a) == "string" or type(b) == "string" then return join(str(a), str(b)) end
  return num(a) + num(b)
end

-- The remainder of whole numbers below 2^53 by Lua's operator; it is exact there, and compiled.
local fmod = math.fmod
function js.mod(a, b)
  if type(a) ~= "number" then a = num(a) end
  if type(b) ~= "number" then b = num(b) end
  if b < 0 then b = -b end
  if a > 0 then
    if a <= 9007199254740992 and b > 0 and a % 1 == 0 and b % 1 == 0 then return a % b end
  elseif a < 0 then
    if a >= -9007199254740992 and b > 0 and a % 1 == 0 and b % 1 == 0 then return -(-a % b) end
  elseif a == 0 and b > 0 then return a
  end
  return fmod(a, b)
end

function js.pow(a, b)
  if type(a) ~= "number" then a = num(a) end
  if type(b) ~= "number" then b = num(b) end
  -- Lua's own power misses the last digit of one square in fifty.
  if b == 2 then return a * a end
  if b == 0.5 and a > 0 then return sqrt(a) end
  if b == -1 then return 1 / a end
  if b ~= b or (b == huge or b == -huge) and (a == 1 or a == -1) then return 0 / 0 end
  return a ^ b
end

for name in string.gmatch("band bor bxor bnot lshift rshift arshift", "%S+") do js[name] = bit[name] end
function js.bits(f, a, b) return f(int32(a), int32(b)) end

-- A text that Lua compares as units compare. Bytes put what lies above U+FFFF (from 0xF0 on) behind what lies from
-- U+E000 on (0xEE and 0xEF), units before it. The searches are compiled, a pattern is not.
local function sortable(s)
  if not (find(s, "\239", 1, true) or find(s, "\238", 1, true)) then return s end
  return (gsub(s, "[\238\239]", "\255%0"))
end
js.sortable = sortable

-- Two texts or two numbers, which Lua compares as JavaScript compares a and b.
local function comparable(a, b)
  a = primitive(a, "number")
  b = primitive(b, "number")
  if type(a) == "string" and type(b) == "string" then return sortable(a), sortable(b) end
  a = num(a)
  return a, num(b)
end

function js.lt(a, b)
  if type(a) == "number" and type(b) == "number" then return a < b end
  a, b = comparable(a, b)
  return a < b
end
function js.le(a, b)
  if type(a) == "number" and type(b) == "number" then return a <= b end
  a, b = comparable(a, b)
  return a <= b
end
function js.gt(a, b)
  if type(a) == "number" and type(b) == "number" then return a > b end
  a, b = comparable(a, b)
  return a > b
end
function js.ge(a, b)
  if type(a) == "number" and type(b) == "number" then return a >= b end
  a, b = comparable(a, b)
  return a >= b
end

-- Math on operands known to be numbers.

for name in string.gmatch("floor sqrt abs sin cos tan asin acos atan atan2 exp log", "%S+") do js[name] = math[name] end

js.minus0 = -0 * 1

-- Lua's own gives 0 for what is just below it, where -0 is right.
function js.ceil(x) return -floor(-x) end

function js.max2(a, b)
  if a ~= a or b ~= b then return 0 / 0 end
  if a == 0 and b == 0 then return a + b end
  return max(a, b)
end

function js.min2(a, b)
  if a ~= a or b ~= b then return 0 / 0 end
  if a == 0 and b == 0 then return -(-a - b) end
  return min(a, b)
end

function js.round(x)
  local r = floor(x)
  if x - r >= 0.5 then r = r + 1 end
  if r == 0 and x < 0 then return -0 * 1 end
  return r
end

local function eq(a, b)
  if a == b then return true end
  if a == nil or a == null then return b == nil or b == null end
  if b == nil or b == null then return false end
  if type(a) == type(b) then return false end
  if isObject(a) ~= isObject(b) then return eq(primitive(a), primitive(b)) end
  return not isObject(a) and num(a) == num(b)
end
js.eq = eq

return js
