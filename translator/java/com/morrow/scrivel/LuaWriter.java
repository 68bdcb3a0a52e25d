package com.morrow.scrivel;

/**
 * Writes pieces of code as Lua text. Each Lua line belongs to one JavaScript line: where a piece of another line begins,
 * a new Lua line begins with it. Two functions never begin on the same Lua line.
 */
final class LuaWriter {
    private final StringBuilder text = new StringBuilder(1 << 16);
    private final StringBuilder listing = new StringBuilder(1 << 14);
    private final StringBuilder functions = new StringBuilder();
    private int pieces;
    private int luaLine;
    private int source = 1;
    private int current = 1;
    private boolean empty = true;
    private boolean functionHere;

    LuaWriter(int firstLine) {
        luaLine = firstLine;
    }

    void write(Object item) {
        if (item instanceof String) token((String) item);
        else if (item instanceof Integer) source = (Integer) item;
        else if (item == Code.NEWLINE) newline();
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
        if (empty) current = source;
        else if (current != source) {
            newline();
            current = source;
        }
        text.append(token);
        empty = false;
    }

    private void function(FunctionRow row) {
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
