-- Three simple moving averages.
function indicator(profile)
  profile:setName("Moving averages")
  profile.parameters:addInteger("N", "Periods", 20, 1, 1000)
end

local short, middle, long
function prepare(instance, nameOnly)
  short = instance:addStream("S", "Short")
  middle = instance:addStream("M", "Middle")
  long = instance:addStream("L", "Long")
end

local function mean(values, period, n)
  local sum = 0
  for i = 0, n - 1 do sum = sum + values[period - i] end
  return sum / n
end

function update(instance, period, mode)
  local n, close = instance.parameters.N, instance.source.close
  if period >= n - 1 then short[period] = mean(close, period, n) end
  if period >= 2 * n - 1 then middle[period] = mean(close, period, 2 * n) end
  if period >= 4 * n - 1 then long[period] = mean(close, period, 4 * n) end
end
