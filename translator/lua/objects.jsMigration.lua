-- Objects: shapes, prototypes, own properties and their attributes, the holes of arrays.
--
-- Raw fields of an object that are no JavaScript properties begin with a zero byte:
--   "\0s" shape: the own keys in order, shared until the object needs a list of its own
--   "\0m" metatable of the objects whose prototype this is
--   "\0h" an array's record of holes, "\0v" a wrapped or internal value, "\0c" its class
local js = require("start.jsMigration.lua")
local type, rawget, rawset, select, next, getmetatable = type, rawget, rawset, select, next, getmetatable
local setmetatable, sort, huge, numberToString = setmetatable, table.sort, math.huge, js.numberToString
local loadStub, typeError, side, props, homeOf = js.loadStub, js.typeError, js.side, js.props, js.home
local ArrayProto, FunctionProto, S, M, H = js.ArrayProto, js.FunctionProto, "\0s", "\0m", "\0h"

-- Shapes. A shared one is never changed but for its transitions; an object that needs attributes, deletes a key or
-- grows past what is worth sharing owns its shape. Keys that are data would make shapes without end, so that the number
-- of those that begin alike is bounded.
--   pos, n     own key -> its number by insertion, and the last number
--   next       key -> the shape with that key added (shared shapes)
--   tree       size: how many shapes grew out of the same first one (shared shapes)
--   attr       key -> flags, where they are not ALL
--   slots      key -> what a plain field cannot hold: accessors, read-only values
--   order      the list of keys, once it has been asked for
local WRITABLE, ENUMERABLE, CONFIGURABLE, ALL = 1, 2, 4, 7
local SHARED_KEYS, SHARED_SHAPES = 32, 4096
local function newShape() return { pos = {}, n = 0, next = {}, tree = { size = 0 } } end
local emptyShape = newShape()

local function append(s, k)
  s.n, s.order = s.n + 1, nil
  s.pos[k] = s.n
end

function js.shape(...)
  local shape = newShape()
  for i = 1, select("#", ...) do append(shape, (select(i, ...))) end
  return shape
end

local function copyTable(from)
  if not from then return nil end
  local copy = {}
  for k, v in next, from do copy[k] = v end
  return copy
end

local function copyShape(s)
  return { pos = copyTable(s.pos), n = s.n, noext = s.noext, attr = copyTable(s.attr), slots = copyTable(s.slots) }
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
js.newShape, js.append, js.ownShape, js.isIndex = newShape, append, ownShape, isIndex

local function protoOf(o)
  if type(o) == "function" then
    o = side[o]
    if not o then return FunctionProto end
  end
  local mt = getmetatable(o)
  return mt and mt.js and mt.proto or nil
end
js.protoOf = protoOf

-- What goes along the prototypes calls itself: around a loop, no caller is compiled.

-- Whether proto is the prototype of o, or of its prototype, and so on.
local function inherits(o, proto)
  o = protoOf(o)
  if not o or o == proto then return o ~= nil end
  return inherits(o, proto)
end
js.inherits = inherits

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
  for k in next, record do if type(k) == "number" then n = n + 1 list[n] = k end end
  sort(list)
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
js.addHoles = addHoles

local function fillHole(a, k)
  local record = rawget(a, H)
  local lo, hi = record.lo, record.hi
  if k < lo or k >= hi then return end
  if k == lo then
    lo = lo + 1
    while record[lo] do record[lo], lo = nil, lo + 1 end
    record.lo = lo
    if lo == hi then rawset(a, H, nil) end
  elseif k == hi - 1 and not record[k] then
    record.hi = k
  else
    record[k] = true
  end
end

-- Own properties of any object: flags, value, slot; nothing when there is none.
local function own(o, k)
  if type(o) == "function" then o = props(o) end
  local s = rawget(o, S) or loadStub(o)
  if s then
    local slot = s.slots and s.slots[k]
    if slot then return slot.flags, slot.value, slot end
    if s.pos[k] then return s.attr and s.attr[k] or ALL, rawget(o, k) end
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

function js.isEnumerable(o, k) return (own(o, k) or 0) % CONFIGURABLE >= ENUMERABLE end

-- The first of an object and its prototypes, but before the last one given, that has a key; its slot there.
local function holder(o, k, last)
  if o == last then return nil end
  local flags, _, slot = own(o, k)
  if flags then return o, slot end
  return holder(protoOf(o), k, last)
end

-- Reads along the prototypes with every rule observed; the __index of objects that a plain lookup would get wrong.
local function lookup(o, k, receiver)
  if receiver == nil then receiver = o end
  local flags, value, slot = own(o, k)
  if flags then
    if slot and slot.get then return (slot.get(receiver)) end
    return value
  end
  local proto = protoOf(o)
  if proto then return lookup(proto, k, receiver) end
end
js.own, js.holder, js.lookup = own, holder, lookup

-- How a message shows a value, and an object with what it is.
local function describe(x)
  local mt = type(x) == "table" and getmetatable(x)
  if not (mt and mt.js) then return (type(x) ~= "table" or x == js.null) and js.str(x) or "#<Object>" end
  if mt.array then return "[object Array]" end
  local at, slot = js.holder(x, "constructor")
  local constructor = at and not slot and rawget(js.home(at), "constructor")
  local name = type(constructor) == "function" and constructor.name
  return "#<" .. (type(name) == "string" and name or "Object") .. ">"
end
local function typed(o) return (type(o) == "function" and "function '" or "object '") .. describe(o) .. "'" end
js.describe = describe

function js.readOnly(k, o)
  typeError("Cannot assign to read only property '" .. js.str(k) .. "' of " .. typed(o))
end

-- Metatables: one a prototype for ordinary objects (and one for arrays, of Array.prototype alone), and its general
-- twin, whose reads and writes observe accessors, read-only values and fields that hold undefined over a
-- prototype's value.

local metas = setmetatable({}, { __mode = "k" })
local add, addElement, put, newMeta

-- Gives a metatable the operators that Lua's own syntax stands for.
local function subtract(a, b) return js.num(a) - js.num(b) end
local function multiply(a, b) return js.num(a) * js.num(b) end
local function divide(a, b) return js.num(a) / js.num(b) end
local function negate(a) return -js.num(a) end
function js.withArithmetic(mt)
  mt.__sub, mt.__mul, mt.__div, mt.__unm = subtract, multiply, divide, negate
  return mt
end

local function generalise(mt) mt.__index, mt.__newindex = lookup, put end

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
  if general then mt.general = mt end
  if general or hasSlots(proto) then generalise(mt) end
  return mt
end

-- The metatable of ordinary objects with this prototype, which may be nil.
local nowhere = {}
local function metaFor(proto)
  local home = proto and homeOf(proto) or nowhere
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
  return js.fresh({ [S] = mt.root, ["\0c"] = class, ["\0v"] = value }, mt)
end

-- What an object of a class holds, for the method that was called on it.
function js.held(this, class, method)
  local value = js.classOf(this) == class and rawget(this, "\0v")
  if value then return value end
  typeError("Method " .. class .. ".prototype." .. method .. " called on incompatible receiver " .. describe(this))
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
  local array, mt = getmetatable(home).array, metaFor(proto)
  setmetatable(home, (array or type(o) == "function") and newMeta(proto, array, true) or mt)
  local s = rawget(home, S)
  if proto or s and s.slots then general(home) end
  if rawget(home, M) then slotsInChain(o) end
end
js.newMeta, js.metaFor, js.general, js.slotsInChain = newMeta, metaFor, general, slotsInChain

-- Gives an object a key that has no field yet.
local function addOther(o, k, v)
  local s = rawget(o, S) or emptyShape
  if k ~= k or k == huge or k == -huge then k = numberToString(k) end
  if not s.pos[k] then
    local shadows = holder(protoOf(o), k) ~= nil
    if shadows then general(o) end
    local t = ownShape(o)
    append(t, k)
    if s.next and s.n < SHARED_KEYS and s.tree.size < SHARED_SHAPES then
      t.next, t.tree, t.shadows = {}, s.tree, shadows
      s.next[k], s.tree.size = t, s.tree.size + 1
    end
  end
  rawset(o, k, v)
end

-- The same, and the __newindex of ordinary objects. What may run out of stack comes before the first change.
function add(o, k, v)
  local s = rawget(o, S)
  local t = s.next and s.next[k]
  if not t then return addOther(o, k, v) end
  if t.shadows then general(o) end
  rawset(o, S, t)
  rawset(o, k, v)
end

-- The __newindex of arrays.
function addElement(a, k, v)
  if not isIndex(k) then return addOther(a, k, v) end
  local n = a.length
  if k >= n then
    if k > n then addHoles(a, n, k) end
    a.length = k + 1
  elseif rawget(a, H) then
    fillHole(a, k)
  end
  rawset(a, k, v)
end

local function mayAdd(o, k)
  local s = rawget(o, S) or loadStub(o)
  return not s or not (s.noext or s.fixedLength and isIndex(k) and k >= o.length)
end

-- The __newindex of everything else: observes setters, read-only properties, objects that may not grow.
function put(o, k, v, receiver)
  if type(k) == "number" and k - k ~= 0 then k = numberToString(k) end
  if receiver == nil then receiver = o end
  local at, slot = holder(o, k)
  if slot then
    if slot.set then slot.set(receiver, v) return end
    if not slot.accessor then js.readOnly(k, receiver) end
    typeError("Cannot set property " .. js.str(k) .. " of " .. describe(receiver) .. " which has only a getter")
  elseif at == o then
    return rawset(o, k, v)
  end
  if not mayAdd(o, k) then typeError("Cannot add property " .. js.str(k) .. ", object is not extensible") end
  if getmetatable(o).array then return addElement(o, k, v) end
  add(o, k, v)
end
js.addKey, js.mayAdd, js.put = add, mayAdd, put

-- Makes or replaces an own property without asking: a value, or an accessor when get or set is not nil.
local function defineOwn(o, k, flags, value, get, set)
  if type(o) == "function" then
    js.instances[o] = nil
    o = props(o)
  end
  local accessor, isArray = get ~= nil or set ~= nil, getmetatable(o).array
  -- An ordinary property, whose shape can be shared; one without a value may need the general metatable.
  local shared = rawget(o, S)
  if shared and shared.next and flags == ALL
    and not (accessor or isArray or shared.pos[k] and (value == nil or shared.attr and shared.attr[k])) then
    return add(o, k, value)
  end
  local s = ownShape(o)
  if isArray and isIndex(k) then
    if k >= o.length then addElement(o, k, nil) elseif rawget(o, H) then fillHole(o, k) end
  elseif not s.pos[k] then
    append(s, k)
  end
  if accessor or flags % 2 == 0 then
    s.slots = s.slots or {}
    s.slots[k] = { flags = flags, value = value, get = get or nil, set = set or nil, accessor = accessor }
    rawset(o, k, nil)
    general(o)
    if rawget(o, M) then slotsInChain(o) end
  else
    if s.slots then s.slots[k] = nil end
    s.attr = s.attr or {}
    s.attr[k] = flags ~= ALL and flags or nil
    rawset(o, k, value)
    if holder(protoOf(o), k) then general(o) end
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
  local f, _, _, slot = get or set, own(o, k)
  js.name(f, (get and "get " or "set ") .. js.str(k), select(2, js.signature(f)))
  defineOwn(o, k, ENUMERABLE + CONFIGURABLE, nil, get or slot and slot.get or false, set or slot and slot.set or false)
end
function js.getter(o, k, f) accessor(o, k, f, nil) end
function js.setter(o, k, f) accessor(o, k, nil, f) end

-- The metatables of object and array literals.
js.O, js.A = metaFor(js.ObjectProto), newMeta(ArrayProto, true)
metaFor(ArrayProto) -- shows that it is a prototype, as that of every other one does

return js
