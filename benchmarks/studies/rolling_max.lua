-- The highest high of the last bars, with a queue of candidates.
function indicator(profile)
  profile:setName("Rolling maximum")
  profile.parameters:addInteger("N", "Periods", 50, 1, 1000)
end

local highest
local queue, head, tail = {}, 1, 0
function prepare(instance, nameOnly)
  highest = instance:addStream("MAX", "Highest")
end

function update(instance, period, mode)
  local n, high = instance.parameters.N, instance.source.high
  while tail >= head and high[queue[tail]] <= high[period] do
    queue[tail] = nil
    tail = tail - 1
  end
  tail = tail + 1
  queue[tail] = period
  if queue[head] <= period - n then head = head + 1 end
  if head > 1000 then
    local kept = 0
    for i = head, tail do
      kept = kept + 1
      queue[kept] = queue[i]
    end
    for i = kept + 1, tail do queue[i] = nil end
    head, tail = 1, kept
  end
  if period >= n - 1 then highest[period] = high[queue[head]] end
end
