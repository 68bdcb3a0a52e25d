-- The methods of arrays that call functions of the script.
local js = require("jsMigration.lua")
local elements = require("elements.jsMigration.lua")
local open, element, derived, needFunction = elements.open, elements.element, elements.derived, js.needFunction
local truthy, has, isArray, typeError, addHoles = js.truthy, js.has, js.isArray, js.typeError, js.addHoles
local rawset, select, type, delete = rawset, select, type, js.delete

local function method(name, count, f) js.builtin(js.ArrayProto, name, count, f) end

-- Defines a pair of searches, from the front and from the back.
local function finder(name, back, result)
  method(name, 1, function(this, f, that)
    local o, n = open(this, name)
    needFunction(f)
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
  needFunction(f)
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if found then f(that, v, i, o) end
  end
end)

method("map", 1, function(this, f, that)
  local o, n = open(this, "map")
  needFunction(f)
  local a = derived(o, n)
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if found then rawset(a, i, (f(that, v, i, o))) else addHoles(a, i, i + 1) end
  end
  return a
end)

method("filter", 1, function(this, f, that)
  local o, n = open(this, "filter")
  needFunction(f)
  local a, count = derived(o, 0), 0
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
  method(name, 1, function(this, f, that)
    local o, n = open(this, name)
    needFunction(f)
    for i = 0, n - 1 do
      local found, v = element(o, i)
      if found and truthy(f(that, v, i, o)) == decisive then return decisive end
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

method("flat", 0, function(this, depth)
  local o, n = open(this, "flat")
  depth = depth == nil and 1 or js.toInteger(depth)
  return flatten(derived(o, 0), o, n, depth)
end)
method("flatMap", 1, function(this, f, that)
  local o, n = open(this, "flatMap")
  needFunction(f)
  return flatten(derived(o, 0), o, n, 1, f, that)
end)

local function reducer(name, back)
  method(name, 1, function(this, f, ...)
    local o, n = open(this, name)
    needFunction(f)
    local i, last, step = 0, n - 1, 1
    if back then i, last, step = n - 1, 0, -1 end
    local found, value = select("#", ...) > 0, ...
    while not found do
      if (last - i) * step < 0 then typeError("Reduce of empty array with no initial value") end
      found, value = element(o, i)
      i = i + step
    end
    for k = i, last, step do
      local there, v = element(o, k)
      if there then value = f(nil, value, v, k, o) end
    end
    return value
  end)
end
reducer("reduce", false)
reducer("reduceRight", true)

-- Sorting itself is in a file of its own.

local function comparator(f)
  if f ~= nil and type(f) ~= "function" then
    typeError("The comparison function must be either a function or undefined")
  end
  return f
end

local function sort(o, n, f)
  if n < 2 then return o end
  local list, count, undefineds = {}, 0, 0
  for i = 0, n - 1 do
    local found, v = element(o, i)
    if v ~= nil then count = count + 1 list[count] = v elseif found then undefineds = undefineds + 1 end
  end
  list = js.sortList(list, count, f)
  for i = 1, count do o[i - 1] = list[i] end
  for i = count, count + undefineds - 1 do o[i] = nil end
  for i = count + undefineds, n - 1 do if has(i, o) then delete(o, i) end end
  return o
end

method("sort", 1, function(this, f)
  comparator(f)
  local o, n = open(this, "sort")
  return sort(o, n, f)
end)

method("toSorted", 1, function(this, f)
  comparator(f)
  local o, n = open(this, "toSorted")
  return sort(elements.dense(o, n), n, f)
end)
