-- Map, Set and their weak kin. Entries stand in two lists by insertion; a removed one leaves a gap until the lists are
-- packed into new ones. The old keys stay as they were for a loop that is still among them, and know the new.
local js = require("jsMigration.lua")
local null, builtin, typeError = js.null, js.builtin, js.typeError
local type, rawget, next = type, rawget, next
local V, C = "\0v", "\0c"
local NIL, NAN, GAP = {}, {}, {}

-- What stands for a key in a Lua table, which takes neither nil nor NaN.
local function place(k)
  if k == nil then return NIL end
  if k ~= k then return NAN end
  return k
end

local function newStore() return { at = {}, keys = {}, values = {}, n = 0, size = 0 } end

local function put(store, k, v)
  local p = place(k)
  local i = store.at[p]
  if not i then
    if k == 0 then k = 0 end
    i = store.n + 1
    store.n, store.size, store.at[p], store.keys[i] = i, store.size + 1, i, k == nil and NIL or k
  end
  store.values[i] = v
end

local function pack(store)
  local keys, values, n = {}, {}, 0
  for i = 1, store.n do
    local k = store.keys[i]
    if k ~= GAP then
      n = n + 1
      keys[n], values[n], store.at[place(k)] = k, store.values[i], n
    end
  end
  store.keys.packed = keys
  store.keys, store.values, store.n = keys, values, n
end

local function remove(store, k)
  local p = place(k)
  local i = store.at[p]
  if not i then return false end
  store.at[p], store.keys[i], store.values[i], store.size = nil, GAP, nil, store.size - 1
  if store.n > 32 and store.size < store.n / 2 then pack(store) end
  return true
end

local function storeOf(this, class, name)
  local store = type(this) == "table" and rawget(this, C) == class and rawget(this, V)
  if not store then
    typeError("Method " .. class .. ".prototype." .. name .. " called on incompatible receiver " .. js.describe(this))
  end
  return store
end

-- A function that gives true, a key and its value for one entry after the other, those added meanwhile too.
local function walk(store)
  local keys, i = store.keys, 0
  return function()
    while keys ~= store.keys do
      local n = 0
      for j = 1, i do if keys[j] ~= GAP then n = n + 1 end end
      keys, i = keys.packed, n
    end
    while keys[i + 1] ~= nil do
      i = i + 1
      local k = keys[i]
      if k == NIL then return true, nil, store.values[i] end
      if k ~= GAP then return true, k, store.values[i] end
    end
    return false
  end
end

local function each(store, kind)
  local following = walk(store)
  return js.live(function()
    local found, k, v = following()
    if kind == "entries" then return found, found and js.rest(k, v) end
    if kind == "keys" then return found, k end
    return found, v
  end)
end

function js.collectionValues(o) return each(rawget(o, V), rawget(o, C) == "Map" and "entries" or "values") end

local function itself(item) return item end

-- Defines a collection. What its constructor is given goes through the method named adder, as take makes it.
local function collection(class, adder, take)
  local proto = {}
  js.fillProto(proto, js.ObjectProto)
  local function refuse() typeError("Constructor " .. class .. " requires 'new'") end
  js.constructor(class, 0, proto, refuse, function(items)
    local o = js.instance(proto, class, newStore())
    if items == nil or items == null then return o end
    local add = o[adder]
    if type(add) ~= "function" then typeError(class .. ".prototype." .. adder .. " is not a function") end
    for _, item in js.each(items) do add(o, take(item)) end
    return o
  end)
  local function method(name, count, f)
    return builtin(proto, name, count, function(this, ...) return f(storeOf(this, class, name), this, ...) end)
  end
  method("has", 1, function(store, _, k) return store.at[place(k)] ~= nil end)
  method("delete", 1, function(store, _, k) return remove(store, k) end)
  return proto, method
end

-- The weak kin keep what they are given for as long as they live themselves; scripts cannot tell.
local function weakly(what)
  return function(k)
    if not js.isObject(k) then typeError("Invalid value used " .. what) end
    return k
  end
end

-- Defines a collection of values by key; check refuses a key.
local function keyed(class, check)
  local proto, method = collection(class, "set", js.entry)
  method("get", 1, function(store, _, k) return store.values[store.at[place(k)] or 0] end)
  method("set", 2, function(store, this, k, v)
    if check then check(k) end
    put(store, k, v)
    return this
  end)
  return proto, method
end

local function single(class, check)
  local proto, method = collection(class, "add", itself)
  method("add", 1, function(store, this, k)
    if k == 0 then k = 0 end -- never -0
    if check then check(k) end
    put(store, k, k)
    return this
  end)
  return proto, method
end

local function iteration(proto, method, class)
  method("clear", 0, function(store)
    for i = 1, store.n do store.keys[i] = GAP end
    store.at, store.size = {}, 0
    pack(store)
  end)
  method("forEach", 1, function(store, this, f, that)
    js.needFunction(f)
    local following = walk(store)
    local found, k, v = following()
    while found do
      f(that, v, k, this)
      found, k, v = following()
    end
  end)
  for _, kind in next, class == "Map" and { "keys", "values", "entries" } or { "values", "entries" } do
    method(kind, 0, function(store) return js.iterator(each(store, kind)) end)
  end
  if class == "Set" then js.defineOwn(proto, "keys", 5, proto.values) end
  local size = js.name(function(this) return storeOf(this, class, "size").size end, "get size", 0)
  js.defineOwn(proto, "size", 4, nil, size, false)
end

local map, mapMethod = keyed("Map")
iteration(map, mapMethod, "Map")
local set, setMethod = single("Set")
iteration(set, setMethod, "Set")
keyed("WeakMap", weakly("as weak map key"))
single("WeakSet", weakly("in weak set"))
