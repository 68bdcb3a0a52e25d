-- Array and what iteration needs.
local js = require("jsMigration.lua")
local math, string, table, error, pcall = math, string, table, error, pcall
local null, num, str, has, truthy = js.null, js.num, js.str, js.has, js.truthy
local toInteger, typeError, addHoles = js.toInteger, js.typeError, js.addHoles
local A, H, C, V, ArrayProto = js.A, "\0h", "\0c", "\0v", js.ArrayProto
local type, rawget, rawset = type, rawget, rawset
local select, getmetatable, setmetatable, unpack = select, getmetatable, setmetatable, unpack
local delete, setlength = js.delete, js.setlength

js.fillProto(ArrayProto, js.ObjectProto)
js.defineOwn(ArrayProto, "length", 1, 0)
rawset(ArrayProto, C, "Array")

local function isArray(x)
  local mt = type(x) == "table" and getmetatable(x)
  return mt and mt.array or false
end
js.isArray = isArray

-- The object to work on and its length.
local function open(this, name)
  if type(this) == "table" and getmetatable(this) == A then return this, this.length end
  if this == nil or this == null then typeError("Array.prototype." .. name .. " called on null or undefined") end
  local o = js.toObject(this)
  local n = toInteger(o.length)
  return o, n < 0 and 0 or n > 9007199254740991 and 9007199254740991 or n
end

local function needCallback(f) if type(f) ~= "function" then typeError(js.describe(f) .. " is not a function") end end

local function present(o, i) return o[i] ~= nil or has(i, o) end

-- A relative position within 0 .. n, as slice() and its like count.
local function position(x, n, default)
  if x == nil then return default end
  x = toInteger(x)
  if x < 0 then return x + n < 0 and 0 or x + n end
  return x < n and x or n
end
js.position = position

local function make(n) return setmetatable({ length = n }, A) end

local function construct(...)
  local n, first = select("#", ...), ...
  if n ~= 1 or type(first) ~= "number" then return js.rest(...) end
  if js.uint32(first) ~= first then js.throwError("RangeError", "Invalid array length") end
  local a = make(first)
  if first > 0 then addHoles(a, 0, first) end
  return a
end

local Array = js.constructor("Array", 1, ArrayProto, function(_, ...) return construct(...) end, construct)

local function static(name, count, f) return js.builtin(Array, name, count, f) end
local function method(name, count, f) return js.builtin(ArrayProto, name, count, f) end

static("isArray", 1, function(_, x) return isArray(x) end)
static("of", 0, function(_, ...) return js.rest(...) end)
static("from", 1, function(_, items, f, this)
  if f ~= nil then needCallback(f) end
  if items == nil or items == null then typeError(str(items) .. " is not iterable") end
  local source = js.iterable(items) and js.listOf(items) or js.toObject(items)
  local n = math.max(0, toInteger(source.length))
  local a = make(n)
  for i = 0, n - 1 do
    local v = source[i]
    if f then v = f(this, v, i) end
    rawset(a, i, v)
  end
  return a
end)

-- Iteration. An iterator walks an array, or a list made from what it was asked for.
local IteratorProto = {}
js.fillProto(IteratorProto, js.ObjectProto)
local function row(state, i)
  if state.kind == "keys" then return i end
  if state.kind == "entries" then return js.rest(i, state.list[i]) end
  return state.list[i]
end

function js.iterator(list, kind)
  local mt = js.metaFor(IteratorProto)
  return setmetatable({ ["\0s"] = mt.root, [V] = { list = list, kind = kind, at = 0 }, [C] = "Iterator" }, mt)
end

local function step(state)
  if state.at < state.list.length then
    state.at = state.at + 1
    return true, row(state, state.at - 1)
  end
  state.at = 1 / 0
  return false
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

-- What for-of takes.
function js.iterable(o)
  local class = type(o) == "table" and rawget(o, C)
  return type(o) == "string" or isArray(o) or class == "Map" or class == "Set" or class == "Arguments"
    or class == "Iterator" or class == "String"
end

function js.iterate(o)
  if type(o) == "string" then
    local units, a, n, i = js.units(o), make(0), 0, 0
    local size = units and units.n or #o
    while i < size do
      local width = 1
      if units and units[i] >= 0xD800 and units[i] < 0xDC00 and i + 1 < size and units[i + 1] >= 0xDC00
        and units[i + 1] < 0xE000 then
        width = 2
      end
      a[n], n, i = js.slice(o, i, i + width), n + 1, i + width
    end
    return a
  end
  if isArray(o) then return o end
  local class = type(o) == "table" and rawget(o, C)
  if class == "String" then return js.iterate(rawget(o, V)) end
  if class == "Map" or class == "Set" then return js.collectionValues(o) end
  if class == "Arguments" then return ArrayProto.slice(o) end
  if class == "Iterator" then return js.live(step, rawget(o, V)) end
  typeError((js.isObject(o) and "object" or js.describe(o)) .. " is not iterable")
end

-- All elements of an iterable, as an array.
function js.listOf(o)
  local list, n = js.values(o), 0
  if isArray(list) then return list end
  local a = make(0)
  while n < list.length do a[n], n = list[n], n + 1 end
  return a
end

for _, kind in ipairs({ "keys", "values", "entries" }) do
  method(kind, 0, function(this) return js.iterator((open(this, kind)), kind) end)
end

-- Ends of the array.

-- True for an array without holes and attributes.
local function plain(o) return getmetatable(o) == A and not rawget(o, H) and not rawget(o, "\0s") end

method("push", 1, function(this, ...)
  local count = select("#", ...)
  if type(this) == "table" and getmetatable(this) == A then
    local n = this.length
    if count == 1 then
      rawset(this, n, (...))
      this.length = n + 1
      return n + 1
    end
    for i = 1, count do rawset(this, n + i - 1, (select(i, ...))) end
    this.length = n + count
    return n + count
  end
  local o, n = open(this, "push")
  if n + count > 9007199254740991 then typeError("The array would become too long") end
  for i = 1, count do o[n + i - 1] = (select(i, ...)) end
  setlength(o, n + count)
  return n + count
end)

method("pop", 0, function(this)
  local o, n = open(this, "pop")
  if n == 0 then setlength(o, 0) return nil end
  local v = o[n - 1]
  if plain(o) then
    rawset(o, n - 1, nil)
    o.length = n - 1
  else
    delete(o, n - 1)
    setlength(o, n - 1)
  end
  return v
end)

local function move(o, from, to)
  local v = o[from]
  if v ~= nil or has(from, o) then o[to] = v else delete(o, to) end
end

method("shift", 0, function(this)
  local o, n = open(this, "shift")
  if n == 0 then setlength(o, 0) return nil end
  local v = o[0]
  if plain(o) then
    for i = 1, n - 1 do rawset(o, i - 1, rawget(o, i)) end
    rawset(o, n - 1, nil)
    o.length = n - 1
  else
    for i = 1, n - 1 do move(o, i, i - 1) end
    delete(o, n - 1)
    setlength(o, n - 1)
  end
  return v
end)

method("unshift", 1, function(this, ...)
  local o, n = open(this, "unshift")
  local count = select("#", ...)
  if count > 0 then for i = n - 1, 0, -1 do move(o, i, i + count) end end
  for i = 1, count do o[i - 1] = (select(i, ...)) end
  setlength(o, n + count)
  return n + count
end)

-- Parts.

local function copy(o, first, last)
  local a = make(last > first and last - first or 0)
  for i = first, last - 1 do
    local v = o[i]
    if v ~= nil then rawset(a, i - first, v) elseif not has(i, o) then addHoles(a, i - first, i - first + 1) end
  end
  return a
end

method("slice", 2, function(this, first, last)
  local o, n = open(this, "slice")
  return copy(o, position(first, n, 0), position(last, n, n))
end)

local function splice(o, n, first, remove, count, ...)
  if count < remove then
    for i = first, n - remove - 1 do move(o, i + remove, i + count) end
    if not plain(o) then for i = n - 1, n - remove + count, -1 do delete(o, i) end end
  elseif count > remove then
    for i = n - remove - 1, first, -1 do move(o, i + remove, i + count) end
  end
  for i = 1, count do o[first + i - 1] = (select(i, ...)) end
  setlength(o, n - remove + count)
end

local function removal(n, first, given, remove)
  if given == 0 then return 0 end
  if given == 1 then return n - first end
  return math.max(0, math.min(toInteger(remove), n - first))
end

method("splice", 2, function(this, ...)
  local o, n = open(this, "splice")
  local given, start, remove = select("#", ...), ...
  local first = position(start, n, 0)
  remove = removal(n, first, given, remove)
  local removed = copy(o, first, first + remove)
  splice(o, n, first, remove, math.max(0, given - 2), select(3, ...))
  return removed
end)

method("concat", 1, function(this, ...)
  local a, n = make(0), 0
  for i = 0, select("#", ...) do
    local item = this
    if i > 0 then item = (select(i, ...)) elseif not js.isObject(this) then item = js.toObject(this) end
    if isArray(item) then
      for k = 0, item.length - 1 do
        local v = item[k]
        if v ~= nil then rawset(a, n + k, v) elseif not has(k, item) then addHoles(a, n + k, n + k + 1) end
      end
      n = n + item.length
    else
      rawset(a, n, item)
      n = n + 1
    end
  end
  a.length = n
  return a
end)

local function texts(o, n, text)
  local parts = {}
  for i = 0, n - 1 do
    local v = o[i]
    parts[i + 1] = (v == nil or v == null) and "" or type(v) == "string" and v or text(v)
  end
  return parts
end

-- Arrays that contain themselves print as nothing where they recur.
local joining = {}
local function join(o, n, separator, text)
  if joining[o] then return "" end
  joining[o] = true
  local ok, parts = pcall(texts, o, n, text)
  joining[o] = nil
  if not ok then error(parts, 0) end
  return table.concat(parts, separator)
end

method("join", 1, function(this, separator)
  local o, n = open(this, "join")
  return join(o, n, separator == nil and "," or str(separator), str)
end)
method("toString", 0, function(this)
  local o = js.toObject(this)
  if type(o.join) == "function" then return o:join() end
  return js.ObjectProto.toString(o)
end)
method("toLocaleString", 0, function(this)
  local o, n = open(this, "toLocaleString")
  return join(o, n, ",", function(v) return str(v:toLocaleString()) end)
end)

local function reverse(o, n)
  for i = 0, math.floor(n / 2) - 1 do
    local j = n - 1 - i
    local a, b, hasA, hasB = o[i], o[j], present(o, i), present(o, j)
    if hasB then o[i] = b elseif hasA then delete(o, i) end
    if hasA then o[j] = a elseif hasB then delete(o, j) end
  end
  return o
end
method("reverse", 0, function(this) return reverse(open(this, "reverse")) end)

method("at", 1, function(this, i)
  local o, n = open(this, "at")
  i = toInteger(i)
  return o[i < 0 and i + n or i]
end)

method("fill", 1, function(this, value, first, last)
  local o, n = open(this, "fill")
  for i = position(first, n, 0), position(last, n, n) - 1 do o[i] = value end
  return o
end)

method("copyWithin", 2, function(this, target, first, last)
  local o, n = open(this, "copyWithin")
  local to, from = position(target, n, 0), position(first, n, 0)
  local count = math.min(position(last, n, n) - from, n - to)
  if from < to then
    for i = count - 1, 0, -1 do move(o, from + i, to + i) end
  else
    for i = 0, count - 1 do move(o, from + i, to + i) end
  end
  return o
end)

local function flatten(into, o, n, depth)
  for i = 0, n - 1 do
    local v = o[i]
    if depth > 0 and isArray(v) then
      flatten(into, v, v.length, depth - 1)
    elseif v ~= nil or has(i, o) then
      rawset(into, into.length, v)
      into.length = into.length + 1
    end
  end
  return into
end

method("flat", 0, function(this, depth)
  local o, n = open(this, "flat")
  return flatten(make(0), o, n, depth == nil and 1 or toInteger(depth))
end)

-- Searching.

method("indexOf", 1, function(this, x, from)
  local o, n = open(this, "indexOf")
  for i = position(n > 0 and from or nil, n, 0), n - 1 do if o[i] == x and (x ~= nil or has(i, o)) then return i end end
  return -1
end)

method("lastIndexOf", 1, function(this, x, ...)
  local o, n = open(this, "lastIndexOf")
  local from = n > 0 and select("#", ...) > 0 and toInteger((...)) or n - 1
  if from < 0 then from = n + from end
  for i = math.min(from, n - 1), 0, -1 do if o[i] == x and (x ~= nil or has(i, o)) then return i end end
  return -1
end)

method("includes", 1, function(this, x, from)
  local o, n = open(this, "includes")
  for i = position(n > 0 and from or nil, n, 0), n - 1 do
    local v = o[i]
    if v == x or v ~= v and x ~= x then return true end
  end
  return false
end)

-- Defines a pair of searches, from the front and from the back.
local function finder(name, back, result)
  method(name, 1, function(this, f, that)
    local o, n = open(this, name)
    needCallback(f)
    for i = back and n - 1 or 0, back and 0 or n - 1, back and -1 or 1 do
      local v = o[i]
      if truthy(f(that, v, i, o)) then
        if result == "value" then return v end
        return i
      end
    end
    if result == "index" then return -1 end
  end)
end
finder("find", false, "value")
finder("findIndex", false, "index")
finder("findLast", true, "value")
finder("findLastIndex", true, "index")

-- Callbacks.

method("forEach", 1, function(this, f, that)
  local o, n = open(this, "forEach")
  needCallback(f)
  for i = 0, n - 1 do
    local v = o[i]
    if v ~= nil or has(i, o) then f(that, v, i, o) end
  end
end)

method("map", 1, function(this, f, that)
  local o, n = open(this, "map")
  needCallback(f)
  if n > 4294967295 then js.throwError("RangeError", "Invalid array length") end
  local a = make(n)
  for i = 0, n - 1 do
    local v = o[i]
    if v ~= nil or has(i, o) then rawset(a, i, (f(that, v, i, o))) else addHoles(a, i, i + 1) end
  end
  return a
end)

method("filter", 1, function(this, f, that)
  local o, n = open(this, "filter")
  needCallback(f)
  local a, count = make(0), 0
  for i = 0, n - 1 do
    local v = o[i]
    if (v ~= nil or has(i, o)) and truthy(f(that, v, i, o)) then
      rawset(a, count, v)
      count = count + 1
    end
  end
  a.length = count
  return a
end)

method("some", 1, function(this, f, that)
  local o, n = open(this, "some")
  needCallback(f)
  for i = 0, n - 1 do
    local v = o[i]
    if (v ~= nil or has(i, o)) and truthy(f(that, v, i, o)) then return true end
  end
  return false
end)

method("every", 1, function(this, f, that)
  local o, n = open(this, "every")
  needCallback(f)
  for i = 0, n - 1 do
    local v = o[i]
    if (v ~= nil or has(i, o)) and not truthy(f(that, v, i, o)) then return false end
  end
  return true
end)

method("flatMap", 1, function(this, f, that)
  return flatten(make(0), ArrayProto.map(this, f, that), (select(2, open(this, "flatMap"))), 1)
end)

local function reducer(name, first, last, step)
  method(name, 1, function(this, f, ...)
    local o, n = open(this, name)
    needCallback(f)
    local i, stop = first and 0 or n - 1, last and n or -1
    local value = ...
    if select("#", ...) == 0 then
      while i ~= stop and not present(o, i) do i = i + step end
      if i == stop then typeError("Reduce of empty array with no initial value") end
      value, i = o[i], i + step
    end
    for k = i, stop - step, step do
      local v = o[k]
      if v ~= nil or has(k, o) then value = f(nil, value, v, k, o) end
    end
    return value
  end)
end
reducer("reduce", true, true, 1)
reducer("reduceRight", false, false, -1)

-- Sorting: stable, by merging runs.

local function merge(from, to, low, middle, high, before)
  local i, j = low, middle
  for k = low, high - 1 do
    if i < middle and (j >= high or not before(from[j], from[i])) then
      to[k], i = from[i], i + 1
    else
      to[k], j = from[j], j + 1
    end
  end
end

local function mergeSort(list, n, before)
  for low = 1, n, 8 do
    for i = low + 1, math.min(low + 7, n) do
      local v, j = list[i], i - 1
      while j >= low and before(v, list[j]) do list[j + 1], j = list[j], j - 1 end
      list[j + 1] = v
    end
  end
  local other, width = {}, 8
  while width < n do
    for low = 1, n, 2 * width do
      merge(list, other, low, math.min(low + width, n + 1), math.min(low + 2 * width, n + 1), before)
    end
    list, other, width = other, list, 2 * width
  end
  return list
end

local function byText(list, n)
  local rows = {}
  -- By units, what lies above U+FFFF comes before U+E000; by bytes, behind.
  for i = 1, n do rows[i] = { (string.gsub(str(list[i]), "[\238\239]", "\255%0")), list[i] } end
  rows = mergeSort(rows, n, function(a, b) return a[1] < b[1] end)
  for i = 1, n do list[i] = rows[i][2] end
  return list
end

local function sort(o, n, f)
  local list, count, undefineds = {}, 0, 0
  for i = 0, n - 1 do
    local v = o[i]
    if v ~= nil then count = count + 1 list[count] = v elseif has(i, o) then undefineds = undefineds + 1 end
  end
  if not f then
    list = byText(list, count)
  else
    list = mergeSort(list, count, function(a, b)
      local r = f(nil, a, b)
      if type(r) ~= "number" then r = num(r) end
      return r < 0
    end)
  end
  for i = 1, count do o[i - 1] = list[i] end
  for i = count, count + undefineds - 1 do o[i] = nil end
  for i = count + undefineds, n - 1 do if has(i, o) then delete(o, i) end end
  return o
end

local function comparator(f)
  if f ~= nil and type(f) ~= "function" then
    typeError("The comparison function must be either a function or undefined")
  end
  return f
end

method("sort", 1, function(this, f)
  comparator(f)
  local o, n = open(this, "sort")
  return sort(o, n, f)
end)

-- The copying kin; a copy has no holes.
local function dense(o, n)
  local a = make(n)
  for i = 0, n - 1 do rawset(a, i, o[i]) end
  return a
end
method("toSorted", 1, function(this, f)
  comparator(f)
  local o, n = open(this, "toSorted")
  return sort(dense(o, n), n, f)
end)
method("toReversed", 0, function(this)
  local o, n = open(this, "toReversed")
  return reverse(dense(o, n), n)
end)
method("toSpliced", 2, function(this, ...)
  local o, n = open(this, "toSpliced")
  local a = dense(o, n)
  a:splice(...)
  return a
end)
method("with", 2, function(this, i, value)
  local o, n = open(this, "with")
  i = toInteger(i)
  if i < 0 then i = i + n end
  if i < 0 or i >= n then js.throwError("RangeError", "Invalid index : " .. str(i)) end
  local a = dense(o, n)
  a[i] = value
  return a
end)

js.applyList[ArrayProto.push] = function(this, list, n)
  for i = 0, n - 1 do ArrayProto.push(this, list[i]) end
  return this.length
end
js.applyList[ArrayProto.concat] = function(this, list, n)
  for i = 0, n - 1, 1000 do this = ArrayProto.concat(this, unpack(list, i, math.min(i + 1000, n) - 1)) end
  return this
end
js.applyList[Array] = function(_, list, n)
  local a = make(n)
  for i = 0, n - 1 do rawset(a, i, list[i]) end
  return a
end
