-- Objects: shapes, prototypes, own properties and their attributes, the holes of arrays.
--
-- Raw fields of an object that are no JavaScript properties begin with a zero byte:
--   "\0s" shape: the own keys in order, shared until the object needs a list of its own
--   "\0m" metatable of the objects whose prototype this is
--   "\0h" an array's record of holes, "\0v" a wrapped or internal value, "\0c" its class
local js = require("functions.jsMigration.lua")
local S, M, H = "\0s", "\0m", "\0h"
local type, rawget, rawset, select, next = type, rawget, rawset, select, next
local getmetatable, setmetatable = getmetatable, setmetatable
local match, sort, huge = string.match, table.sort, math.huge
local numberToString, loadStub, typeError = js.numberToString, js.loadStub, js.typeError
local side, instances, props, name, homeOf = js.side, js.instances, js.props, js.name, js.home
local ObjectProto, ArrayProto, FunctionProto = js.ObjectProto, js.ArrayProto, js.FunctionProto

-- Shapes. A shared one is never changed but for its transitions; an object that needs attributes, deletes a key or
-- grows past what is worth sharing owns its shape.
--   keys, n    own keys by insertion; a deleted one leaves false
--   pos        key -> place in keys
--   next       key -> the shape with that key added (shared shapes)
--   attr       key -> flags, where they differ from default (itself 7 when nil)
--   slots      key -> what a plain field cannot hold: accessors, read-only values
local WRITABLE, ENUMERABLE, CONFIGURABLE, ALL = 1, 2, 4, 7
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

local function protoOf(o)
  if type(o) == "function" then
    o = side[o]
    if not o then return FunctionProto end
  end
  local mt = getmetatable(o)
  return mt and mt.js and mt.proto or nil
end
js.protoOf = protoOf

-- Whether proto is the prototype of o, or of its prototype, and so on.
function js.inherits(o, proto)
  repeat o = protoOf(o) until not o or o == proto
  return o ~= nil
end

-- Holes: record.lo .. record.hi - 1 are holes where the record itself has no mark.

-- Whether k is below the length and no hole.
local function isElement(a, k)
  if not isIndex(k) or k >= a.length then return false end
  local record = rawget(a, H)
  return not record or k < record.lo or k >= record.hi or record[k] ~= nil
end

-- The indexes of the elements, ascending.
function js.elementIndexes(a)
  local list, n, record = {}, 0, rawget(a, H)
  for k = 0, (record and record.lo or a.length) - 1 do n = n + 1 list[n] = k end
  if not record then return list, n end
  local marked = {}
  for k in next, record do if type(k) == "number" then marked[#marked + 1] = k end end
  sort(marked)
  for i = 1, #marked do n = n + 1 list[n] = marked[i] end
  for k = record.hi, a.length - 1 do n = n + 1 list[n] = k end
  return list, n
end

local function addHoles(a, first, last)
  local record = rawget(a, H)
  if not record then return rawset(a, H, { lo = first, hi = last }) end
  for k = record.hi, first - 1 do record[k] = true end
  for k = last, record.lo - 1 do record[k] = true end
  for k = first > record.lo and first or record.lo, (last < record.hi and last or record.hi) - 1 do record[k] = nil end
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
js.addHoles = addHoles

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
    if isElement(o, k) then return s and s.attr and s.attr[k] or ALL, rawget(o, k) end
  end
end
js.own = own

-- Whether an object has the property of its own, and its value for the receiver.
local function ownValue(o, k, receiver)
  o = homeOf(o)
  local s = rawget(o, S) or loadStub(o)
  local v = rawget(o, k)
  if v ~= nil then return true, v end
  if s then
    local slot = s.slots and s.slots[k]
    if slot and slot.get then return true, (slot.get(receiver)) end
    if slot then return true, slot.value end
    if s.pos[k] then return true end
  end
  local mt = getmetatable(o)
  return mt and mt.array and isElement(o, k)
end

-- Reads along the prototypes with every rule observed; the __index of objects that a plain lookup would get wrong.
local function lookup(o, k, receiver)
  if receiver == nil then receiver = o end
  local found, v = ownValue(o, k, receiver)
  if found then return v end
  local mt = getmetatable(homeOf(o))
  local at = mt and mt.js and mt.proto
  -- The common case, a method of the nearest prototype, ahead of the loop, which keeps callers from being compiled.
  v = at and type(at) == "table" and rawget(at, k)
  if v then return v end
  while at do
    found, v = ownValue(at, k, receiver)
    if found then return v end
    mt = getmetatable(homeOf(at))
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

local metas = setmetatable({}, { __mode = "k" })
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
    local s = type(proto) == "table" and rawget(proto, S)
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
  local home = homeOf(proto)
  local mt = rawget(home, M)
  if not mt then
    mt = newMeta(proto)
    rawset(home, M, mt)
  end
  return mt
end

-- An object of a built-in class, and what it holds.
function js.instance(proto, class, value)
  local mt = metaFor(proto)
  return setmetatable({ [S] = mt.root, ["\0c"] = class, ["\0v"] = value }, mt)
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
  local home = homeOf(o)
  local array = getmetatable(home).array
  setmetatable(home, (array or type(o) == "function") and newMeta(proto, array, true) or metaFor(proto))
  if proto then general(home) end
  for mt in next, metas do if mt.proto == o then generalise(mt) end end
end
js.metaFor, js.general, js.slotsInChain = metaFor, general, slotsInChain

local function inherited(o, k)
  local at = protoOf(o)
  return at ~= nil and (own(at, k) ~= nil or inherited(at, k))
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
  if isIndex(k) then
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

local function mayAdd(o, k)
  local s = rawget(o, S) or loadStub(o)
  return not s or not (s.noext or s.fixedLength and isIndex(k) and k >= o.length)
end
js.mayAdd = mayAdd

-- The __newindex of everything else: observes setters, read-only properties, objects that may not grow.
function put(o, k, v, receiver)
  if type(k) == "number" and k - k ~= 0 then k = numberToString(k) end
  local at = o
  repeat
    local flags, _, slot = own(at, k)
    if slot then
      if slot.set then slot.set(receiver or o, v) return end
      if slot.accessor then
        local text = match(nameOf(receiver or o), "'(.*)'$")
        typeError("Cannot set property " .. js.str(k) .. " of " .. text .. " which has only a getter")
      end
      typeError("Cannot assign to read only property '" .. js.str(k) .. "' of " .. nameOf(receiver or o))
    elseif flags then
      if at == o then return rawset(o, k, v) end
      break
    end
    at = protoOf(at)
  until not at
  if not mayAdd(o, k) then typeError("Cannot add property " .. js.str(k) .. ", object is not extensible") end
  if getmetatable(o).array then return addElement(o, k, v) end
  addOther(o, rawget(o, S) or emptyShape, k, v)
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
    if rawget(o, M) or o == ArrayProto then slotsInChain(o) end
  else
    if s.slots then s.slots[k] = nil end
    s.attr = s.attr or {}
    s.attr[k] = flags ~= (s.default or ALL) and flags or nil
    rawset(o, k, value)
    if inherited(o, k) then general(o) end
  end
end
js.defineOwn = defineOwn

-- Makes an ordinary own property. Gives whether the object lets it.
function js.create(o, k, v)
  local flags = own(o, k)
  if flags and flags < CONFIGURABLE or not flags and not mayAdd(homeOf(o), k) then return false end
  defineOwn(o, k, ALL, v)
  return true
end

-- Half an accessor of a literal; the other half stays as it is.
local function accessor(o, k, get, set)
  k = js.key(k)
  local f = get or set
  name(f, (get and "get " or "set ") .. js.str(k), select(2, js.signature(f)))
  local _, _, slot = own(o, k)
  defineOwn(o, k, ENUMERABLE + CONFIGURABLE, nil, get or slot and slot.get or false, set or slot and slot.set or false)
end
function js.getter(o, k, f) accessor(o, k, f, nil) end
function js.setter(o, k, f) accessor(o, k, nil, f) end

-- The metatables of object and array literals.
js.O, js.A = metaFor(ObjectProto), newMeta(ArrayProto, true)

js.newMeta, js.newShape, js.append, js.addOther, js.put = newMeta, newShape, append, addOther, put

return js
