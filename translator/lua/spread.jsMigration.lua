-- Spread elements, rest patterns, and properties by computed key in literals.
local js = require("jsMigration.lua")
local unpack, select, setmetatable = unpack, select, setmetatable
local A, null = js.A, js.null

-- The values of an iterable, for a call.
function js.spread(list)
  local all = js.listOf(list)
  if all.length > 7000 then js.throwError("RangeError", "Maximum call stack size exceeded") end
  return unpack(all, 0, all.length - 1)
end

-- The elements of several iterables as one array.
function js.gather(...)
  local all, n = {}, 0
  for i = 1, select("#", ...) do
    for _, v in js.each((select(i, ...))) do all[n], n = v, n + 1 end
  end
  all.length = n
  return setmetatable(all, A)
end

-- Refuses what destructuring cannot take apart.
function js.destructible(v)
  if v ~= nil and v ~= null then return end
  js.typeError("Cannot destructure '" .. js.str(v) .. "' as it is " .. js.str(v) .. ".")
end

-- A function that takes its name from a computed key.
function js.named(f, k)
  js.names[f] = js.str(k)
  return f
end

-- A property of a literal: whatever the prototypes say, it is the object's own.
function js.field(o, k, v) js.defineOwn(o, js.key(k), 7, v) end

-- Adds to an object the own properties of another that can be enumerated, but for some keys.
local function copy(o, from, skipped)
  if from == nil or from == null then return o end
  from = js.toObject(from)
  local keys, n = js.ownKeys(from)
  for i = 1, n do
    if not skipped[keys[i]] then js.defineOwn(o, keys[i], 7, from[keys[i]]) end
  end
  return o
end

function js.mix(o, from) copy(o, from, {}) end

function js.without(o, ...)
  local skipped = {}
  for i = 1, select("#", ...) do skipped[(select(i, ...))] = true end
  return copy(js.object(), o, skipped)
end
