-- Average true range.
function indicator(profile)
  profile:setName("ATR")
  profile.parameters:addInteger("N", "Periods", 14, 1, 1000)
end

local max, abs = math.max, math.abs
local atr
function prepare(instance, nameOnly)
  atr = instance:addStream("ATR", "ATR")
end

local function trueRange(source, period)
  local high, low = source.high[period], source.low[period]
  if period == 0 then return high - low end
  local last = source.close[period - 1]
  return max(high - low, abs(high - last), abs(low - last))
end

function update(instance, period, mode)
  local n, range = instance.parameters.N, trueRange(instance.source, period)
  atr[period] = period == 0 and range or (atr[period - 1] * (n - 1) + range) / n
end
