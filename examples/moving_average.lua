-- The mean of the last N closing prices: moving_average.jsl in Lua.
function indicator(profile)
  profile:setName("Moving average")
  profile:setDescription("The mean of the last N closing prices")
  profile.parameters:addInteger("N", "Periods", 14, 1, 1000)
end

local average

function prepare(instance, nameOnly)
  average = instance:addStream("MA", "Average")
end

function update(instance, period, mode)
  local n, close = instance.parameters.N, instance.source.close
  if period < n - 1 then return end
  local sum = 0
  for i = 0, n - 1 do sum = sum + close[period - i] end
  average[period] = sum / n
end
