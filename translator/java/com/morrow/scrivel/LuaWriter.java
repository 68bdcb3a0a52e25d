package com.morrow.scrivel;

import java.util.ArrayDeque;
import java.util.HashSet;

/**
 * Writes pieces of code as Lua text. Each Lua line belongs to one JavaScript line: where a piece of another line begins,
 * a new Lua line begins with it, and else only before a second function, since two never begin on the same Lua line. So
 * a debugger is told once that a line is about to run.
 */
final class LuaWriter {
    private static final int MOST_CONSTANTS = 65000;

    /** Where a function of the script begins, for the table that the support library reads. */
    record FunctionRow(String name, int length, char kind) {}

    private final StringBuilder text = new StringBuilder(1 << 16);
    /** A row of each a Lua line, and of each a function. */
    final StringBuilder listing = new StringBuilder(1 << 14), functions = new StringBuilder();
    /** Large enough a script to have too many constants for Lua. */
    private final boolean large;
    /** Of each function around the current place, this one's last. */
    private final ArrayDeque<HashSet<String>> constants = new ArrayDeque<>();
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
        constants.push(new HashSet<>());
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
        } else function((FunctionRow) item);
    }

    private void token(String token) {
        if (large) constant(token);
        if (current != source) newline();
        current = source;
        if (next && !empty) text.append(' ');
        text.append(token);
        empty = next = false;
    }

    /** Counts what may take a place among a function's constants: members, texts, numbers; tables and functions each. */
    private void constant(String token) {
        char c = token.isEmpty() ? ',' : token.charAt(0);
        boolean literal = c >= '0' && c <= '9' || c == '"' || c == ':' || c != ',' && token.indexOf('.') >= 0;
        if (token.endsWith("({")) count(token + text.length());
        else if (literal || token.endsWith(" end")) count(token);
    }

    private void count(String constant) {
        if (constants.peek().add(constant) && constants.peek().size() > MOST_CONSTANTS) {
            throw new Generator.Refusal(null, "A function, or the script outside of functions, has more than 65,000 constants");
        }
    }

    private void leave() {
        constants.pop();
        if (large) count("function" + luaLine);
    }

    private void function(FunctionRow row) {
        constants.push(new HashSet<>());
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
