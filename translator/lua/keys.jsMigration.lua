-- The lengths of arrays, deletion, and the lists of an object's own and inherited keys.
local js = require("values.jsMigration.lua")
local type, rawget, rawset, next, getmetatable, sort, S = type, rawget, rawset, next, getmetatable, table.sort, js.S
local own, isIndex, protoOf, str, key, addHoles, H = js.own, js.isIndex, js.protoOf, js.str, js.key, js.addHoles, "\0h"
local isEnumerable, CONFIGURABLE, FEW, fmod, gmatch = js.isEnumerable, 4, 32, math.fmod, string.gmatch
local COLUMNS = "time open high low close volume"

-- Forgets what is known of a key beside its value.
local function forget(s, k)
  if s and s.attr then s.attr[k] = nil end
  if s and s.slots then s.slots[k] = nil end
end

-- Drops elements from the end down to n, or to one that may not go. Gives the length that is left. Long holes are
-- skipped; to drop a few, all the rest is not listed.
local function dropElements(a, s, n)
  local stored, last = nil, a.length - 1
  if rawget(a, H) and last - n > FEW then stored, last = js.elementIndexes(a) end
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
    local last = record.hi - 1
    record.hi = n
    if last - n <= FEW then
      for k = n, last do record[k] = nil end
    else
      for k in next, record do if type(k) == "number" and k >= n then record[k] = nil end end
    end
  end
end

-- A value as the length of an array.
function js.lengthOf(v)
  local wanted = js.uint32(v)
  if wanted ~= js.num(v) then js.throwError("RangeError", "Invalid array length") end
  return wanted
end

-- Makes an array so long, or as short as the elements that cannot be deleted allow. Gives the length that is wanted.
function js.resize(a, v)
  local wanted, s = js.lengthOf(v), rawget(a, S)
  if wanted == a.length then return wanted end
  if s and s.fixedLength then js.readOnly("length", a) end
  if wanted > a.length then addHoles(a, a.length, wanted) end
  a.length = dropElements(a, s, wanted)
  dropHoles(a, a.length)
  return wanted
end

local function cannotDelete(o, k) js.typeError("Cannot delete property '" .. str(k) .. "' of " .. js.describe(o)) end

function js.setlength(o, v)
  if not js.isArray(o) then o.length = v return end
  local s = rawget(o, S)
  if s and s.fixedLength then js.readOnly("length", o) end
  local wanted = js.resize(o, v)
  if o.length > wanted then cannotDelete(o, o.length - 1) end
end

js["delete"] = function(o, k)
  if o == nil or o == js.null or type(o) == "string" then o = js.toObject(o) end
  k = key(k)
  if not js.isScriptObject(o) then
    if js.isObject(o) then o[k] = nil end
    return true
  end
  local flags = own(o, k)
  if not flags then return true end
  if flags < CONFIGURABLE then cannotDelete(o, k) end
  if type(o) == "function" then js.instances[o] = nil end
  o = js.home(o)
  rawset(o, k, nil)
  fmod(1, 1) -- is not compiled: within one trace, an earlier store may pass for proof that the field is still there
  if getmetatable(o).array and isIndex(k) then
    addHoles(o, k, k + 1)
    forget(rawget(o, S), k)
    return true
  end
  local s = js.ownShape(o)
  if not s.pos[k] then return js.removeGlobal(k) end
  s.pos[k], s.order = nil, nil
  forget(s, k)
  return true
end

-- Own keys: array indexes ascending, then the others as they came. Kept with the shape until it changes.
local function ordered(s)
  if s.order then return s.order end
  local list, others, n = {}, {}, 0
  for k, at in next, s.pos do
    if isIndex(k) then n = n + 1 list[n] = k else others[at] = k end
  end
  sort(list)
  for at = 1, s.n do
    if others[at] ~= nil then n = n + 1 list[n] = others[at] end
  end
  s.order = list
  if not s.next then -- without the numbers of deleted keys
    for i = 1, n do s.pos[list[i]] = i end
    s.n = n
  end
  return list
end

-- The order of keys in the host's own tables, which have none.
local function before(a, b)
  if type(a) ~= type(b) then return type(a) == "number" end
  if type(a) == "number" then return a < b end
  return str(a) < str(b)
end

-- A list of the own keys (numbers and strings) and their count; hidden ones too when all is set.
function js.ownKeys(o, all)
  o = js.home(o)
  local list, n = {}, 0
  local s, mt = rawget(o, S) or js.loadStub(o), getmetatable(o)
  if not (mt and mt.js) then
    -- A series, or prices, whose columns are there from when they are first read.
    local isSeries = type(o.size) == "function"
    if isSeries and o.instrument then for column in gmatch(COLUMNS, "%a+") do local _ = o[column] end end
    for k in next, o do if all or not isSeries or k ~= "length" then n = n + 1 list[n] = k end end
    sort(list, before)
    return list, n
  end
  local every = all or not s or not (s.attr or s.slots)
  if mt.array then
    local indexes, count = js.elementIndexes(o)
    for i = 1, count do if every or isEnumerable(o, indexes[i]) then n = n + 1 list[n] = indexes[i] end end
    if all then n = n + 1 list[n] = "length" end
  end
  local keys = s and ordered(s)
  for i = 1, s and #keys or 0 do
    if every or isEnumerable(o, keys[i]) then n = n + 1 list[n] = keys[i] end
  end
  return list, n
end

function js.keys(o)
  if type(o) == "string" then o = js.toObject(o) end
  if not js.isObject(o) or type(o) == "userdata" or type(o) == "cdata" then return { length = 0 } end
  local list, n = js.ownKeys(o)
  for i = 1, n do list[i - 1] = str(list[i]) end
  local proto = protoOf(o)
  while proto do
    local more, count = js.ownKeys(proto)
    for i = 1, count do if not js.holder(o, more[i], proto) then list[n], n = str(more[i]), n + 1 end end
    proto = protoOf(proto)
  end
  list.length = n
  return list
end

function js.has(k, o)
  if not js.isObject(o) then js.typeError("Cannot use 'in' operator to search for '" .. str(k) .. "' in " .. str(o)) end
  k = key(k)
  if not js.isScriptObject(o) then return o[k] ~= nil end
  return js.holder(o, k) ~= nil
end

-- Whether a key that for-in is about to give is still there.
function js.lasts(k, o)
  local t = type(o)
  return t ~= "table" and t ~= "function" or js.has(k, o)
end

return js
