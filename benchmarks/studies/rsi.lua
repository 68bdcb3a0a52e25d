-- Relative strength index with smoothed averages.
function indicator(profile)
  profile:setName("RSI")
  profile.parameters:addInteger("N", "Periods", 14, 1, 1000)
end

local rsi
local gain, loss = 0, 0
function prepare(instance, nameOnly)
  rsi = instance:addStream("RSI", "RSI")
end

function update(instance, period, mode)
  if period == 0 then return end
  local n, close = instance.parameters.N, instance.source.close
  local change = close[period] - close[period - 1]
  local up = change > 0 and change or 0
  local down = change < 0 and -change or 0
  if period <= n then
    gain = gain + up / n
    loss = loss + down / n
  else
    gain = (gain * (n - 1) + up) / n
    loss = (loss * (n - 1) + down) / n
  end
  if period >= n then rsi[period] = loss == 0 and 100 or 100 - 100 / (1 + gain / loss) end
end
