-- Date. The local time zone is UTC, so each local method is its UTC twin.
local js = require("jsMigration.lua")
local string, unpack, type, rawget, rawset, select, tonumber = string, unpack, type, rawget, rawset, select, tonumber
local floor, abs, min, max, format, match = math.floor, math.abs, math.min, math.max, string.format, string.match
local num, toInteger, builtin, V, NaN, MS_PER_DAY = js.num, js.toInteger, js.builtin, "\0v", 0 / 0, 86400000
local DAYS = { [0] = "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" }
local MONTHS = { [0] = "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" }
local MONTH_NUMBERS = {} -- by the name in small letters
for i = 0, 11 do MONTH_NUMBERS[string.lower(MONTHS[i])] = i + 1 end

-- Days from 1970 to the first of a month; the year is counted from March, so that the leap day comes last.
local function dayNumber(year, month)
  year = year + floor(month / 12)
  month = month % 12
  if month < 2 then year, month = year - 1, month + 12 end
  local leapDays = floor(year / 4) - floor(year / 100) + floor(year / 400)
  return 365 * year + leapDays + floor((153 * (month - 2) + 2) / 5) - 719468
end

-- The fields of a time: year, month, day, hours, minutes, seconds, milliseconds, weekday.
local function fields(t)
  local day = floor(t / MS_PER_DAY)
  local ms = t - day * MS_PER_DAY
  local year = floor((day + 306.5) / 365.2425) + 1969 -- from March on, or a neighbour
  local first = dayNumber(year, 2)
  if first > day then year = year - 1 elseif day - first >= 365 and dayNumber(year, 14) <= day then year = year + 1 end
  local past = day - dayNumber(year, 2)
  local month = floor((5 * past + 2) / 153)
  local date = past - floor((153 * month + 2) / 5) + 1
  if month > 9 then year, month = year + 1, month - 12 end
  return year, month + 2, date,
    floor(ms / 3600000), floor(ms / 60000) % 60, floor(ms / 1000) % 60, ms % 1000, (day + 4) % 7
end

-- A field of a time. Scripts ask for one after the other.
local latest, latestFields
local function fieldOf(t, place)
  if t ~= latest then latest, latestFields = t, { fields(t) } end
  return latestFields[place]
end

local function clip(t)
  if t ~= t or abs(t) > 8.64e15 then return NaN end
  return toInteger(t)
end

local function compose(year, month, date, h, m, s, ms)
  local check = year + month + date + h + m + s + ms
  if check - check ~= 0 then return NaN end
  local day = dayNumber(toInteger(year), toInteger(month)) + toInteger(date) - 1
  return clip(day * MS_PER_DAY + toInteger(h) * 3600000 + toInteger(m) * 60000 + toInteger(s) * 1000 + toInteger(ms))
end

-- Reading.

-- The time of fields that were read, or NaN when no date has them. Months count from 1; the zone is in minutes.
local function timeOf(year, month, date, h, m, s, ms, zone)
  year, month, date = tonumber(year), month - 1, tonumber(date)
  h, m, s = tonumber(h or 0), tonumber(m or 0), tonumber(s or 0)
  if month < 0 or month > 11 or date < 1 or date > 31 then return NaN end
  if h > 24 or h == 24 and m + s + ms > 0 or m > 59 or s > 59 then return NaN end
  return compose(year, month, date, h, m - zone, s, ms)
end

local function zoneOf(sign, h, m)
  if not sign then return nil end
  return (sign == "-" and -1 or 1) * ((tonumber(h) or 0) * 60 + (tonumber(m) or 0))
end

local function parseIso(s)
  local year, rest = match(s, "^([+-]%d%d%d%d%d%d)(.*)$")
  if not year then year, rest = match(s, "^(%d%d%d%d)(.*)$") end
  if not year or year == "-000000" then return nil end
  -- Takes the next digits where the text goes on with some.
  local function take(pattern)
    local digits, more = match(rest, "^" .. pattern .. "(.*)$")
    rest = more or rest
    return digits
  end
  local month = take("%-(%d%d)")
  local date = month and take("%-(%d%d)")
  local h = take("[T ](%d%d)")
  local m = h and take(":(%d%d)")
  local second = m and take(":(%d%d)")
  local fraction = second and take("[.,](%d+)") or "0"
  local zone = rest == "" and (m or not h) and 0
  if m and not zone then zone = rest == "Z" and 0 or zoneOf(match(rest, "^([+-])(%d%d):?(%d%d)$")) end
  if not zone then return nil elseif abs(zone) >= 1440 then return NaN end
  return timeOf(year, month or 1, date or 1, h, m, second, floor(tonumber("0." .. fraction) * 1000 + 1e-7), zone)
end

-- Year, month, date and what follows them: "1/31/1970", "1970-1-31", "Thu Jan 01 1970", "1 Jan 1970".
local function wordsOfDate(s)
  local a, b, c, rest = match(s, "^%s*(%d+)[/-](%d+)[/-](%d+)(.*)$")
  if a and #a <= 2 then return tonumber(c), a, b, rest end
  if a then return tonumber(a), b, c, rest end
  s = string.gsub(s, "^%s*%a+,?%s+(%a+)", "%1")
  s = string.gsub(s, "^%s*%a+,%s*(%d)", "%1")
  local word, date, year, tail = match(s, "^%s*(%a+)%.?%s+(%d+),?%s+(%-?%d+)(.*)$")
  if not word then date, word, year, tail = match(s, "^%s*(%d+)[%s-]+(%a+)[%s,-]+(%-?%d+)(.*)$") end
  return tonumber(year), word and MONTH_NUMBERS[string.lower(string.sub(word, 1, 3))], date, tail
end

-- A date as above, then perhaps a time: "00:00", "12:00:30 PM", "00:00:00 GMT+0000 (a name)".
local function parseWords(s)
  local year, month, date, rest = wordsOfDate((string.gsub(s, "%b()", "")))
  if not month or string.find(s, "%s%-%d+%s") then return NaN end
  if year >= 0 and year < 100 then year = year + (year < 50 and 2000 or 1900) end
  local h, m, tail = match(rest, "^[%s,T]*(%d+):(%d+)(.*)$")
  local second, more = match(tail or "", "^:(%d+)(.*)$")
  tail = more or tail or rest
  local half = h and match(tail, "^%s*([AaPp])[Mm]")
  if half then h, tail = h % 12 + (match(half, "[Pp]") and 12 or 0), string.gsub(tail, "^%s*%a%a", "") end
  local word, sign, zh, zm = match(tail, "^%s*(%a*)([+-]?)(%d?%d?):?(%d?%d?)%s*$")
  if not word or word ~= "" and word ~= "GMT" and word ~= "UTC" and word ~= "Z" then return NaN end
  return timeOf(year, month, date, h, m, second, 0, sign == "" and 0 or zoneOf(sign, zh, zm))
end

local function parse(s) return parseIso(s) or parseWords(s) end

-- Construction.

local DateProto = js.fillProto({}, js.ObjectProto)

-- Year and month given, the rest by default; years 0 to 99 are those of the twentieth century.
local function fromParts(...)
  local parts = { 0, 0, 1, 0, 0, 0, 0 }
  for i = 1, min(7, select("#", ...)) do parts[i] = num((select(i, ...))) end
  local year = parts[1] == parts[1] and toInteger(parts[1])
  if year and year >= 0 and year <= 99 then parts[1] = 1900 + year end
  return compose(unpack(parts, 1, 7))
end

local function now() return floor(js.platform.now()) end

local function construct(...)
  local n, t = select("#", ...), ...
  if n == 0 then t = now()
  elseif n > 1 then t = fromParts(...)
  elseif js.classOf(t) == "Date" then t = rawget(t, V)
  else
    t = js.primitive(t)
    t = type(t) == "string" and parse(t) or clip(num(t))
  end
  return js.instance(DateProto, "Date", t)
end

local Date = js.constructor("Date", 7, DateProto, function() return DateProto.toString(construct()) end, construct)
builtin(Date, "now", 0, now)
builtin(Date, "parse", 1, function(_, s) return parse(js.str(s)) end)
builtin(Date, "UTC", 7, function(_, ...) return select("#", ...) == 0 and NaN or fromParts(...) end)

-- Methods: f(the time, the object, arguments).
local function method(name, count, f)
  builtin(DateProto, name, count, function(this, ...)
    if js.classOf(this) ~= "Date" then js.typeError("this is not a Date object.") end
    return f(rawget(this, V), this, ...)
  end)
end

local function set(this, t)
  rawset(this, V, t)
  return t
end

method("valueOf", 0, function(t) return t end)
method("getTime", 0, function(t) return t end)
method("getTimezoneOffset", 0, function(t) return t == t and 0 or NaN end)
method("setTime", 1, function(_, this, t) return set(this, clip(num(t))) end)

-- Defines the two getters of a field and, when it takes some fields, the two setters; place is that in fields().
local function field(name, place, count)
  for _, prefix in ipairs({ "", "UTC" }) do
    method("get" .. prefix .. name, 0, function(t) return t == t and fieldOf(t, place) or NaN end)
    if count then
      method("set" .. prefix .. name, count, function(t, this, ...)
        local parts, values = { fields(t == t and t or 0) }, { ... }
        for i = 1, min(count, max(select("#", ...), 1)) do parts[place + i - 1] = num(values[i]) end
        if t ~= t and place > 1 then return NaN end
        return set(this, compose(unpack(parts, 1, 7)))
      end)
    end
  end
end
local place, counts = 0, { 3, 2, 1, 4, 3, 2, 1 }
for name in string.gmatch("FullYear Month Date Hours Minutes Seconds Milliseconds Day", "%a+") do
  place = place + 1
  field(name, place, counts[place])
end
method("getYear", 0, function(t) return t == t and fieldOf(t, 1) - 1900 or NaN end)

-- Writing. Each text is made from the fields.

local function writer(name, f)
  method(name, 0, function(t, _, ...)
    if string.find(name, "Locale", 1, true) then js.inEnglish(name, ...) end
    return t == t and f(fields(t)) or "Invalid Date"
  end)
end
local function yearText(year) return format(year < 0 and "-%04d" or "%04d", abs(year)) end

local function dateText(year, month, date, _, _, _, _, day)
  return format("%s %s %02d %s", DAYS[day], MONTHS[month], date, yearText(year))
end

local function timeText(_, _, _, h, m, s)
  return format("%02d:%02d:%02d GMT+0000 (Coordinated Universal Time)", h, m, s)
end

writer("toString", function(...) return dateText(...) .. " " .. timeText(...) end)
writer("toDateString", dateText)
writer("toTimeString", timeText)
writer("toUTCString", function(year, month, date, h, m, s, _, day)
  return format("%s, %02d %s %s %02d:%02d:%02d GMT", DAYS[day], date, MONTHS[month], yearText(year), h, m, s)
end)
js.defineOwn(DateProto, "toGMTString", 5, DateProto.toUTCString)
local function localeDate(year, month, date)
  return month + 1 .. "/" .. date .. "/" .. (year > 0 and year or 1 - year)
end
local function localeTime(_, _, _, h, m, s)
  return format("%d:%02d:%02d %s", (h + 11) % 12 + 1, m, s, h < 12 and "AM" or "PM")
end
writer("toLocaleDateString", localeDate)
writer("toLocaleTimeString", localeTime)
writer("toLocaleString", function(...) return localeDate(...) .. ", " .. localeTime(...) end)
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
