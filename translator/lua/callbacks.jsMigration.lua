-- The methods of arrays that call functions of the script. Sorting is stable: it merges runs.
local js = require("jsMigration.lua")
local rawset, select, type, min, open, element = rawset, select, type, math.min, js.open, js.element
local derived, dense, truthy, has, isArray, include = js.derived, js.dense, js.truthy, js.has, js.isArray, js.include

-- Defines a method that calls a function with the elements of an object: visit(object, length, function, this).
local function visitor(name, visit)
  js.builtin(js.ArrayProto, name, 1, function(this, f, that)
    local o, n = open(this, name)
    if type(f) ~= "function" then js.needFunction(f) end
    return visit(o, n, f, that)
  end)
end

-- Defines a search from the front or the back.
local function finder(name, back, wantsIndex)
  visitor(name, function(o, n, f, that)
    for i = back and n - 1 or 0, back and 0 or n - 1, back and -1 or 1 do
      local v = o[i]
      if truthy(f(that, v, i, o)) then
        if wantsIndex then return i end
        return v
      end
    end
    return wantsIndex and -1 or nil
  end)
end
finder("find", false, false)
finder("findIndex", false, true)
finder("findLast", true, false)
finder("findLastIndex", true, true)

-- Whether there is an element at i, nil beyond the last, and what a function gives for it. A compiled loop keeps to the
-- function that it was compiled with, and is left with each turn for another one: so a turn is for four elements.
local function visit(o, n, f, that, i)
  if i >= n then return nil end
  local found, v = element(o, i)
  if found then return true, (f(that, v, i, o)) end
  return false
end

visitor("forEach", function(o, n, f, that)
  for i = 0, n - 1, 4 do
    visit(o, n, f, that, i)
    visit(o, n, f, that, i + 1)
    visit(o, n, f, that, i + 2)
    visit(o, n, f, that, i + 3)
  end
end)

visitor("map", function(o, n, f, that)
  local a = derived(o, n)
  for i = 0, n - 1, 4 do
    include(a, i, visit(o, n, f, that, i))
    include(a, i + 1, visit(o, n, f, that, i + 1))
    include(a, i + 2, visit(o, n, f, that, i + 2))
    include(a, i + 3, visit(o, n, f, that, i + 3))
  end
  return a
end)

visitor("filter", function(o, n, f, that)
  local a, count = derived(o, min(n, 32)), 0
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if found and truthy(f(that, v, i, o)) then
      rawset(a, count, v)
      count = count + 1
    end
  end
  a.length = count
  return a
end)

-- Defines a question to the elements, which the first answer of a kind decides.
local function decider(name, decisive)
  local function decides(found, answer) return found and truthy(answer) == decisive end
  visitor(name, function(o, n, f, that)
    for i = 0, n - 1, 4 do
      if decides(visit(o, n, f, that, i)) or decides(visit(o, n, f, that, i + 1))
        or decides(visit(o, n, f, that, i + 2)) or decides(visit(o, n, f, that, i + 3)) then return decisive end
    end
    return not decisive
  end)
end
decider("some", true)
decider("every", false)

local function flatten(into, o, n, depth, f, that)
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if found and f then v = f(that, v, i, o) end
    if found and depth > 0 and isArray(v) then
      flatten(into, v, v.length, depth - 1)
    elseif found then
      rawset(into, into.length, v)
      into.length = into.length + 1
    end
  end
  return into
end
js.builtin(js.ArrayProto, "flat", 0, function(this, depth)
  local o, n = open(this, "flat")
  depth = depth == nil and 1 or js.toInteger(depth)
  return flatten(derived(o, 0), o, n, depth)
end)
visitor("flatMap", function(o, n, f, that) return flatten(derived(o, 0), o, n, 1, f, that) end)

local function fold(o, n, f, value, i)
  if i < 0 or i >= n then return value end
  local there, v = element(o, i)
  if there then return (f(nil, value, v, i, o)) end
  return value
end

local function reducer(name, back)
  js.builtin(js.ArrayProto, name, 1, function(this, f, ...)
    local o, n = open(this, name)
    js.needFunction(f)
    local i, last, step = 0, n - 1, 1
    if back then i, last, step = n - 1, 0, -1 end
    local found, value = select("#", ...) > 0, ...
    while not found do
      if (last - i) * step < 0 then js.typeError("Reduce of empty array with no initial value") end
      found, value = element(o, i)
      i = i + step
    end
    for k = i, last, 4 * step do
      value = fold(o, n, f, value, k)
      value = fold(o, n, f, value, k + step)
      value = fold(o, n, f, value, k + 2 * step)
      value = fold(o, n, f, value, k + 3 * step)
    end
    return value
  end)
end
reducer("reduce", false)
reducer("reduceRight", true)

-- Sorting.

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
    for i = low + 1, min(low + 7, n) do
      local v, j = list[i], i - 1
      while j >= low and before(v, list[j]) do list[j + 1], j = list[j], j - 1 end
      list[j + 1] = v
    end
  end
  local other, width = {}, 8
  while width < n do
    for low = 1, n, 2 * width do
      merge(list, other, low, min(low + width, n + 1), min(low + 2 * width, n + 1), before)
    end
    list, other, width = other, list, 2 * width
  end
  return list
end

-- The values list[1] .. list[n] in the order that a script's function gives, or that of their texts.
local function ordered(list, n, f)
  if f then
    return mergeSort(list, n, function(a, b)
      local r = f(nil, a, b)
      if type(r) ~= "number" then r = js.num(r) end
      return r < 0
    end)
  end
  for i = 1, n do list[i] = { js.sortable(js.str(list[i])), list[i] } end
  list = mergeSort(list, n, function(a, b) return a[1] < b[1] end)
  for i = 1, n do list[i] = list[i][2] end
  return list
end

local function sort(o, n, f)
  if n < 2 then return o end
  local list, count, undefineds = {}, 0, 0
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if v ~= nil then count = count + 1 list[count] = v elseif found then undefineds = undefineds + 1 end
  end
  list = ordered(list, count, f)
  for i = 1, count + undefineds do o[i - 1] = list[i] end
  for i = count + undefineds, n - 1 do if has(i, o) then js.delete(o, i) end end
  return o
end

-- Defines a method that sorts what prepare(object, length) gives.
local function sorter(name, prepare)
  js.builtin(js.ArrayProto, name, 1, function(this, f)
    if f ~= nil and type(f) ~= "function" then
      js.typeError("The comparison function must be either a function or undefined")
    end
    local o, n = open(this, name)
    return sort(prepare(o, n), n, f)
  end)
end
sorter("sort", function(o) return o end)
sorter("toSorted", dense)
