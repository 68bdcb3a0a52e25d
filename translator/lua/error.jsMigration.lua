-- Error and its kin, and how what Lua or the host raises becomes one of them.
local js = require("jsMigration.lua")
local table, ipairs, pcall, type, getmetatable = table, ipairs, pcall, type, getmetatable
local rawget, rawset, tonumber, tostring, match = rawget, rawset, tonumber, tostring, string.match
local gmatch, find, gsub, platform, str = string.gmatch, string.find, string.gsub, js.platform, js.str
local defineOwn = js.defineOwn
local FRAMES, protos = "\0f", {}

local withMessage = js.shape("message")
withMessage.attr = { message = 5 }

local function create(proto, message)
  local e = js.instance(proto, "Error")
  rawset(e, FRAMES, platform.frames())
  if message ~= nil then
    rawset(e, "message", str(message))
    rawset(e, js.S, withMessage)
  end
  return e
end
function js.newError(name, message) return create(protos[name], message) end

-- Defines an error class; gives its constructor and its prototype.
local function kind(name, parent)
  local proto = js.fillProto({}, parent)
  protos[name] = proto
  local function make(message, options)
    local e = create(proto, message)
    if js.isScriptObject(options) and js.has("cause", options) then defineOwn(e, "cause", 5, options.cause) end
    return e
  end
  local constructor = js.constructor(name, 1, proto, function(_, ...) return make(...) end, make)
  defineOwn(proto, "name", 5, name)
  defineOwn(proto, "message", 5, "")
  return constructor, proto
end

local Error, ErrorProto = kind("Error", js.ObjectProto)
for name in gmatch("TypeError RangeError ReferenceError SyntaxError EvalError URIError", "%S+") do
  js.setProto(kind(name, ErrorProto), Error)
end

local function header(e)
  local name, message = js.lookup(e, "name"), js.lookup(e, "message")
  name = name == nil and "Error" or str(name)
  message = message == nil and "" or str(message)
  if name == "" or message == "" then return name .. message end
  return name .. ": " .. message
end

js.builtin(ErrorProto, "toString", 0, function(this)
  if not js.isScriptObject(this) then js.typeError("Error.prototype.toString requires that 'this' be a JSReceiver") end
  return header(this)
end)

-- Stacks.

-- The JavaScript line of each Lua line, decoded when the first stack is read.
local decoded
local function sourceLine(line)
  if not decoded then
    local n = 0
    decoded = {}
    for row in gmatch(js.lines, "[^\n]+") do decoded[n], n = tonumber(match(row, "%d+")), n + 1 end
  end
  return decoded[line] or line
end

-- A JavaScript name as the translator had to change it for Lua.
local function original(name) return (gsub(gsub(name, "ʹ%d*", ""), "＄", "$")) end

-- The frames by their functions' own names, if they have one. A part of a try statement is a Lua function too: it and
-- the function around it are one frame.
local function folded(frames)
  local list, partAt = {}, nil
  for at, defined, called in gmatch(frames, "(%d+) (%d+) (%Z*)%z") do
    at, defined = tonumber(at), tonumber(defined)
    local name, isPart = js.functionAt(defined)
    -- Lua goes by what the function was called as, which may be a name of the library's.
    if name == "" and rawget(js, called) == nil then name = called end
    if at ~= 0 then at = partAt or at end
    partAt = isPart and at or nil
    if not isPart then list[#list + 1] = { line = at, name = original(name), main = defined == 0 } end
  end
  return list
end

local function stack(e)
  local lines = { header(e) }
  for _, frame in ipairs(folded(e[FRAMES])) do
    -- The host leaves out the middle of a very deep stack, and marks it by line 0.
    local at = frame.line == 0 and "..." or platform.file .. ":" .. sourceLine(frame.line)
    if frame.name ~= "" then at = frame.name .. " (" .. at .. ")" end
    lines[#lines + 1] = "    at " .. at
  end
  return table.concat(lines, "\n")
end

defineOwn(ErrorProto, "stack", 5, nil, function(this)
  return type(this) == "table" and rawget(this, FRAMES) and stack(this) or nil
end, function(this, v) defineOwn(this, "stack", 5, v) end)

js.builtin(Error, "captureStackTrace", 1, function(_, o)
  if not js.isScriptObject(o) then js.typeError("Invalid argument: captureStackTrace needs an object") end
  rawset(js.home(o), FRAMES, platform.frames())
  defineOwn(o, "stack", 5, stack(js.home(o)))
end)

-- What Lua or the host raises.

-- Limits of Lua's that a script can reach, as its author knows them.
local LIMITS = {
  ["loop in gettable"] = "An object with more than 100 prototypes above it is not supported",
  ["loop in settable"] = "An object with more than 100 prototypes above it is not supported",
  ["string length overflow"] = "Invalid string length",
  ["table overflow"] = "Invalid array length",
}

-- Lua's names of what JavaScript calls otherwise.
local NAMES = { ["nil"] = "undefined", ["no value"] = "undefined", table = "an object" }

-- The name and text of the JavaScript error that stands for its message.
local function translate(text)
  if find(text, "stack overflow", 1, true) or find(text, "error in error handling", 1, true) then
    return "RangeError", "Maximum call stack size exceeded"
  end
  text = match(text, "^[^\n]-:%d+: (.*)$") or text
  if LIMITS[text] then return "RangeError", LIMITS[text] end
  local place, method, wanted, got = match(text, "^bad argument #(%d+) to '([^']*)' %((%a+) expected, got (.*)%)$")
  if place then
    return "TypeError", method .. ": argument " .. place .. " must be a " .. wanted .. ", not " .. (NAMES[got] or got)
  end
  local at, name, rule = match(text, "^bad argument #(%d+) to '([^']*)' %((.*)%)$")
  if at then return "RangeError", name .. ": argument " .. at .. ": " .. rule end
  local operand = match(text, "^attempt to perform arithmetic on (.*)$")
  if operand then
    local name = match(operand, "'([^']*)'")
    return "TypeError", js.notNumber(name and original(name))
  end
  local called = match(text, "^attempt to call %S+ '([^']*)' %(an? [%w ]+ value%)")
  if called then return "TypeError", original(called) .. " is not a function" end
  local value = match(text, "^attempt to call an? ([%w ]+) value")
  if value then return "TypeError", (NAMES[value] or value) .. " is not a function" end
  return find(text, "^attempt to ") and "TypeError" or "Error", text
end

-- The box around a thrown primitive, an object thrown as it is, or an Error for what Lua or the host raised.
function js.fromNative(e)
  if type(e) == "table" then return e end
  return js.newError(translate(tostring(e)))
end

-- A character that nobody sees.
local JOINER = "\226\129\160"

-- What the host shows of an error that left the script: its text and its frames, by default those it was raised in.
function js.describeError(value, frames)
  if type(value) ~= "table" then
    local name, message = translate(tostring(value))
    return name .. ": " .. message, folded(frames)
  end
  frames = rawget(value, FRAMES) or frames
  if getmetatable(value) == js.Box then value = value.value end
  local ok, text = pcall(str, value)
  if text == "[object Object]" then
    local isPlain, json = pcall(js.G.JSON.stringify, nil, value)
    text = isPlain and json or text
  end
  -- In what leaves the script, the numbers behind a script's name are taken for Lua's lines: these are none.
  text = ok and gsub(text, "(%.jsl):", "%1" .. JOINER .. ":") or "Uncaught exception"
  return text, folded(frames)
end
