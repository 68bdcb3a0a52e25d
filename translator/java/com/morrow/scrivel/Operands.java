package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.ast.AstNode;

/** Operands that are evaluated from left to right, each once, whatever statements the later ones need. */
final class Operands {
    private final Generator g;
    /** Lua reads a variable among these operands only when it has evaluated them all. */
    private final boolean late;
    private final ArrayList<Code> codes = new ArrayList<>(4);
    private int settled;

    Operands(Generator g, boolean late) {
        this.g = g;
        this.late = late;
    }

    Operands add(AstNode node) {
        return put(g.out.mark(), g.value(node));
    }

    /** Adds the object of a member. A statement that begins with it, and goes on elsewhere, runs from there for a debugger. */
    Operands object(AstNode node, int memberLine) {
        Block.Link mark = g.out.mark();
        Code code = g.value(node);
        boolean alone = code.pure && g.line(node) == g.line && memberLine != g.line;
        return put(mark, alone ? g.save(code) : code);
    }

    /** Adds an operand whose statements, if any, come after the mark. */
    Operands put(Block.Link mark, Code code) {
        if (g.out.mark() != mark) settle(mark, count());
        else if (late && code.calls) {
            int end = count();
            while (end > settled && (!get(end - 1).fragile || get(end - 1).stable)) end--;
            settle(mark, end);
        }
        codes.add(code);
        return this;
    }

    /** Evaluates the operands before one at a mark, those that could change. */
    private void settle(Block.Link mark, int end) {
        for (; settled < end; settled++) {
            Code code = get(settled);
            if (code.stable) continue;
            codes.set(settled, g.save(code, mark));
            mark = mark.next;
        }
    }

    /** Evaluates the operands so far now, unless nothing can change them, so that they can be read several times. */
    Operands keep() {
        settle(g.out.mark(), count());
        return this;
    }

    /** Puts every operand so far into a variable, whatever it is. */
    void keepAll() {
        for (settled = 0; settled < count(); settled++) codes.set(settled, g.save(get(settled)));
    }

    Code get(int i) {
        return codes.get(i);
    }

    Code last() {
        return get(count() - 1);
    }

    List<Code> from(int first) {
        return codes.subList(first, count());
    }

    int count() {
        return codes.size();
    }
}
