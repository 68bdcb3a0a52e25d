-- Date. The local time zone is UTC, so each local method is its UTC twin.
local js = require("jsMigration.lua")
local math, string, unpack = math, string, unpack
local num, str, toInteger, builtin, typeError = js.num, js.str, js.toInteger, js.builtin, js.typeError
local type, rawget, rawset, select, tonumber = type, rawget, rawset, select, tonumber
local floor, abs, format, match, find, sub = math.floor, math.abs, string.format, string.match, string.find, string.sub
local NaN = 0 / 0
local V, C = "\0v", "\0c"
local MS_PER_DAY = 86400000
local DAYS = { [0] = "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" }
local MONTHS = { [0] = "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" }

-- Days since 1970 of a proleptic Gregorian date; the year is counted from March, so that the leap day comes last.
local function dayNumber(year, month)
  year = year + floor(month / 12)
  month = month % 12
  if month < 2 then year, month = year - 1, month + 12 end
  local leapDays = floor(year / 4) - floor(year / 100) + floor(year / 400)
  return 365 * year + leapDays + floor((153 * (month - 2) + 2) / 5) - 719468
end

local function civil(day)
  local z = day + 719468
  local era = floor(z / 146097)
  local doe = z - era * 146097
  local yoe = floor((doe - floor(doe / 1460) + floor(doe / 36524) - floor(doe / 146096)) / 365)
  local doy = doe - (365 * yoe + floor(yoe / 4) - floor(yoe / 100))
  local mp = floor((5 * doy + 2) / 153)
  local month = mp < 10 and mp + 2 or mp - 10
  return yoe + era * 400 + (month < 2 and 1 or 0), month, doy - floor((153 * mp + 2) / 5) + 1
end

-- The fields of a time: year, month, day, hours, minutes, seconds, milliseconds, weekday.
local function fields(t)
  local day = floor(t / MS_PER_DAY)
  local ms = t - day * MS_PER_DAY
  local year, month, date = civil(day)
  return year, month, date, floor(ms / 3600000), floor(ms / 60000) % 60, floor(ms / 1000) % 60, ms % 1000, (day + 4) % 7
end

local function compose(year, month, date, hours, minutes, seconds, ms)
  local check = year + month + date + hours + minutes + seconds + ms
  if check - check ~= 0 then return NaN end
  local trunc = toInteger
  local day = dayNumber(trunc(year), trunc(month)) + trunc(date) - 1
  return day * MS_PER_DAY + trunc(hours) * 3600000 + trunc(minutes) * 60000 + trunc(seconds) * 1000 + trunc(ms)
end

local function clip(t)
  if t ~= t or abs(t) > 8.64e15 then return NaN end
  return toInteger(t) + 0
end

-- Reading.

-- The time of fields that were read, or NaN when no date has them. Months count from 0; the zone is in minutes.
local function timeOf(year, month, date, h, min, sec, ms, zone)
  if month < 0 or month > 11 or date < 1 or date > 31 then return NaN end
  if h > 24 or h == 24 and min + sec + ms > 0 or min > 59 or sec > 59 then return NaN end
  return compose(year, month, date, h, min - zone, sec, ms)
end

local function zoneOf(sign, h, m) return (sign == "-" and -1 or 1) * ((tonumber(h) or 0) * 60 + (tonumber(m) or 0)) end

local function parseIso(s)
  local sign, year, rest = match(s, "^([+-])(%d%d%d%d%d%d)(.*)$")
  if not year then year, rest = match(s, "^(%d%d%d%d)(.*)$") end
  if not year or sign == "-" and year == "000000" then return nil end
  -- Takes the next digits where the text goes on with some.
  local function take(pattern)
    local digits, more = match(rest, "^" .. pattern .. "(.*)$")
    if digits then rest = more end
    return digits
  end
  local month = take("%-(%d%d)")
  local date = month and take("%-(%d%d)")
  local h = take("[T ](%d%d)")
  local min = h and take(":(%d%d)")
  local sec = min and take(":(%d%d)")
  local fraction = sec and take("[.,](%d+)")
  local zone = 0
  if min and rest ~= "" and rest ~= "Z" then
    local zsign, zh, zm = match(rest, "^([+-])(%d%d):?(%d%d)$")
    if not zh then return nil end
    zone = zoneOf(zsign, zh, zm)
  elseif not min and (h or rest ~= "") then
    return nil
  end
  local ms = floor(tonumber("0." .. (fraction or "0")) * 1000 + 1e-7)
  return timeOf(tonumber(sign == "-" and -year or year), tonumber(month or 1) - 1, tonumber(date or 1),
    tonumber(h or 0), tonumber(min or 0), tonumber(sec or 0), ms, zone)
end

local function monthOf(word)
  for i = 0, 11 do if string.lower(sub(word, 1, 3)) == string.lower(MONTHS[i]) then return i end end
end

-- Year, month, date and what follows them: "1/31/1970", "1970-1-31", "Thu Jan 01 1970", "1 Jan 1970".
local function wordsOfDate(s)
  local a, b, c, rest = match(s, "^%s*(%d+)[/-](%d+)[/-](%d+)(.*)$")
  if a and #a <= 2 then return tonumber(c), a - 1, tonumber(b), rest end
  if a then return tonumber(a), b - 1, tonumber(c), rest end
  s = string.gsub(s, "^%s*%a+,?%s+(%a+)", "%1")
  s = string.gsub(s, "^%s*%a+,%s*(%d)", "%1")
  local word, date, year, tail = match(s, "^%s*(%a+)%.?%s+(%d+),?%s+(%-?%d+)(.*)$")
  if not word then date, word, year, tail = match(s, "^%s*(%d+)[%s-]+(%a+)[%s,-]+(%-?%d+)(.*)$") end
  return tonumber(year), word and monthOf(word), tonumber(date), tail
end

-- A date as above, then perhaps a time: "00:00", "12:00:30 PM", "00:00:00 GMT+0000 (a name)".
local function parseWords(s)
  local year, month, date, rest = wordsOfDate((string.gsub(s, "%b()", "")))
  if not month then return NaN end
  if year >= 0 and year < 50 then year = year + 2000 elseif year >= 50 and year < 100 then year = year + 1900 end
  local h, min, tail = match(rest, "^[%s,T]*(%d+):(%d+)(.*)$")
  local sec, more = match(tail or "", "^:(%d+)(.*)$")
  tail = more or tail or rest
  local half = h and match(tail, "^%s*([AaPp])[Mm]")
  if half then h, tail = h % 12 + (find(half, "[Pp]") and 12 or 0), string.gsub(tail, "^%s*%a%a", "") end
  local word, zsign, zh, zm = match(tail, "^%s*(%a*)([+-]?)(%d?%d?):?(%d?%d?)%s*$")
  if not word or word ~= "" and word ~= "GMT" and word ~= "UTC" and word ~= "Z" then return NaN end
  local zone = zsign ~= "" and zoneOf(zsign, zh, zm) or 0
  return timeOf(year, month, date, tonumber(h or 0), tonumber(min or 0), tonumber(sec or 0), 0, zone)
end

local function parse(s) return clip(parseIso(s) or parseWords(s)) end

-- Construction.

local DateProto = {}
js.fillProto(DateProto, js.ObjectProto)

-- Year and month given, the rest by default; years 0 to 99 are those of the twentieth century.
local function fromParts(...)
  local parts = { 0, 0, 1, 0, 0, 0, 0 }
  for i = 1, math.min(7, select("#", ...)) do parts[i] = num((select(i, ...))) end
  local year = parts[1]
  if year == year and toInteger(year) >= 0 and toInteger(year) <= 99 then parts[1] = 1900 + toInteger(year) end
  return clip(compose(unpack(parts, 1, 7)))
end

local function now() return floor(js.platform.now()) end

local function construct(...)
  local n, t = select("#", ...), ...
  if n == 0 then t = now()
  elseif n > 1 then t = fromParts(...)
  elseif type(t) == "table" and rawget(t, C) == "Date" then t = rawget(t, V)
  else
    t = js.primitive(t)
    t = type(t) == "string" and parse(t) or clip(num(t))
  end
  return js.instance(DateProto, "Date", t)
end

local Date = js.constructor("Date", 7, DateProto, function() return DateProto.toString(construct()) end, construct)
builtin(Date, "now", 0, now)
builtin(Date, "parse", 1, function(_, s) return parse(str(s)) end)
builtin(Date, "UTC", 7, function(_, ...)
  if select("#", ...) == 0 then return NaN end
  return fromParts(...)
end)

-- Methods.

local function thisTime(this)
  if type(this) ~= "table" or rawget(this, C) ~= "Date" then typeError("this is not a Date object.") end
  return rawget(this, V)
end

local function method(name, count, f)
  builtin(DateProto, name, count, function(this, ...) return f(thisTime(this), this, ...) end)
end

method("valueOf", 0, function(t) return t end)
method("getTime", 0, function(t) return t end)
method("getTimezoneOffset", 0, function(t) return t == t and 0 or NaN end)
method("setTime", 1, function(_, this, t)
  rawset(this, V, clip(num(t)))
  return rawget(this, V)
end)

-- Field name, its place in fields(), how many fields its setter takes (none: no setter).
for _, row in ipairs({ { "FullYear", 1, 3 }, { "Month", 2, 2 }, { "Date", 3, 1 }, { "Hours", 4, 4 },
  { "Minutes", 5, 3 }, { "Seconds", 6, 2 }, { "Milliseconds", 7, 1 }, { "Day", 8 } }) do
  local name, place, count = row[1], row[2], row[3]
  for _, prefix in ipairs({ "", "UTC" }) do
    method("get" .. prefix .. name, 0, function(t)
      if t ~= t then return NaN end
      return (select(place, fields(t)))
    end)
    if count then
      method("set" .. prefix .. name, count, function(t, this, ...)
        local given = math.min(count, select("#", ...))
        local values = { ... }
        for i = 1, math.max(given, 1) do values[i] = num(values[i]) end
        if t ~= t then
          if place > 1 then return NaN end
          t = 0
        end
        local parts = { fields(t) }
        for i = 1, math.max(given, 1) do parts[place + i - 1] = values[i] end
        rawset(this, V, clip(compose(unpack(parts, 1, 7))))
        return rawget(this, V)
      end)
    end
  end
end

method("getYear", 0, function(t) return t == t and fields(t) - 1900 or NaN end)

-- Writing.

local function yearText(year) return year < 0 and format("-%04d", -year) or format("%04d", year) end

local function dateText(t)
  local year, month, date, _, _, _, _, day = fields(t)
  return format("%s %s %02d %s", DAYS[day], MONTHS[month], date, yearText(year))
end

local function timeText(t)
  local _, _, _, h, m, s = fields(t)
  return format("%02d:%02d:%02d GMT+0000 (Coordinated Universal Time)", h, m, s)
end

local function writer(name, f) method(name, 0, function(t) return t == t and f(t) or "Invalid Date" end) end
writer("toString", function(t) return dateText(t) .. " " .. timeText(t) end)
writer("toDateString", dateText)
writer("toTimeString", timeText)
writer("toUTCString", function(t)
  local year, month, date, h, m, s, _, day = fields(t)
  return format("%s, %02d %s %s %02d:%02d:%02d GMT", DAYS[day], date, MONTHS[month], yearText(year), h, m, s)
end)
js.defineOwn(DateProto, "toGMTString", 5, DateProto.toUTCString)

local function localeDate(t)
  local year, month, date = fields(t)
  return month + 1 .. "/" .. date .. "/" .. year
end
local function localeTime(t)
  local _, _, _, h, m, s = fields(t)
  return format("%d:%02d:%02d %s", (h + 11) % 12 + 1, m, s, h < 12 and "AM" or "PM")
end
writer("toLocaleDateString", localeDate)
writer("toLocaleTimeString", localeTime)
writer("toLocaleString", function(t) return localeDate(t) .. ", " .. localeTime(t) end)

method("toISOString", 0, function(t)
  if t ~= t then js.throwError("RangeError", "Invalid time value") end
  local year, month, date, h, m, s, ms = fields(t)
  local text = format("%04d", year)
  if year < 0 or year > 9999 then text = format("%s%06d", year < 0 and "-" or "+", abs(year)) end
  return format("%s-%02d-%02dT%02d:%02d:%02d.%03dZ", text, month + 1, date, h, m, s, ms)
end)

builtin(DateProto, "toJSON", 1, function(this)
  local v = js.primitive(this, "number")
  if type(v) == "number" and v - v ~= 0 then return js.null end
  return this:toISOString()
end)
