"""Random scripts, made from the grammars below.

In a template, @x stands for an expansion of rule x, # for a name that is new, ¶ for a line break. Expressions lie
between two blanks or more, statements have a line each.
"""
import re

EXPRESSIONS = {
    # numbers
    "n": r"""
        n1  n1  n2  0  1  3  7  10  (-1)  (-5)  0.1  1.5  2.675  1e21  1e-7  123456789  4294967295
        0xff  (-0)  NaN  Infinity
        (@n + @n)  (@n - @n)  (@n * @n)  (@n / @n)  (@n % @n)  (- @n)  (@s * @n)  (@x - @x)  (+@x)  (@n, @n)
        (@n | @n)  (@n & @n)  (@n ^ @n)  (@n << @n)  (@n >> @n)  (@n >>> @n)  (~@n)
        (@b ? @n : @n)  (@n || @n)  (@n && @n)  n1++  (--n2)  (n1 = @n)  (n2 += @n)  o1.x  (o1.y -= @n)
        Math.floor(@n)  Math.round(@n)  Math.trunc(@n)  Math.sqrt(@n)  Math.abs(@n)  Math.max(@n, @n)  Math.min(@n, @n)
        @s.length  @a.length  @a[@n]  @s.charCodeAt(@n)  @s.indexOf(@s)  @a.indexOf(@n)  @a.findIndex(x => x > @n)
        @a.reduce((x, y) => x + y, 0)  (a1.length < 40 ? a1.push(@n) : 0)  a2.pop()  a1.shift()
        parseInt(@s)  parseFloat(@s)  Number(@x)  (o1?.w ?? @n)  (o1.z ??= @n)
        ((p, q = p + @n, f = () => q, ...r) => p + f() + r.length)(@n, ...@a)""",
    # texts
    "s": r"""
        s1  s2  ""  "a"  "abc"  "\tx\n"  "12"  "1.50"  "é漢"  "a,b"  "ABCabc"  "0x1f"  "-3"  "null"
        (@s + @s)  (@s + @x)  (@x + @s)  `<${@x}>`  (@b ? @s : @s)  String(@x)  (typeof @x)  JSON.stringify(@x)
        show(@x)  @s.slice(@n, @n)  @s.substring(@n, @n)  @s.charAt(@n)  (@s[@n & 3] + @s)  @s.toUpperCase()  @s.trim()
        @s.repeat(2)  @s.padStart(5, @s)  @s.split(@s).join(@s)  @s.replace(@s, @s)  @a.join(@s)
        (@n % 100).toFixed(2)  (@n | 0).toString(16)""",
    # truth values
    "b": r"""
        b1  true  (@n < @n)  (@n >= @n)  (@s < @s)  (@x <= @x)  (@n === @n)  (@s !== @s)  (@x == @x)  (@x != @x)
        (@b && @b)  (@b || @b)  (!@x)  (@s in o1)  @a.includes(@n)  @a.some(x => x > @n)  @s.startsWith(@s)
        isNaN(@x)  Number.isInteger(@n)  Array.isArray(@x)""",
    # arrays of numbers
    "a": r"""
        a1  a2  [1, 2, 3]  [@n, @n]  [@n, @n].fill(@n)  a1.splice(@n, 1)  Object.values(o1)  @a.slice(@n)
        @a.map(x => x + @n)  @a.map((x, i) => i)  @a.filter(x => x > @n)  @a.slice().reverse()
        @a.concat(@a).slice(0, 12)  [@n, ...@a, @n].slice(0, 12)  @a.filter(x => x === x).sort((x, y) => x - y)
        @s.split("").map(c => c.charCodeAt(0)).slice(0, 9)""",
    "o": r"o1  o2  {x: 1, y: 2}  {y: @n, z: @n, x: 0}  Object.assign({}, @o)",
    "x": r"n1  s1  b1  a1  undefined  null  @n  @s  @b  @a  @o  (void @n)  o1.x",
}
STATEMENTS = {
    "S": r"""
        n1 = @n;
        n1 %= @n;
        s1 = (@s).slice(0, 40);
        s2 += @x; s2 = s2.slice(0, 40);
        b1 = @b;
        a1 = @a.slice(0, 9);
        a2 = @a.slice(0, 9);
        a1[@n & 7] = @n;
        o1 = @o;
        o1.w = @n;
        delete o2.x;
        [n1, n2] = [@n, n1];
        [a1[@n & 3], o1.x, n2 = @n] = @a;
        { let # = @s;¶for (const q of @a) # += @x;¶log(show(#).slice(0, 40)); }
        { let # = "";¶while (fuel-- > 0 && @b) {¶# += @x;¶@L¶}¶s1 = show(#).slice(0, 40); }
        { const [p, q] = @a; log(show(p), show(q)); }
        { const {x, y: z} = @o; log(show(x), show(z)); }
        log(show(@x));
        log(show(@n), show(@s));
        if (@b) return @n;
        if (@b) throw new RangeError(@s);
        if (@b && @b && @b) null.x;
        if (@b && @b && @b) o1.missing.deep;
        if (@b && @b && @b) undeclared;
        if (@b) @B
        if (@b) @B else @B
        for (let # = 0; # < 5 && fuel-- > 0; #++) @K
        for (let # = @n; # > 0 && fuel-- > 0; # -= 2) { const f = () => #;¶@L¶log(show(f())); }
        while (fuel-- > 0 && @b) @K
        do @K while (fuel-- > 0 && @b);
        for (const # of @a) {¶if (fuel-- <= 0) break;¶n1 = #;¶@L¶}
        for (const # in o1) {¶if (fuel-- <= 0) break;¶s1 = #;¶@L¶}
        switch (@n & 3) {¶case 0:¶@S¶case 1: @B¶break;¶default:¶@S¶case 2: @B¶}
        try @B catch (e) { log(e.name); }
        try @B catch (e) @B finally @B
        #: @B
        #: for (;;) {¶for (; fuel-- > 0;) {¶if (@b) continue #;¶@L¶if (@b) break #;¶}¶break;¶}
        { const # = (a, b) => @B;¶n1 = #(n1, n2); }
        [1, 2].forEach(function (n2) @B);""",
    # in a loop
    "L": r"""
        @S
        @S
        if (@b) break;
        if (@b) continue;
        if (@b) @K else @K
        try @K finally @K""",
    "B": "{¶@S¶@S¶}\n{¶@S¶}",
    "K": "{¶@L¶@L¶@L¶}\n{¶@L¶}",
}
# Where a rule may not go deeper.
LEAVES = {
    "n": ["n1", "n2", "1.5"],
    "s": ["s1", '"x"'],
    "b": ["b1", "true", "false"],
    "a": ["a1", "[1, 2, 3]"],
    "o": ["o1", "o2"],
    "x": ["n1", "s1", "a2", "undefined", "null"],
    "S": ["log(show(n1));", "n1++;"],
    "L": ["n2--;"],
    "B": ["{ s1 += 1; }"],
    "K": ["{ n2++; }"],
}
RULES = {name: re.split(r"\s{2,}", text.strip()) for name, text in EXPRESSIONS.items()}
RULES.update({name: [line.strip() for line in text.strip().split("\n")] for name, text in STATEMENTS.items()})

SHOW = """\
"use strict"; let fuel = 0;
function show(v) {
  if (typeof v === "string") return JSON.stringify(v);
  if (typeof v === "number") return Object.is(v, -0) ? "-0" : String(v);
  if (Array.isArray(v)) return "[" + v.map(x => show(x)).join() + "]";
  if (v === null || typeof v !== "object") return String(v);
  return "{" + Object.keys(v).map(k => k + ":" + show(v[k])).join() + "}";
}
"""
VARIABLES = """\
let n1 = n0, n2 = n1, s1 = s0, s2 = s1, b1 = false;
let a1 = [4, 5], a2 = a1, o1 = {x: 3, y: 4}, o2 = o1;
"""


class Expansion:
    """One script's way through the rules."""

    def __init__(self, chance):
        self.chance, self.names = chance, 0
        self.rules = {name: list(templates) for name, templates in RULES.items()}

    def of(self, rule, depth):
        template = self.chance.choice(self.rules[rule] if depth > 0 else LEAVES[rule])
        self.names += "#" in template
        template = template.replace("#", f"v{self.names}").replace("¶", "\n")

        def part(match):
            return self.of(match[1], 3 if rule in STATEMENTS and match[1] in EXPRESSIONS else depth - 1)
        return re.sub(r"@(\w)", part, template)


def program(chance):
    """JavaScript that prints and ends: every loop and every call takes from one store of fuel."""
    expansion, text, names = Expansion(chance), SHOW, [f"f{i}" for i in range(chance.randint(3, 9))]
    for name in names:
        body = "\n".join(expansion.of("S", 5) for _ in range(chance.randint(2, 6)))
        text += (f"function {name}(n0, s0) {{\n{VARIABLES}{body}\nreturn {expansion.of('n', 3)};\n}}\n")
        expansion.rules["n"] += [f"(fuel-- > 0 ? {name}(@n, @s) : 0)"] * 2
    runs = "".join(f'fuel = 200; try {{ log(show({name}(3, "p"))); }} catch (e) {{ log("{name}", e.name); }}\n'
                   for name in names)
    bare = f'fuel = 200; log(show({names[-1]}(1, "q")));\n' if chance.random() < 0.5 else ""
    return text + "function macro(profile) {}\nfunction execute() {\n" + runs + bare + "}\n"


KINDS = ["indicator", "strategy", "tool", "macro"]
HANDLERS = ("prepare update execute draw click creationStarted creationFinished notifyFinished releaseInstance "
            "canChangeParameters").split()
# What a script may lay hands on, in JavaScript and in Lua; $ stands for any of it.
ODD = {
    "undefined": "nil", "null": "false", "NaN": "0/0", "-1": "-1", "0": "0", "-0.5": "-0.5", "1e308": "1e308",
    "2147483648": "2^31", "true": "true", '""': '""', '"N"': '"N"', '"\\u0000é"': '"\\0é"',
    '"x".repeat(9999)': '("x"):rep(9999)', "{}": "{}", "[]": "{1}", "{length: -1}": "{n = -1}", "show": "pcall",
    "Object.create(null)": "_G", "profile": "profile", "instance": "instance", "instance.source": "instance.source",
    "period": "period"}
CALLS = """
    instance.addStream($, $)  instance.buy($)  instance.sell($)  instance.position($)  instance.source.close[$]
    instance.source[$]  instance.parameters[$] = $  instance.prices.high[$] = $  instance.bid.time.length  s[$] = $
    s[period] = $  instance[$] = $  instance[$]($)  context.line($, $, $, $, $)  context.text($, $, $, $)  context[$]($)
    profile.setName($)  log($, $)  throw $  Object.keys($)  JSON.stringify($)  $($)  new $($)  delete $[$]
    Object.defineProperty($, $, $)  Object.setPrototypeOf($, $)  $.toString($)  for (const k in $) log(k)"""
PROFILE_CALLS = """
    setName($)  setID($)  setDescription($)  isAllowed($)  setIcon($)  setPointCount($)  setStrategyType($)
    setTooltip($)  setRequiredSource($)  setIndicatorType($)  parameters.addInteger($, $, $, $, $)
    parameters.addDouble("N", $, $, $)  parameters.addString($, $, $)  parameters.addBoolean($, $)"""
LUA_STATEMENTS = """
    local _ = instance:addStream($, $)  local _ = instance:buy($)  local _ = instance.source.close[$]  log($, $)
    instance.parameters[$] = $  instance[$] = $  context:line($, $, $, $, $)  local _ = context[$]($)
    profile:setName($)  local _ = string.format($, $)  local _ = pcall($, $)  error($)  setmetatable($, $)
    local _ = select($, $)  local _ = table.concat($, $)  local a = $; a[$] = $
    coroutine.wrap(function() return $ end)()  local _ = ($)($)  for i = 1, 9 do log(i, $) end
    local _ = string.rep($, 3)  rawset($, $, $)  local _ = next($, $)  local _ = unpack($)
    local _ = string.find($, $)  local _ = load($)  local _ = require($)  local _ = xpcall($, $)
    local _ = #$ + $ .. $"""


def odd(chance, templates, values):
    template = chance.choice(re.split(r"\s{2,}", templates.strip()))
    return re.sub(r"\$", lambda _: chance.choice(list(values)), template)


def host_script(chance):
    """JavaScript that gives the host's objects whatever it finds."""
    def calls(templates, prefix=""):
        chosen = [prefix + odd(chance, templates, ODD) for _ in range(chance.randint(0, 4))]
        return "".join(f"try {{ {call}; }} catch (e) {{ log(e); }}\n" if chance.random() < 0.8 else call + ";\n"
                       for call in chosen)
    kind = chance.choice(KINDS)
    text = SHOW + "let s, profile, instance, period, context;\n"
    text += f"function {kind}(p) {{\nprofile = p;\n{calls(PROFILE_CALLS, 'p.')}}}\n"
    for handler in chance.sample(HANDLERS, chance.randint(1, len(HANDLERS))):
        stream = "s = i.addStream('A', 'A');\n" if (kind, handler) == ("indicator", "prepare") else ""
        text += (f"function {handler}(i, a, b, c, d) {{\ninstance = i; period = a; context = b;\n{stream}{calls(CALLS)}"
                 f"return {chance.choice(list(ODD))};\n}}\n")
    return text


def lua_script(chance):
    """The same in Lua."""
    text = f"local profile\nfunction {chance.choice(KINDS)}(p)\nprofile = p\nend\n"
    for handler in chance.sample(HANDLERS, 4):
        lines = [odd(chance, LUA_STATEMENTS, ODD.values()) for _ in range(chance.randint(1, 9))]
        lines = [f"pcall(function() {line} end)" if chance.random() < 0.8 else f"do {line} end" for line in lines]
        text += f"function {handler}(instance, period, context)\n" + "\n".join(lines) + "\nend\n"
    return text


def damaged(chance, text):
    """The text with a few of its tokens gone, moved, doubled or replaced, or cut short."""
    tokens = re.findall(r"\w+|\s+|.", text)
    for _ in range(chance.randint(1, 2)):
        at = chance.randrange(len(tokens))
        change = chance.randrange(6)
        if change == 0:
            del tokens[at:at + chance.randint(1, 5)]
        elif change == 1:
            tokens.insert(at, tokens.pop(chance.randrange(len(tokens))))
        elif change == 2:
            tokens.insert(at, chance.choice(tokens))
        elif change == 3:
            tokens.insert(at, chance.choice("(){}[];,.:?=+-*/<>!&|'\"`\\\n\0#@~^%$\u2028é"))
        elif change == 4:
            tokens[at] = chance.choice("if for let const var function return class yield new this in => ...".split())
        else:
            tokens = tokens[:at]
        tokens = tokens or [" "]
    return "".join(tokens)
