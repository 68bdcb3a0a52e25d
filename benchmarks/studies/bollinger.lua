-- Bollinger bands: an average and its standard deviations.
function indicator(profile)
  profile:setName("Bollinger bands")
  profile.parameters:addInteger("N", "Periods", 20, 2, 1000)
  profile.parameters:addDouble("K", "Deviations", 2, 0.1, 10)
end

local sqrt = math.sqrt
local bands = {}
function prepare(instance, nameOnly)
  bands.upper = instance:addStream("UP", "Upper")
  bands.middle = instance:addStream("MID", "Middle")
  bands.lower = instance:addStream("LOW", "Lower")
end

function update(instance, period, mode)
  local n, k, close = instance.parameters.N, instance.parameters.K, instance.source.close
  if period < n - 1 then return end
  local sum = 0
  for i = period - n + 1, period do sum = sum + close[i] end
  local mean = sum / n
  local squares = 0
  for i = period - n + 1, period do
    local d = close[i] - mean
    squares = squares + d * d
  end
  local width = k * sqrt(squares / n)
  bands.upper[period] = mean + width
  bands.middle[period] = mean
  bands.lower[period] = mean - width
end
