-- Functions as objects: their properties are kept aside, made when somebody asks for more than Function.prototype has.
local js = require("start.jsMigration.lua")
local platform = js.platform
local type, rawset, select, tonumber, setmetatable = type, rawset, select, tonumber, setmetatable
local gmatch = string.gmatch
local weak = { __mode = "k" }
local side, construct = setmetatable({}, weak), setmetatable({}, weak)
local names, arity = setmetatable({}, weak), setmetatable({}, weak)
local instances = setmetatable({}, weak) -- function -> metatable of what `new` makes, while its prototype stays
js.names, js.arity, js.construct, js.side, js.instances = names, arity, construct, side, instances

local function FunctionProto() end
js.FunctionProto = FunctionProto
side[FunctionProto], names[FunctionProto], arity[FunctionProto] = js.FunctionHome, "", 0

-- Name, number of parameters and kind of a script's function, from the chunk's table.
local scripts, rows = {}, nil
js.scripts = scripts

function js.script(describe)
  local frame = platform.frames()[1]
  scripts[frame and frame.file or ""] = describe
  scripts.last, rows = describe, nil
end

local function readRows()
  rows = {}
  local listing = scripts.last and select(2, scripts.last()) or ""
  for at, name, count, kind in gmatch(listing, "(%d+) ([^\n]+) (%d+) (%a)\n") do
    rows[tonumber(at)] = { name == "-" and "" or name, tonumber(count), kind }
  end
end

local function signature(f)
  if arity[f] then return names[f], arity[f], "a" end
  local line, parameters = platform.functionInfo(f)
  if not line then return "", 0, "a" end
  if not rows then readRows() end
  local row = rows[line]
  if not row then return names[f] or "", parameters > 0 and parameters - 1 or 0, "f" end
  return names[f] or row[1], row[2], row[3]
end
js.signature = signature

-- Whether a part of a try statement begins on a Lua line.
function js.isPartAt(line)
  if not rows then readRows() end
  return rows[line] ~= nil and rows[line][3] == "p"
end

function js.isConstructor(f)
  if type(f) ~= "function" then return false end
  return construct[f] ~= nil or select(3, signature(f)) == "f"
end

local prototypeShape
-- The table that holds a function's properties.
function js.props(f)
  local p = side[f]
  if p then return p end
  p = setmetatable({ ["\0s"] = { keys = {}, pos = {}, n = 0, attr = {} } }, js.metaFor(FunctionProto))
  side[f] = p
  local name, count, kind = signature(f)
  js.defineOwn(p, "length", 4, count)
  js.defineOwn(p, "name", 4, name)
  if kind == "f" then
    if not prototypeShape then
      prototypeShape = js.shape("constructor")
      prototypeShape.attr = { constructor = 5 }
    end
    js.defineOwn(p, "prototype", 1, setmetatable({ constructor = f, ["\0s"] = prototypeShape }, js.O))
  end
  return p
end

-- The table that holds o's properties: o itself, but for functions.
function js.home(o) return type(o) == "function" and js.props(o) or o end

-- Built-in functions.

-- Names one that is no property of anything, or not yet.
local function name(f, text, count)
  names[f], arity[f] = text, count
  return f
end
js.name = name

-- Defines one as a hidden property of target.
function js.builtin(target, key, count, f)
  local home = js.home(target)
  local s = js.ownShape(home)
  if s.pos[key] == nil then js.append(s, key) end
  s.attr = s.attr or {}
  s.attr[key] = s.default == nil and 5 or nil
  rawset(home, key, f)
  return name(f, key, count)
end

-- Defines hidden constants of a built-in object or function, names and values in turn, which nobody can change.
function js.constants(target, ...)
  for i = 1, select("#", ...), 2 do js.defineOwn(target, (select(i, ...)), 0, (select(i + 1, ...))) end
end

-- Defines a function of the global object.
function js.globalFunction(text, count, f) js.global(text, name(f, text, count)) end

-- Defines a global constructor: call is the function itself, make what `new` does in its place.
function js.constructor(text, count, proto, call, make)
  construct[call] = make
  js.globalFunction(text, count, call)
  js.defineOwn(call, "prototype", 0, proto)
  js.builtin(proto, "constructor", count, call)
  return name(call, text, count)
end

return js
