package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.ast.AstNode;

/**
 * A piece of Lua text in the making: strings, other pieces, and marks that say from which JavaScript line what follows
 * comes. Pieces nest without being copied, so that the cost of a translation stays in proportion to its size.
 */
final class Code {
    /** Ends a statement. */
    static final Object NEXT = new Object();
    /** Ends what the last {@link LuaWriter.FunctionRow} began. */
    static final Object END = new Object();

    // How tightly an expression binds, as Lua ranks it.
    static final int OR = 1, AND = 2, COMPARE = 3, CONCAT = 4, SUM = 5, PRODUCT = 6, UNARY = 7, ATOM = 9, PREFIX = 10;

    final ArrayList<Object> items = new ArrayList<>(6);
    /** How many strings it is made of; a Lua function in it is one. */
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
    /** Of text: it surely begins, or ends, with no half of a surrogate pair. */
    boolean beginsWhole, endsWhole;
    /** A number that compiled code holds by itself, see {@link Carried}. */
    boolean own;
    /** What a bit operator may take instead, or null: the same but for a multiple of 2^32. */
    Code bits;
    /** A bound on the registers and nesting that its evaluation needs. */
    int weight = 1;
    /** The expression that a pattern takes apart, which faults are blamed on, or null. */
    AstNode origin;
    /** The JavaScript line of its last mark, or 0. */
    int lastLine;

    /** A piece made of {@link #add parts}. */
    static Code of(Object... parts) {
        return new Code().add(parts);
    }

    /** A literal. */
    static Code atom(String text, int type) {
        Code code = read(text, type);
        code.rank = ATOM;
        code.beginsWhole = code.endsWhole = text.indexOf("\\237") < 0;
        return code;
    }

    /** The value of a name that nothing assigns before it is used. */
    static Code read(String name, int type) {
        Code code = of(name).typed(type);
        code.stable = true;
        code.pure = true;
        return code;
    }

    static Code infix(Code left, Object sign, Code right, int rank, int type) {
        Code code = of(left.within(rank == COMPARE ? rank + 1 : rank), sign, right.within(rank + 1)).ranked(rank, type);
        code.weight = Math.max(code.weight, right.weight + 1);
        code.fragile = rank <= AND && (left.fragile || right.fragile);
        return code;
    }

    /** Adds strings, pieces, blocks and marks; an int is the JavaScript line from which what follows comes. */
    Code add(Object... parts) {
        for (Object part : parts) {
            items.add(part);
            if (part instanceof Code code) include(code);
            else if (part instanceof Block block) size += block.size;
            else if (part instanceof Integer line) lastLine = line;
            else if (part instanceof String text) {
                begin(text.startsWith("("));
                size++;
            }
        }
        return this;
    }

    private void begin(boolean withParenthesis) {
        parenthesis = begun ? parenthesis : withParenthesis;
        begun = true;
    }

    private void include(Code code) {
        begin(code.parenthesis);
        size += code.size;
        calls |= code.calls;
        weight = Math.max(weight, code.weight);
        if (code.lastLine != 0) lastLine = code.lastLine;
    }

    boolean isEmptyText() {
        return rank == ATOM && items.get(0).equals("\"\"");
    }

    boolean isAscii() {
        if (rank != ATOM) return false;
        String text = (String) items.get(0);
        for (int i = 0; i < text.length(); i++) if (text.charAt(i) > 127 || text.startsWith("\\237", i)) return false;
        return true;
    }

    /** This as an operand, in parentheses when it binds less tightly than asked. */
    Code within(int least) {
        if (rank >= least) return this;
        Code code = of("(", this, ")");
        code.weight = weight + 1;
        return code;
    }

    /** Ends a call with arguments; `before` registers are taken by what stands before them, `least` is its weight without. */
    Code arguments(List<Code> codes, boolean first, int least, int before) {
        for (int i = 0; i < codes.size(); i++) {
            Code code = codes.get(i);
            boolean cut = i == codes.size() - 1 && code.spreads;
            if (!first || i > 0) add(", ");
            add(cut ? of("(", code, ")") : code);
            least = Math.max(least, code.weight + before + i);
        }
        add(")");
        weight = least;
        isCall = true;
        return this;
    }

    Code ranked(int rank, int type) {
        this.rank = rank;
        return typed(type);
    }

    Code typed(int type) {
        this.type = type;
        return this;
    }
}
