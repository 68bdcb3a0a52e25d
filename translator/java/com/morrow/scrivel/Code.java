package com.morrow.scrivel;

/**
 * A piece of Lua text in the making: strings, other pieces, and marks that say from which JavaScript line what follows
 * comes. Pieces nest without being copied, so that the cost of a translation stays in proportion to its size.
 */
final class Code {
    /** Begins a Lua line. */
    static final Object NEWLINE = new Object();
    /** Ends what the last {@link FunctionRow} began. */
    static final Object END = new Object();

    // How tightly an expression binds, as Lua ranks it.
    static final int OR = 1, AND = 2, COMPARE = 3, CONCAT = 4, SUM = 5, PRODUCT = 6, UNARY = 7, ATOM = 9, PREFIX = 10;

    Object[] items = new Object[6];
    int size;
    private boolean begun;

    int rank = PREFIX;
    int type = Types.UNKNOWN;
    /** The value stays the same whatever statements run before it is used. */
    boolean stable;
    /** A temporary of the expression that is being built, which may still be assigned. */
    boolean temporary;
    /** A register that a closure may assign: Lua reads it late. */
    boolean fragile;
    /** Evaluating it runs other code. */
    boolean calls;
    /** A call, which Lua takes as a statement. */
    boolean isCall;
    /** A call that may give no value or several: as a last argument it is cut to one. */
    boolean spreads;
    /** Evaluating it does nothing else and cannot fail. */
    boolean pure;
    /** Begins with a parenthesis, which cannot begin a Lua statement. */
    boolean parenthesis;
    /** A bound on the registers and nesting that its evaluation needs. */
    int weight = 1;
    /** The JavaScript line of its last mark, or 0. */
    int lastLine;

    static Code of(String text) {
        return new Code().add(text);
    }

    static Code atom(String text, int type) {
        Code code = of(text);
        code.rank = ATOM;
        code.type = type;
        code.stable = true;
        code.pure = true;
        return code;
    }

    private void append(Object item) {
        if (size == items.length) items = java.util.Arrays.copyOf(items, 2 * size);
        items[size++] = item;
    }

    Code add(String text) {
        begun = true;
        append(text);
        return this;
    }

    Code add(Code code) {
        if (!begun) parenthesis = code.parenthesis;
        begun = true;
        append(code);
        calls |= code.calls;
        if (code.weight > weight) weight = code.weight;
        if (code.lastLine != 0) lastLine = code.lastLine;
        return this;
    }

    Code add(Block block) {
        append(block);
        return this;
    }

    Code add(FunctionRow row) {
        append(row);
        return this;
    }

    Code add(Span span) {
        append(span);
        return this;
    }

    Code line(int line) {
        append(line);
        lastLine = line;
        return this;
    }

    Code end() {
        append(END);
        return add("end");
    }

    Code newline() {
        append(NEWLINE);
        return this;
    }

    /** Adds an argument of a call. */
    Code argument(Code code, boolean last) {
        return last && code.spreads ? add("(").add(code).add(")") : add(code);
    }

    /** Adds an operand, in parentheses when it binds less tightly than asked. */
    Code operand(Code code, int least) {
        if (code.rank >= least) return add(code);
        if (!begun) parenthesis = true;
        return add("(").addInner(code).add(")");
    }

    private Code addInner(Code code) {
        boolean kept = parenthesis;
        add(code);
        parenthesis = kept;
        if (code.weight + 1 > weight) weight = code.weight + 1;
        return this;
    }

    Code ranked(int rank, int type) {
        this.rank = rank;
        this.type = type;
        return this;
    }
}
