-- Sorting: stable, by merging runs.
local js = require("jsMigration.lua")
local math, type = math, type

local function merge(from, to, low, middle, high, before)
  local i, j = low, middle
  for k = low, high - 1 do
    if i < middle and (j >= high or not before(from[j], from[i])) then
      to[k], i = from[i], i + 1
    else
      to[k], j = from[j], j + 1
    end
  end
end

local function mergeSort(list, n, before)
  for low = 1, n, 8 do
    for i = low + 1, math.min(low + 7, n) do
      local v, j = list[i], i - 1
      while j >= low and before(v, list[j]) do list[j + 1], j = list[j], j - 1 end
      list[j + 1] = v
    end
  end
  local other, width = {}, 8
  while width < n do
    for low = 1, n, 2 * width do
      merge(list, other, low, math.min(low + width, n + 1), math.min(low + 2 * width, n + 1), before)
    end
    list, other, width = other, list, 2 * width
  end
  return list
end

-- The values list[1] .. list[n] in the order that a script's function gives, or that of their texts.
function js.sortList(list, n, f)
  if f then
    return mergeSort(list, n, function(a, b)
      local r = f(nil, a, b)
      if type(r) ~= "number" then r = js.num(r) end
      return r < 0
    end)
  end
  local rows = {}
  for i = 1, n do rows[i] = { js.sortable(js.str(list[i])), list[i] } end
  rows = mergeSort(rows, n, function(a, b) return a[1] < b[1] end)
  for i = 1, n do list[i] = rows[i][2] end
  return list
end
