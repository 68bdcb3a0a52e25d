-- What for-of and its kin walk: arrays, and lists that make their elements when they are asked for them. Also spread
-- elements, rest patterns, and properties by computed key in literals.
local js = require("jsMigration.lua")
local type, rawget, select, A, null = type, rawget, select, js.A, js.null
local getmetatable, isArray, S, V = getmetatable, js.isArray, js.S, "\0v"

-- An iterator, of a table whose function `advance`, called with it, gives true and the next element each time, false from
-- the end on. None of them is a closure: compiled code keeps to those that it has seen.
local IteratorProto = js.fillProto({}, js.ObjectProto)
function js.iterator(state) return js.instance(IteratorProto, "Iterator", state) end

local result = js.shape("value", "done")
js.builtin(IteratorProto, "next", 0, function(this)
  local state = js.held(this, "Iterator", "next")
  local found, value = state.advance(state)
  return js.fresh({ value = value, done = not found, [S] = result }, js.O)
end)

-- The same as a list to be read from its start to its end.
local Live = {}
local function peek(list)
  if not list.found then list.found, list.value = list.state.advance(list.state) end
  return list.found
end
function Live.__index(list, k)
  if k == "length" then return peek(list) and list.n + 1 or list.n end
  while list.n <= k and peek(list) do
    list.n, list.found = list.n + 1, false
    if list.n > k then return rawget(list, "value") end
  end
end
function js.live(state) return js.fresh({ state = state, n = 0, found = false }, Live) end

local function characters(s)
  local a, units, i = js.rest(), js.units(s), 0
  local size = units and units.n or #s
  while i < size do
    local width = units and js.isPair(units, i) and 2 or 1
    a[a.length], i = js.slice(s, i, i + width), i + width
  end
  return a
end

local function collection(o) return js.live(js.walk(o)) end
local walkers = { Map = collection, Set = collection,
  Arguments = function(o)
    local n = o.length
    return type(n) == "number" and n % 1 == 0 and o or js.list(o, 0, js.toInteger(n) - 1)
  end,
  Iterator = function(o) return js.live(rawget(o, V)) end,
  String = function(o) return characters(rawget(o, V)) end }

local function walker(o)
  if type(o) == "string" then return characters end
  -- The host's own lists, like columns of prices, have a length and no class.
  local series = js.isObject(o) and not js.isScriptObject(o) and type(o.length) == "number"
  return walkers[series and "Arguments" or js.classOf(o)]
end

-- Whether for-of takes o.
function js.iterable(o) return isArray(o) or walker(o) ~= nil end

function js.iterate(o, text)
  local walk = walker(o)
  if walk then return walk(o) end
  js.typeError((text or js.isObject(o) and "object" or js.describe(o)) .. " is not iterable")
end

-- For a Lua loop: the positions and elements of an iterable, as it is by then.
function js.each(o)
  local list, i = js.values(o), -1
  return function()
    i = i + 1
    if i < list.length then return i, list[i] end
  end
end

-- The key and the value that an element stands for.
function js.entry(item)
  if not js.isObject(item) then js.typeError("Iterator value " .. js.str(item) .. " is not an entry object") end
  return item[0], item[1]
end

-- Puts what js.values gave, from a position on, behind the n elements of a table. Gives how many it has then.
local function append(a, n, list, from)
  while from < list.length do a[n], n, from = list[from], n + 1, from + 1 end
  return n
end

-- The same as an array.
function js.tail(list, from)
  local a = {}
  a.length = append(a, 0, list, from)
  return js.fresh(a, A)
end

-- The values of an iterable as an array, and their number.
local function array(o)
  local list = js.values(o)
  if getmetatable(list) ~= A then list = js.tail(list, 0) end
  return list, list.length
end

function js.spread(o) return js.elements(array(o)) end

-- Calls a function, known to messages by a text, with the values of an iterable.
function js.apply(f, text, this, o)
  if not js.callable(f) then js.notfunction(text) end
  return js.pass(f, this, array(o))
end

-- The elements of several iterables as one array.
function js.gather(...)
  local all, n = {}, 0
  for i = 1, select("#", ...) do n = append(all, n, js.values((select(i, ...))), 0) end
  all.length = n
  return js.fresh(all, A)
end

-- Refuses what destructuring cannot take apart.
function js.destructible(v)
  if v == nil or v == null then
    js.typeError("Cannot destructure '" .. js.str(v) .. "' as it is " .. js.str(v) .. ".")
  end
end

-- A function that takes its name from a computed key.
function js.named(f, k)
  js.names[f] = js.str(k)
  return f
end

-- A property of a literal: whatever the prototypes say, it is the object's own.
function js.field(o, k, v) js.defineOwn(o, js.key(k), 7, v) end

-- Adds to an object the own properties of another that can be enumerated, but for some keys.
function js.mix(o, from, skipped)
  if from == nil or from == null then return o end
  from = js.toObject(from)
  local keys, n = js.ownKeys(from)
  local shape = rawget(js.home(from), js.S)
  local slots = shape and shape.slots
  for i = 1, n do
    local k = keys[i]
    -- What an accessor has deleted or hidden meanwhile is left out.
    local gone = slots and not js.isEnumerable(from, k)
    if not (gone or skipped and skipped[k]) then js.defineOwn(o, k, 7, from[k]) end
  end
  return o
end

function js.without(o, ...)
  local skipped = {}
  for i = 1, select("#", ...) do skipped[(select(i, ...))] = true end
  return js.mix(js.object(), o, skipped)
end
