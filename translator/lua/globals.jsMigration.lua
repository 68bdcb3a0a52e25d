-- The global object: built-in names, what the host offers, what the script defines.
local js = require("keys.jsMigration.lua")
local hostGlobals, type, rawget, rawset, select, setmetatable = _G, type, rawget, rawset, select, setmetatable
local find, gmatch, gsub, concat, throwError = string.find, string.gmatch, string.gsub, table.concat, js.throwError

local G = {}
js.G = G
local files, defined = js.files, { undefined = true }

-- Lua's own names are none of JavaScript's.
local luaNames = {}
for name in gmatch([[_G _VERSION assert bit collectgarbage coroutine debug dofile error getfenv getmetatable io ipairs
    jit load loadfile loadstring math module newproxy next os package pairs pcall print rawequal rawget rawlen rawset
    require select setfenv setmetatable string table tonumber tostring type unpack utf8 xpcall]], "%S+") do
  luaNames[name] = true
end

local function wrap(name, f)
  if name == "log" then
    return function(_, ...)
      local texts = { ... }
      for i = 1, select("#", ...) do texts[i] = js.str(texts[i]) end
      local text = concat(texts, " ")
      -- Half a surrogate pair is no character: shown as JavaScript's consoles do.
      return f(find(text, "\237[\160-\191]") and gsub(text, "\237[\160-\191].", "\239\191\189") or text)
    end
  end
  return function(_, ...) return f(...) end
end

local function builtinGlobal(name)
  local v = rawget(G, name)
  if v ~= nil then return v, true end
  if defined[name] then return nil, true end
  local file = files[name]
  if file and not js.loaded[file] then js.load(file) return builtinGlobal(name) end
  v = not luaNames[name] and rawget(hostGlobals, name) or nil
  if type(v) == "function" then
    v = wrap(name, v)
    rawset(G, name, v)
  end
  return v, v ~= nil
end
js.builtinGlobal = builtinGlobal

-- Whatever a script put into the global object, which nobody has touched before its file is loaded.
local function findGlobal(name)
  local v, found = builtinGlobal(name)
  if found or not js.loaded.object then return v, found end
  if js.has(name, G.globalThis) then return G.globalThis[name], true end
  return nil, false
end

js.global = function(name, value)
  defined[name] = true
  rawset(G, name, value)
end

function js.removeGlobal(name)
  files[name], defined[name], luaNames[name] = nil, nil, true
  rawset(G, name, nil)
  return true
end

setmetatable(G, {
  __index = function(_, name)
    local v, found = findGlobal(name)
    if not found then throwError("ReferenceError", name .. " is not defined") end
    return v
  end,
  __newindex = function(_, name, v)
    if not select(2, findGlobal(name)) then throwError("ReferenceError", name .. " is not defined") end
    G.globalThis[name] = v
  end,
})

function js.typeofglobal(name) return js.typeof((findGlobal(name))) end

-- Nothing is an instance of a class that is not there.
function js.instanceofglobal(v, name)
  local class = findGlobal(name)
  return class ~= nil and js["instanceof"](v, class)
end

return js
