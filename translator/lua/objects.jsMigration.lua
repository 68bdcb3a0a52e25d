-- Objects: shapes, prototypes, own properties and their attributes, the holes of arrays, functions as objects.
--
-- Raw fields of an object that are no JavaScript properties begin with a zero byte:
--   "\0s" shape: the own keys in order, shared until the object needs a list of its own
--   "\0m" metatable of the objects whose prototype this is
--   "\0h" an array's record of holes, "\0v" a wrapped or internal value, "\0c" its class
local platform = ...
local string, table = string, table
local text = require("text.jsMigration.lua")
local S, M, H = "\0s", "\0m", "\0h"
local type, rawget, rawset, select, next = type, rawget, rawset, select, next
local getmetatable, setmetatable, tonumber = getmetatable, setmetatable, tonumber
local error, pcall, require = error, pcall, require
local match, huge, numberToString = string.match, math.huge, text.numberToString

local null = {}
local js = { S = S, platform = platform, null = null }
-- Functions that can take as a list what Function.prototype.apply gives them: more values than Lua passes at once.
js.applyList = {}
for name, f in next, text do js[name] = f end

-- Sibling files and the prototypes that they fill. A prototype is a stub until something reaches it.

local pending, loaded = {}, {}

-- A script may have a function named `type` or `next`, visible to the host as a Lua global: a file that loads later must
-- find Lua's own.
local globals, originals = _G, {}
for name, value in next, globals do originals[name] = value end

local function load(file)
  if loaded[file] then return end
  loaded[file] = true
  local changed = {}
  for name, value in next, originals do
    local now = rawget(globals, name)
    if now ~= value then
      changed[name] = now
      rawset(globals, name, value)
    end
  end
  local ok, message = pcall(require, file .. ".jsMigration.lua")
  for name, value in next, changed do rawset(globals, name, value) end
  if ok then return end
  loaded[file] = nil -- the stack was full, perhaps; the next one may succeed
  error(message, 0)
end

local function loadStub(proto)
  local file = pending[proto]
  if file then load(file) end
  return rawget(proto, S)
end

local function stub(file, parent)
  local proto = {}
  pending[proto] = file
  return setmetatable(proto, {
    js = true, proto = parent,
    __index = function(p, k) loadStub(p) return p[k] end,
    __newindex = function(p, k, v) loadStub(p) p[k] = v end,
  })
end

local ObjectProto = stub("object")
local FunctionProto, ArrayProto = stub("object", ObjectProto), stub("array", ObjectProto)
local StringProto, NumberProto = stub("string", ObjectProto), stub("number", ObjectProto)
local BooleanProto = stub("number", ObjectProto)
js.ObjectProto, js.FunctionProto, js.ArrayProto = ObjectProto, FunctionProto, ArrayProto
js.StringProto, js.NumberProto, js.BooleanProto = StringProto, NumberProto, BooleanProto

-- What the siblings add to js, found in the one that has it.
local homes = { newError = "error", fromNative = "error", describeError = "error", toObject = "object", variable = "object",
  iterate = "array", isArray = "array",
  iterator = "array", listOf = "array", live = "array", spread = "spread", gather = "spread", tail = "spread",
  field = "spread", named = "spread", destructible = "spread", mix = "spread", without = "spread" }
setmetatable(js, { __index = function(_, name)
  if not homes[name] then return nil end
  load(homes[name])
  return rawget(js, name)
end })

local function throwError(kind, message) error(js.newError(kind, message), 0) end
local function typeError(message) throwError("TypeError", message) end
js.throwError, js.typeError = throwError, typeError

-- Shapes. A shared one is never changed but for its transitions; an object that needs attributes, deletes a key or
-- grows past what is worth sharing owns its shape.
--   keys, n    own keys by insertion; a deleted one leaves false
--   pos        key -> place in keys
--   next       key -> the shape with that key added (shared shapes)
--   attr       key -> flags, where they differ from default (itself 7 when nil)
--   slots      key -> what a plain field cannot hold: accessors, read-only values
local WRITABLE, ENUMERABLE, CONFIGURABLE, HIDDEN, ALL = 1, 2, 4, 5, 7
local SHARED_KEYS, SHARED_FORKS = 32, 128

local function newShape() return { keys = {}, pos = {}, n = 0, next = {}, forks = 0 } end
local emptyShape = newShape()

function js.shape(...)
  local shape, n = newShape(), select("#", ...)
  shape.n = n
  for i = 1, n do
    local k = select(i, ...)
    shape.keys[i], shape.pos[k] = k, i
  end
  return shape
end

local function copyTable(from)
  if not from then return nil end
  local copy = {}
  for k, v in next, from do copy[k] = v end
  return copy
end

local function copyShape(s)
  return { keys = copyTable(s.keys), pos = copyTable(s.pos), n = s.n, default = s.default, noext = s.noext,
    attr = copyTable(s.attr), slots = copyTable(s.slots) }
end

local function append(s, k)
  local n = s.n + 1
  s.n, s.keys[n], s.pos[k], s.order = n, k, n, nil
  if s.default then s.attr[k] = ALL end
end

-- The object's own shape, to change in place.
local function ownShape(o)
  local s = rawget(o, S) or loadStub(o) or emptyShape
  if s.next then
    s = copyShape(s)
    rawset(o, S, s)
  end
  return s
end

local function isIndex(k) return type(k) == "number" and k >= 0 and k % 1 == 0 and k < 4294967295 end
js.isIndex, js.ownShape = isIndex, ownShape

-- Functions as objects: their properties are kept aside, made when somebody asks for more than Function.prototype.

local weak = { __mode = "k" }
local side, construct = setmetatable({}, weak), setmetatable({}, weak)
local names, arity = setmetatable({}, weak), setmetatable({}, weak)
local instances = setmetatable({}, weak) -- function -> metatable of what `new` makes, while its prototype stays
js.names, js.arity, js.construct, js.side = names, arity, construct, side
local props

local function protoOf(o)
  if type(o) == "function" then
    o = side[o]
    if not o then return FunctionProto end
  end
  local mt = getmetatable(o)
  return mt and mt.js and mt.proto or nil
end
js.protoOf = protoOf

-- Holes: record.lo .. record.hi - 1 are holes where the record itself has no mark.

local function isHole(a, k)
  local record = rawget(a, H)
  return record and k >= record.lo and k < record.hi and not record[k] or false
end

local function addHoles(a, first, last)
  local record = rawget(a, H)
  if not record then return rawset(a, H, { lo = first, hi = last }) end
  for k = record.hi, first - 1 do record[k] = true end
  for k = last, record.lo - 1 do record[k] = true end
  for k = first, last - 1 do record[k] = nil end
  if first < record.lo then record.lo = first end
  if last > record.hi then record.hi = last end
end

local function fillHole(a, k)
  local record = rawget(a, H)
  if k < record.lo or k >= record.hi then return end
  record[k] = true
  while record[record.lo] and record.lo < record.hi do
    record[record.lo] = nil
    record.lo = record.lo + 1
  end
  if record.lo == record.hi then rawset(a, H, nil) end
end
js.isHole, js.addHoles = isHole, addHoles

-- Own properties of any object: flags, value, slot; nothing when there is none.
local function own(o, k)
  if type(o) == "function" then o = props(o) end
  local s = rawget(o, S) or loadStub(o)
  if s then
    local slot = s.slots and s.slots[k]
    if slot then return slot.flags, slot.value, slot end
    if s.pos[k] then return s.attr and s.attr[k] or s.default or ALL, rawget(o, k) end
  end
  local mt = getmetatable(o)
  if not (mt and mt.js) then
    local v = o[k]
    if v ~= nil then return ALL, v end
  elseif mt.own then
    return mt.own(k)
  elseif mt.array then
    if k == "length" then return s and s.fixedLength and 0 or WRITABLE, o.length end
    local v = rawget(o, k)
    if v ~= nil and type(k) == "number" or isIndex(k) and k < o.length and not isHole(o, k) then
      return s and s.attr and s.attr[k] or ALL, v
    end
  end
end
js.own = own

-- Whether an object has the property of its own, and its value for the receiver.
local function ownValue(o, k, receiver)
  if type(o) == "function" then o = props(o) end
  local s = rawget(o, S) or loadStub(o)
  local v = rawget(o, k)
  if v ~= nil then return true, v end
  if not s then return false end
  local slot = s.slots and s.slots[k]
  if not slot then return s.pos[k] ~= nil end
  if slot.get then return true, (slot.get(receiver)) end
  return true, slot.value
end

-- Reads along the prototypes with every rule observed; the __index of objects that a plain lookup would get wrong.
local function lookup(o, k, receiver)
  receiver = receiver or o
  local found, v = ownValue(o, k, receiver)
  if found then return v end
  local mt = getmetatable(type(o) == "function" and props(o) or o)
  local at = mt and mt.js and mt.proto
  -- The common case, a method of the nearest prototype, ahead of the loop: a loop here keeps callers from being compiled.
  v = at and type(at) == "table" and rawget(at, k)
  if v then return v end
  while at do
    found, v = ownValue(at, k, receiver)
    if found then return v end
    mt = getmetatable(type(at) == "function" and props(at) or at)
    if not (mt and mt.js) then return mt and at[k] or nil end
    at = mt.proto
  end
end
js.lookup = lookup

-- How a message names an object.
local function nameOf(o)
  if type(o) == "function" then return "function '" .. js.str(o) .. "'" end
  local mt = getmetatable(o)
  if mt.array then return "object '[object Array]'" end
  local constructor = lookup(o, "constructor")
  return "object '#<" .. (type(constructor) == "function" and constructor.name or "Object") .. ">'"
end
js.nameOf = nameOf

-- Metatables: one a prototype for ordinary objects (and one for arrays, of Array.prototype alone), and its general
-- twin, whose reads and writes observe accessors, read-only values and fields that hold undefined over a
-- prototype's value.

local metas = setmetatable({}, weak)
local add, addElement, put, newMeta
local function subtract(a, b) return js.num(a) - js.num(b) end
local function multiply(a, b) return js.num(a) * js.num(b) end
local function divide(a, b) return js.num(a) / js.num(b) end
local function negate(a) return -js.num(a) end

-- Gives a metatable the operators that Lua's own syntax stands for.
function js.withArithmetic(mt)
  mt.__sub, mt.__mul, mt.__div, mt.__unm = subtract, multiply, divide, negate
  return mt
end

local function generalise(mt) mt.__index, mt.__newindex, mt.general = lookup, put, mt end

local function hasSlots(proto)
  while proto do
    local s = rawget(type(proto) == "function" and props(proto) or proto, S)
    if s and s.slots or type(proto) == "function" then return true end
    proto = protoOf(proto)
  end
end

function newMeta(proto, array, general)
  local mt = js.withArithmetic({ js = true, proto = proto, array = array, root = newShape(), __index = proto,
    __newindex = array and addElement or add })
  metas[mt] = true
  if general or hasSlots(proto) then generalise(mt) end
  return mt
end

-- The metatable of ordinary objects with this prototype, which may be nil.
local plainMeta
local function metaFor(proto)
  if not proto then plainMeta = plainMeta or newMeta() return plainMeta end
  local home = type(proto) == "function" and props(proto) or proto
  local mt = rawget(home, M)
  if not mt then
    mt = newMeta(proto)
    rawset(home, M, mt)
  end
  return mt
end

local function general(o)
  local mt = getmetatable(o)
  if mt.general ~= mt then
    mt.general = mt.general or newMeta(mt.proto, mt.array, true)
    setmetatable(o, mt.general)
  end
end

-- From now on the prototype holds something that a plain lookup would miss: so do all that inherit from it.
local function slotsInChain(proto)
  for mt in next, metas do
    local at = mt.proto
    while at do
      if at == proto or side[at] == proto then generalise(mt) break end
      at = protoOf(at)
    end
  end
end

function js.setProto(o, proto)
  local home = type(o) == "function" and props(o) or o
  local array = getmetatable(home).array
  setmetatable(home, (array or type(o) == "function") and newMeta(proto, array, true) or metaFor(proto))
  if proto then general(home) end
  for mt in next, metas do if mt.proto == o then generalise(mt) end end
end
js.metaFor, js.general, js.slotsInChain = metaFor, general, slotsInChain

local function inherited(o, k)
  local proto = getmetatable(o).proto
  return proto and lookup(proto, k) ~= nil
end

-- The __newindex of ordinary objects: a key that has no field yet.
local function addOther(o, s, k, v)
  if k ~= k or k == huge or k == -huge then k = numberToString(k) end
  if not s.pos[k] then
    if s.next and s.n < SHARED_KEYS and s.forks < SHARED_FORKS then
      local t = copyShape(s)
      append(t, k)
      t.next, t.forks, t.shadows = {}, 0, inherited(o, k)
      s.next[k], s.forks = t, s.forks + 1
      rawset(o, S, t)
      if t.shadows then general(o) end
    else
      append(ownShape(o), k)
      if inherited(o, k) then general(o) end
    end
  end
  rawset(o, k, v)
end

function add(o, k, v)
  local s = rawget(o, S)
  local t = s.next and s.next[k]
  if not t then return addOther(o, s, k, v) end
  rawset(o, S, t)
  if t.shadows then general(o) end
  rawset(o, k, v)
end

-- The __newindex of arrays.
function addElement(a, k, v)
  if type(k) == "number" and k >= 0 and k % 1 == 0 and k < 4294967295 then
    local n = a.length
    if k >= n then
      if k > n then addHoles(a, n, k) end
      a.length = k + 1
    elseif rawget(a, H) then
      fillHole(a, k)
    end
    rawset(a, k, v)
  else
    addOther(a, rawget(a, S) or emptyShape, k, v)
  end
end

-- The __newindex of everything else: observes setters, read-only properties, objects that may not grow.
function put(o, k, v, receiver)
  if type(k) == "number" and k - k ~= 0 then k = numberToString(k) end
  local at = o
  repeat
    local flags, _, slot = own(at, k)
    if slot then
      if slot.set then slot.set(receiver or o, v) return end
      if slot.accessor then
        local name = match(nameOf(receiver or o), "'(.*)'$")
        typeError("Cannot set property " .. js.str(k) .. " of " .. name .. " which has only a getter")
      end
      typeError("Cannot assign to read only property '" .. js.str(k) .. "' of " .. nameOf(receiver or o))
    elseif flags then
      if at == o then return rawset(o, k, v) end
      break
    end
    at = protoOf(at)
  until not at
  local s = rawget(o, S) or loadStub(o) or emptyShape
  local element = getmetatable(o).array and isIndex(k)
  if s.noext or element and s.fixedLength and k >= o.length then
    typeError("Cannot add property " .. js.str(k) .. ", object is not extensible")
  end
  if element then return addElement(o, k, v) end
  addOther(o, s, k, v)
end

-- Makes or replaces an own property without asking: a value, or an accessor when get or set is not nil.
local function defineOwn(o, k, flags, value, get, set)
  if type(o) == "function" then
    instances[o] = nil
    o = props(o)
  end
  local s = ownShape(o)
  if getmetatable(o).array and isIndex(k) then
    if k >= o.length then addElement(o, k, nil) elseif rawget(o, H) then fillHole(o, k) end
  elseif not s.pos[k] then
    append(s, k)
  end
  s.order = nil
  if get ~= nil or set ~= nil or flags % 2 == 0 then
    s.slots = s.slots or {}
    local accessor = get ~= nil or set ~= nil
    s.slots[k] = { flags = flags, value = value, get = get or nil, set = set or nil, accessor = accessor }
    rawset(o, k, nil)
    general(o)
    if rawget(o, M) then slotsInChain(o) end
  else
    if s.slots then s.slots[k] = nil end
    s.attr = s.attr or {}
    s.attr[k] = flags ~= (s.default or ALL) and flags or nil
    rawset(o, k, value)
    if inherited(o, k) then general(o) end
  end
end
js.defineOwn = defineOwn

-- Half an accessor of a literal; the other half stays as it is.
local function accessor(o, k, get, set)
  k = js.key(k)
  local f = get or set
  names[f], arity[f] = (get and "get " or "set ") .. js.str(k), set and 1 or 0
  local _, _, slot = own(o, k)
  defineOwn(o, k, ENUMERABLE + CONFIGURABLE, nil, get or slot and slot.get or false, set or slot and slot.set or false)
end
function js.getter(o, k, f) accessor(o, k, f, nil) end
function js.setter(o, k, f) accessor(o, k, nil, f) end

-- Turns a stub into the prototype object that its file is about to fill.
function js.fillProto(proto, parent)
  pending[proto] = nil
  rawset(proto, S, { keys = {}, pos = {}, n = 0, default = HIDDEN, attr = {} })
  return setmetatable(proto, metaFor(parent))
end

-- Defines a built-in function as a hidden property of target.
function js.builtin(target, name, count, f)
  names[f], arity[f] = name, count
  local home = type(target) == "function" and props(target) or target
  local s = ownShape(home)
  if s.pos[name] == nil then
    local n = s.n + 1
    s.n, s.keys[n], s.pos[name] = n, name, n
  end
  s.attr = s.attr or {}
  s.attr[name] = s.default == nil and HIDDEN or nil
  rawset(home, name, f)
  return f
end

-- Defines hidden constants of a built-in object or function, names and values in turn, which nobody can change.
function js.constants(target, ...)
  for i = 1, select("#", ...), 2 do defineOwn(target, (select(i, ...)), 0, (select(i + 1, ...))) end
end

-- Defines a global constructor: call is the function itself, make what `new` does in its place.
function js.constructor(name, count, proto, call, make)
  names[call], arity[call], construct[call] = name, count, make
  defineOwn(call, "prototype", 0, proto)
  js.builtin(proto, "constructor", count, call)
  names[call] = name
  js.global(name, call)
  return call
end

-- Name, number of parameters and kind of a script's function, from the chunk's table.
local scripts = {}
js.scripts = scripts
local rows

function js.script(describe)
  local frame = platform.frames()[1]
  scripts[frame and frame.file or ""] = describe
  scripts.last, rows = describe, nil
end

local function signature(f)
  if names[f] then return names[f], arity[f], "a" end
  local line, parameters = platform.functionInfo(f)
  if not line then return "", 0, "a" end
  if not rows then
    rows = {}
    local _, listing = nil, ""
    if scripts.last then _, listing = scripts.last() end
    for at, name, count, kind in string.gmatch(listing or "", "(%d+) ([^\n]+) (%d+) (%a)\n") do
      rows[tonumber(at)] = { name == "-" and "" or name, tonumber(count), kind }
    end
  end
  local row = rows[line]
  if not row then return "", parameters > 0 and parameters - 1 or 0, "f" end
  return row[1], row[2], row[3]
end
js.signature = signature

local prototypeShape = js.shape("constructor")
prototypeShape.attr = { constructor = HIDDEN }

function props(f)
  local p = side[f]
  if p then return p end
  p = setmetatable({ [S] = { keys = {}, pos = {}, n = 0, attr = {} } }, metaFor(FunctionProto))
  side[f] = p
  local name, count, kind = signature(f)
  defineOwn(p, "length", CONFIGURABLE, count)
  defineOwn(p, "name", CONFIGURABLE, name)
  if kind == "f" then
    defineOwn(p, "prototype", WRITABLE, setmetatable({ constructor = f, [S] = prototypeShape }, js.O))
  end
  return p
end
js.props = props

-- The metatables of object and array literals.
js.O, js.A = metaFor(ObjectProto), newMeta(ArrayProto, true)

-- Lengths and deletion.

-- Drops elements from the end down to n, or to one that may not go. Gives the length that is left.
local function dropElements(a, s, n)
  local marked = s and (s.attr or s.slots)
  if a.length - n > 100000 and not marked then
    -- Few elements may stand in a long array: visit those, not the numbers.
    for k in next, a do if type(k) == "number" and k >= n then rawset(a, k, nil) end end
    return n
  end
  for k = a.length - 1, n, -1 do
    if marked then
      if (own(a, k) or CONFIGURABLE) < CONFIGURABLE then return k + 1 end
      if s.attr then s.attr[k] = nil end
      if s.slots then s.slots[k] = nil end
    end
    rawset(a, k, nil)
  end
  return n
end

function js.setArrayLength(a, v)
  local wanted, s = js.uint32(v), rawget(a, S)
  if s and s.fixedLength then typeError("Cannot assign to read only property 'length' of object '[object Array]'") end
  if wanted ~= js.num(v) then throwError("RangeError", "Invalid array length") end
  if wanted > a.length then addHoles(a, a.length, wanted) end
  local n, record = dropElements(a, s, wanted), rawget(a, H)
  if record and n <= record.lo then
    rawset(a, H, nil)
  elseif record and n < record.hi then
    record.hi = n
    for k in next, record do if type(k) == "number" and k >= n then record[k] = nil end end
  end
  a.length = n
  if n > wanted then typeError("Cannot delete property '" .. js.str(n - 1) .. "' of [object Array]") end
end

js["delete"] = function(o, k)
  if o == nil or o == null or type(o) == "string" then o = js.toObject(o) end
  k = js.key(k)
  if not js.isScriptObject(o) then
    if js.isObject(o) then o[k] = nil end
    return true
  end
  local flags = own(o, k)
  if not flags then return true end
  if flags < CONFIGURABLE then
    typeError("Cannot delete property '" .. js.str(k) .. "' of " .. match(nameOf(o), "'(.*)'$"))
  end
  if type(o) == "function" then
    instances[o] = nil
    o = props(o)
  end
  rawset(o, k, nil)
  if getmetatable(o).array and isIndex(k) then
    addHoles(o, k, k + 1)
    local s = rawget(o, S)
    if s and s.attr then s.attr[k] = nil end
    if s and s.slots then s.slots[k] = nil end
    return true
  end
  local s = ownShape(o)
  local at = s.pos[k]
  if not at then return js.removeGlobal(k) end
  s.keys[at], s.pos[k], s.order, s.dead = false, nil, nil, (s.dead or 0) + 1
  if s.attr then s.attr[k] = nil end
  if s.slots then s.slots[k] = nil end
  if s.dead > 16 and s.dead > s.n / 2 then
    local n = 0
    for i = 1, s.n do
      local live = s.keys[i]
      s.keys[i] = nil
      if live then n = n + 1 s.keys[n], s.pos[live] = live, n end
    end
    s.n, s.dead = n, nil
  end
  return true
end

-- Own keys: array indexes ascending, then the others as they came. Kept with the shape until it changes.
local function ordered(s)
  if s.order then return s.order end
  local list, n, numbers = {}, 0, {}
  for i = 1, s.n do
    local k = s.keys[i]
    if k and isIndex(k) then numbers[#numbers + 1] = k end
  end
  table.sort(numbers)
  for i = 1, #numbers do n = n + 1 list[n] = numbers[i] end
  for i = 1, s.n do
    local k = s.keys[i]
    if k and not isIndex(k) then n = n + 1 list[n] = k end
  end
  s.order = list
  return list
end

local function visible(s, k)
  local slot = s.slots and s.slots[k]
  return (slot and slot.flags or s.attr and s.attr[k] or s.default or ALL) % CONFIGURABLE >= ENUMERABLE
end

-- Puts the indexes of an array's elements into list; of a long array with holes only those that may be there.
local function elementKeys(a, s, all, list)
  local n, candidates = 0, nil
  if a.length > 1000000 and rawget(a, H) then
    candidates = {}
    for k in next, a do if isIndex(k) then candidates[#candidates + 1] = k end end
    table.sort(candidates)
  end
  for i = 0, (candidates and #candidates or a.length) - 1 do
    local k = candidates and candidates[i + 1] or i
    if (rawget(a, k) ~= nil or not isHole(a, k)) and (all or not s or visible(s, k)) then n = n + 1 list[n] = k end
  end
  return n
end

-- A list of the own keys (numbers and strings) and their count; hidden ones too when all is set.
local function ownKeys(o, all)
  if type(o) == "function" then o = props(o) end
  local list, n = {}, 0
  local s, mt = rawget(o, S) or loadStub(o), getmetatable(o)
  if not (mt and mt.js) then
    for k in next, o do n = n + 1 list[n] = k end
    return list, n
  end
  if mt.array then
    n = elementKeys(o, s, all, list)
    if all then n = n + 1 list[n] = "length" end
  end
  local keys = s and (s.order or ordered(s))
  all = all or s and not (s.attr or s.slots or s.default)
  for i = 1, s and #keys or 0 do
    if all or visible(s, keys[i]) then n = n + 1 list[n] = keys[i] end
  end
  return list, n
end
js.ownKeys = ownKeys

js.load, js.loaded, js.newMeta, js.newShape = load, loaded, newMeta, newShape
js.append, js.addOther, js.put = append, addOther, put
js.instances = instances

return js
