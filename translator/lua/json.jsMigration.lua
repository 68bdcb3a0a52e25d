-- JSON.
local js = require("jsMigration.lua")
local math = math
local null, str, num, key, typeError = js.null, js.str, js.num, js.key, js.typeError
local type, rawget, tonumber, getmetatable = type, rawget, tonumber, getmetatable
local byte, char, sub, find = string.byte, string.char, string.sub, string.find
local match, gsub, rep, format = string.match, string.gsub, string.rep, string.format
local concat = table.concat
local C, V, O = "\0c", "\0v", js.O

-- Reading.

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

local function readString(text, at)
  local parts, n, from = {}, 0, at + 1
  while true do
    local stop = find(text, '[%z\1-\31"\\]', from)
    if not stop then fail(text, #text + 1) end
    n = n + 1
    parts[n] = sub(text, from, stop - 1)
    local c = byte(text, stop)
    if c == 34 then return n == 1 and parts[1] or concat(parts), stop + 1 end
    if c ~= 92 then fail(text, stop) end
    local e = sub(text, stop + 1, stop + 1)
    if e == "u" then
      local list, count = {}, 0
      repeat
        local hex = match(text, "^\\u(%x%x%x%x)", stop)
        if hex then list[count], count, stop = tonumber(hex, 16), count + 1, stop + 6 end
      until not hex
      if count == 0 then fail(text, match(text, "^%x*()", stop + 2)) end
      n, from = n + 1, stop
      parts[n] = js.encode(list, 0, count - 1)
    else
      if not escapes[e] then fail(text, stop + 1) end
      n, from = n + 1, stop + 2
      parts[n] = escapes[e]
    end
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
  if O.general == O then js.create(o, key(k), v) else o[key(k)] = v end
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

local words = { { "true", true }, { "false", false }, { "null", null } }

function readValue(text, at)
  at = skip(text, at)
  local c = byte(text, at)
  if c == 34 then return readString(text, at)
  elseif c == 123 then return readItems(js.object(), text, at, 125, readProperty)
  elseif c == 91 then return readItems(js.rest(), text, at, 93, readElement)
  end
  for i = 1, 3 do
    local word = words[i][1]
    if c == byte(word) then
      for k = 2, #word do if byte(text, at + k - 1) ~= byte(word, k) then fail(text, at + k - 1) end end
      return words[i][2], at + #word
    end
  end
  local stop = match(text, "^%-?[1-9]%d*()", at) or match(text, "^%-?0()", at)
  if not stop then fail(text, c == 45 and at + 1 or at) end
  if byte(text, stop) == 46 then stop = match(text, "^%.%d+()", stop) or fail(text, stop + 1) end
  if find(text, "^[eE]", stop) then
    stop = match(text, "^.[+-]?%d+()", stop) or fail(text, match(text, "^.[+-]?()", stop))
  end
  return tonumber(sub(text, at, stop - 1)), stop
end

local function revive(holder, k, f)
  local value = holder[k]
  if js.isScriptObject(value) then
    local keys, n = js.ownKeys(value)
    for i = 1, n do
      local k = keys[i]
      local v = revive(value, k, f)
      -- What the reviver has frozen stays as it is.
      if v ~= nil then js.create(value, k, v) elseif (js.own(value, k) or 4) >= 4 then js.delete(value, k) end
    end
  end
  return f(holder, str(k), value)
end

local JSON = js.object()
rawset(JSON, C, "JSON")
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
for letter, c in pairs(escapes) do
  if byte(c) < 32 then quoted[c] = "\\" .. letter end
end
for c = 0, 31 do quoted[char(c)] = quoted[char(c)] or format("\\u%04x", c) end

local function quote(s)
  if find(s, '[%z\1-\31"\\]') then s = gsub(s, '[%z\1-\31"\\]', quoted) end
  if find(s, "\237[\160-\191]") then
    s = gsub(s, "\237([\160-\191])([\128-\191])", function(a, b)
      return format("\\u%04x", 0xD000 + byte(a) % 64 * 64 + byte(b) % 64)
    end)
  end
  return '"' .. s .. '"'
end

local writeValue

local function open(state, value)
  if state.open[value] then typeError("Converting circular structure to JSON") end
  state.open[value] = true
  local outer = state.indent
  state.indent = outer .. state.gap
  return outer
end

local function close(state, value, parts, outer, left, right)
  local text
  if #parts == 0 then text = left .. right
  elseif state.gap == "" then text = left .. concat(parts, ",") .. right
  else
    local line = "\n" .. state.indent
    text = left .. line .. concat(parts, "," .. line) .. "\n" .. outer .. right
  end
  state.open[value], state.indent = nil, outer
  return text
end

local function writeArray(state, value)
  local outer, parts = open(state, value), {}
  for i = 0, value.length - 1 do parts[i + 1] = writeValue(state, value, i) or "null" end
  return close(state, value, parts, outer, "[", "]")
end

local function writeObject(state, value)
  local outer, parts, keys, n = open(state, value), {}, state.list, state.list and #state.list
  if not keys then keys, n = js.ownKeys(value) end
  for i = 1, n do
    local text = writeValue(state, value, keys[i])
    if text then parts[#parts + 1] = quote(str(keys[i])) .. (state.gap == "" and ":" or ": ") .. text end
  end
  return close(state, value, parts, outer, "{", "}")
end

function writeValue(state, holder, k)
  local value = holder[k]
  if type(value) == "table" and value ~= null or type(value) == "function" then
    local toJSON = value.toJSON
    if type(toJSON) == "function" then value = toJSON(value, str(k)) end
  end
  if state.replacer then value = state.replacer(holder, str(k), value) end
  local t = type(value)
  if t == "table" then
    local class = rawget(value, C)
    if class == "Number" then value, t = num(value), "number"
    elseif class == "String" then value, t = str(value), "string"
    elseif class == "Boolean" then value, t = rawget(value, V), "boolean"
    end
  end
  if t == "string" then return quote(value) end
  if t == "number" then return value - value == 0 and str(value) or "null" end
  if t == "boolean" then return value and "true" or "false" end
  if value == null then return "null" end
  if t ~= "table" then return nil end
  local mt = getmetatable(value)
  if mt and mt.array then return writeArray(state, value) end
  return writeObject(state, value)
end

local function gapOf(space)
  local class = type(space) == "table" and rawget(space, C)
  if class == "Number" then space = num(space) elseif class == "String" then space = str(space) end
  if type(space) == "number" then return rep(" ", math.max(0, math.min(10, js.toInteger(space)))) end
  return type(space) == "string" and js.slice(space, 0, math.min(10, js.length(space))) or ""
end

-- The keys that an array as replacer allows, each once.
local function allowed(replacer)
  local list, seen = {}, {}
  for i = 0, replacer.length - 1 do
    local k = replacer[i]
    local class = type(k) == "table" and rawget(k, C)
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
