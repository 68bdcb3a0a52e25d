package com.morrow.scrivel;

import java.util.ArrayDeque;
import java.util.HashSet;
import org.mozilla.javascript.ast.AstNode;

/**
 * Writes pieces of code as Lua text. Each Lua line belongs to one JavaScript line: where a piece of another line begins,
 * a new Lua line begins with it, and else only before a second function, since two never begin on the same Lua line. So
 * a debugger is told once that a line is about to run.
 */
final class LuaWriter {
    private static final int MOST_CONSTANTS = 65000;

    /** A statement that Lua jumps over; written once where it begins and once where it ends. */
    static final class Span {
        /** Pieces of text that surely take less than Lua's longest jump of 32,767 instructions. */
        static final int MOST_PIECES = 45000;

        final AstNode node;
        int begun = -1;

        Span(AstNode node) {
            this.node = node;
        }
    }

    /** Where a function of the script begins, for the table that the support library reads. */
    record FunctionRow(String name, int length, char kind) {}

    /** Where the function around the current one stands. */
    private record Outer(int pieces, HashSet<String> constants, HashSet<String> numbers) {}

    private final StringBuilder text = new StringBuilder(1 << 16);
    /** A row of each a Lua line, and of each a function. */
    final StringBuilder listing = new StringBuilder(1 << 14), functions = new StringBuilder();
    private int pieces;
    /** Large enough a script to have too many constants for Lua. */
    private final boolean large;
    private HashSet<String> constants = new HashSet<>(), numbers = new HashSet<>();
    private final ArrayDeque<Outer> outers = new ArrayDeque<>();
    private int luaLine;
    private int source = 1;
    private int current = 1;
    private boolean empty = true;
    /** What follows is another statement. */
    private boolean next;
    private boolean functionHere;

    LuaWriter(int firstLine, boolean large) {
        luaLine = firstLine;
        this.large = large;
    }

    void write(Object item) {
        if (item instanceof String token) token(token);
        else if (item instanceof Integer line) source = line;
        else if (item == Code.NEXT) next = true;
        else if (item == Code.END) leave();
        else if (item instanceof Code code) {
            for (Object part : code.items) write(part);
        } else if (item instanceof Block block) {
            for (Block.Link link = block.head.next; link != null; link = link.next) {
                next = true;
                write(link.code);
            }
        } else if (item instanceof Span span) span(span);
        else function((FunctionRow) item);
    }

    private void span(Span span) {
        if (span.begun < 0) span.begun = pieces;
        else if (pieces - span.begun > Span.MOST_PIECES) {
            throw new Generator.Refusal(span.node, "This statement is too long for Lua; move parts of it into functions");
        }
    }

    private void token(String token) {
        pieces++;
        if (large) constant(token);
        if (current != source) newline();
        current = source;
        if (next && !empty) text.append(' ');
        text.append(token);
        empty = next = false;
    }

    /** Counts what takes a place among a function's constants: names of members, texts, tables, functions; and numbers. */
    private void constant(String token) {
        if (token.isEmpty()) return;
        char c = token.charAt(0);
        int dot = token.indexOf('.');
        if (c >= '0' && c <= '9') count(numbers, token);
        else if (token.endsWith("({")) count(constants, token + pieces);
        else if (c == '"' || c == ':') count(constants, token);
        else if (dot >= 0) count(constants, member(token, dot));
        // A function for the host is one text.
        if (token.endsWith(" end")) count(constants, token);
    }

    private static String member(String token, int dot) {
        int end = dot + 1;
        while (end < token.length() && Character.isJavaIdentifierPart(token.charAt(end))) end++;
        return token.substring(dot, end);
    }

    private static void count(HashSet<String> known, String constant) {
        if (known.add(constant) && known.size() > MOST_CONSTANTS) {
            throw new Generator.Refusal(null, "A function, or the script outside of functions, has more than 65,000 constants");
        }
    }

    private void leave() {
        Outer outer = outers.pop();
        pieces = outer.pieces() + 1;
        constants = outer.constants();
        numbers = outer.numbers();
        if (large) count(constants, "function" + luaLine);
    }

    private void function(FunctionRow row) {
        outers.push(new Outer(pieces, constants, numbers));
        if (large) {
            constants = new HashSet<>();
            numbers = new HashSet<>();
        }
        if (functionHere || !empty && current != source) newline();
        functionHere = true;
        functions.append(luaLine).append(' ').append(row.name().isEmpty() ? "-" : row.name().replace('\n', ' ')).append(' ');
        functions.append(row.length()).append(' ').append(row.kind()).append('\n');
    }

    private void newline() {
        if (empty) return;
        text.append('\n');
        listing.append(current).append('\n');
        luaLine++;
        empty = true;
        functionHere = false;
    }

    String text() {
        newline();
        return text.toString();
    }
}
