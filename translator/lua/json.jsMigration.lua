-- JSON.
local js = require("jsMigration.lua")
local type, rawget, rawset, tonumber, byte = type, rawget, rawset, tonumber, string.byte
local char, sub, find, match, gsub, rep = string.char, string.sub, string.find, string.match, string.gsub, string.rep
local format, concat, min, max, null, str = string.format, table.concat, math.min, math.max, js.null, js.str
local key, O = js.key, js.O

-- Reading. Each function takes the text and the position where its part begins, and gives what that says and the
-- position behind it.

local escapes = { ['"'] = '"', ["\\"] = "\\", ["/"] = "/", b = "\b", f = "\f", n = "\n", r = "\r", t = "\t" }

local function fail(text, at)
  if at > #text then js.throwError("SyntaxError", "Unexpected end of JSON input") end
  local before = js.length(sub(text, 1, at - 1))
  local what = js.slice(text, before, before + 1)
  js.throwError("SyntaxError", "Unexpected token '" .. what .. "', at position " .. before .. " of the JSON text")
end

local function skip(text, at)
  if (byte(text, at) or 0) > 32 then return at end
  return match(text, "^[ \t\r\n]*()", at)
end

-- Units written as \u, as many as follow one another, so that the halves of a surrogate pair meet.
local function readUnits(text, at)
  local list, n = {}, 0
  repeat
    local hex = match(text, "^\\u(%x%x%x%x)", at)
    if hex then list[n], n, at = tonumber(hex, 16), n + 1, at + 6 end
  until not hex
  if n == 0 then fail(text, match(text, "^%x*()", at + 2)) end
  return js.encode(list, 0, n - 1), at
end

local function readString(text, at)
  local plain, behind = match(text, '^([^"\\%c]*)"()', at + 1)
  if plain then return plain, behind end
  local parts, n, from = {}, 0, at + 1
  while true do
    local stop = find(text, '[%z\1-\31"\\]', from) or fail(text, #text + 1)
    n = n + 1
    parts[n] = sub(text, from, stop - 1)
    local c = byte(text, stop)
    if c == 34 then return js.mend(concat(parts)), stop + 1 end
    if c ~= 92 then fail(text, stop) end
    local e = sub(text, stop + 1, stop + 1)
    n = n + 1
    if e == "u" then parts[n], from = readUnits(text, stop)
    else parts[n], from = escapes[e] or fail(text, stop + 1), stop + 2 end
  end
end

local readValue

local function readElement(a, text, at, n)
  local v, behind = readValue(text, at)
  a[n] = v
  return behind
end

local function readProperty(o, text, at)
  at = skip(text, at)
  if byte(text, at) ~= 34 then fail(text, at) end
  local k, colon = readString(text, at)
  colon = skip(text, colon)
  if byte(text, colon) ~= 58 then fail(text, colon) end
  local v, behind = readValue(text, colon + 1)
  -- With setters on Object.prototype, a plain assignment would find them.
  if O.__index == js.lookup then js.create(o, key(k), v) else o[key(k)] = v end
  return behind
end

-- Fills a holder with what stands between the bracket at this position and the closing one.
local function readItems(holder, text, at, close, readItem)
  local n = 0
  at = skip(text, at + 1)
  if byte(text, at) == close then return holder, at + 1 end
  while true do
    at = skip(text, readItem(holder, text, at, n))
    local c = byte(text, at)
    if c == close then return holder, at + 1 end
    if c ~= 44 then fail(text, at) end
    at, n = at + 1, n + 1
  end
end

local function readWord(text, at, word, value)
  for k = 2, #word do if byte(text, at + k - 1) ~= byte(word, k) then fail(text, at + k - 1) end end
  return value, at + #word
end

local function readNumber(text, at)
  local stop = match(text, "^%-?[1-9]%d*()", at) or match(text, "^%-?0()", at)
    or fail(text, byte(text, at) == 45 and at + 1 or at)
  if byte(text, stop) == 46 then stop = match(text, "^%.%d+()", stop) or fail(text, stop + 1) end
  local c = byte(text, stop)
  if c == 101 or c == 69 then
    stop = match(text, "^.[+-]?%d+()", stop) or fail(text, match(text, "^.[+-]?()", stop))
  end
  local number = sub(text, at, stop - 1)
  return tonumber(number) or js.num(number), stop
end

function readValue(text, at)
  at = skip(text, at)
  local c = byte(text, at)
  if c == 34 then return readString(text, at)
  elseif c == 123 then return readItems(js.object(), text, at, 125, readProperty)
  elseif c == 91 then return readItems(js.rest(), text, at, 93, readElement)
  elseif c == 116 then return readWord(text, at, "true", true)
  elseif c == 102 then return readWord(text, at, "false", false)
  elseif c == 110 then return readWord(text, at, "null", null)
  end
  return readNumber(text, at)
end

local function revive(holder, k, f)
  local value = holder[k]
  if js.isScriptObject(value) then
    local keys, n = js.ownKeys(value)
    for i = 1, n do
      local name = keys[i]
      local v = revive(value, name, f)
      -- What the reviver has frozen stays as it is.
      if v ~= nil then js.create(value, name, v) elseif (js.own(value, name) or 4) >= 4 then js.delete(value, name) end
    end
  end
  return f(holder, str(k), value)
end

local JSON = js.object()
rawset(JSON, "\0c", "JSON")
js.global("JSON", JSON)
js.builtin(JSON, "parse", 2, function(_, x, reviver)
  local text = str(x)
  local value, at = readValue(text, 1)
  at = skip(text, at)
  if at <= #text then fail(text, at) end
  if type(reviver) == "function" then return revive(js.object("", value), "", reviver) end
  return value
end)

-- Writing.

local quoted = { ['"'] = '\\"', ["\\"] = "\\\\" }
for c = 0, 31 do quoted[char(c)] = format("\\u%04x", c) end
for letter, c in pairs(escapes) do if byte(c) < 32 then quoted[c] = "\\" .. letter end end

local function escaped(a, b) return format("\\u%04x", 0xD000 + byte(a) % 64 * 64 + byte(b) % 64) end

local function quote(s)
  if find(s, '[%c"\\\237]') then
    s = gsub(s, '[%c"\\]', quoted)
    s = gsub(s, "\237([\160-\191])([\128-\191])", escaped)
  end
  return '"' .. s .. '"'
end

local writeValue

-- Brackets around parts, each of which has a line of its own when there is a gap.
local function enclosed(state, outer, left, parts, right)
  if #parts == 0 then return left .. right end
  if state.gap == "" then return left .. concat(parts, ",") .. right end
  local line = "\n" .. state.indent
  return left .. line .. concat(parts, "," .. line) .. "\n" .. outer .. right
end

local function writeItems(state, value, isArray)
  if state.open[value] then js.typeError("Converting circular structure to JSON") end
  local outer, parts = state.indent, {}
  state.open[value], state.indent = true, outer .. state.gap
  if isArray then
    for i = 0, value.length - 1 do parts[i + 1] = writeValue(state, value, i) or "null" end
  else
    local keys, n = state.list, state.list and #state.list
    if not keys then keys, n = js.ownKeys(value) end
    for i = 1, n do
      local text = writeValue(state, value, keys[i])
      if text then parts[#parts + 1] = quote(str(keys[i])) .. (state.gap == "" and ":" or ": ") .. text end
    end
  end
  local text = enclosed(state, outer, isArray and "[" or "{", parts, isArray and "]" or "}")
  state.open[value], state.indent = nil, outer
  return text
end

-- What an object around a primitive stands for.
local unwrap = { Number = js.num, String = str, Boolean = function(x) return rawget(x, "\0v") end }
local function unwrapped(x)
  local convert = unwrap[js.classOf(x)]
  if convert then return convert(x) end
  return x
end

function writeValue(state, holder, k)
  local value = holder[k]
  if type(value) == "table" and value ~= null or type(value) == "function" then
    local toJSON = value.toJSON
    if type(toJSON) == "function" then value = toJSON(value, str(k)) end
  end
  if state.replacer then value = state.replacer(holder, str(k), value) end
  if type(value) == "table" then value = unwrapped(value) end
  local t = type(value)
  if t == "string" then return quote(value) end
  if t == "number" then return value - value == 0 and str(value) or "null" end
  if t == "boolean" then return value and "true" or "false" end
  if value == null then return "null" end
  if t ~= "table" then return nil end
  return writeItems(state, value, js.isArray(value))
end

local function gapOf(space)
  space = unwrapped(space)
  if type(space) == "number" then return rep(" ", max(0, min(10, js.toInteger(space)))) end
  return type(space) == "string" and js.slice(space, 0, min(10, js.length(space))) or ""
end

-- The keys that an array as replacer allows, each once.
local function allowed(replacer)
  local list, seen = {}, {}
  for i = 0, replacer.length - 1 do
    local k = replacer[i]
    local class = js.classOf(k)
    if type(k) == "string" or type(k) == "number" or class == "Number" or class == "String" then
      k = key(str(k))
      if not seen[k] then seen[k], list[#list + 1] = true, k end
    end
  end
  return list
end

js.builtin(JSON, "stringify", 3, function(_, value, replacer, space)
  local state = { open = {}, indent = "", gap = gapOf(space) }
  if type(replacer) == "function" then state.replacer = replacer
  elseif js.isArray(replacer) then state.list = allowed(replacer) end
  return writeValue(state, js.object("", value), "")
end)
