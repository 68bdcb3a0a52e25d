-- What the methods of arrays have in common.
local js = require("jsMigration.lua")
local type, rawget, rawset, getmetatable, setmetatable = type, rawget, rawset, getmetatable, setmetatable
local null, isArray, has, toInteger, typeError, A = js.null, js.isArray, js.has, js.toInteger, js.typeError, js.A
local MAX_SAFE = 9007199254740991

local function tooLong() js.throwError("RangeError", "Invalid array length") end

local function make(n)
  if n > 4294967295 then tooLong() end
  return setmetatable({ length = n }, A)
end

local function lengthOf(o)
  local n = toInteger(o.length)
  return n < 0 and 0 or n < MAX_SAFE and n or MAX_SAFE
end

-- The object to work on and its length.
local function open(this, name)
  if type(this) == "table" and getmetatable(this) == A then return this, this.length end
  if this == nil or this == null then typeError("Array.prototype." .. name .. " called on null or undefined") end
  local o = js.toObject(this)
  return o, lengthOf(o)
end

-- Whether o has an element, and its value.
local function element(o, i)
  if type(o) == "table" then
    local v = rawget(o, i)
    if v ~= nil then return true, v end
  end
  if has(i, o) then return true, o[i] end
  return false
end

-- The array that a method of o fills.
local function derived(o, n)
  local c
  if isArray(o) then c = o.constructor end
  if c ~= nil and not js.isObject(c) then typeError(js.str(c) .. " is not a constructor") end
  return make(n)
end

-- A copy without holes.
local function dense(o, n)
  local a = make(n)
  for i = 0, n - 1 do rawset(a, i, o[i]) end
  return a
end

return { tooLong = tooLong, make = make, lengthOf = lengthOf, open = open, element = element,
  derived = derived, dense = dense }
