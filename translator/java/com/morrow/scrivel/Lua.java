package com.morrow.scrivel;

import java.util.Set;
import org.mozilla.javascript.ScriptRuntime;

/** How names, strings and numbers are written in Lua. */
final class Lua {
    /** Ends a name that had to be changed; messages drop it and the digits after it. */
    static final char CHANGED = '\u02B9';

    private static final Set<String> KEYWORDS = Set.of(
        "and", "break", "do", "else", "elseif", "end", "false", "for", "function", "goto", "if", "in", "local", "nil",
        "not", "or", "repeat", "return", "then", "true", "until", "while");

    private Lua() {}

    /** True for a property name that Lua takes after a dot. */
    static boolean isName(String name) {
        int length = name.length();
        for (int i = 0; i < length; i++) {
            char c = name.charAt(i);
            boolean letter = c >= 'a' && c <= 'z' || c >= 'A' && c <= 'Z' || c == '_';
            if (!letter && (i == 0 || c < '0' || c > '9')) return false;
        }
        return length > 0 && !KEYWORDS.contains(name);
    }

    /** A property's key, which is a number where the text is one in its canonical form. */
    static String key(String text) {
        double number = canonicalNumber(text);
        return number == number ? number(number) : quote(text);
    }

    /** The access to a property, as it follows its object. */
    static String member(String key) {
        return isName(key) ? '.' + key : '[' + key(key) + ']';
    }

    /** A variable's name in Lua: a dollar sign becomes its full-width form, what means something else there is marked. */
    static String variable(String name) {
        String plain = name.indexOf('$') < 0 ? name : name.replace('$', '\uFF04');
        boolean taken = KEYWORDS.contains(plain) || plain.equals("_G") || plain.indexOf(CHANGED) >= 0;
        return taken ? plain + CHANGED : plain;
    }

    static String number(double value) {
        if (value != value) return "(0/0)";
        if (Double.isInfinite(value)) return value > 0 ? "(1/0)" : "(-1/0)";
        return value == 0 && 1 / value < 0 ? "(-0)" : keyText(value);
    }

    /** A quoted string; control characters and lone surrogates are escaped, everything else stands as it is. */
    static String quote(String value) {
        int length = value.length();
        StringBuilder text = new StringBuilder(length + 2).append('"');
        for (int i = 0; i < length; i++) {
            char c = value.charAt(i);
            if (c == '"' || c == '\\') text.append('\\').append(c);
            else if (c == '\n') text.append("\\n");
            else if (c < 32 || c == 127) {
                text.append('\\').append((char) ('0' + c / 100)).append((char) ('0' + c / 10 % 10)).append((char) ('0' + c % 10));
            } else if (Character.isSurrogate(c)) {
                boolean pair = Character.isHighSurrogate(c) && i + 1 < length && Character.isLowSurrogate(value.charAt(i + 1));
                if (pair) text.append(c).append(value.charAt(++i));
                else text.append("\\237\\").append(0x80 | c >> 6 & 0x3F).append('\\').append(0x80 | c & 0x3F);
            } else text.append(c);
        }
        return text.append('"').toString();
    }

    /** The number that a property key stands for when it is one in its canonical form, else NaN. */
    static double canonicalNumber(String key) {
        double value = ScriptRuntime.toNumber(key);
        return Double.isFinite(value) && key.equals(keyText(value)) ? value : Double.NaN;
    }

    /** How JavaScript prints a number. */
    static String keyText(double value) {
        return ScriptRuntime.toString(value);
    }
}
