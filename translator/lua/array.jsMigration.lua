-- Array. Elements are taken as they are stored where that is enough, and by every rule where it is not.
local js = require("jsMigration.lua")
local table, error, xpcall, type, rawget, rawset = table, error, xpcall, type, rawget, rawset
local select, getmetatable, unpack, min, max, null = select, getmetatable, unpack, math.min, math.max, js.null
local str, has, isArray, toInteger, position, delete = js.str, js.has, js.isArray, js.toInteger, js.position, js.delete
local setlength, addHoles, A, ArrayProto, H = js.setlength, js.addHoles, js.A, js.ArrayProto, "\0h"
local LONGEST, MAX_SAFE = 4294967295, 9007199254740991

-- Array.prototype is an array. Its elements are seen through every array, which a plain lookup doesn't expect.
local meta = js.newMeta(js.ObjectProto, true)
function meta.__newindex(a, k, v)
  if js.isIndex(k) then js.slotsInChain(a) end
  js.put(a, k, v)
end
rawset(js.fillProto(ArrayProto, nil, meta), "length", 0)

-- What the methods have in common.

local function checkLength(n, most)
  if n <= most then return end
  if most == MAX_SAFE then js.typeError("The array would become too long") end
  js.throwError("RangeError", "Invalid array length")
end

-- An array to be filled. A table that grows to what a window of bars takes is made anew several times over; the first
-- elements of a long one have their room too.
local function room16(n)
  return { length = n, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil }
end
local function room32(n)
  return { length = n, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil,
    nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil, nil }
end

local function make(n)
  checkLength(n, LONGEST)
  return js.fresh(n > 16 and room32(n) or n > 3 and room16(n) or { length = n }, A)
end

local function lengthOf(o) return min(max(toInteger(o.length), 0), MAX_SAFE) end

local function construct(...)
  local n, first = select("#", ...), ...
  if n ~= 1 or type(first) ~= "number" then return js.rest(...) end
  local a = make(js.lengthOf(first))
  if first > 0 then addHoles(a, 0, first) end
  return a
end

local Array = js.constructor("Array", 1, ArrayProto, function(_, ...) return construct(...) end, construct)

-- The object to work on and its length.
local function open(this, name)
  if getmetatable(this) == A then return this, this.length end
  if this == nil or this == null then js.typeError("Array.prototype." .. name .. " called on null or undefined") end
  local o = js.toObject(this)
  return o, lengthOf(o)
end

-- Whether o has an element, and its value.
local function element(o, i)
  if type(o) == "table" then
    local v = rawget(o, i)
    if v ~= nil then return true, v end
  end
  if has(i, o) then return true, o[i] end
  return false
end

-- The array that a method of o fills.
local function derived(o, n)
  local c
  if isArray(o) then c = o.constructor end
  if c ~= nil and not js.isObject(c) then js.typeError(js.str(c) .. " is not a constructor") end
  return make(n)
end

-- True for an array without holes and attributes.
local function plain(o) return getmetatable(o) == A and not rawget(o, H) and not rawget(o, "\0s") end

-- Puts what element() gave into an array that a method fills: an element, or a hole.
local function include(a, i, found, v)
  if found then rawset(a, i, v) elseif found == false then addHoles(a, i, i + 1) end
end

-- Puts what o has from first to last - 1 into an array.
local function copy(o, first, last, into, at)
  local by = at - first
  if plain(o) and last <= o.length then
    for i = first, last - 1 do rawset(into, i + by, o[i]) end
    return
  end
  for i = first, last - 1 do include(into, i + by, element(o, i)) end
end

-- A copy without holes.
local function dense(o, n)
  checkLength(n, LONGEST)
  return js.list(o, 0, n - 1)
end
js.open, js.element, js.derived, js.include, js.dense = open, element, derived, include, dense

-- Defines a method that gets the object to work on and its length.
local function method(name, count, f)
  return js.builtin(ArrayProto, name, count, function(this, ...)
    local o, n = open(this, name)
    return f(o, n, ...)
  end)
end

-- Puts an element where o has one already, or another one, or takes that away.
local function put(o, i, found, v)
  if found then o[i] = v elseif has(i, o) then delete(o, i) end
end

-- Moves the elements first .. last - 1 by so many places, from the end that keeps them from running over one another.
local function move(o, first, last, by)
  local from, to, step = first, last - 1, 1
  if by > 0 then from, to, step = last - 1, first, -1 end
  if plain(o) and last <= o.length then
    if last > first then o.length = max(o.length, last + by) end
    for i = from, to, step do o[i + by] = o[i] end
  else
    for i = from, to, step do put(o, i + by, element(o, i)) end
  end
end

-- Ends.

local function pushList(this, list, count)
  local o, n = open(this, "push")
  if getmetatable(o) == A and n + count <= LONGEST then
    for i = 0, count - 1 do rawset(o, n + i, list[i]) end
    o.length = n + count
    return n + count
  end
  checkLength(n + count, MAX_SAFE)
  for i = 0, count - 1 do o[n + i] = list[i] end
  setlength(o, n + count)
  return n + count
end

local push = js.builtin(ArrayProto, "push", 1, function(this, ...)
  local count = select("#", ...)
  if getmetatable(this) == A and this.length + count <= LONGEST then
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
  return pushList(this, { [0] = (...), select(2, ...) }, count)
end)

-- Removes the first or the last element and gives it.
local function take(o, n, at)
  if n == 0 then setlength(o, 0) return nil end
  local v = o[at]
  if at < n - 1 then move(o, at + 1, n, -1) end
  if plain(o) then
    rawset(o, n - 1, nil)
    o.length = n - 1
  else
    if getmetatable(o) ~= A or rawget(o, "\0s") then delete(o, n - 1) end
    setlength(o, n - 1)
  end
  return v
end
method("pop", 0, function(o, n) return take(o, n, n - 1) end)
method("shift", 0, function(o, n) return take(o, n, 0) end)

-- Puts count values in place of the elements first .. first + remove - 1.
local function replace(o, n, first, remove, count, ...)
  checkLength(n - remove + count, MAX_SAFE)
  if count ~= remove then move(o, first + remove, n, count - remove) end
  if not plain(o) then for i = n - 1, n - remove + count, -1 do delete(o, i) end end
  for i = 1, count do o[first + i - 1] = (select(i, ...)) end
  setlength(o, n - remove + count)
end

method("unshift", 1, function(o, n, ...)
  local count = select("#", ...)
  replace(o, n, 0, 0, count, ...)
  return n + count
end)

-- Parts.

local function part(o, first, last)
  local a = derived(o, max(last - first, 0))
  copy(o, first, last, a, 0)
  return a
end
method("slice", 2, function(o, n, first, last) return part(o, position(first, n, 0), position(last, n, n)) end)

-- Where a splice begins, how many elements it removes, and how many it inserts.
local function removal(n, given, start, remove)
  local first = position(start, n, 0)
  if given < 2 then return first, given == 0 and 0 or n - first, 0 end
  return first, max(0, min(toInteger(remove), n - first)), given - 2
end

-- What takes from `...` calls nothing before that does so as well, see Functions.parameters in the translator.
method("splice", 2, function(o, n, ...)
  local first, remove, count = removal(n, select("#", ...), ...)
  checkLength(n - remove + count, MAX_SAFE)
  local removed = part(o, first, first + remove)
  replace(o, n, first, remove, count, select(3, ...))
  return removed
end)

local concat = js.builtin(ArrayProto, "concat", 1, function(this, ...)
  this = js.toObject(this)
  local a, n = derived(this, isArray(this) and this.length or 0), 0
  for i = 0, select("#", ...) do
    local item = this
    if i > 0 then item = (select(i, ...)) end
    if isArray(item) then
      copy(item, 0, item.length, a, n)
      n = n + item.length
    else
      rawset(a, n, item)
      n = n + 1
    end
  end
  checkLength(n, LONGEST)
  a.length = n
  return a
end)

-- Arrays that contain themselves print as nothing where they recur.
local joining = {}

local function texts(o, n, text)
  local parts = {}
  joining[o] = true
  for i = 0, n - 1 do
    local v = o[i]
    parts[i + 1] = (v == nil or v == null) and "" or text == str and type(v) == "string" and v or text(v)
  end
  return parts
end

local function join(o, n, separator, text)
  if joining[o] then return "" end
  local ok, parts = xpcall(texts, js.caught, o, n, text)
  joining[o] = nil
  if not ok then error(parts, 0) end
  return js.mend(table.concat(parts, separator))
end

method("join", 1, function(o, n, separator) return join(o, n, separator == nil and "," or str(separator), str) end)
js.builtin(ArrayProto, "toString", 0, function(this)
  local o = js.toObject(this)
  if type(o.join) == "function" then return o:join() end
  return js.ObjectProto.toString(o)
end)
method("toLocaleString", 0, function(o, n, locale, options)
  return join(o, n, ",", function(v)
    if locale == nil and options == nil then return str(v:toLocaleString()) end
    return str(v:toLocaleString(locale, options))
  end)
end)

local function reverse(o, n)
  for i = 0, n / 2 - 1 do
    local j = n - 1 - i
    local hasA, a = element(o, i)
    local hasB, b = element(o, j)
    put(o, i, hasB, b)
    put(o, j, hasA, a)
  end
  return o
end
method("reverse", 0, reverse)
method("at", 1, function(o, n, i)
  i = toInteger(i)
  if i < 0 then i = i + n end
  if i >= 0 and i < n then return o[i] end
end)
method("fill", 1, function(o, n, value, first, last)
  for i = position(first, n, 0), position(last, n, n) - 1 do o[i] = value end
  return o
end)
method("copyWithin", 2, function(o, n, target, first, last)
  local to, from = position(target, n, 0), position(first, n, 0)
  move(o, from, from + min(position(last, n, n) - from, n - to), to - from)
  return o
end)

-- Searching.

local function search(o, x, from, to, step)
  for i = from, to, step do if o[i] == x and (x ~= nil or has(i, o)) then return i end end
  return -1
end

method("indexOf", 1, function(o, n, x, from) return search(o, x, position(n > 0 and from or nil, n, 0), n - 1, 1) end)
method("lastIndexOf", 1, function(o, n, x, ...)
  local from = n > 0 and select("#", ...) > 0 and toInteger((...)) or n - 1
  return search(o, x, min(from < 0 and n + from or from, n - 1), 0, -1)
end)
method("includes", 1, function(o, n, x, from)
  for i = position(n > 0 and from or nil, n, 0), n - 1 do
    local v = o[i]
    if v == x or v ~= v and x ~= x then return true end
  end
  return false
end)

-- The copying kin of what changes an array in place; a copy has no holes.

method("toReversed", 0, function(o, n)
  local a = make(n)
  for i = n - 1, 0, -1 do rawset(a, n - 1 - i, o[i]) end
  return a
end)
method("toSpliced", 2, function(o, n, ...)
  local first, remove, count = removal(n, select("#", ...), ...)
  local by = count - remove
  checkLength(n + by, MAX_SAFE)
  local a = make(n + by)
  for i = 0, first - 1 do rawset(a, i, o[i]) end
  for i = 1, count do rawset(a, first + i - 1, (select(i + 2, ...))) end
  for i = first + remove, n - 1 do rawset(a, i + by, o[i]) end
  return a
end)
method("with", 2, function(o, n, i, value)
  local at = toInteger(i)
  if at < 0 then at = at + n end
  if at < 0 or at >= n then js.throwError("RangeError", "Invalid index : " .. str(i)) end
  local a = make(n)
  for i = 0, n - 1 do if i == at then rawset(a, i, value) else rawset(a, i, o[i]) end end
  return a
end)

-- Making arrays, or what else `this` constructs.

local function define(a, i, v)
  if getmetatable(a) == A then
    rawset(a, i, v)
    a.length = i + 1
  elseif not js.create(a, i, v) then js.typeError("Cannot add property " .. str(i) .. ", object is not extensible")
  end
end

js.builtin(Array, "isArray", 1, function(_, x) return isArray(x) end)

-- An object to fill: what `new` makes of `this`, given a length if there is one; by default an array.
local function target(this, ...)
  if this == Array or not js.isConstructor(this) then return make(... or 0) end
  return js.new(this, nil, ...)
end

js.builtin(Array, "of", 0, function(this, ...)
  local n = select("#", ...)
  local a = target(this, n)
  for i = 1, n do define(a, i - 1, (select(i, ...))) end
  setlength(a, n)
  return a
end)
js.builtin(Array, "from", 1, function(this, items, f, that)
  if f ~= nil then js.needFunction(f) end
  if items == nil or items == null then js.typeError(str(items) .. " is not iterable") end
  local a, n
  local function append(i, v)
    if f then v = f(that, v, i) end
    define(a, i, v)
  end
  if js.iterable(items) then
    a, n = target(this), 0
    for i, v in js.each(items) do
      append(i, v)
      n = i + 1
    end
  else
    items = js.toObject(items)
    n = lengthOf(items)
    a = target(this, n)
    for i = 0, n - 1 do append(i, items[i]) end
  end
  setlength(a, n)
  return a
end)

local function advance(walk)
  local i, o, kind = walk.i, walk.o, walk.kind
  if i >= lengthOf(o) then walk.i = 1 / 0 return false end
  walk.i = i + 1
  if kind == "keys" then return true, i end
  return true, kind == "entries" and js.rest(i, o[i]) or o[i]
end
for i = 1, 3 do
  local kind = select(i, "keys", "values", "entries")
  method(kind, 0, function(o) return js.iterator({ advance = advance, o = o, kind = kind, i = 0 }) end)
end

js.applyList[push] = pushList
js.applyList[concat] = function(this, list, n)
  if getmetatable(list) ~= A then list = dense(list, n) end
  for i = 0, n - 1, 1000 do this = concat(this, unpack(list, i, min(i + 1000, n) - 1)) end
  return this
end
js.applyList[Array] = function(_, list, n) return dense(list, n) end
require("callbacks.jsMigration.lua")
