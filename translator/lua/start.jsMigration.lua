-- The table that the library's files share, how those load that not every script needs, the prototypes they fill, and
-- functions as objects: their properties are kept aside, made when somebody asks for more than Function.prototype has.
local platform = ...
local type, rawget, rawset, next, select, setmetatable = type, rawget, rawset, next, select, setmetatable
local error, require, tonumber, gmatch = error, require, tonumber, string.gmatch
local newThread, resume = coroutine.create, coroutine.resume

-- applyList: functions that can take several arguments as a list, since Lua passes only so many values at once, and a
-- list's not in compiled code.
local js = { S = "\0s", platform = platform, null = {}, applyList = {} }
for name, f in next, require("text.jsMigration.lua") do js[name] = f end

-- Which file has which names of the global object, and which of the library's.
js.files = {}
local homes = {}
local function provide(file, globals, names)
  for name in gmatch(globals, "%S+") do js.files[name] = file end
  for name in gmatch(names, "%S+") do homes[name] = file end
end
provide("object", "Object Function globalThis console", "toObject variable getproto setproto")
provide("array", "Array", "")
provide("string", "String encodeURI encodeURIComponent decodeURI decodeURIComponent escape unescape", "")
provide("number", "Number Boolean Math NaN Infinity isNaN isFinite parseInt parseFloat", "")
provide("json", "JSON", "")
provide("date", "Date", "")
provide("collections", "Map Set WeakMap WeakSet", "")
provide("error", "Error TypeError RangeError ReferenceError SyntaxError EvalError URIError",
  "newError fromNative describeError")
provide("iteration", "",
  "iterate iterable iterator each entry live tail spread apply gather field named destructible mix without")
provide("case", "", "changeCase")
local pending, loaded = {}, {} -- prototype -> its file, file -> whether it is there
js.loaded = loaded

-- A script may have a function named `type` or `next`, visible to the host as a Lua global: a file that loads later
-- must find Lua's own.
local globals, originals = _G, {}
for name, value in next, globals do originals[name] = value end

local function load(file)
  loaded[file] = true
  local changed = {}
  for name, value in next, originals do
    local now = rawget(globals, name)
    if now ~= value then
      changed[name] = now
      rawset(globals, name, value)
    end
  end
  require(file .. ".jsMigration.lua")
  for name, value in next, changed do rawset(globals, name, value) end
end

-- On a stack of its own: where the script's runs out on the way, half a library would be left.
function js.load(file)
  if loaded[file] then return end
  local ok, message = resume(newThread(load), file)
  if ok then return end
  loaded[file] = nil
  error(message, 0)
end

-- Makes a table an object or array. Compiled code must not see which constructor made it: where a loop puts one in the
-- place of another, LuaJIT 2.1.0-beta3 takes fields from the constructor, unchecked, as values of the types that the other
-- had. It cannot know that two variables are the same index.
local box, put, taken = { false }
put, taken = 1, 1
function js.fresh(t, mt)
  box[put] = setmetatable(t, mt)
  return box[taken]
end

setmetatable(js, { __index = function(_, name)
  if not homes[name] then return nil end
  js.load(homes[name])
  return rawget(js, name)
end })
function js.throwError(kind, message) error(js.newError(kind, message), 0) end
function js.typeError(message) js.throwError("TypeError", message) end

-- Prototypes. One is a stub until something reaches it, and then filled.

-- Gives the shape of an object, of a stub that of the prototype that it has become.
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

-- Turns a stub, or an empty table, into the prototype object that its file is about to fill.
function js.fillProto(proto, parent, meta)
  pending[proto] = nil
  rawset(proto, "\0s", { pos = {}, n = 0, attr = {} })
  return setmetatable(proto, meta or js.metaFor(parent))
end

-- Functions. instances: the metatable of what `new` makes, while the prototype stays.
local weak = { __mode = "k" }
local side, construct, names = setmetatable({}, weak), setmetatable({}, weak), setmetatable({}, weak)
local arity, instances = setmetatable({}, weak), setmetatable({}, weak)
js.names, js.construct, js.side, js.instances = names, construct, side, instances
local function FunctionProto() end
js.FunctionProto = FunctionProto
side[FunctionProto], names[FunctionProto], arity[FunctionProto] = js.FunctionHome, "", 0

-- Name, number of parameters and kind of a script's function, from the chunk's table.
local rows
js.lines, js.functions = "", ""
function js.script(lines, functions) js.lines, js.functions = lines, functions end

local function rowAt(line)
  if not rows then
    rows = {}
    for at, name, count, kind in gmatch(js.functions, "(%d+) ([^\n]+) (%d+) (%a)\n") do
      rows[tonumber(at)] = { name == "-" and "" or name, tonumber(count), kind }
    end
  end
  return rows[line]
end

local function signature(f)
  if arity[f] then return names[f], arity[f], "a" end
  local line, parameters = platform.functionInfo(f)
  if not line then return "", 0, "a" end
  local row = rowAt(line)
  if not row then return names[f] or "", parameters > 0 and parameters - 1 or 0, "f" end
  return names[f] or row[1], row[2], row[3]
end
js.signature = signature

-- What begins on a Lua line: the name of a function, and whether it is a part of a try statement.
function js.functionAt(line)
  local row = rowAt(line)
  if row then return row[1], row[3] == "p" end
  return "", false
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
  p = js.fillProto({}, FunctionProto)
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
  if not s.pos[key] then js.append(s, key) end
  s.attr = s.attr or {}
  s.attr[key] = 5
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

-- Defines the constructor of the objects around primitives of a kind, and their valueOf; gives both.
function js.wrapperClass(class, kind, proto, empty, convert)
  local function make(...) if select("#", ...) == 0 then return empty end return convert((...)) end
  js.fillProto(proto, js.ObjectProto)
  rawset(proto, "\0c", class)
  rawset(proto, "\0v", empty)
  local constructor = js.constructor(class, 1, proto, function(_, ...) return make(...) end,
    function(...) return js.toObject(make(...)) end)
  return constructor, js.builtin(proto, "valueOf", 0, function(this)
    if type(this) == kind then return this end
    if js.classOf(this) == class then return rawget(this, "\0v") end
    js.typeError(class .. ".prototype.valueOf requires that 'this' be a " .. class)
  end)
end

return js
