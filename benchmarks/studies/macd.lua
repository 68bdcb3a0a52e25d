-- Moving average convergence and divergence.
function indicator(profile)
  profile:setName("MACD")
  profile.parameters:addInteger("FAST", "Fast periods", 12, 1, 1000)
  profile.parameters:addInteger("SLOW", "Slow periods", 26, 1, 1000)
  profile.parameters:addInteger("SIGNAL", "Signal periods", 9, 1, 1000)
end

-- An exponential average, as an object with a method.
local Average = {}
Average.__index = Average
function Average.new(periods)
  return setmetatable({factor = 2 / (periods + 1)}, Average)
end
function Average:add(price)
  if self.value == nil then
    self.value = price
  else
    self.value = self.value + self.factor * (price - self.value)
  end
  return self.value
end

local macd, signal, histogram, fast, slow, smooth
function prepare(instance, nameOnly)
  macd = instance:addStream("MACD", "MACD")
  signal = instance:addStream("SIGNAL", "Signal")
  histogram = instance:addStream("HIST", "Histogram")
  local p = instance.parameters
  fast = Average.new(p.FAST)
  slow = Average.new(p.SLOW)
  smooth = Average.new(p.SIGNAL)
end

function update(instance, period, mode)
  local price = instance.source.close[period]
  local difference = fast:add(price) - slow:add(price)
  local line = smooth:add(difference)
  macd[period] = difference
  signal[period] = line
  histogram[period] = difference - line
end
