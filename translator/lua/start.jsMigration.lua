-- The table that the library's files share, how those load that not every script needs, and the prototypes they fill.
local platform = ...
local rawget, rawset, next, setmetatable = rawget, rawset, next, setmetatable
local error, pcall, require, gmatch = error, pcall, require, string.gmatch

-- applyList: functions that can take as a list what Function.prototype.apply gives them, since Lua passes only so many
-- values at once.
local js = { S = "\0s", platform = platform, null = {}, applyList = {} }
for name, f in next, require("text.jsMigration.lua") do js[name] = f end

local pending, loaded = {}, {} -- prototype -> its file, file -> whether it is there
js.loaded = loaded

-- A script may have a function named `type` or `next`, visible to the host as a Lua global: a file that loads later
-- must find Lua's own.
local globals, originals = _G, {}
for name, value in next, globals do originals[name] = value end

function js.load(file)
  if loaded[file] then return end
  loaded[file] = true
  local changed = {}
  for name, value in next, originals do
    local now = rawget(globals, name)
    if now ~= value then
      changed[name] = now
      rawset(globals, name, value)
    end
  end
  local ok, message = pcall(require, file .. ".jsMigration.lua")
  for name, value in next, changed do rawset(globals, name, value) end
  if ok then return end
  loaded[file] = nil -- the stack was full, perhaps; the next one may succeed
  error(message, 0)
end

-- Fills a prototype that is a stub until something reaches it. Gives its shape.
function js.loadStub(proto)
  local file = pending[proto]
  if file then js.load(file) end
  return rawget(proto, "\0s")
end

local function stub(file, parent)
  local proto = {}
  pending[proto] = file
  return setmetatable(proto, {
    js = true, proto = parent,
    __index = function(p, k) js.loadStub(p) return p[k] end,
    __newindex = function(p, k, v) js.loadStub(p) p[k] = v end,
  })
end

js.ObjectProto = stub("object")
-- Function.prototype is a function itself; this holds its properties.
js.FunctionHome = stub("object", js.ObjectProto)
js.ArrayProto, js.StringProto = stub("array", js.ObjectProto), stub("string", js.ObjectProto)
js.NumberProto, js.BooleanProto = stub("number", js.ObjectProto), stub("number", js.ObjectProto)

-- Turns a stub into the prototype object that its file is about to fill.
function js.fillProto(proto, parent, meta)
  pending[proto] = nil
  rawset(proto, "\0s", { keys = {}, pos = {}, n = 0, default = 5, attr = {} })
  return setmetatable(proto, meta or js.metaFor(parent))
end

-- What the files add to js, and which one has it.
local homes = {}
local function provide(file, list) for name in gmatch(list, "%S+") do homes[name] = file end end
provide("error", "newError fromNative describeError")
provide("object", "toObject variable")
provide("iteration", "iterate iterable iterator each entry listOf live tail")
provide("spread", "spread gather field named destructible mix without")
provide("case", "changeCase")
provide("sort", "sortList")
setmetatable(js, { __index = function(_, name)
  if not homes[name] then return nil end
  js.load(homes[name])
  return rawget(js, name)
end })

function js.throwError(kind, message) error(js.newError(kind, message), 0) end
function js.typeError(message) js.throwError("TypeError", message) end

return js
