-- Object, Function.prototype, the global object as a value, console.
local js = require("jsMigration.lua")
local bit, math, pairs = bit, math, pairs
local null, str, key, own, defineOwn, builtin = js.null, js.str, js.key, js.own, js.defineOwn, js.builtin
local isObject, isScriptObject, typeError = js.isObject, js.isScriptObject, js.typeError
local protoOf, ownKeys = js.protoOf, js.ownKeys
local type, rawget, select = type, rawget, select
local getmetatable, setmetatable, unpack = getmetatable, setmetatable, unpack
local A, C = js.A, "\0c"
local ObjectProto, FunctionProto = js.ObjectProto, js.FunctionProto
local WRITABLE, ENUMERABLE, CONFIGURABLE = 1, 2, 4

js.fillProto(ObjectProto, nil)
js.fillProto(js.FunctionHome, ObjectProto)
defineOwn(FunctionProto, "length", CONFIGURABLE, 0)
defineOwn(FunctionProto, "name", CONFIGURABLE, "")

-- The wrapper object of a primitive; an object is its own.
local wrappers = { string = { js.StringProto, "String" }, number = { js.NumberProto, "Number" },
  boolean = { js.BooleanProto, "Boolean" } }
function js.toObject(x)
  local wrapper = wrappers[type(x)]
  if not wrapper then
    if x == nil or x == null then typeError("Cannot convert undefined or null to object") end
    return x
  end
  local o = js.instance(wrapper[1], wrapper[2], x)
  if type(x) == "string" then
    local n = js.length(x)
    for i = 0, n - 1 do defineOwn(o, i, ENUMERABLE, js.slice(x, i, i + 1)) end
    defineOwn(o, "length", 0, n)
  end
  return o
end
local toObject = js.toObject

local function makeObject(x)
  if x == nil or x == null then return js.object() end
  return toObject(x)
end
local Object = js.constructor("Object", 1, ObjectProto, function(_, x) return makeObject(x) end, makeObject)

local function default(name, count, f) return builtin(ObjectProto, name, count, f) end

default("hasOwnProperty", 1, function(this, k) return own(toObject(this), key(k)) ~= nil end)
default("isPrototypeOf", 1, function(this, o)
  if not isScriptObject(o) then return false end
  return js.inherits(o, toObject(this))
end)
local function isEnumerable(o, k) return (own(o, k) or 0) % CONFIGURABLE >= ENUMERABLE end
default("propertyIsEnumerable", 1, function(this, k) return isEnumerable(toObject(this), key(k)) end)
default("valueOf", 0, function(this) return toObject(this) end)
default("toLocaleString", 0, function(this) return this:toString() end)
default("toString", 0, function(this)
  if this == nil then return "[object Undefined]" elseif this == null then return "[object Null]" end
  local o = toObject(this)
  local mt = getmetatable(o)
  if type(o) == "function" then return "[object Function]" end
  return "[object " .. (type(o) == "table" and (rawget(o, C) or mt and mt.array and "Array") or "Object") .. "]"
end)

local function static(name, count, f) return builtin(Object, name, count, f) end

local function needObject(o, what) if not isScriptObject(o) then typeError(what .. " called on non-object") end end

-- A descriptor's getter or setter: false when it is given as undefined, nil when it is not given.
local function accessorOf(d, k, what)
  if not js.has(k, d) then return nil end
  local f = d[k]
  if f ~= nil and type(f) ~= "function" then typeError(what .. " must be a function: " .. str(f)) end
  return f or false
end

-- Reads a descriptor object: flags given, flags set, value, getter, setter; false for an accessor given as undefined.
local function descriptor(d)
  if not isScriptObject(d) then typeError("Property description must be an object: " .. str(d)) end
  local given, set = 0, 0
  for name, flag in pairs({ enumerable = ENUMERABLE, configurable = CONFIGURABLE, writable = WRITABLE }) do
    if js.has(name, d) then
      given = given + flag
      if js.truthy(d[name]) then set = set + flag end
    end
  end
  local hasValue = js.has("value", d)
  local value = d.value
  local get, setter = accessorOf(d, "get", "Getter"), accessorOf(d, "set", "Setter")
  if (get ~= nil or setter ~= nil) and (hasValue or given % 2 == 1) then
    typeError("Invalid property descriptor. Cannot both specify accessors and a value or writable attribute")
  end
  return given, set, hasValue, value, get, setter
end

local function same(a, b)
  if a == b then return a ~= 0 or 1 / a == 1 / b end
  return a ~= a and b ~= b
end
js.same = same

local function bits(flags, mask) return bit.band(flags, mask) end

local function defineLength(a, given, set, hasValue, value, accessor)
  local s = js.ownShape(a)
  local refused = accessor or bits(set, 6) > 0 or set % 2 == 1 and s.fixedLength
  if refused then typeError("Cannot redefine property: length") end
  local wanted = hasValue and js.resize(a, value) or a.length
  if given % 2 == 1 and set % 2 == 0 then
    s.fixedLength = true
    js.general(a)
  end
  if wanted ~= a.length then typeError("Cannot redefine property: length") end
end

local function defineProperty(o, k, given, set, hasValue, value, get, setter)
  local home = js.home(o)
  if getmetatable(home).array and k == "length" then
    return defineLength(o, given, set, hasValue, value, get ~= nil or setter ~= nil)
  end
  local accessor = get ~= nil or setter ~= nil
  local flags, old, slot = own(o, k)
  if not flags then
    if not js.mayAdd(home, k) then typeError("Cannot define property " .. str(k) .. ", object is not extensible") end
    if accessor then get, setter = get or false, setter or false end
    return defineOwn(o, k, set, value, get, setter)
  end
  local wasAccessor = slot and slot.accessor or false
  if flags < CONFIGURABLE then
    local toData = hasValue or given % 2 == 1
    if bits(set, CONFIGURABLE) > 0 or bits(given, ENUMERABLE) > 0 and bits(set, ENUMERABLE) ~= bits(flags, ENUMERABLE)
      or accessor and not wasAccessor or toData and wasAccessor
      or accessor and (get ~= nil and (get or nil) ~= slot.get or setter ~= nil and (setter or nil) ~= slot.set)
      or toData and flags % 2 == 0 and (set % 2 == 1 or hasValue and not same(value, old)) then
      typeError("Cannot redefine property: " .. str(k))
    end
  end
  local merged = bits(flags, bit.bnot(given)) + set
  if accessor then
    merged = bits(merged, 6)
    if get == nil then get = wasAccessor and slot.get or false end
    if setter == nil then setter = wasAccessor and slot.set or false end
    return defineOwn(o, k, merged, nil, get, setter)
  elseif wasAccessor then
    if hasValue or given % 2 == 1 then return defineOwn(o, k, merged, value) end
    return defineOwn(o, k, merged, nil, slot.get or false, slot.set or false)
  end
  if not hasValue then value = old end
  defineOwn(o, k, merged, value)
end

static("defineProperty", 3, function(_, o, k, d)
  needObject(o, "Object.defineProperty")
  k = key(k)
  defineProperty(o, k, descriptor(d))
  return o
end)

local function defineProperties(o, list)
  list = toObject(list)
  local keys, n = ownKeys(list)
  local all = {}
  for i = 1, n do all[i] = { descriptor(list[keys[i]]) } end
  for i = 1, n do defineProperty(o, keys[i], unpack(all[i], 1, 6)) end
  return o
end

static("defineProperties", 2, function(_, o, list)
  needObject(o, "Object.defineProperties")
  return defineProperties(o, list)
end)

static("create", 2, function(_, proto, list)
  if proto ~= null and not isScriptObject(proto) then
    typeError("Object prototype may only be an Object or null: " .. str(proto))
  end
  local o = js.instance(proto ~= null and proto or nil)
  return list == nil and o or defineProperties(o, list)
end)

static("getPrototypeOf", 1, function(_, o)
  local wrapper = wrappers[type(o)]
  if wrapper then return wrapper[1] end
  return protoOf(toObject(o)) or null
end)

static("setPrototypeOf", 2, function(_, o, proto)
  if o == nil or o == null then typeError("Object.setPrototypeOf called on null or undefined") end
  if proto ~= null and not isScriptObject(proto) then
    typeError("Object prototype may only be an Object or null: " .. str(proto))
  end
  if not isScriptObject(o) then return o end
  local home = js.home(o)
  proto = proto ~= null and proto or nil
  if protoOf(o) == proto then return o end
  local s = rawget(home, "\0s")
  if s and s.noext then typeError("#<Object> is not extensible") end
  if proto and (proto == o or js.inherits(proto, o)) then typeError("Cyclic __proto__ value") end
  js.setProto(o, proto)
  return o
end)

-- Own enumerable keys, and their values, as arrays made by row(object, key).
local function lister(row)
  return function(_, o)
    o = toObject(o)
    if type(o) == "userdata" or type(o) == "cdata" then return js.rest() end
    local keys, n = ownKeys(o)
    local s, count = rawget(js.home(o), "\0s"), 0
    for i = 1, n do
      -- What a getter did to a later key counts.
      if not (s and s.slots) or isEnumerable(o, keys[i]) then keys[count], count = row(o, keys[i]), count + 1 end
    end
    for i = count, n do keys[i] = nil end
    keys.length = count
    return setmetatable(keys, A)
  end
end

static("keys", 1, lister(function(_, k) return str(k) end))
static("values", 1, lister(function(o, k) return o[k] end))
static("entries", 1, lister(function(o, k) return js.rest(str(k), o[k]) end))

static("getOwnPropertyNames", 1, function(_, o)
  local keys, n = ownKeys(toObject(o), true)
  for i = 1, n do keys[i] = str(keys[i]) end
  return js.list(keys, 1, n)
end)

local function describe(o, k)
  local flags, value, slot = own(o, k)
  if not flags then return nil end
  local enumerable, configurable = flags % CONFIGURABLE >= ENUMERABLE, flags >= CONFIGURABLE
  local variable = slot and slot.variable
  if slot and slot.accessor and not variable then
    return js.object("get", slot.get, "set", slot.set, "enumerable", enumerable, "configurable", configurable)
  end
  if variable then value = slot.get() end
  return js.object("value", value, "writable", variable or flags % 2 == 1, "enumerable", enumerable,
    "configurable", configurable)
end

static("getOwnPropertyDescriptor", 2, function(_, o, k) return describe(toObject(o), key(k)) end)
static("getOwnPropertyDescriptors", 1, function(_, o)
  o = toObject(o)
  local d, keys, n = js.object(), ownKeys(o, true)
  for i = 1, n do js.create(d, keys[i], describe(o, keys[i])) end
  return d
end)

static("assign", 2, function(_, target, ...)
  target = toObject(target)
  for i = 1, select("#", ...) do
    local from = select(i, ...)
    if from ~= nil and from ~= null then
      from = toObject(from)
      local keys, n = ownKeys(from)
      for j = 1, n do if isEnumerable(from, keys[j]) then js.set(target, keys[j], from[keys[j]]) end end
    end
  end
  return target
end)

static("getOwnPropertySymbols", 1, function(_, o)
  toObject(o)
  return js.rest() -- an object has none, as there are none
end)

static("fromEntries", 1, function(_, list)
  local o = js.object()
  for _, item in js.each(list) do
    local k, v = js.entry(item)
    js.create(o, key(k), v)
  end
  return o
end)

static("hasOwn", 2, function(_, o, k) return own(toObject(o), key(k)) ~= nil end)
static("is", 2, function(_, a, b) return same(a, b) end)

-- Levels of integrity: 1 no new keys, 2 sealed, 3 frozen.
local function restrict(level)
  return function(_, o)
    if not isScriptObject(o) then return o end
    local home = js.home(o)
    local array = getmetatable(home).array
    if level > 1 then
      local keys, n = ownKeys(o, true)
      for i = 1, n do
        local k = keys[i]
        local flags, value, slot = own(o, k)
        local kept = bits(flags, level == 3 and not (slot and slot.accessor) and 2 or 3)
        if array and k == "length" then js.ownShape(o).fixedLength = kept % 2 == 0 or nil
        elseif slot then slot.flags = kept
        else defineOwn(o, k, kept, value)
        end
      end
    end
    js.ownShape(home).noext = true
    js.general(home)
    return o
  end
end

static("preventExtensions", 1, restrict(1))
static("seal", 1, restrict(2))
static("freeze", 1, restrict(3))

local function restricted(level)
  return function(_, o)
    if not isScriptObject(o) then return true end
    local s = rawget(js.home(o), "\0s")
    if not (s and s.noext) then return false end
    if level == 1 then return true end
    local keys, n = ownKeys(o, true)
    for i = 1, n do
      local flags, _, slot = own(o, keys[i])
      if flags >= CONFIGURABLE or level == 3 and flags % 2 == 1 and not (slot and slot.accessor) then return false end
    end
    return true
  end
end

static("isSealed", 1, restricted(2))
static("isFrozen", 1, restricted(3))
static("isExtensible", 1, function(_, o) return isScriptObject(o) and not restricted(1)(nil, o) end)

-- Functions.

local function refuse() js.throwError("Error", "Function from text is not supported") end
js.constructor("Function", 1, FunctionProto, refuse, refuse)

defineOwn(FunctionProto, "caller", CONFIGURABLE, nil, js.poisoned, js.poisoned)
defineOwn(FunctionProto, "arguments", CONFIGURABLE, nil, js.poisoned, js.poisoned)

local function method(name, count, f) return builtin(FunctionProto, name, count, f) end

local function needFunction(f, name)
  if type(f) == "function" then return end
  typeError("Function.prototype." .. name .. " was called on " .. js.describe(f) .. ", which is not a function")
end

method("call", 1, function(f, this, ...)
  if type(f) ~= "function" then needFunction(f, "call") end
  return f(this, ...)
end)

method("apply", 2, function(f, this, list)
  needFunction(f, "apply")
  if list == nil or list == null then return f(this) end
  if not isObject(list) then typeError("CreateListFromArrayLike called on non-object") end
  local n = js.toInteger(list.length)
  if n > 200 then
    if js.applyList[f] then return js.applyList[f](this, list, n) end
    if n > 7000 then js.throwError("RangeError", "Maximum call stack size exceeded") end
  end
  if getmetatable(list) == A then return f(this, unpack(list, 0, n - 1)) end
  local values = {}
  for i = 0, n - 1 do values[i] = list[i] end
  return f(this, unpack(values, 0, n - 1))
end)

method("bind", 1, function(f, this, ...)
  needFunction(f, "bind")
  local n, first = select("#", ...), { ... }
  local function join(...)
    local values = { unpack(first, 1, n) }
    for i = 1, select("#", ...) do values[n + i] = (select(i, ...)) end
    return unpack(values, 1, n + select("#", ...))
  end
  local bound = n == 0 and function(_, ...) return f(this, ...) end or function(_, ...) return f(this, join(...)) end
  js.name(bound, "bound " .. str(f.name), math.max(0, js.toInteger(f.length) - n))
  if js.isConstructor(f) then js.construct[bound] = function(...) return js.new(f, join(...)) end end
  js.boundTarget[bound] = js.boundTarget[f] or f
  return bound
end)

method("toString", 0, function(f)
  needFunction(f, "toString")
  return "function " .. str(f.name) .. "() { [native code] }"
end)

-- The global object as a value: reading what is not there gives undefined. What a script adds is its own property;
-- the built-in names, which load when they are first read, are found by the way.
local fixed = { NaN = true, Infinity = true, undefined = true }
local globalMeta = js.newMeta(ObjectProto, nil, true)
local globalObject = setmetatable({ ["\0s"] = globalMeta.root }, globalMeta)

function globalMeta.own(k)
  local v, found = js.builtinGlobal(k)
  if found then return fixed[k] and 0 or 5, v, fixed[k] and { flags = 0, value = v } or nil end
end
function globalMeta.__index(o, k)
  local v, found = js.builtinGlobal(k)
  if found then return v end
  return js.lookup(o, k)
end
function globalMeta.__newindex(o, k, v)
  if globalMeta.own(k) == 5 then js.global(k, v) else js.put(o, k, v) end
end
js.global("globalThis", globalObject)

local console = js.object()
local function write(_, ...) js.G.log(nil, ...) end
for name in string.gmatch("log info warn error debug", "%S+") do console[name] = write end
js.global("console", console)

-- A variable of the script's top level as a property of the global object.
function js.variable(name, get, set)
  defineOwn(globalObject, name, ENUMERABLE, nil, get, function(_, v) set(v) end)
  select(3, own(globalObject, name)).variable = true
end
