package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;

/**
 * Writes pieces of code as Lua text. Each Lua line belongs to one JavaScript line: where a piece of another line begins,
 * a new Lua line begins with it. Two functions never begin on the same Lua line.
 */
final class LuaWriter {
    private static final int MOST_CONSTANTS = 65000;

    private final StringBuilder text = new StringBuilder(1 << 16);
    private final StringBuilder listing = new StringBuilder(1 << 14);
    private final StringBuilder functions = new StringBuilder();
    private int pieces;
    /** Large enough a script to have too many constants for Lua. */
    private final boolean large;
    private HashSet<String> constants = new HashSet<>();
    private final ArrayList<Integer> outerPieces = new ArrayList<>();
    private final ArrayList<HashSet<String>> outerConstants = new ArrayList<>();
    private int luaLine;
    private int source = 1;
    private int current = 1;
    private boolean empty = true;
    private boolean functionHere;

    LuaWriter(int firstLine, boolean large) {
        luaLine = firstLine;
        this.large = large;
    }

    void write(Object item) {
        if (item instanceof String) token((String) item);
        else if (item instanceof Integer) source = (Integer) item;
        else if (item == Code.NEWLINE) newline();
        else if (item == Code.END) leave();
        else if (item instanceof Code) {
            Code code = (Code) item;
            for (int i = 0; i < code.size; i++) write(code.items[i]);
        } else if (item instanceof Block) {
            for (Block.Link link = ((Block) item).head.next; link != null; link = link.next) {
                newline();
                write(link.code);
            }
        } else if (item instanceof Span) span((Span) item);
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
        if (empty) current = source;
        else if (current != source) {
            newline();
            current = source;
        }
        text.append(token);
        empty = false;
    }

    /** Counts what takes a place among a function's constants: names of members, literals, tables. */
    private void constant(String token) {
        if (token.isEmpty()) return;
        char c = token.charAt(0);
        boolean counts = c == '"' || c == '.' || c == ':' || c >= '0' && c <= '9' || token.endsWith("({");
        if (counts && constants.add(token.endsWith("({") ? token + pieces : token)) checkConstants();
    }

    private void checkConstants() {
        if (constants.size() > MOST_CONSTANTS) {
            throw new Generator.Refusal(null, "A function, or the script outside of functions, has more than 65,000 constants");
        }
    }

    private void leave() {
        pieces = outerPieces.remove(outerPieces.size() - 1) + 1;
        constants = outerConstants.remove(outerConstants.size() - 1);
        if (large) constants.add("function" + luaLine);
    }

    private void function(FunctionRow row) {
        outerPieces.add(pieces);
        outerConstants.add(constants);
        if (large) constants = new HashSet<>();
        if (functionHere || !empty && current != source) newline();
        functionHere = true;
        functions.append(luaLine).append(' ').append(row.name.isEmpty() ? "-" : row.name.replace('\n', ' ')).append(' ');
        functions.append(row.length).append(' ').append(row.kind).append('\n');
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

    String listing() {
        return listing.toString();
    }

    String functions() {
        return functions.toString();
    }
}
