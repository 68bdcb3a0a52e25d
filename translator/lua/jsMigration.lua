-- What a translated script calls beside the operators: properties by computed key, calls, literals, errors, variables.
-- It stands on these files, each on the one before: text, start, objects, values, keys, globals. The built-in objects
-- live in others that load when a script first touches them.
local platform = ...
local js = require("globals.jsMigration.lua")
local S, O, A, null, StringProto, FunctionHome = js.S, js.O, js.A, js.null, js.StringProto, js.FunctionHome
local type, rawget, rawset, select, setmetatable, error, unpack = type, rawget, rawset, select, setmetatable, error, unpack
local getmetatable, xpcall, sub, find = getmetatable, platform.xpcall, string.sub, string.find
local str, key, units, length = js.str, js.key, js.units, js.length
local utf8, isObject, isScriptObject, typeError = js.utf8, js.isObject, js.isScriptObject, js.typeError
local lookup, props, side, instances, construct = js.lookup, js.props, js.side, js.instances, js.construct
local fresh = js.fresh

-- Metatables of the primitive types and functions.

local function nothingMeta(what)
  local function cannot(act, verb)
    return function(_, k)
      typeError("Cannot " .. act .. " properties of " .. what .. " (" .. verb .. " '" .. js.describe(k) .. "')")
    end
  end
  return js.withArithmetic({ __index = cannot("read", "reading"), __newindex = cannot("set", "setting") })
end

local function primitiveMeta(proto, index)
  local function read(x, k)
    local v = rawget(proto, k)
    if v ~= nil then return v end
    return lookup(proto, k, x)
  end
  local function write(x, k, v)
    local _, slot = js.holder(proto, k)
    if slot and slot.set then return slot.set(x, v) end
    local what = type(x) .. " '" .. str(x) .. "'"
    if type(x) == "string" and (k == "length" or js.isIndex(k) and k < length(x)) then
      typeError("Cannot assign to read only property '" .. str(k) .. "' of " .. what)
    end
    typeError("Cannot create property '" .. str(k) .. "' on " .. what)
  end
  return js.withArithmetic({ __index = index or read, __newindex = write })
end

local function stringIndex(s, k)
  if k == "length" then return length(s) end
  if type(k) == "number" then
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
  local p = side[f] or k == "prototype" and props(f) or FunctionHome
  local v = rawget(p, k)
  if v ~= nil then return v end
  if p == FunctionHome and (k == "name" or k == "length") and f ~= js.FunctionProto then
    -- Without an entry on the side, which would keep the function alive.
    local name, count = js.signature(f)
    return k == "name" and name or count
  end
  return lookup(p, k, f)
end

local function functionNewIndex(f, k, v)
  if k == "prototype" then instances[f] = nil end
  local p = props(f)
  if rawget(p, k) ~= nil then rawset(p, k, v) else js.put(p, k, v, f) end
end

local set = platform.setmetatable
set(nil, nothingMeta("undefined"))
setmetatable(null, nothingMeta("null"))
set(true, primitiveMeta(js.BooleanProto))
set(0, primitiveMeta(js.NumberProto))
set("", primitiveMeta(StringProto, stringIndex))
set(set, js.withArithmetic({ __index = functionIndex, __newindex = functionNewIndex }))

-- Properties by computed key.

function js.get(o, k)
  if type(k) == "number" and k - k == 0 or o == nil or o == null then return o[k] end
  return o[key(k)]
end

function js.set(o, k, v)
  if type(k) == "number" and k - k == 0 or o == nil or o == null then o[k] = v return end
  k = key(k)
  if k == "length" then js.setlength(o, v) else o[k] = v end
end

-- Calls.

local function callable(f)
  if type(f) == "function" then return true end
  local mt = type(f) ~= "string" and getmetatable(f)
  return type(mt) == "table" and mt.__call ~= nil
end
js.callable = callable

local boundTarget = setmetatable({}, { __mode = "k" }) -- what bind() made -> the function itself
js.boundTarget = boundTarget

js["instanceof"] = function(a, b)
  if not callable(b) then
    typeError("Right-hand side of 'instanceof' is not " .. (isObject(b) and "callable" or "an object"))
  end
  if not isScriptObject(a) then return false end
  local proto = (boundTarget[b] or b).prototype
  if isObject(proto) then return js.inherits(a, proto) end
  typeError("Function has non-object prototype '" .. str(proto) .. "' in instanceof check")
end

function js.notfunction(text) typeError(text .. " is not a function") end

function js.call(f, text, ...)
  if type(f) ~= "function" and not callable(f) then js.notfunction(text) end
  return f(...)
end

-- The first n elements of an array, or of something like one.
function js.elements(list, n)
  if n > 7000 then js.throwError("RangeError", "Maximum call stack size exceeded") end
  if getmetatable(list) ~= A then list = js.list(list, 0, n - 1) end
  return unpack(list, 0, n - 1)
end

function js.pass(f, this, list, n)
  if n > 1 and js.applyList[f] then return js.applyList[f](this, list, n) end
  return f(this, js.elements(list, n))
end

local function firstInstance(f, text)
  local _, _, kind = js.signature(f)
  if kind ~= "f" then typeError(text .. " is not a constructor") end
  local proto = f.prototype
  local mt = js.metaFor(isScriptObject(proto) and proto or js.ObjectProto)
  instances[f] = mt
  return mt
end

js.new = function(f, text, ...)
  local mt = instances[f]
  if not mt then
    if type(f) ~= "function" then typeError(text .. " is not a constructor") end
    if construct[f] then return construct[f](...) end
    mt = firstInstance(f, text)
  end
  local o = fresh({ [S] = mt.root }, mt)
  local r = f(o, ...)
  if isObject(r) then return r end
  return o
end

-- Literals, arguments, iteration.

-- A table constructor that ends in "..." is not compiled; few values are the common case.
local function rest(...)
  local n = select("#", ...)
  if n > 3 then return fresh({ [0] = (...), length = n, select(2, ...) }, A) end
  local a, b, c = ...
  return fresh({ [0] = a, b, c, length = n }, A)
end
js.rest = rest
js.hole = {}

-- As fresh, for an array of values among which are holes.
function js.array(a)
  fresh(a, A)
  for i = 0, a.length - 1 do
    if rawget(a, i) == js.hole then
      rawset(a, i, nil)
      js.addHoles(a, i, i + 1)
    end
  end
  return a
end

-- An array of the values list[first] .. list[last].
function js.list(list, first, last)
  local a = { length = last - first + 1 }
  for i = first, last do a[i - first] = list[i] end
  return fresh(a, A)
end

function js.object(...)
  local o = fresh({ [S] = O.root }, O)
  for i = 1, select("#", ...), 2 do
    local k, v = select(i, ...)
    js.addKey(o, key(k), v)
  end
  return o
end

-- What only functions that aren't strict have.
function js.poisoned()
  typeError("'caller', 'callee', and 'arguments' properties may not be accessed on strict mode functions")
end
js.name(js.poisoned, "", 0)
local Arguments, argumentShapes = js.newMeta(js.ObjectProto, nil, true), {}

function js.arguments(...)
  local n = select("#", ...)
  local shape = argumentShapes[n]
  if not shape then
    shape = js.newShape()
    for i = 0, n - 1 do js.append(shape, i) end
    js.append(shape, "length")
    js.append(shape, "callee")
    shape.attr = { length = 5 }
    shape.slots = { callee = { flags = 0, get = js.poisoned, set = js.poisoned, accessor = true } }
    argumentShapes[n] = shape
  end
  if n <= 3 then
    local a, b, c = ...
    return fresh({ [0] = a, b, c, length = n, [S] = shape, ["\0c"] = "Arguments" }, Arguments)
  end
  local a = rest(...)
  rawset(a, S, shape)
  rawset(a, "\0c", "Arguments")
  return fresh(a, Arguments)
end

function js.values(o, text)
  if js.isArray(o) then return o end
  return js.iterate(o, text)
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
js.caught = caught

-- The same for what will be raised again: the box of what is no Error has its frames.
local function passing(e)
  e = caught(e)
  if type(e) ~= "table" or rawget(e, "\0f") then return e end
  if getmetatable(e) ~= Box then e = setmetatable({ value = e }, Box) end
  e["\0f"] = platform.frames()
  return e
end

local function finishTry(passes, ok, ...)
  if ok then return true, ... end
  local e = js.fromNative((...))
  if getmetatable(e) == Box and not passes then return false, e.value end
  return false, e
end

js.try = function(f, passes)
  if not js.loaded.error then js.load("error") end -- while there is stack to do so
  return finishTry(passes, xpcall(f, passes and passing or caught))
end
platform.onError(function(value, frames) return js.describeError(value, frames) end)

-- Variables and loops.

-- A variable that a closure may see too early holds this until it is initialised.
js.unset = setmetatable({}, { __metatable = false })

function js.ready(v, name)
  if v == js.unset then js.throwError("ReferenceError", "Cannot access '" .. name .. "' before initialization") end
  return v
end

-- The start or bound of a counting loop as a number. For NaN, which compiled loops take for one turn, the infinity that
-- lets the loop end before its first.
function js.limit(x, none)
  x = js.num(x)
  return x == x and x or none or -1 / 0
end

return js
