-- Object, Function.prototype, the global object as a value, console.
local js = require("jsMigration.lua")
local bit, math, type, rawget, select = bit, math, type, rawget, select
local setmetatable, unpack, null, str, key, own = setmetatable, unpack, js.null, js.str, js.key, js.own
local defineOwn, home, isScriptObject, ownKeys = js.defineOwn, js.home, js.isScriptObject, js.ownKeys
local protoOf, typeError, ObjectProto, FunctionProto = js.protoOf, js.typeError, js.ObjectProto, js.FunctionProto
local isEnumerable, S, WRITABLE, ENUMERABLE, CONFIGURABLE = js.isEnumerable, js.S, 1, 2, 4

js.fillProto(ObjectProto, nil)
js.fillProto(js.FunctionHome, ObjectProto)
defineOwn(FunctionProto, "length", CONFIGURABLE, 0)
defineOwn(FunctionProto, "name", CONFIGURABLE, "")

-- The wrapper object of a primitive; an object is its own.
local wrappers = { string = { js.StringProto, "String" }, number = { js.NumberProto, "Number" },
  boolean = { js.BooleanProto, "Boolean" } }
local function toObject(x)
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
js.toObject = toObject

local function makeObject(x)
  if x == nil or x == null then return js.object() end
  return toObject(x)
end
local Object = js.constructor("Object", 1, ObjectProto, function(_, x) return makeObject(x) end, makeObject)
local function default(name, count, f) return js.builtin(ObjectProto, name, count, f) end
default("hasOwnProperty", 1, function(this, k) return own(toObject(this), key(k)) ~= nil end)
default("isPrototypeOf", 1, function(this, o) return isScriptObject(o) and js.inherits(o, toObject(this)) end)
default("propertyIsEnumerable", 1, function(this, k) return isEnumerable(toObject(this), key(k)) end)
default("valueOf", 0, toObject)
default("toLocaleString", 0, function(this) return this:toString() end)
default("toString", 0, function(this)
  if this == nil then return "[object Undefined]" elseif this == null then return "[object Null]" end
  local o = toObject(this)
  if type(o) == "function" then return "[object Function]" end
  return "[object " .. (js.classOf(o) or js.isArray(o) and "Array" or "Object") .. "]"
end)

-- Descriptors.

-- A descriptor's getter or setter: false when it is given as undefined, nil when it is not given.
local function accessorOf(d, k, what)
  if not js.has(k, d) then return nil end
  local f = d[k]
  if f ~= nil and type(f) ~= "function" then typeError(what .. " must be a function: " .. str(f)) end
  return f or false
end

-- Reads a descriptor object: which flags are given (WRITABLE also by a value) and set, whether there is a value.
local function descriptor(d)
  if not isScriptObject(d) then typeError("Property description must be an object: " .. str(d)) end
  local new = { given = 0, set = 0 }
  local function flag(name, value)
    if not js.has(name, d) then return end
    new.given = new.given + value
    if js.truthy(d[name]) then new.set = new.set + value end
  end
  flag("enumerable", ENUMERABLE)
  flag("configurable", CONFIGURABLE)
  new.hasValue = js.has("value", d)
  if new.hasValue then new.value = d.value end
  flag("writable", WRITABLE)
  new.get, new.setter = accessorOf(d, "get", "Getter"), accessorOf(d, "set", "Setter")
  new.accessor, new.data = new.get ~= nil or new.setter ~= nil, new.hasValue or new.given % 2 == 1
  if new.accessor and new.data then
    typeError("Invalid property descriptor. Cannot both specify accessors and a value or writable attribute")
  end
  return new
end

local function same(a, b)
  if a == b then return a ~= 0 or 1 / a == 1 / b end
  return a ~= a and b ~= b
end

local function defineLength(a, new)
  if new.hasValue then new.value = js.lengthOf(new.value) end
  local s = js.ownShape(a)
  local refused = new.accessor or new.set >= ENUMERABLE or new.set % 2 == 1 and s.fixedLength
  if refused then typeError("Cannot redefine property: length") end
  local wanted = new.hasValue and js.resize(a, new.value) or a.length
  if new.given % 2 == 1 and new.set % 2 == 0 then
    s.fixedLength = true
    js.general(a)
  end
  if wanted ~= a.length then typeError("Cannot redefine property: length") end
end

-- Whether a property that cannot be configured may become what a descriptor says.
local function mayBecome(new, flags, old, slot)
  local wasAccessor = slot and slot.accessor or false
  if new.set >= CONFIGURABLE or bit.band(new.given, ENUMERABLE, bit.bxor(new.set, flags)) ~= 0 then return false end
  if new.accessor then
    return wasAccessor and (new.get == nil or (new.get or nil) == slot.get)
      and (new.setter == nil or (new.setter or nil) == slot.set)
  end
  if not new.data then return true end
  return not wasAccessor and (flags % 2 == 1 or new.set % 2 == 0 and (not new.hasValue or same(new.value, old)))
end

local function defineProperty(o, k, new)
  if js.isArray(o) and k == "length" then return defineLength(o, new) end
  local flags, value, slot = own(o, k)
  if not flags and not js.mayAdd(home(o), k) then
    typeError("Cannot define property " .. str(k) .. ", object is not extensible")
  elseif flags and flags < CONFIGURABLE and not mayBecome(new, flags, value, slot) then
    typeError("Cannot redefine property: " .. str(k))
  end
  local merged = bit.band(flags or 0, bit.bnot(new.given)) + new.set
  local halves = slot and slot.accessor and slot
  if new.accessor or halves and not new.data then
    local get, setter = new.get, new.setter
    if get == nil then get = halves and halves.get or false end
    if setter == nil then setter = halves and halves.set or false end
    return defineOwn(o, k, bit.band(merged, ENUMERABLE + CONFIGURABLE), nil, get, setter)
  end
  if new.hasValue then value = new.value end
  defineOwn(o, k, merged, value)
end

local function defineProperties(o, list)
  list = toObject(list)
  local keys, n = ownKeys(list)
  local all = {}
  for i = 1, n do all[i] = descriptor(list[keys[i]]) end
  for i = 1, n do defineProperty(o, keys[i], all[i]) end
  return o
end

-- The older way to define and find accessors.
local function half(word, place)
  default("__define" .. word .. "ter__", 2, function(this, k, f)
    local o = toObject(this)
    if type(f) ~= "function" then typeError("Object.prototype.__define" .. word .. "ter__: Expecting function") end
    defineProperty(o, key(k), { given = 6, set = 6, accessor = true, [place] = f })
  end)
  default("__lookup" .. word .. "ter__", 1, function(this, k)
    local _, slot = js.holder(toObject(this), key(k))
    return slot and slot.accessor and (place == "get" and slot.get or place == "setter" and slot.set) or nil
  end)
end
half("Get", "get")
half("Set", "setter")

-- Object's own functions.

local function static(name, count, f) return js.builtin(Object, name, count, function(_, ...) return f(...) end) end
local function needObject(o, what) if not isScriptObject(o) then typeError(what .. " called on non-object") end end
local function needProto(proto)
  if proto == null or isScriptObject(proto) then return end
  typeError("Object prototype may only be an Object or null: " .. str(proto))
end

static("defineProperty", 3, function(o, k, d)
  needObject(o, "Object.defineProperty")
  k = key(k)
  defineProperty(o, k, descriptor(d))
  return o
end)
static("defineProperties", 2, function(o, list)
  needObject(o, "Object.defineProperties")
  return defineProperties(o, list)
end)
static("create", 2, function(proto, list)
  needProto(proto)
  local o = js.instance(proto ~= null and proto or nil)
  return list == nil and o or defineProperties(o, list)
end)
local getPrototypeOf = static("getPrototypeOf", 1, function(o)
  local wrapper = wrappers[type(o)]
  if wrapper then return wrapper[1] end
  return protoOf(toObject(o)) or null
end)
local setPrototypeOf = static("setPrototypeOf", 2, function(o, proto)
  if o == nil or o == null then typeError("Object.setPrototypeOf called on null or undefined") end
  needProto(proto)
  if not isScriptObject(o) then return o end
  proto = proto ~= null and proto or nil
  if protoOf(o) == proto then return o end
  local s = rawget(home(o), S)
  if s and s.noext then typeError("#<Object> is not extensible") end
  if proto and (proto == o or js.inherits(proto, o)) then typeError("Cyclic __proto__ value") end
  js.setProto(o, proto)
  return o
end)

-- The property __proto__, unless o has one of its own or none of Object.prototype's. Undefined and null throw for it as
-- for any other.
local function isOrdinary(o)
  if not isScriptObject(o) then return o == nil or o == null end
  return own(o, "__proto__") or o ~= ObjectProto and not js.inherits(o, ObjectProto)
end
function js.getproto(o)
  if isOrdinary(o) then return o.__proto__ end
  return getPrototypeOf(nil, o)
end
function js.setproto(o, proto)
  if isOrdinary(o) then o.__proto__ = proto
  elseif proto == null or isScriptObject(proto) then setPrototypeOf(nil, o, proto) end
end

-- Own enumerable keys, and their values, as arrays made by row(object, key).
local function lister(name, row)
  static(name, 1, function(o)
    o = toObject(o)
    if type(o) == "userdata" or type(o) == "cdata" then return js.rest() end
    local keys, n = ownKeys(o)
    local s, count = rawget(home(o), S), 0
    for i = 1, n do
      -- What a getter did to a later key counts.
      if not (s and s.slots) or isEnumerable(o, keys[i]) then keys[count], count = row(o, keys[i]), count + 1 end
    end
    for i = count, n do keys[i] = nil end
    keys.length = count
    return js.fresh(keys, js.A)
  end)
end
lister("keys", function(_, k) return str(k) end)
lister("values", function(o, k) return o[k] end)
lister("entries", function(o, k) return js.rest(str(k), o[k]) end)
static("getOwnPropertyNames", 1, function(o)
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

static("getOwnPropertyDescriptor", 2, function(o, k) return describe(toObject(o), key(k)) end)
static("getOwnPropertyDescriptors", 1, function(o)
  o = toObject(o)
  local d, keys, n = js.object(), ownKeys(o, true)
  for i = 1, n do js.create(d, keys[i], describe(o, keys[i])) end
  return d
end)
static("assign", 2, function(target, ...)
  target = toObject(target)
  for i = 1, select("#", ...) do
    local from = makeObject((select(i, ...)))
    local keys, n = ownKeys(from)
    for j = 1, n do if isEnumerable(from, keys[j]) then js.set(target, keys[j], from[keys[j]]) end end
  end
  return target
end)
static("getOwnPropertySymbols", 1, function(o)
  toObject(o)
  return js.rest() -- an object has none, as there are none
end)
static("fromEntries", 1, function(list)
  local o = js.object()
  for _, item in js.each(list) do
    local k, v = js.entry(item)
    js.create(o, key(k), v)
  end
  return o
end)
static("hasOwn", 2, function(o, k) return own(toObject(o), key(k)) ~= nil end)
static("is", 2, same)

-- Levels of integrity: 1 no new keys, 2 sealed, 3 frozen.
local function restrict(name, level)
  static(name, 1, function(o)
    if not isScriptObject(o) then return o end
    local keys, n = {}, 0
    if level > 1 then keys, n = ownKeys(o, true) end
    for i = 1, n do
      local k = keys[i]
      local flags, value, slot = own(o, k)
      local kept = bit.band(flags, level == 3 and not (slot and slot.accessor) and ENUMERABLE or ENUMERABLE + WRITABLE)
      if js.isArray(o) and k == "length" then js.ownShape(o).fixedLength = kept % 2 == 0 or nil
      elseif slot then slot.flags = kept
      else defineOwn(o, k, kept, value)
      end
    end
    js.ownShape(home(o)).noext = true
    js.general(home(o))
    return o
  end)
end
restrict("preventExtensions", 1)
restrict("seal", 2)
restrict("freeze", 3)

local function isRestricted(o, level)
  if not isScriptObject(o) then return true end
  local s = rawget(home(o), S)
  if not (s and s.noext) then return false end
  local keys, n = {}, 0
  if level > 1 then keys, n = ownKeys(o, true) end
  for i = 1, n do
    local flags, _, slot = own(o, keys[i])
    if flags >= CONFIGURABLE or level == 3 and flags % 2 == 1 and not (slot and slot.accessor) then return false end
  end
  return true
end
static("isSealed", 1, function(o) return isRestricted(o, 2) end)
static("isFrozen", 1, function(o) return isRestricted(o, 3) end)
static("isExtensible", 1, function(o) return not isRestricted(o, 1) end)

-- Functions.

local function globalThis() return js.G.globalThis end
local function compile(text)
  if text == "return this" then return globalThis end
  js.throwError("Error", "Making functions from text (Function) is not supported")
end
js.constructor("Function", 1, FunctionProto, function(_, ...) return compile(...) end, compile)
defineOwn(FunctionProto, "caller", CONFIGURABLE, nil, js.poisoned, js.poisoned)
defineOwn(FunctionProto, "arguments", CONFIGURABLE, nil, js.poisoned, js.poisoned)

local function method(name, count, f)
  return js.builtin(FunctionProto, name, count, function(this, ...)
    if type(this) == "function" then return f(this, ...) end
    typeError("Function.prototype." .. name .. " was called on " .. js.describe(this) .. ", which is not a function")
  end)
end

method("call", 1, function(f, this, ...) return f(this, ...) end)
method("apply", 2, function(f, this, list)
  if list == nil or list == null then return f(this) end
  if not js.isObject(list) then typeError("CreateListFromArrayLike called on non-object") end
  return js.pass(f, this, list, js.toInteger(list.length))
end)
method("bind", 1, function(f, this, ...)
  local n, first = select("#", ...), { ... }
  local function join(...)
    if n == 0 then return ... end
    local values = { unpack(first, 1, n) }
    for i = 1, select("#", ...) do values[n + i] = (select(i, ...)) end
    return unpack(values, 1, n + select("#", ...))
  end
  local function bound(_, ...) return f(this, join(...)) end
  local name, count = f.name, f.length
  js.name(bound, "bound " .. (type(name) == "string" and name or ""),
    type(count) == "number" and math.max(0, js.toInteger(count) - n) or 0)
  if js.isConstructor(f) then js.construct[bound] = function(...) return js.new(f, nil, join(...)) end end
  js.boundTarget[bound] = js.boundTarget[f] or f
  return bound
end)
method("toString", 0, function(f) return "function " .. str(f.name) .. "() { [native code] }" end)

-- The global object as a value: reading what is not there gives undefined. What a script adds is its own property;
-- the built-in names, which load when they are first read, are found by the way.
local fixed = { NaN = true, Infinity = true, undefined = true }
local globalMeta = js.newMeta(ObjectProto, nil, true)
local globalObject = setmetatable({ [S] = globalMeta.root }, globalMeta)

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
  js.removeGlobal(name)
  defineOwn(globalObject, name, ENUMERABLE, nil, get, function(_, v) set(v) end)
  select(3, own(globalObject, name)).variable = true
end
