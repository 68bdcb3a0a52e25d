-- Map, Set and their weak kin. Entries stand in two lists by insertion; a removed one leaves a gap until the lists are
-- packed, so that a loop that removes what it visits misses nothing.
local js = require("jsMigration.lua")
local null, builtin, typeError = js.null, js.builtin, js.typeError
local type, rawget, setmetatable, next = type, rawget, setmetatable, next
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
  local n = 0
  for i = 1, store.n do
    local k = store.keys[i]
    if k ~= GAP then
      n = n + 1
      store.keys[n], store.values[n] = k, store.values[i]
      store.at[place(k ~= NIL and k or nil)] = n
    end
  end
  for i = n + 1, store.n do store.keys[i], store.values[i] = nil, nil end
  store.n = n
end

local function remove(store, k)
  local p = place(k)
  local i = store.at[p]
  if not i then return false end
  store.at[p], store.keys[i], store.values[i], store.size = nil, GAP, nil, store.size - 1
  if not store.visitors and store.n > 32 and store.size < store.n / 2 then pack(store) end
  return true
end

local function storeOf(this, class, name)
  local store = type(this) == "table" and rawget(this, C) == class and rawget(this, V)
  if not store then
    typeError("Method " .. class .. ".prototype." .. name .. " called on incompatible receiver " .. js.describe(this))
  end
  return store
end

local function each(store, kind)
  local a, n = js.rest(), 0
  for i = 1, store.n do
    local k = store.keys[i]
    if k ~= GAP then
      if k == NIL then k = nil end
      local v = store.values[i]
      if kind == "entries" then a[n] = js.rest(k, v) elseif kind == "keys" then a[n] = k else a[n] = v end
      n = n + 1
    end
  end
  return a
end

function js.collectionValues(o) return each(rawget(o, V), rawget(o, C) == "Map" and "entries" or "values") end

-- Defines a collection; fill takes one item of what the constructor was given.
local function collection(class, fill)
  local proto = {}
  js.fillProto(proto, js.ObjectProto)
  local function refuse() typeError("Constructor " .. class .. " requires 'new'") end
  js.constructor(class, 0, proto, refuse, function(items)
    local store, mt = newStore(), js.metaFor(proto)
    local o = setmetatable({ ["\0s"] = mt.root, [V] = store, [C] = class }, mt)
    if items ~= nil and items ~= null then
      local list = js.values(items)
      for i = 0, list.length - 1 do fill(store, list[i]) end
    end
    return o
  end)
  local function method(name, count, f)
    return builtin(proto, name, count, function(this, ...) return f(storeOf(this, class, name), this, ...) end)
  end
  method("has", 1, function(store, _, k) return store.at[place(k)] ~= nil end)
  method("delete", 1, function(store, _, k) return remove(store, k) end)
  return proto, method
end

local function iteration(proto, method, class)
  method("clear", 0, function(store)
    for i = 1, store.n do store.keys[i], store.values[i] = GAP, nil end
    store.at, store.size = {}, 0
    if not store.visitors then store.keys, store.values, store.n = {}, {}, 0 end
  end)
  method("forEach", 1, function(store, this, f, that)
    if type(f) ~= "function" then typeError(js.describe(f) .. " is not a function") end
    store.visitors = (store.visitors or 0) + 1
    local ok, thrown = js.try(function()
      local i = 1
      while i <= store.n do
        local k = store.keys[i]
        if k ~= GAP then
          if k == NIL then k = nil end
          f(that, store.values[i], k, this)
        end
        i = i + 1
      end
    end)
    store.visitors = store.visitors > 1 and store.visitors - 1 or nil
    if not ok then js.throw(thrown) end
  end)
  for _, kind in next, { "keys", "values", "entries" } do
    method(kind, 0, function(store)
      if class == "Set" and kind == "entries" then
        local a = each(store, "values")
        for i = 0, a.length - 1 do a[i] = js.rest(a[i], a[i]) end
        return js.iterator(a)
      end
      return js.iterator(each(store, kind == "keys" and class == "Set" and "values" or kind))
    end)
  end
  local function size(this) return storeOf(this, class, "size").size end
  js.names[size], js.arity[size] = "get size", 0
  js.defineOwn(proto, "size", 4, nil, size, false)
end

local function putItem(store, k)
  if k == 0 then k = 0 end -- never -0
  put(store, k, k)
end

local function entry(item)
  if not js.isObject(item) then typeError("Iterator value " .. js.str(item) .. " is not an entry object") end
  return item[0], item[1]
end

local map, mapMethod = collection("Map", function(store, item) put(store, entry(item)) end)
mapMethod("get", 1, function(store, _, k) return store.values[store.at[place(k)] or 0] end)
mapMethod("set", 2, function(store, this, k, v) put(store, k, v) return this end)
iteration(map, mapMethod, "Map")

local set, setMethod = collection("Set", putItem)
setMethod("add", 1, function(store, this, k) putItem(store, k) return this end)
iteration(set, setMethod, "Set")

-- The weak kin keep what they are given for as long as they live themselves; scripts cannot tell.
local function needObject(k, what)
  if not js.isObject(k) then typeError("Invalid value used " .. what) end
  return k
end
local _, weakMap = collection("WeakMap", function(store, item)
  local k, v = entry(item)
  put(store, needObject(k, "as weak map key"), v)
end)
weakMap("get", 1, function(store, _, k) return store.values[store.at[place(k)] or 0] end)
weakMap("set", 2, function(store, this, k, v) put(store, needObject(k, "as weak map key"), v) return this end)
local _, weakSet = collection("WeakSet", function(store, item) put(store, needObject(item, "in weak set"), true) end)
weakSet("add", 1, function(store, this, k) put(store, needObject(k, "in weak set"), true) return this end)
