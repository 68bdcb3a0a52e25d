-- Array. Elements are taken as they are stored where that is enough, and by every rule where it is not.
local js = require("jsMigration.lua")
local math, table, error, pcall = math, table, error, pcall
local null, str, has, isArray = js.null, js.str, js.has, js.isArray
local toInteger, position, typeError, addHoles = js.toInteger, js.position, js.typeError, js.addHoles
local elements = require("elements.jsMigration.lua")
local open, element, make = elements.open, elements.element, elements.make
local derived, dense = elements.derived, elements.dense
local delete, setlength, isConstructor = js.delete, js.setlength, js.isConstructor
local type, rawget, rawset, select, getmetatable, unpack = type, rawget, rawset, select, getmetatable, unpack
local min, max, floor = math.min, math.max, math.floor
local A, H, ArrayProto = js.A, "\0h", js.ArrayProto
local LONGEST, MAX_SAFE = 4294967295, 9007199254740991

-- Array.prototype is an array. Its elements are seen through every array, which a plain lookup doesn't expect.
local meta = js.newMeta(js.ObjectProto, true)
function meta.__newindex(a, k, v)
  if js.isIndex(k) then js.slotsInChain(a) end
  js.put(a, k, v)
end
rawset(js.fillProto(ArrayProto, nil, meta), "length", 0)

local function construct(...)
  local n, first = select("#", ...), ...
  if n ~= 1 or type(first) ~= "number" then return js.rest(...) end
  if js.uint32(first) ~= first then elements.tooLong() end
  local a = make(first)
  if first > 0 then addHoles(a, 0, first) end
  return a
end

local Array = js.constructor("Array", 1, ArrayProto, function(_, ...) return construct(...) end, construct)

local function static(name, count, f) return js.builtin(Array, name, count, f) end
local function method(name, count, f) return js.builtin(ArrayProto, name, count, f) end

-- True for an array without holes and attributes.
local function plain(o) return getmetatable(o) == A and not rawget(o, H) and not rawget(o, "\0s") end

-- Moves the elements first .. last - 1 by so many places, from the end that keeps them from running over one another.
local function move(o, first, last, by)
  local from, to, step = first, last - 1, 1
  if by > 0 then from, to, step = last - 1, first, -1 end
  if plain(o) and last <= o.length then
    for i = from, to, step do rawset(o, i + by, rawget(o, i)) end
    if last > first and last + by > o.length then o.length = last + by end
  else
    for i = from, to, step do
      local found, v = element(o, i)
      if found then o[i + by] = v else delete(o, i + by) end
    end
  end
end

-- Ends.

local push = method("push", 1, function(this, ...)
  local count = select("#", ...)
  if type(this) == "table" and getmetatable(this) == A and this.length + count <= LONGEST then
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
  if n + count > MAX_SAFE then typeError("The array would become too long") end
  for i = 1, count do o[n + i - 1] = (select(i, ...)) end
  setlength(o, n + count)
  return n + count
end)

local function dropLast(o, n)
  if plain(o) then
    rawset(o, n - 1, nil)
    o.length = n - 1
  else
    delete(o, n - 1)
    setlength(o, n - 1)
  end
end

method("pop", 0, function(this)
  local o, n = open(this, "pop")
  if n == 0 then setlength(o, 0) return nil end
  local v = o[n - 1]
  dropLast(o, n)
  return v
end)

method("shift", 0, function(this)
  local o, n = open(this, "shift")
  if n == 0 then setlength(o, 0) return nil end
  local v = o[0]
  move(o, 1, n, -1)
  dropLast(o, n)
  return v
end)

-- Puts count values in place of the elements first .. first + remove - 1.
local function replace(o, n, first, remove, count, ...)
  if n - remove + count > MAX_SAFE then typeError("The array would become too long") end
  if count ~= remove then move(o, first + remove, n, count - remove) end
  if not plain(o) then for i = n - 1, n - remove + count, -1 do delete(o, i) end end
  for i = 1, count do o[first + i - 1] = (select(i, ...)) end
  setlength(o, n - remove + count)
end

method("unshift", 1, function(this, ...)
  local o, n = open(this, "unshift")
  local count = select("#", ...)
  replace(o, n, 0, 0, count, ...)
  return n + count
end)

-- Parts.

local function part(o, first, last)
  local a = derived(o, last > first and last - first or 0)
  for i = first, last - 1 do
    local found, v = element(o, i)
    if found then rawset(a, i - first, v) else addHoles(a, i - first, i - first + 1) end
  end
  return a
end

method("slice", 2, function(this, first, last)
  local o, n = open(this, "slice")
  return part(o, position(first, n, 0), position(last, n, n))
end)

-- Where a splice begins and how many elements it removes.
local function removal(n, given, start, remove)
  local first = position(start, n, 0)
  if given < 2 then return first, given == 0 and 0 or n - first end
  return first, max(0, min(toInteger(remove), n - first))
end

method("splice", 2, function(this, ...)
  local o, n = open(this, "splice")
  local given = select("#", ...)
  local first, remove = removal(n, given, ...)
  if n - remove + max(0, given - 2) > MAX_SAFE then typeError("The array would become too long") end
  local removed = part(o, first, first + remove)
  replace(o, n, first, remove, max(0, given - 2), select(3, ...))
  return removed
end)

local concat = method("concat", 1, function(this, ...)
  this = js.toObject(this)
  local a, n = derived(this, 0), 0
  for i = 0, select("#", ...) do
    local item = this
    if i > 0 then item = (select(i, ...)) end
    if isArray(item) then
      for k = 0, item.length - 1 do
        local found, v = element(item, k)
        if found then rawset(a, n + k, v) else addHoles(a, n + k, n + k + 1) end
      end
      n = n + item.length
    else
      rawset(a, n, item)
      n = n + 1
    end
  end
  if n > LONGEST then elements.tooLong() end
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
  return js.mend(table.concat(parts, separator))
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
  for i = 0, floor(n / 2) - 1 do
    local j = n - 1 - i
    local hasA, a = element(o, i)
    local hasB, b = element(o, j)
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
  move(o, from, from + min(position(last, n, n) - from, n - to), to - from)
  return o
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
  for i = min(from, n - 1), 0, -1 do if o[i] == x and (x ~= nil or has(i, o)) then return i end end
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

-- The copying kin of what changes an array in place; a copy has no holes.

method("toReversed", 0, function(this)
  local o, n = open(this, "toReversed")
  return reverse(dense(o, n), n)
end)
method("toSpliced", 2, function(this, ...)
  local o, n = open(this, "toSpliced")
  local given = select("#", ...)
  local first, remove = removal(n, given, ...)
  local a = dense(o, n)
  replace(a, n, first, remove, max(0, given - 2), select(3, ...))
  return a
end)
method("with", 2, function(this, i, value)
  local o, n = open(this, "with")
  local at = toInteger(i)
  if at < 0 then at = at + n end
  if at < 0 or at >= n then js.throwError("RangeError", "Invalid index : " .. str(i)) end
  local a = dense(o, n)
  a[at] = value
  return a
end)

-- Making arrays, or what else `this` constructs.

static("isArray", 1, function(_, x) return isArray(x) end)

local function define(a, i, v)
  if getmetatable(a) == A then a[i] = v
  elseif not js.create(a, i, v) then typeError("Cannot add property " .. str(i) .. ", object is not extensible") end
end

static("of", 0, function(this, ...)
  if this == Array or not isConstructor(this) then return js.rest(...) end
  local n = select("#", ...)
  local a = js.new(this, n)
  for i = 1, n do define(a, i - 1, (select(i, ...))) end
  setlength(a, n)
  return a
end)

static("from", 1, function(this, items, f, that)
  if f ~= nil then js.needFunction(f) end
  if items == nil or items == null then typeError(str(items) .. " is not iterable") end
  local n, a = nil, nil
  if not js.iterable(items) then
    items = js.toObject(items)
    n = elements.lengthOf(items)
  end
  if this == Array or not isConstructor(this) then a = make(0)
  elseif n then a = js.new(this, n)
  else a = js.new(this)
  end
  local function take(i, v)
    if f then v = f(that, v, i) end
    define(a, i, v)
  end
  for i = 0, (n or 0) - 1 do take(i, items[i]) end
  if not n then
    n = 0
    for i, v in js.each(items) do
      take(i, v)
      n = i + 1
    end
  end
  setlength(a, n)
  return a
end)

for i = 1, 3 do
  local kind = select(i, "keys", "values", "entries")
  method(kind, 0, function(this) return js.iterator((open(this, kind)), kind) end)
end

js.applyList[push] = function(this, list, n)
  for i = 0, n - 1 do push(this, list[i]) end
  return this.length
end
js.applyList[concat] = function(this, list, n)
  for i = 0, n - 1, 1000 do this = concat(this, unpack(list, i, min(i + 1000, n) - 1)) end
  return this
end
js.applyList[Array] = function(_, list, n) return dense(list, n) end

require("callbacks.jsMigration.lua")
