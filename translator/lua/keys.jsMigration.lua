-- The lengths of arrays, deletion, and the lists of an object's own keys.
local js = require("objects.jsMigration.lua")
local S, H = js.S, "\0h"
local type, rawget, rawset, next, getmetatable = type, rawget, rawset, next, getmetatable
local sort, match = table.sort, string.match
local own, isIndex, props, loadStub = js.own, js.isIndex, js.props, js.loadStub
local ownShape, addHoles, typeError = js.ownShape, js.addHoles, js.typeError
local ENUMERABLE, CONFIGURABLE, ALL = 2, 4, 7

local function forget(s, k)
  if s and s.attr then s.attr[k] = nil end
  if s and s.slots then s.slots[k] = nil end
end

-- Drops elements from the end down to n, or to one that may not go. Gives the length that is left.
local function dropElements(a, s, n)
  local stored, last = nil, a.length - 1
  if rawget(a, H) then stored, last = js.elementIndexes(a) end
  local marked = s and (s.attr or s.slots)
  for i = last, stored and 1 or n, -1 do
    local k = stored and stored[i] or i
    if k < n then break end
    if marked then
      if (own(a, k) or CONFIGURABLE) < CONFIGURABLE then return k + 1 end
      forget(s, k)
    end
    rawset(a, k, nil)
  end
  return n
end

local function dropHoles(a, n)
  local record = rawget(a, H)
  if record and n <= record.lo then
    rawset(a, H, nil)
  elseif record and n < record.hi then
    record.hi = n
    for k in next, record do if type(k) == "number" and k >= n then record[k] = nil end end
  end
end

-- Makes an array so long, or as short as the elements that cannot be deleted allow. Gives the length that is wanted.
function js.resize(a, v)
  local wanted, s = js.uint32(v), rawget(a, S)
  if wanted ~= js.num(v) then js.throwError("RangeError", "Invalid array length") end
  if wanted == a.length then return wanted end
  if s and s.fixedLength then typeError("Cannot assign to read only property 'length' of object '[object Array]'") end
  if wanted > a.length then addHoles(a, a.length, wanted) end
  a.length = dropElements(a, s, wanted)
  dropHoles(a, a.length)
  return wanted
end

local function cannotDelete(o, k)
  typeError("Cannot delete property '" .. js.str(k) .. "' of " .. match(js.nameOf(o), "'(.*)'$"))
end

function js.setArrayLength(a, v)
  local s = rawget(a, S)
  if s and s.fixedLength then typeError("Cannot assign to read only property 'length' of object '[object Array]'") end
  local wanted = js.resize(a, v)
  if a.length > wanted then cannotDelete(a, a.length - 1) end
end

-- Closes the gaps that deleted keys left in an object's list of keys.
local function pack(s)
  local n = 0
  for i = 1, s.n do
    local live = s.keys[i]
    s.keys[i] = nil
    if live then n = n + 1 s.keys[n], s.pos[live] = live, n end
  end
  s.n, s.dead = n, nil
end

js["delete"] = function(o, k)
  if o == nil or o == js.null or type(o) == "string" then o = js.toObject(o) end
  k = js.key(k)
  if not js.isScriptObject(o) then
    if js.isObject(o) then o[k] = nil end
    return true
  end
  local flags = own(o, k)
  if not flags then return true end
  if flags < CONFIGURABLE then cannotDelete(o, k) end
  if type(o) == "function" then
    js.instances[o] = nil
    o = props(o)
  end
  rawset(o, k, nil)
  if getmetatable(o).array and isIndex(k) then
    addHoles(o, k, k + 1)
    forget(rawget(o, S), k)
    return true
  end
  local s = ownShape(o)
  local at = s.pos[k]
  if not at then return js.removeGlobal(k) end
  s.keys[at], s.pos[k], s.order, s.dead = false, nil, nil, (s.dead or 0) + 1
  forget(s, k)
  if s.dead > 16 and s.dead > s.n / 2 then pack(s) end
  return true
end

-- Own keys: array indexes ascending, then the others as they came. Kept with the shape until it changes.
local function ordered(s)
  if s.order then return s.order end
  local list, others, n = {}, {}, 0
  for i = 1, s.n do
    local k = s.keys[i]
    if k and isIndex(k) then list[#list + 1] = k elseif k then n = n + 1 others[n] = k end
  end
  sort(list)
  local numbers = #list
  for i = 1, n do list[numbers + i] = others[i] end
  s.order = list
  return list
end

local function visible(s, k)
  local slot = s.slots and s.slots[k]
  return (slot and slot.flags or s.attr and s.attr[k] or s.default or ALL) % CONFIGURABLE >= ENUMERABLE
end

-- A list of the own keys (numbers and strings) and their count; hidden ones too when all is set.
function js.ownKeys(o, all)
  o = js.home(o)
  local list, n = {}, 0
  local s, mt = rawget(o, S) or loadStub(o), getmetatable(o)
  if not (mt and mt.js) then
    for k in next, o do n = n + 1 list[n] = k end
    return list, n
  end
  all = all or s and not (s.attr or s.slots or s.default) and "visible"
  if mt.array then
    local indexes, count = js.elementIndexes(o)
    for i = 1, count do if all or not s or visible(s, indexes[i]) then n = n + 1 list[n] = indexes[i] end end
    if all == true then n = n + 1 list[n] = "length" end
  end
  local keys = s and ordered(s)
  for i = 1, s and #keys or 0 do
    if all or visible(s, keys[i]) then n = n + 1 list[n] = keys[i] end
  end
  return list, n
end

return js
