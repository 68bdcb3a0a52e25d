-- Map, Set and their weak kin, which keep what they are given for as long as they live themselves; scripts cannot tell.
-- Entries stand in two lists by insertion; a removed one leaves a gap until the lists are packed into new ones. The old
-- list of keys stays as it was for a loop that is still in it, and knows the new one. A list of keys also knows with how
-- many gaps it begins, so that the first entry of a queue is found at once.
local js = require("jsMigration.lua")
local type, rawget, select, max, held, typeError = type, rawget, select, math.max, js.held, js.typeError
local V, GAP, NIL, NAN = "\0v", {}, {}, {}

-- What stands for a key in a Lua table, which takes neither nil nor NaN.
local function place(k)
  if k == nil then return NIL end
  if k ~= k then return NAN end
  return k
end

local function keyOf(p)
  if p == NIL then return nil end
  return p == NAN and 0 / 0 or p
end

local function put(store, k, v)
  local p = place(k)
  local i = store.at[p]
  if not i then
    i = store.n + 1
    if p == 0 then p = 0 end -- never -0
    store.n, store.size, store.at[p], store.keys[i] = i, store.size + 1, i, p
  end
  store.values[i] = v
end

local function pack(store)
  local keys, values, n = { gaps = 0 }, {}, 0
  for i = 1, store.n do
    local p = store.keys[i]
    if p ~= GAP then
      n = n + 1
      keys[n], values[n], store.at[p] = p, store.values[i], n
    end
  end
  store.keys.packed = keys
  store.keys, store.values, store.n = keys, values, n
end

local function remove(store, k)
  local p = place(k)
  local i = store.at[p]
  if not i then return false end
  local keys = store.keys
  store.at[p], keys[i], store.values[i], store.size = nil, GAP, nil, store.size - 1
  while keys[keys.gaps + 1] == GAP do keys.gaps = keys.gaps + 1 end
  if store.n > 32 and store.size < store.n / 2 then pack(store) end
  return true
end

-- The list and the place of the entry behind one that a loop has come to; no entry is there at the end.
local function following(store, keys, i)
  while keys ~= store.keys do
    local live = 0
    for j = 1, i do if keys[j] ~= GAP then live = live + 1 end end
    keys, i = keys.packed, live
  end
  i = max(i, keys.gaps) + 1
  while keys[i] == GAP do i = i + 1 end
  return keys, i
end

-- For an iterator: goes through the entries, those added meanwhile too.
local function advance(walk)
  if not walk.keys then return false end
  local keys, i = following(walk.store, walk.keys, walk.i)
  local p, v, kind = keys[i], walk.store.values[i], walk.kind
  walk.keys, walk.i = p ~= nil and keys, i
  if p == nil then return false end
  if kind == "keys" then return true, keyOf(p) end
  return true, kind == "entries" and js.rest(keyOf(p), v) or v
end
local function walk(store, kind) return { advance = advance, store = store, kind = kind, keys = store.keys, i = 0 } end
function js.walk(o) return walk(rawget(o, V), js.classOf(o) == "Map" and "entries" or "values") end

-- Defines a collection. What its constructor is given goes through the method adder; weak is what a weak one says of a
-- key that it refuses.
local function collection(class, adder, weak)
  local proto = js.fillProto({}, js.ObjectProto)
  local function method(name, count, f)
    return js.builtin(proto, name, count, function(this, ...) return f(held(this, class, name), this, ...) end)
  end
  local function call() typeError("Constructor " .. class .. " requires 'new'") end
  js.constructor(class, 0, proto, call, function(items)
    local o = js.instance(proto, class, { at = {}, keys = { gaps = 0 }, values = {}, n = 0, size = 0 })
    if items == nil or items == js.null then return o end
    local add = o[adder]
    if type(add) ~= "function" then typeError(class .. ".prototype." .. adder .. " is not a function") end
    for _, item in js.each(items) do
      if adder == "set" then add(o, js.entry(item)) else add(o, item) end
    end
    return o
  end)
  method("has", 1, function(store, _, k) return store.at[place(k)] ~= nil end)
  method("delete", 1, function(store, _, k) return remove(store, k) end)
  method(adder, adder == "set" and 2 or 1, function(store, this, k, v)
    if weak and not js.isObject(k) then typeError("Invalid value used " .. weak) end
    if adder == "add" then v = k == 0 and 0 or k end -- never -0
    put(store, k, v)
    return this
  end)
  if adder == "set" then
    method("get", 1, function(store, _, k) return store.values[store.at[place(k)] or 0] end)
  end
  if weak then return end

  method("clear", 0, function(store)
    for i = 1, store.n do store.keys[i] = GAP end
    store.at, store.size = {}, 0
    pack(store)
  end)
  method("forEach", 1, function(store, this, f, that)
    js.needFunction(f)
    local keys, i = following(store, store.keys, 0)
    while keys[i] ~= nil do
      f(that, store.values[i], keyOf(keys[i]), this)
      keys, i = following(store, keys, i)
    end
  end)
  for i = adder == "set" and 1 or 2, 3 do
    local kind = select(i, "keys", "values", "entries")
    method(kind, 0, function(store) return js.iterator(walk(store, kind)) end)
  end
  if adder == "add" then js.defineOwn(proto, "keys", 5, proto.values) end
  local size = js.name(function(this) return held(this, class, "size").size end, "get size", 0)
  js.defineOwn(proto, "size", 4, nil, size, false)
end
collection("Map", "set")
collection("Set", "add")
collection("WeakMap", "set", "as weak map key")
collection("WeakSet", "add", "in weak set")
