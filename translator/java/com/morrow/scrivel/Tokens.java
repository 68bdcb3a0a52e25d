package com.morrow.scrivel;

import java.util.HexFormat;
import java.util.Set;

/**
 * The tokens of a script, as far as {@link Rewriting} needs to know them: where each begins and ends, which brackets
 * belong together, and which braces are object literals or patterns. Reports what no token can begin with.
 */
final class Tokens {
    // Kinds of one character of punctuation are that character; the others:
    static final char NAME = 'n', KEYWORD = 'k', NUMBER = '0', STRING = '"', TEMPLATE = '`', REGEXP = 'r', OPERATOR = 'o';
    static final char STEP = '+', ARROW = '>', SPREAD = '.', DOT = 'd', OPTIONAL = 'q', NULLISH = 'u', LOGICAL_ASSIGN = 'a';
    private static final char CHOICE = 'c', END = 0;
    private static final String BEYOND = "Characters beyond U+FFFF in names are not supported";

    private static final Set<String> RESERVED = Set.of(
        "break", "case", "catch", "class", "const", "continue", "debugger", "default", "delete", "do", "else", "enum", "export",
        "extends", "false", "finally", "for", "function", "if", "import", "in", "instanceof", "new", "null", "return", "super",
        "switch", "this", "throw", "true", "try", "typeof", "var", "void", "while", "with",
        "implements", "interface", "let", "package", "private", "protected", "public", "static", "yield");
    private static final Set<String> VALUES = Set.of("this", "null", "true", "false", "super");
    private static final Set<String> CONTEXTUAL = Set.of("get", "set", "of", "async");
    private static final Set<String> STATEMENTS = Set.of(
        "do", "else", "try", "finally", "catch", "break", "continue", "debugger");
    private static final Set<String> HEADED = Set.of("if", "while", "for", "with");

    /** A token between its neighbours. */
    final class Token {
        final char kind;
        final int start, end;
        final Token before;
        Token after = this;
        /** The opening bracket around it. */
        final Token around;
        /** Of a bracket: the one that belongs to it; null for one that is alone. */
        Token partner;
        /** Of a brace: begins or ends an object literal or a pattern. */
        boolean object;
        /** Of an opening bracket: how many question marks in it wait for their colon. */
        private int choices;
        /** A word written with escapes that some places take for more than a name, without them. */
        String escaped;

        private Token(char kind, int start, int end) {
            this.kind = kind;
            this.start = start;
            this.end = end;
            before = last == null ? this : last;
            around = open == null || kind == END ? this : open;
            before.after = this;
        }

        boolean is(char wanted) {
            return kind == wanted;
        }

        boolean is(String word) {
            return end - start == word.length() && text.startsWith(word, start);
        }

        String text() {
            return text.substring(start, end);
        }

        /** Directly inside the braces of an object literal or pattern. */
        boolean inObject() {
            return around.object;
        }

        boolean opens() {
            return partner != null && partner.start > start;
        }

        /** The token beside this one, past what it opens. */
        Token next() {
            Token last = this;
            while (last.opens()) last = last.partner;
            return last.after;
        }
    }

    private final String text;
    private final Diagnostics errors;
    private final Edits edits;
    private int start, at;
    private Token last, open;
    /** Stand in for neighbours and brackets at both ends; the whole is a block. */
    final Token first, end;
    /** The innermost bracket that the text does not close, or null. */
    final Token unclosed;

    Tokens(String text, Diagnostics errors, Edits edits) {
        this.text = text;
        this.errors = errors;
        this.edits = edits;
        first = last = open = new Token('{', 0, 0);
        if (text.startsWith("#!")) blank(lineEnd(0));
        while (skipSpace()) next();
        unclosed = open == first ? null : open;
        end = new Token(END, at, at);
    }

    static boolean isReserved(String word) {
        return RESERVED.contains(word);
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
        if (c < 128) return c == ' ' || c >= '\t' && c <= '\r';
        return c == '\u00A0' || c == '\uFEFF' || isLineEnd(c) || Character.getType(c) == Character.SPACE_SEPARATOR;
    }

    private static boolean isDigit(char c) {
        return c >= '0' && c <= '9';
    }

    private static boolean isNameStart(char c) {
        if (c >= 128) return Character.isUnicodeIdentifierStart(c);
        return c >= 'a' && c <= 'z' || c >= 'A' && c <= 'Z' || c == '_' || c == '$';
    }

    private static boolean isNamePart(char c) {
        if (c < 128) return isNameStart(c) || isDigit(c);
        return Character.isUnicodeIdentifierPart(c) && !Character.isIdentifierIgnorable(c);
    }

    /** Goes to the next token; false at the end. */
    private boolean skipSpace() {
        while (at < text.length()) {
            char c = text.charAt(at);
            if (isSpace(c)) at++;
            else if (c == '/' && peek(1) == '/' || c == '<' && text.startsWith("<!--", at)) blank(lineEnd(at));
            else if (c == '/' && peek(1) == '*') comment();
            else if (c == '-' && text.startsWith("-->", at) && (last == first || lineEnd(last.end) < at)) blank(lineEnd(at));
            else return true;
        }
        return false;
    }

    /** One that does not end is left to the parser. */
    private void comment() {
        int end = text.indexOf("*/", at + 2);
        if (end < 0) at = text.length();
        else blank(end + 2);
    }

    /** Goes past a comment, of which only the line ends are left: the parser does not see those in it. */
    private void blank(int end) {
        StringBuilder blank = new StringBuilder(end - at);
        for (; at < end; at++) blank.append(isLineEnd(text.charAt(at)) ? text.charAt(at) : ' ');
        edits.replace(end - blank.length(), end, blank.toString());
    }

    // -- tokens

    private Token add(char kind) {
        return last = new Token(kind, start, at);
    }

    private void next() {
        start = at;
        char c = text.charAt(at);
        if (isNameStart(c) || c == '\\') name();
        else if (isDigit(c) || c == '.' && isDigit(peek(1))) number();
        else if (c == '/' && !endsValue(last)) regexp();
        else {
            at++;
            punctuation(c);
        }
    }

    private void illegal() {
        char c = text.charAt(start);
        boolean unseen = Character.isISOControl(c) || Character.getType(c) == Character.FORMAT;
        String message = "Unexpected character " + (unseen ? String.format("U+%04X", (int) c) : "'" + c + "'");
        errors.reportToken(start, Character.isSurrogate(c) ? BEYOND : message);
    }

    private void name() {
        while (isNamePart(peek(0))) at++;
        boolean escapes = peek(0) == '\\';
        String word = escapes ? unescaped() : text.substring(start, at);
        if (escapes) edits.replace(start, at, word);
        boolean marked = text.charAt(start) == Rewriting.MARK;
        if (marked) errors.reportToken(start, "A name that begins with " + Rewriting.MARK + " is not supported");
        boolean property = last.is(DOT) || last.is(OPTIONAL);
        boolean reserved = !property && isReserved(word);
        Token token = add(reserved && !escapes && !VALUES.contains(word) ? KEYWORD : NAME);
        if (escapes && (reserved || !property && CONTEXTUAL.contains(word))) token.escaped = word;
    }

    /** Goes to the end of a name with escapes; gives it without them. */
    private String unescaped() {
        StringBuilder plain = new StringBuilder(text.substring(start, at));
        while (isNamePart(peek(0)) || peek(0) == '\\') {
            if (peek(0) != '\\') {
                plain.append(text.charAt(at++));
                continue;
            }
            int from = at;
            int code = peek(1) == 'u' ? escape() : -1;
            boolean beyond = code > Character.MAX_VALUE;
            boolean fits = code >= 0 && !beyond && (plain.isEmpty() ? isNameStart((char) code) : isNamePart((char) code));
            if (fits) plain.append((char) code);
            else {
                errors.reportToken(from, beyond ? BEYOND : "Invalid Unicode escape sequence");
                at = Math.max(at, from + 1);
            }
        }
        return plain.toString();
    }

    /** Reads an escape \\uXXXX, \\u{X} or \\xXX; gives its code point, or -1. */
    private int escape() {
        boolean braces = peek(2) == '{';
        int from = at + (braces ? 3 : 2);
        int end = braces ? text.indexOf('}', from) : from + (peek(1) == 'x' ? 2 : 4);
        if (end < 0 || end > text.length() || end == from || end - from > 8) return -1;
        int code = 0;
        for (int i = from; i < end; i++) {
            if (!HexFormat.isHexDigit(text.charAt(i))) return -1;
            code = code * 16 + HexFormat.fromHexDigit(text.charAt(i));
        }
        at = braces ? end + 1 : end;
        return code <= Character.MAX_CODE_POINT ? code : -1;
    }

    private void number() {
        boolean octal = peek(0) == '0' && isDigit(peek(1));
        if (octal) errors.reportToken(start, "Octal numbers with a leading zero are not supported");
        if (peek(0) == '0' && "xXbBoO".indexOf(peek(1)) >= 0) {
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
        if (isNamePart(peek(0)) || peek(0) == '\\') errors.reportToken(start, "Unexpected '" + peek(0) + "' right after a number");
        add(NUMBER);
    }

    private void digits() {
        while (isDigit(peek(0)) || peek(0) == '_') at++;
    }

    /** Goes past what is left of a string or of a piece of a template. */
    private void string(char quote) {
        int plain = at;
        for (; at < text.length(); at++) {
            char c = text.charAt(at);
            if (c == '\\') {
                stringEscape();
                plain = at + 1;
            } else if (c == quote) {
                at++;
                return;
            } else if (quote != '`') {
                if (c == '\n' || c == '\r') break;
            } else if (c == '$' && peek(1) == '{') return;
        }
        if (quote == '`') errors.reportTokens(start, text.length(), "Unterminated template literal");
        else unterminated(quote, plain);
    }

    /** Ends a string at the end of its line, before the brackets and signs that most likely were to follow it. */
    private void unterminated(char quote, int plain) {
        errors.reportTokens(start, at, "Unterminated string literal");
        while (at > plain && ")]};, \t".indexOf(text.charAt(at - 1)) >= 0) at--;
        edits.insert(at, String.valueOf(quote));
    }

    /** Goes to the last character of an escape; a code point becomes what the parser knows. */
    private void stringEscape() {
        int from = at;
        char c = peek(1);
        boolean point = c == 'u' && peek(2) == '{';
        boolean octal = c >= '1' && c <= '9' || c == '0' && isDigit(peek(2));
        int code = c == 'u' || c == 'x' ? escape() : 0;
        if (octal) errors.reportToken(from, "Octal escape sequences are not allowed in strict mode.");
        if (code < 0) {
            errors.reportToken(from, point ? "Undefined Unicode code point" : "Invalid escape sequence");
            edits.replace(from, from + 2, "  ");
        } else if (point) {
            StringBuilder plain = new StringBuilder();
            for (char unit : Character.toChars(code)) plain.append("\\u").append(Integer.toHexString(0x10000 | unit), 1, 5);
            edits.replace(from, at, plain.toString());
        }
        int last = Math.max(at - 1, from + (c == '\r' && peek(2) == '\n' ? 2 : 1));
        at = Math.min(last, text.length() - 1);
    }

    /** A template as far as its next expression, which the piece then brackets, or to its end. */
    private Token template() {
        string('`');
        boolean more = peek(0) == '$';
        if (more) at += 2;
        Token piece = add(TEMPLATE);
        if (more) open = piece;
        return piece;
    }

    private void regexp() {
        boolean set = false;
        for (at++; at < text.length() && !isLineEnd(text.charAt(at)); at++) {
            char c = text.charAt(at);
            if (c == '\\') at++;
            else if (c == '[') set = true;
            else if (c == ']') set = false;
            else if (c == '/' && !set) break;
        }
        do at++; while (isNamePart(peek(0)));
        at = Math.min(at, text.length());
        add(REGEXP);
    }

    private void punctuation(char c) {
        switch (c) {
            case '"', '\'' -> {
                string(c);
                add(STRING);
            }
            case '`' -> template();
            case '(', '[', '{' -> {
                boolean object = c == '{' && beginsObject();
                open = add(c);
                open.object = object;
            }
            case ')', ']', '}' -> close(c);
            case ';', ',' -> add(c);
            case ':' -> {
                boolean choice = open.choices > 0;
                if (choice) open.choices--;
                add(choice ? CHOICE : ':');
            }
            default -> add(operator(c));
        }
    }

    private void close(char c) {
        Token partner = open;
        if (c == '}' && partner.is(TEMPLATE)) {
            open = partner.around;
            partner.partner = template();
            return;
        }
        boolean fits = partner != first && partner.is(c == ')' ? '(' : c == ']' ? '[' : '{');
        if (fits) open = partner.around;
        Token token = add(c);
        if (!fits) return;
        token.partner = partner;
        partner.partner = token;
        token.object = partner.object;
    }

    private boolean take(String operator) {
        boolean found = text.startsWith(operator, start);
        if (found) at = start + operator.length();
        return found;
    }

    /** Goes to the end of an operator; gives its kind. */
    private char operator(char c) {
        if (take("...")) return SPREAD;
        if (take("??=") || take("||=") || take("&&=")) return LOGICAL_ASSIGN;
        if (take("??")) return NULLISH;
        if (take("=>")) return ARROW;
        if (take("++") || take("--")) return STEP;
        if (c == '.') return DOT;
        if (c == '?' && !isDigit(peek(1)) && take("?.")) return OPTIONAL;
        if (c == '?') open.choices++;
        else if (c == '=' && peek(0) != '=') return '=';
        else if ("+-*/%<>=!&|^~".indexOf(c) < 0) {
            illegal();
            edits.replace(start, at, " "); // where the parser would stop
        } else while (at < start + 4 && (peek(0) == '=' || peek(0) == c && "<>*&|".indexOf(c) >= 0)) at++;
        return OPERATOR;
    }

    /** A token that can only be an operand, or end one. */
    static boolean isOperand(Token token) {
        return token.is(NAME) || token.is(NUMBER) || token.is(STRING) || token.is(']') || token.is(')') || token.is('}');
    }

    /** Whether a token ends an operand, so that what follows is an operator. */
    private boolean endsValue(Token token) {
        return switch (token.kind) {
            case NAME, NUMBER, STRING, REGEXP, ']', STEP -> true;
            case TEMPLATE -> open != token;
            case ')' -> {
                Token before = token.partner == null ? first : token.partner.before;
                yield !before.is(KEYWORD) || !HEADED.contains(before.text());
            }
            case '}' -> token.object;
            default -> false;
        };
    }

    /** Whether a brace here begins an object literal or a pattern, not a block. */
    private boolean beginsObject() {
        return switch (last.kind) {
            case ';', '{', '}', ')', ']', ARROW, NUMBER, STRING, STEP -> false;
            case NAME -> last.is("of") && open.is('(') && open.before.is("for");
            case KEYWORD -> !STATEMENTS.contains(last.text());
            case TEMPLATE -> open == last;
            case ':' -> !open.is('{') || open.object;
            default -> true;
        };
    }
}
