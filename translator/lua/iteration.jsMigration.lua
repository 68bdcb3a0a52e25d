-- What for-of and its kin walk: arrays, and lists that make their elements when they are asked for them.
local js = require("jsMigration.lua")
local type, rawget, setmetatable = type, rawget, setmetatable
local V, C, isArray, rest = "\0v", "\0c", js.isArray, js.rest

local IteratorProto = {}
js.fillProto(IteratorProto, js.ObjectProto)

-- An iterator over a list that gives its indexes, its elements, or both in pairs.
function js.iterator(list, kind)
  return js.instance(IteratorProto, "Iterator", { list = list, kind = kind, at = 0 })
end

local function step(state)
  local i, kind = state.at, state.kind
  if i >= state.list.length then
    state.at = 1 / 0
    return false
  end
  state.at = i + 1
  if kind == "keys" then return true, i end
  local v = state.list[i]
  return true, kind == "entries" and rest(i, v) or v
end

js.builtin(IteratorProto, "next", 0, function(this)
  local found, value = step(rawget(this, V))
  return js.object("value", value, "done", not found)
end)

-- A list to be read from its start to its end: next(state) gives true and an element each time one is asked for.
function js.live(next, state)
  local n, found, value = 0, false, nil
  local function peek()
    if not found then found, value = next(state) end
    return found
  end
  return setmetatable({}, { __index = function(_, k)
    if k == "length" then return peek() and n + 1 or n end
    while n <= k and peek() do
      n, found = n + 1, false
      if n > k then return value end
    end
  end })
end

local function characters(s)
  local a, units, i = rest(), js.units(s), 0
  local size = units and units.n or #s
  while i < size do
    local width = units and js.isPair(units, i) and 2 or 1
    a[a.length], i = js.slice(s, i, i + width), i + width
  end
  return a
end

local function collection(o) return js.collectionValues(o) end
local walkers = { Map = collection, Set = collection,
  Arguments = function(o) return js.list(o, 0, o.length - 1) end,
  Iterator = function(o) return js.live(step, rawget(o, V)) end,
  String = function(o) return characters(rawget(o, V)) end }

local function walker(o)
  if type(o) == "string" then return characters end
  return type(o) == "table" and walkers[rawget(o, C)]
end

-- Whether for-of takes o.
function js.iterable(o) return isArray(o) or walker(o) and true or false end

function js.iterate(o)
  local walk = walker(o)
  if walk then return walk(o) end
  js.typeError((js.isObject(o) and "object" or js.describe(o)) .. " is not iterable")
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

-- What js.values gave, from a position on, as an array.
function js.tail(list, from)
  local a, n = {}, 0
  while from + n < list.length do a[n], n = list[from + n], n + 1 end
  a.length = n
  return setmetatable(a, js.A)
end

-- All elements of an iterable, as an array.
function js.listOf(o)
  local list = js.values(o)
  return isArray(list) and list or js.tail(list, 0)
end
