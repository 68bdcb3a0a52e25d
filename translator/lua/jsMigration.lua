-- What a translated script calls: conversions, operators, computed properties, calls, iteration, errors, globals.
-- The built-in objects live in sibling files that load when a script first touches them.
local platform = ...
local math = math
local js = require("objects.jsMigration.lua")
local S, C = js.S, "\0c"
local O, A, null, StringProto, FunctionProto = js.O, js.A, js.null, js.StringProto, js.FunctionProto
local type, rawget, rawset, select = type, rawget, rawset, select
local getmetatable, setmetatable, tonumber, tostring = getmetatable, setmetatable, tonumber, tostring
local error, xpcall = error, xpcall
local byte, sub, find = string.byte, string.sub, string.find
local gmatch, gsub = string.gmatch, string.gsub
local concat, floor, ceil, huge = table.concat, math.floor, math.ceil, math.huge
local tobit, hostGlobals = bit.tobit, _G
local numberToString, stringToNumber, join = js.numberToString, js.stringToNumber, js.join
local units, utf8 = js.units, js.utf8
local own, ownKeys, lookup, protoOf, props, side = js.own, js.ownKeys, js.lookup, js.protoOf, js.props, js.side
local isIndex, addHoles, addOther, metaFor = js.isIndex, js.addHoles, js.addOther, js.metaFor
local instances, construct, load, loaded = js.instances, js.construct, js.load, js.loaded
local throwError, typeError = js.throwError, js.typeError
local str, primitive

-- Metatables of the primitive types and functions.

local function cannotRead(what)
  return function(_, k) typeError("Cannot read properties of " .. what .. " (reading '" .. js.describe(k) .. "')") end
end

local function cannotSet(what)
  return function(_, k) typeError("Cannot set properties of " .. what .. " (setting '" .. js.describe(k) .. "')") end
end

local function primitiveMeta(index, newindex)
  return js.withArithmetic({ __index = index, __newindex = newindex })
end

local function cannotCreate(proto)
  return function(x, k)
    local at = proto
    repeat
      local _, _, slot = own(at, k)
      if slot and slot.set then return slot.set(x) end
      at = protoOf(at)
    until not at
    local what = type(x) .. " '" .. str(x) .. "'"
    if type(x) == "string" and (k == "length" or isIndex(k) and k < js.length(x)) then
      typeError("Cannot assign to read only property '" .. str(k) .. "' of " .. what)
    end
    typeError("Cannot create property '" .. str(k) .. "' on " .. what)
  end
end

local function indexOf(proto)
  return function(x, k)
    local v = rawget(proto, k)
    if v ~= nil then return v end
    return lookup(proto, k, x)
  end
end

local function stringIndex(s, k)
  if k == "length" then
    local list = units(s)
    return list and list.n or #s
  elseif type(k) == "number" then
    local list = units(s)
    if list then return list[k] and utf8(list[k]) end
    if k >= 0 and k < #s and k % 1 == 0 then return sub(s, k + 1, k + 1) end
    return nil
  end
  local v = rawget(StringProto, k)
  if v ~= nil then return v end
  return lookup(StringProto, k, s)
end

local function functionIndex(f, k)
  local p = side[f]
  if p then
    local v = rawget(p, k)
    if v ~= nil then return v end
    return lookup(p, k, f)
  end
  local v = rawget(FunctionProto, k)
  if v ~= nil then return v end
  if k == "prototype" then
    return lookup(props(f), k, f)
  elseif k == "name" or k == "length" then
    -- Without an entry on the side, which would keep the function alive.
    local name, count = js.signature(f)
    return k == "name" and name or count
  end
  return lookup(FunctionProto, k, f)
end

local function functionNewIndex(f, k, v)
  if k == "prototype" then instances[f] = nil end
  local p = props(f)
  if rawget(p, k) ~= nil then rawset(p, k, v) else js.put(p, k, v, f) end
end

local set = platform.setmetatable
set(nil, primitiveMeta(cannotRead("undefined"), cannotSet("undefined")))
setmetatable(null, primitiveMeta(cannotRead("null"), cannotSet("null")))
set(true, primitiveMeta(indexOf(js.BooleanProto), cannotCreate(js.BooleanProto)))
set(0, primitiveMeta(indexOf(js.NumberProto), cannotCreate(js.NumberProto)))
set("", primitiveMeta(stringIndex, cannotCreate(StringProto)))
set(set, primitiveMeta(functionIndex, functionNewIndex))

-- Conversions.

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

-- What stands for an object where a primitive is wanted; what is none passes. Hint: "string", "number" or nil.
function primitive(x, hint)
  if not isObject(x) then return x end
  if not isScriptObject(x) then return tostring(x) end
  if not hint and type(x) == "table" and rawget(x, C) == "Date" then hint = "string" end
  local first, second = "valueOf", "toString"
  if hint == "string" then first, second = second, first end
  for _ = 1, 2 do
    local f = type(x) == "function" and x[first] or type(x) == "table" and lookup(x, first)
    if type(f) == "function" then
      local v = f(x)
      if not isObject(v) then return v end
    end
    first = second
  end
  typeError("Cannot convert object to primitive value")
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

local function toInteger(x)
  x = num(x)
  if x ~= x then return 0 end
  return x < 0 and ceil(x) or floor(x)
end
js.toInteger = toInteger

local function int32(x)
  if type(x) ~= "number" then x = num(x) end
  local r = tobit(x)
  if r == x then return r end
  if x - x ~= 0 then return 0 end
  return tobit((x < 0 and ceil(x) or floor(x)) % 4294967296)
end

local function uint32(x)
  local r = int32(x)
  return r < 0 and r + 4294967296 or r
end
js.int32, js.uint32 = int32, uint32

function js.typeof(x)
  local t = type(x)
  if t == "nil" then return "undefined" end
  if t == "table" or t == "userdata" or t == "cdata" or t == "thread" then return "object" end
  return t
end

-- Property keys: a canonical number is a Lua number, everything else a string.
local function canonical(s)
  local n = tonumber(s)
  if n and n - n == 0 and numberToString(n) == s then return n end
  return s
end

local function key(k)
  if type(k) == "number" then
    if k - k ~= 0 then return numberToString(k) end
    return k
  end
  if type(k) ~= "string" then k = str(k) end
  local b = byte(k, 1)
  if b and b < 58 and (b > 47 or b == 45) then return canonical(k) end
  return k
end
js.key = key

-- Operators.

function js.add(a, b)
  local ta, tb = type(a), type(b)
  if ta == "number" and tb == "number" then return a + b end
  if ta == "string" and tb == "string" then return join(a, b) end
  a, b = primitive(a), primitive(b)
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
  if b ~= b or (b == huge or b == -huge) and (a == 1 or a == -1) then return 0 / 0 end
  return a ^ b
end

local band, bor, bxor, bnot = bit.band, bit.bor, bit.bxor, bit.bnot
local lshift, rshift, arshift = bit.lshift, bit.rshift, bit.arshift
function js.band(a, b) return band(int32(a), int32(b)) end
function js.bor(a, b) return bor(int32(a), int32(b)) end
function js.bxor(a, b) return bxor(int32(a), int32(b)) end
function js.bnot(a) return bnot(int32(a)) end
function js.shl(a, b) return lshift(int32(a), int32(b)) end
function js.shr(a, b) return arshift(int32(a), int32(b)) end
function js.ushr(a, b)
  local r = rshift(int32(a), int32(b))
  return r < 0 and r + 4294967296 or r
end

-- a < b and a <= b after conversion; the operands arrive in the order in which JavaScript converts them.
local function operands(a, b)
  a = primitive(a, "number")
  b = primitive(b, "number")
  if type(a) == "string" and type(b) == "string" then return a, b end
  a = num(a)
  return a, num(b)
end

local function relation(compare)
  return function(a, b)
    local ta, tb = type(a), type(b)
    if ta == "number" and tb == "number" or ta == "string" and tb == "string" then return compare(a, b) end
    return compare(operands(a, b))
  end
end
js.lt = relation(function(a, b) return a < b end)
js.le = relation(function(a, b) return a <= b end)
js.gt = relation(function(a, b) return a > b end)
js.ge = relation(function(a, b) return a >= b end)

local function eq(a, b)
  if a == b then return true end
  if a == nil or a == null then return b == nil or b == null end
  if b == nil or b == null then return false end
  local ta, tb = type(a), type(b)
  if ta == tb and (ta ~= "table" and ta ~= "userdata" and ta ~= "cdata") then return false end
  if ta == "boolean" then return eq(a and 1 or 0, b) end
  if tb == "boolean" then return eq(a, b and 1 or 0) end
  if isObject(a) then
    if isObject(b) then return false end
    return eq(primitive(a), b)
  elseif isObject(b) then
    return eq(a, primitive(b))
  end
  return num(a) == num(b)
end
js.eq = eq

-- Properties by computed key.

local function get(o, k)
  if type(k) == "number" then
    if k - k == 0 then return o[k] end
    return o[numberToString(k)]
  end
  if type(k) == "string" then
    local b = byte(k, 1)
    if b and b < 58 and (b > 47 or b == 45) then k = canonical(k) end
    return o[k]
  end
  if o == nil or o == null then return o[k] end
  return o[key(k)]
end
js.get = get

function js.setlength(o, v)
  local mt = type(o) == "table" and getmetatable(o)
  if mt and mt.array then return js.setArrayLength(o, v) end
  o.length = v
end

function js.set(o, k, v)
  if type(k) == "number" then
    if k - k == 0 then o[k] = v else o[numberToString(k)] = v end
    return
  end
  if o == nil or o == null then o[k] = v end
  k = key(k)
  if k == "length" then js.setlength(o, v) else o[k] = v end
end

function js.keys(o)
  if o == nil or o == null or type(o) == "number" or type(o) == "boolean" then return {}, 0 end
  if type(o) == "string" then o = js.toObject(o) end
  if type(o) == "userdata" or type(o) == "cdata" then return {}, 0 end
  local list, n = ownKeys(o)
  for i = 1, n do list[i] = str(list[i]) end
  local proto, seen = protoOf(o), nil
  while proto do
    local more, count = ownKeys(proto)
    if count > 0 then
      if not seen then
        seen = {}
        local all, total = ownKeys(o, true)
        for i = 1, total do seen[str(all[i])] = true end
      end
      for i = 1, count do
        local k = str(more[i])
        if not seen[k] then n = n + 1 list[n], seen[k] = k, true end
      end
    end
    if seen then
      local all, total = ownKeys(proto, true)
      for i = 1, total do seen[str(all[i])] = true end
    end
    proto = protoOf(proto)
  end
  return list, n
end

function js.has(k, o)
  if not isObject(o) then typeError("Cannot use 'in' operator to search for '" .. str(k) .. "' in " .. str(o)) end
  k = key(k)
  if not isScriptObject(o) then return o[k] ~= nil end
  repeat
    if own(o, k) then return true end
    o = protoOf(o)
  until not o
  return false
end

js["instanceof"] = function(a, b)
  if type(b) ~= "function" then typeError("Right-hand side of 'instanceof' is not callable") end
  b = js.boundTarget and js.boundTarget[b] or b
  if not isScriptObject(a) then return false end
  local proto = b.prototype
  if not isObject(proto) then
    typeError("Function has non-object prototype '" .. str(proto) .. "' in instanceof check")
  end
  a = protoOf(a)
  while a do
    if a == proto then return true end
    a = protoOf(a)
  end
  return false
end

-- Calls.

local function callable(f)
  if type(f) == "function" then return true end
  local mt = type(f) ~= "string" and getmetatable(f)
  return type(mt) == "table" and mt.__call ~= nil
end
js.callable = callable

function js.notfunction(text) typeError(text .. " is not a function") end

function js.call(f, text, ...)
  if type(f) ~= "function" and not callable(f) then typeError(text .. " is not a function") end
  return f(...)
end

function js.method(o, k, ...)
  local f = get(o, k)
  if type(f) ~= "function" and not callable(f) then typeError(str(k) .. " is not a function") end
  return f(o, ...)
end

-- Fields that the objects of a constructor came to last time decide how much room the next one starts with.
local function room2(s) return { [S] = s, a = nil } end
local function room4(s) return { [S] = s, a = nil, b = nil, c = nil } end
local function room8(s) return { [S] = s, a = nil, b = nil, c = nil, d = nil, e = nil, f = nil, g = nil } end

local function firstInstance(f)
  local name, _, kind = js.signature(f)
  if kind ~= "f" then typeError((name ~= "" and name or "(intermediate value)") .. " is not a constructor") end
  local proto = f.prototype
  local mt = metaFor(isScriptObject(proto) and proto or js.ObjectProto)
  instances[f] = mt
  return mt
end

local function finishNew(mt, o, r)
  if r ~= nil and isObject(r) then return r end
  if not mt.make then
    local n = rawget(o, S).n
    mt.make = n <= 1 and room2 or n <= 3 and room4 or n <= 7 and room8 or room2
  end
  return o
end

js.new = function(f, ...)
  local mt = instances[f]
  if not mt then
    if type(f) ~= "function" then typeError(js.describe(f) .. " is not a constructor") end
    if construct[f] then return construct[f](...) end
    mt = firstInstance(f)
  end
  local o = setmetatable((mt.make or room2)(mt.root), mt)
  return finishNew(mt, o, (f(o, ...)))
end

-- A value as a message shows it.
function js.describe(x)
  if type(x) ~= "table" or x == null then return str(x) end
  local mt = getmetatable(x)
  return mt and mt.array and "[object Array]" or "#<Object>"
end

-- Literals, arguments, iteration.

js.hole = {}

function js.array(n, ...)
  local a = setmetatable({ [0] = (...), select(2, ...) }, A)
  rawset(a, "length", n)
  for i = 0, n - 1 do
    if rawget(a, i) == js.hole then
      rawset(a, i, nil)
      addHoles(a, i, i + 1)
    end
  end
  return a
end

-- A table constructor that ends in "..." is not compiled; few values are the common case.
function js.rest(...)
  local n = select("#", ...)
  if n > 3 then return setmetatable({ [0] = (...), length = n, select(2, ...) }, A) end
  local a, b, c = ...
  return setmetatable({ [0] = a, b, c, length = n }, A)
end

-- An array of the values list[first] .. list[last].
function js.list(list, first, last)
  local a = { length = last - first + 1 }
  for i = first, last do a[i - first] = list[i] end
  return setmetatable(a, A)
end

function js.object(...)
  local o = setmetatable({ [S] = O.root }, O)
  for i = 1, select("#", ...), 2 do
    local k, v = select(i, ...)
    k = key(k)
    if rawget(o, k) ~= nil then rawset(o, k, v) else addOther(o, rawget(o, S), k, v) end
  end
  return o
end

local argumentShapes = {}
local Arguments = js.newMeta(js.ObjectProto, nil, true)

-- What only functions that aren't strict have.
function js.poisoned()
  typeError("'caller', 'callee', and 'arguments' properties may not be accessed on strict mode functions")
end
js.names[js.poisoned], js.arity[js.poisoned] = "", 0
local callee = { flags = 0, get = js.poisoned, set = js.poisoned, accessor = true }

js.arguments = function(_, ...)
  local n = select("#", ...)
  local shape = argumentShapes[n]
  if not shape then
    shape = js.newShape()
    for i = 0, n - 1 do js.append(shape, i) end
    js.append(shape, "length")
    js.append(shape, "callee")
    shape.attr, shape.slots = { length = 5 }, { callee = callee }
    argumentShapes[n] = shape
  end
  if n > 3 then
    return setmetatable({ [0] = (...), length = n, [S] = shape, [C] = "Arguments", select(2, ...) }, Arguments)
  end
  local a, b, c = ...
  return setmetatable({ [0] = a, b, c, length = n, [S] = shape, [C] = "Arguments" }, Arguments)
end

function js.values(o)
  local mt = type(o) == "table" and getmetatable(o)
  if mt and mt.array then return o end
  return js.iterate(o)
end

-- Errors. What JavaScript throws and is no object travels in a box, so that it cannot be taken for a Lua message.

local Box = {}
js.Box = Box

js.throw = function(v)
  if type(v) == "table" and v ~= null then error(v, 0) end
  error(setmetatable({ value = v }, Box), 0)
end

-- Runs where the error was raised, so that an Error gets the frames of that place; without stack left, later.
local function caught(e)
  if type(e) == "table" or type(e) == "string" and find(e, "stack overflow", 1, true) then return e end
  return js.fromNative(e)
end

local function finishTry(ok, ...)
  if ok then return true, ... end
  local e = ...
  if type(e) ~= "table" then e = js.fromNative(e) end
  if getmetatable(e) == Box then return false, e.value end
  return false, e
end

js.try = function(f) return finishTry(xpcall(f, caught)) end

platform.onError(function(value) return js.describeError(value) end)

-- The global object.

local G = {}
js.G = G
local files = { Object = "object", Function = "object", Array = "array", String = "string", JSON = "json", Date = "date" }
local defined = { undefined = true }

local function provide(file, list) for name in gmatch(list, "%S+") do files[name] = file end end
provide("number", "Number Boolean Math NaN Infinity isNaN isFinite parseInt parseFloat")
provide("string", "encodeURI encodeURIComponent decodeURI decodeURIComponent")
provide("error", "Error TypeError RangeError ReferenceError SyntaxError EvalError URIError")
provide("collections", "Map Set WeakMap WeakSet")
provide("object", "globalThis console")

-- Lua's own names are none of JavaScript's.
local luaNames = {}
for name in gmatch([[_G _VERSION assert bit collectgarbage coroutine debug dofile error getfenv getmetatable io
    ipairs jit load loadfile loadstring math module newproxy next os package pairs pcall print rawequal rawget
    rawlen rawset require select setfenv setmetatable string table tonumber tostring type unpack utf8 xpcall]], "%S+") do
  luaNames[name] = true
end

local function wrap(name, f)
  if name == "log" then
    return function(_, ...)
      local texts = { ... }
      for i = 1, select("#", ...) do texts[i] = str(texts[i]) end
      local text = concat(texts, " ")
      -- Half a surrogate pair is no character: shown as JavaScript's consoles do.
      return f(find(text, "\237[\160-\191]") and gsub(text, "\237[\160-\191].", "\239\191\189") or text)
    end
  end
  return function(_, ...) return f(...) end
end

local function builtinGlobal(name)
  local v = rawget(G, name)
  if v ~= nil then return v, true end
  if defined[name] then return nil, true end
  local file = files[name]
  if file and not loaded[file] then load(file) return builtinGlobal(name) end
  v = not luaNames[name] and rawget(hostGlobals, name) or nil
  if type(v) == "function" then
    v = wrap(name, v)
    rawset(G, name, v)
  end
  return v, v ~= nil
end
js.builtinGlobal = builtinGlobal

-- Whatever a script put into the global object, which nobody has touched before its file is loaded.
local function findGlobal(name)
  local v, found = builtinGlobal(name)
  if found or not loaded.object then return v, found end
  if js.has(name, G.globalThis) then return G.globalThis[name], true end
  return nil, false
end

js.global = function(name, value)
  defined[name] = true
  rawset(G, name, value)
end

function js.removeGlobal(name)
  files[name], defined[name], luaNames[name] = nil, nil, true
  rawset(G, name, nil)
  return true
end

setmetatable(G, {
  __index = function(_, name)
    local v, found = findGlobal(name)
    if not found then throwError("ReferenceError", name .. " is not defined") end
    return v
  end,
  __newindex = function(_, name, v)
    if not select(2, findGlobal(name)) then throwError("ReferenceError", name .. " is not defined") end
    G.globalThis[name] = v
  end,
})

function js.typeofglobal(name) return js.typeof((findGlobal(name))) end

-- Math on operands known to be numbers.

for name in gmatch("floor sqrt abs sin cos tan asin acos atan atan2 exp log", "%S+") do js[name] = math[name] end

-- Lua's own gives 0 for what is just below it, where -0 is right.
function js.ceil(x) return -floor(-x) end

local greater, lesser = math.max, math.min

function js.max2(a, b)
  if a ~= a or b ~= b then return 0 / 0 end
  if a == 0 and b == 0 then return a + b end
  return greater(a, b)
end

function js.min2(a, b)
  if a ~= a or b ~= b then return 0 / 0 end
  if a == 0 and b == 0 then return -(-a - b) end
  return lesser(a, b)
end

function js.round(x)
  local r = floor(x)
  if x - r >= 0.5 then r = r + 1 end
  if r == 0 and x < 0 then return -0 * 1 end
  return r
end

-- translator support

-- A variable that a closure may see too early holds this until it is initialised.
js.unset = setmetatable({}, { __metatable = false })

function js.ready(v, name)
  if v == js.unset then throwError("ReferenceError", "Cannot access '" .. name .. "' before initialization") end
  return v
end

-- The bound of a counting loop: a number, and the object that has to be compared with each turn, if it is one.
function js.limit(x)
  if type(x) == "number" then return x end
  if x == nil then return -math.huge end
  if isObject(x) then return math.huge, x end
  return num(x)
end

return js
