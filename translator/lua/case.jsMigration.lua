-- Upper and lower case beyond ASCII, for texts in UTF-8.
local js = require("jsMigration.lua")
local string, tonumber, find, gsub, gmatch = string, tonumber, string.find, string.gsub, string.gmatch
local match, lower, upper, utf8 = string.match, string.lower, string.upper, js.utf8
local CHARACTER = "[%z\1-\127\194-\244][\128-\191]*"

-- Runs of small letters: how far the first is from that of the run before, how many there are, a slash when they
-- alternate with their capitals, and the distance to the capital.
local PAIRS = [[
224x23-32 24x7-32 7+121 2x24/-1 50x3/-1 7x8/-1 17x23/-1 47x3/-1 6+195 3x2/-1 5-1 4-1 6-1 3+97 4-1 1+163 1+42561
3+130 3x3/-1 7-1 5-1 3-1 4x2/-1 5-1 4-1 2+56 7-2 3-2 3-2 2x8/-1 15-79 2x9/-1 20-2 2-1 4x20/-1 42x9/-1 25-1 3x2+10815
3-1 5x5/-1 9+10783 1+10780 1+10782 1-210 1-206 2x2-205 3-202 2-203 1+42319 4-205 1+42315 2-207 1+42343 1+42280
1+42308 2-209 1-211 1+42308 1+10743 1+42305 3-211 2+10749 1-213 3-214 8+10727 3-218 2+42307 1-218 4+42282 1-218 1-69
1x2-217 2-71 6-219 11+42261 1+42258 211x2/-1 6-1 4x3+130 49-38 1x3-37 4x17-32 18x9-32 9-64 1x2-63 10-8 2x12/-1 25+7
1-116 5-1 3-1 53x32-32 32x16-80 17x17/-1 42x27/-1 55x7/-1 13-15 2x48/-1 144x38-48 2927x43+3008 45x3+3008 763x6-8
2194-1 239+35332 4+3814 17+35384 115x75/-1 160x48/-1 95x8+8 16x6+8 16x8+8 16x8+8 16x6+8 17x4/+8 15x8+8 16x2+74
2x4+86 4x2+100 2x2+128 2x2+112 2x2+126 52x2+8 32x2+8 16x2+8 5+7 361-28 34x16-16 20-1 844x26-26 1888x48-48 49-1
4-10795 1-10792 2x3/-1 11-1 3-1 11x50/-1 107x2/-1 7-1 13x38-7264 39-7264 6-7264 30996x23/-1 64x14/-1 162x7/-1
16x31/-1 71x2/-1 5x5/-1 13-1 5x2/-1 3+48 3x10/-1 30x8/-1 19x2/-1 5x8/-1 41-1 861-928 29x80-38864 21457x26-32
1255x40-40 176x36-40 191x11-39 12x15-39 16x7-39 8x2-39 1797x51-64 176x22-32 2896x32-32 21920x32-32 91x25-27
31335x34-34]]
-- The same for small letters of which the capital has another small one, and for capitals of which the small letter has
-- another capital.
local UPPER_ONLY = [[
181+743 124-232 78-300 70-1 3-1 3-1 39-1 339+84 125-31 14-62 1-57 4-47 1-54 26-86 1-80 4-96 6283-6254 1-6253 1-6244
1x2-6242 2-6243 1-6236 1-6181 1+35266 531-59 291-7205]]
local LOWER_ONLY = [[
453+1 3+1 3+1 39+1 514-60 6826-7615 234x8-8 16x8-8 16x8-8 20-9 16-9 48-9 298-7517 4-8383 1-8262]]
-- Letters with the several characters that are their capitals.
local SEVERAL = [[
ßSS ŉʼN ǰJ̌ ΐΪ́ ΰΫ́ ևԵՒ ẖH̱ ẗT̈ ẘW̊ ẙY̊ ẚAʾ ὐΥ̓ ὒΥ̓̀ ὔΥ̓́ ὖΥ̓͂ ᾲᾺΙ
ᾳΑΙ ᾴΆΙ ᾶΑ͂ ᾷΑ͂Ι ᾼΑΙ ῂῊΙ ῃΗΙ ῄΉΙ ῆΗ͂ ῇΗ͂Ι ῌΗΙ ῒΪ̀ ΐΪ́ ῖΙ͂ ῗΪ͂ ῢΫ̀
ΰΫ́ ῤΡ̓ ῦΥ͂ ῧΫ͂ ῲῺΙ ῳΩΙ ῴΏΙ ῶΩ͂ ῷΩ͂Ι ῼΩΙ ﬀFF ﬁFI ﬂFL ﬃFFI ﬄFFL ﬅST
ﬆST ﬓՄՆ ﬔՄԵ ﬕՄԻ ﬖՎՆ ﬗՄԽ]]

local capitals, smalls = {}, {}

local function read(runs, take)
  local first = 0
  for gap, count, slash, distance in gmatch(runs, "(%d+)x?(%d*)(/?)([+-]%d+)") do
    first = first + tonumber(gap)
    local step = slash == "/" and 2 or 1
    for c = first, first + ((tonumber(count) or 1) - 1) * step, step do take(utf8(c), utf8(c + tonumber(distance))) end
  end
end
read(PAIRS, function(small, capital) capitals[small], smalls[capital] = capital, small end)
read(UPPER_ONLY, function(small, capital) capitals[small] = capital end)
read(LOWER_ONLY, function(capital, small) smalls[capital] = small end)
for c, several in gmatch(SEVERAL, "([\194-\239][\128-\191]+)(%S+)") do capitals[c] = several end
-- Greek letters with a small iota below, which is a letter of its own behind a capital.
for row = 0, 2 do
  for i = 0, 7 do
    local several = utf8((row == 2 and 0x1F68 or 0x1F08 + row * 32) + i) .. "Ι"
    capitals[utf8(0x1F80 + row * 16 + i)], capitals[utf8(0x1F88 + row * 16 + i)] = several, several
  end
end
smalls["İ"] = "i̇"

local function isCased(c)
  return capitals[c] or smalls[c] or find(c, "^%a") or c >= "\240\157\144\128" and c <= "\240\157\159\139"
end

-- What stands between letters of a word: signs, combining marks and what is not shown.
local function isIgnorable(c)
  return find(".:'^`¨­¯´·¸·‘’․‧᠎", c, 1, true) or c >= "\204\128" and c <= "\205\175"
    or c >= "\226\128\139" and c <= "\226\128\143" or c >= "\240\157\137\130" and c <= "\240\157\137\132"
end

-- Whether a word goes on at this byte: the first of a character, or the last one when looking back.
local function goesOn(s, at, back)
  while at > 0 and at <= #s do
    while find(s, "^[\128-\191]", at) do at = at - 1 end
    local c = match(s, "^" .. CHARACTER, at)
    if not isIgnorable(c) then return isCased(c) end
    at = back and at - 1 or at + #c
  end
  return false
end

-- A sigma that ends a word has a form of its own.
local function endSigma(s)
  return (gsub(s, "()Σ()", function(at, behind)
    return goesOn(s, at - 1, true) and not goesOn(s, behind) and "ς" or "σ"
  end))
end

function js.changeCase(s, toUpper)
  if toUpper then return (gsub(upper(s), "[\194-\244][\128-\191]+", capitals)) end
  return (gsub(lower(endSigma(s)), "[\194-\244][\128-\191]+", smalls))
end
