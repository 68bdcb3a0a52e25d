package com.morrow.scrivel;

import java.util.Arrays;
import java.util.HashMap;
import java.util.HashSet;

/**
 * The tokens of a script, as far as {@link Rewriting} needs to know them: where each begins and ends, which brackets
 * belong together, and which braces are object literals or patterns. Reports what no token can begin with.
 */
final class Tokens {
    // Kinds of one character of punctuation are that character; the others:
    static final char NAME = 'n', KEYWORD = 'k', NUMBER = '0', STRING = '"', TEMPLATE = '`', REGEXP = 'r', OPERATOR = 'o';
    static final char STEP = '+', ARROW = '>', SPREAD = '.', DOT = 'd', OPTIONAL = 'q', NULLISH = 'u', LOGICAL_ASSIGN = 'a', CHOICE = 'c';

    private static final HashSet<String> RESERVED = new HashSet<>(Arrays.asList(
        "break", "case", "catch", "class", "const", "continue", "debugger", "default", "delete", "do", "else", "enum", "export",
        "extends", "false", "finally", "for", "function", "if", "import", "in", "instanceof", "new", "null", "return", "super",
        "switch", "this", "throw", "true", "try", "typeof", "var", "void", "while", "with",
        "implements", "interface", "let", "package", "private", "protected", "public", "static", "yield"));
    private static final HashSet<String> VALUES = new HashSet<>(Arrays.asList("this", "null", "true", "false", "super"));
    private static final HashSet<String> CONTEXTUAL = new HashSet<>(Arrays.asList("get", "set", "of", "async"));
    private static final HashSet<String> STATEMENTS = new HashSet<>(Arrays.asList("do", "else", "try", "finally", "catch"));
    private static final HashSet<String> HEADED = new HashSet<>(Arrays.asList("if", "while", "for", "with"));

    /** Called for what has to be changed wherever it stands. */
    interface Edits {
        void replace(int from, int to, String by);
    }

    private final String text;
    private final Diagnostics errors;
    private final Edits edits;
    int count;
    char[] kinds = new char[1024];
    int[] starts = new int[1024];
    int[] ends = new int[1024];
    /** For a bracket the index of its partner, or -1. */
    int[] partners = new int[1024];
    /** For every token the index of the bracket around it, or -1. */
    int[] around = new int[1024];
    /** Of braces: begins an object literal or a pattern. */
    boolean[] objects = new boolean[1024];
    /** Words that some places take for more than a name, written with escapes. */
    final HashMap<Integer, String> escaped = new HashMap<>();

    private int at;
    private int open = -1;
    /** For every open bracket, how many question marks wait for their colon. */
    private int[] questions = new int[1024];

    Tokens(String text, Diagnostics errors, Edits edits) {
        this.text = text;
        this.errors = errors;
        this.edits = edits;
        if (text.startsWith("#!")) at = lineEnd(0);
        while (skipSpace()) next();
    }

    static boolean isReserved(String word) {
        return RESERVED.contains(word);
    }

    String word(int token) {
        return text.substring(starts[token], ends[token]);
    }

    boolean is(int token, char kind) {
        return token >= 0 && token < count && kinds[token] == kind;
    }

    boolean is(int token, String word) {
        return token >= 0 && token < count && ends[token] - starts[token] == word.length() && text.startsWith(word, starts[token]);
    }

    /** Directly inside the braces of an object literal or pattern. */
    boolean inObject(int token) {
        return around[token] >= 0 && kinds[around[token]] == '{' && objects[around[token]];
    }

    // -- characters

    private char peek(int ahead) {
        return at + ahead < text.length() ? text.charAt(at + ahead) : 0;
    }

    private static boolean isLineEnd(char c) {
        return c == '\n' || c == '\r' || c == '\u2028' || c == '\u2029';
    }

    private int lineEnd(int from) {
        while (from < text.length() && !isLineEnd(text.charAt(from))) from++;
        return from;
    }

    private static boolean isSpace(char c) {
        return c <= ' ' ? c == ' ' || c >= 9 && c <= 13 : c > 127 && (c == '\u00A0' || c == '\uFEFF' || isLineEnd(c) || Character.getType(c) == Character.SPACE_SEPARATOR);
    }

    private static boolean isNameStart(char c) {
        return c < 128 ? c >= 'a' && c <= 'z' || c >= 'A' && c <= 'Z' || c == '_' || c == '$' : Character.isUnicodeIdentifierStart(c);
    }

    private static boolean isNamePart(char c) {
        return c < 128 ? isNameStart(c) || c >= '0' && c <= '9' : c == '\u200C' || c == '\u200D' || Character.isUnicodeIdentifierPart(c) && !Character.isIdentifierIgnorable(c);
    }

    /** Goes to the next token; false at the end. */
    private boolean skipSpace() {
        while (at < text.length()) {
            char c = text.charAt(at);
            if (isSpace(c)) at++;
            else if (c == '/' && peek(1) == '/' || c == '<' && text.startsWith("<!--", at)) at = lineEnd(at);
            else if (c == '/' && peek(1) == '*') comment();
            else if (c == '-' && text.startsWith("-->", at) && (count == 0 || lineEnd(ends[count - 1]) < at)) at = lineEnd(at);
            else return true;
        }
        return false;
    }

    /** A comment that holds a line end counts as one, which the parser does not see. */
    private void comment() {
        int end = text.indexOf("*/", at + 2);
        end = end < 0 ? text.length() : end + 2;
        if (end < text.length() && lineEnd(at) < end) {
            StringBuilder blank = new StringBuilder(end - at);
            for (int i = at; i < end; i++) blank.append(isLineEnd(text.charAt(i)) ? text.charAt(i) : ' ');
            edits.replace(at, end, blank.toString());
        }
        at = end;
    }

    // -- tokens

    private void add(char kind, int start) {
        if (count == kinds.length) grow();
        kinds[count] = kind;
        starts[count] = start;
        ends[count] = at;
        partners[count] = -1;
        around[count++] = open;
    }

    private void grow() {
        int size = 2 * count;
        kinds = Arrays.copyOf(kinds, size);
        starts = Arrays.copyOf(starts, size);
        ends = Arrays.copyOf(ends, size);
        partners = Arrays.copyOf(partners, size);
        around = Arrays.copyOf(around, size);
        objects = Arrays.copyOf(objects, size);
        questions = Arrays.copyOf(questions, size);
    }

    private void next() {
        int start = at;
        char c = text.charAt(at);
        if (isNameStart(c) || c == '\\') name(start);
        else if (c >= '0' && c <= '9' || c == '.' && peek(1) >= '0' && peek(1) <= '9') number(start);
        else if (c == '"' || c == '\'') {
            string(c);
            add(STRING, start);
        } else if (c == '`') template(start);
        else if (c == '/' && !endsValue(count - 1)) regexp(start);
        else punctuation(c, start);
    }

    private void illegal(int from) {
        String what = Character.isSurrogate(text.charAt(from)) ? "Characters beyond U+FFFF in names are not supported" : "Invalid or unexpected token";
        errors.reportToken(from, what);
    }

    private void name(int start) {
        StringBuilder plain = null;
        while (at < text.length()) {
            char c = text.charAt(at);
            if (c != '\\') {
                if (!isNamePart(c)) break;
                if (plain != null) plain.append(c);
                at++;
                continue;
            }
            if (plain == null) plain = new StringBuilder(text.substring(start, at));
            int from = at;
            int code = peek(1) == 'u' ? escape() : -1;
            boolean fits = code >= 0 && (plain.length() == 0 ? code <= 0xFFFF && isNameStart((char) code) : code <= 0xFFFF && isNamePart((char) code));
            if (!fits) {
                errors.reportToken(from, code > 0xFFFF ? "Characters beyond U+FFFF in names are not supported" : "Invalid Unicode escape sequence");
                at = Math.max(at, from + 1);
            } else plain.append((char) code);
        }
        boolean property = is(count - 1, DOT) || is(count - 1, OPTIONAL);
        if (plain != null) {
            edits.replace(start, at, plain.toString());
            if (!property && (isReserved(plain.toString()) || CONTEXTUAL.contains(plain.toString()))) escaped.put(count, plain.toString());
        }
        if (text.charAt(start) == Rewriting.MARK) errors.reportToken(start, "A name that begins with " + Rewriting.MARK + " is not supported");
        int length = at - start;
        boolean keyword = plain == null && !property && length > 1 && length < 12;
        String word = keyword ? text.substring(start, at) : "";
        add(keyword && isReserved(word) && !VALUES.contains(word) ? KEYWORD : NAME, start);
    }

    /** Reads an escape \\uXXXX or \\u{X}; gives its code point, or -1. */
    private int escape() {
        boolean braces = peek(2) == '{';
        int from = at + (braces ? 3 : 2);
        int end = braces ? text.indexOf('}', from) : from + 4;
        if (end < 0 || end > text.length() || end == from || end - from > 8) return -1;
        int code = 0;
        for (int i = from; i < end; i++) {
            int digit = text.charAt(i) < 128 ? Character.digit(text.charAt(i), 16) : -1;
            if (digit < 0) return -1;
            code = code * 16 + digit;
        }
        at = braces ? end + 1 : end;
        return code <= Character.MAX_CODE_POINT ? code : -1;
    }

    private void number(int start) {
        if (text.charAt(at) == '0' && "xXbBoO".indexOf(peek(1)) >= 0) {
            for (at += 2; isNamePart(peek(0)) && peek(0) != 'n'; at++) continue;
        } else {
            digits();
            if (peek(0) == '.') {
                at++;
                digits();
            }
            if (peek(0) == 'e' || peek(0) == 'E') {
                at += peek(1) == '+' || peek(1) == '-' ? 2 : 1;
                digits();
            }
        }
        if (peek(0) == 'n') at++;
        if (isNamePart(peek(0)) || peek(0) == '\\') errors.reportToken(start, "Invalid or unexpected token");
        add(NUMBER, start);
    }

    private void digits() {
        while (peek(0) >= '0' && peek(0) <= '9' || peek(0) == '_') at++;
    }

    /** Goes past a string or a piece of a template; a code point escape becomes one the parser knows. */
    private void string(char quote) {
        for (at++; at < text.length(); at++) {
            char c = text.charAt(at);
            if (c == quote) {
                at++;
                return;
            }
            if (c == '\\' && peek(1) == 'u' && peek(2) == '{') {
                int from = at;
                int code = escape();
                if (code >= 0) {
                    StringBuilder plain = new StringBuilder();
                    for (char unit : Character.toChars(code)) plain.append(String.format("\\u%04x", (int) unit));
                    edits.replace(from, at--, plain.toString());
                } else at++;
            } else if (c == '\\') at++;
            else if (quote == '`' && c == '$' && peek(1) == '{') return;
            else if (quote != '`' && (c == '\n' || c == '\r')) return;
        }
    }

    private void template(int start) {
        string('`');
        if (peek(0) != '$') {
            add(TEMPLATE, start);
            return;
        }
        at += 2;
        add(TEMPLATE, start);
        bracket();
    }

    private void bracket() {
        open = count - 1;
        questions[open] = 0;
    }

    private void regexp(int start) {
        boolean set = false;
        for (at++; at < text.length() && !isLineEnd(text.charAt(at)); at++) {
            char c = text.charAt(at);
            if (c == '\\') at++;
            else if (c == '[') set = true;
            else if (c == ']') set = false;
            else if (c == '/' && !set) break;
        }
        do at++; while (at < text.length() && isNamePart(text.charAt(at)));
        at = Math.min(at, text.length());
        add(REGEXP, start);
    }

    private void punctuation(char c, int start) {
        switch (c) {
            case '(': case '[': case '{': {
                boolean object = c == '{' && beginsObject();
                at++;
                add(c, start);
                objects[count - 1] = object;
                bracket();
                return;
            }
            case ')': case ']': case '}':
                close(c, start);
                return;
            case ';': case ',':
                at++;
                add(c, start);
                return;
            case ':': {
                boolean choice = open >= 0 ? questions[open] > 0 : loose > 0;
                if (choice && open >= 0) questions[open]--;
                else if (choice) loose--;
                at++;
                add(choice ? CHOICE : ':', start);
                return;
            }
            default:
                operator(c, start);
        }
    }

    /** Question marks outside of all brackets. */
    private int loose;

    private void close(char c, int start) {
        boolean inTemplate = c == '}' && is(open, TEMPLATE);
        if (inTemplate) {
            int template = open;
            open = around[open];
            string('`');
            boolean more = peek(0) == '$' && at < text.length();
            if (more) at += 2;
            add(TEMPLATE, start);
            partners[template] = count - 1;
            if (more) bracket();
            return;
        }
        at++;
        char wanted = c == ')' ? '(' : c == ']' ? '[' : '{';
        boolean fits = is(open, wanted);
        int partner = open;
        if (fits) open = around[open];
        add(c, start);
        if (!fits) return;
        partners[count - 1] = partner;
        partners[partner] = count - 1;
        objects[count - 1] = objects[partner];
    }

    private void operator(char c, int start) {
        char kind = OPERATOR;
        int length = 1;
        if (c == '.') {
            boolean spread = peek(1) == '.' && peek(2) == '.';
            kind = spread ? SPREAD : DOT;
            length = spread ? 3 : 1;
        } else if (c == '?') {
            boolean twice = peek(1) == '?';
            boolean optional = peek(1) == '.' && !(peek(2) >= '0' && peek(2) <= '9');
            if (twice) kind = peek(2) == '=' ? LOGICAL_ASSIGN : NULLISH;
            else if (optional) kind = OPTIONAL;
            else if (open >= 0) questions[open]++;
            else loose++;
            length = twice ? peek(2) == '=' ? 3 : 2 : optional ? 2 : 1;
        } else if (c == '=') {
            int more = peek(1) == '>' ? 1 : 0;
            while (more == 0 && peek(length) == '=') length++;
            kind = more == 1 ? ARROW : length == 1 ? '=' : OPERATOR;
            length += more;
        } else if ((c == '+' || c == '-') && peek(1) == c) {
            kind = STEP;
            length = 2;
        } else if ((c == '|' || c == '&') && peek(1) == c) {
            kind = peek(2) == '=' ? LOGICAL_ASSIGN : OPERATOR;
            length = peek(2) == '=' ? 3 : 2;
        } else if ("+-*/%<>!&|^~".indexOf(c) >= 0) {
            while (length < 4 && (peek(length) == '=' || peek(length) == c && "<>*".indexOf(c) >= 0)) length++;
        } else illegal(start);
        at += length;
        add(kind, start);
    }

    /** Whether a token ends an operand, so that what follows is an operator. */
    private boolean endsValue(int token) {
        if (token < 0) return false;
        switch (kinds[token]) {
            case NAME: case NUMBER: case STRING: case TEMPLATE: case REGEXP: case ']': case STEP:
                return kinds[token] != TEMPLATE || open != token;
            case ')': {
                int before = partners[token] - 1;
                return !(is(before, KEYWORD) && HEADED.contains(word(before)));
            }
            case '}':
                return objects[token];
            default:
                return false;
        }
    }

    /** Whether a brace here begins an object literal or a pattern, not a block. */
    private boolean beginsObject() {
        if (count == 0) return false;
        int last = count - 1;
        switch (kinds[last]) {
            case ';': case '}': case ')': case ']': case ARROW: case NUMBER: case STRING: case STEP:
                return false;
            case '{':
                return false;
            case NAME:
                return is(last, "of");
            case KEYWORD:
                return !STATEMENTS.contains(word(last));
            case TEMPLATE:
                return open == last;
            case ':':
                return open >= 0 && (kinds[open] != '{' || objects[open]);
            default:
                return true;
        }
    }
}
