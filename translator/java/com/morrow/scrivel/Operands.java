package com.morrow.scrivel;

import java.util.Arrays;
import org.mozilla.javascript.ast.AstNode;

/** Operands that are evaluated from left to right, each once, whatever statements the later ones need. */
final class Operands {
    private final Generator g;
    /** Lua reads a variable among these operands only when it has evaluated them all. */
    private final boolean late;
    private Code[] codes = new Code[4];
    private int count;
    private int settled;

    Operands(Generator g, boolean late) {
        this.g = g;
        this.late = late;
    }

    Operands add(AstNode node) {
        Block.Link mark = g.out.mark();
        return put(mark, g.value(node));
    }

    /** Adds an operand whose statements, if any, come after the mark. */
    Operands put(Block.Link mark, Code code) {
        if (g.out.grownSince(mark)) {
            g.saveAt(mark, codes, settled, count);
            settled = count;
        } else if (late && code.calls) {
            for (int i = settled; i < count; i++) if (codes[i].fragile) g.saveAt(mark, codes, i, i + 1);
        }
        if (count == codes.length) codes = Arrays.copyOf(codes, 2 * count);
        codes[count++] = code;
        return this;
    }

    /** Evaluates the last operand now, unless nothing can change it, so that it can be read several times. */
    Code keep() {
        g.saveAt(g.out.mark(), codes, settled, count);
        settled = count;
        return codes[count - 1];
    }

    /** Puts every operand so far into a variable, whatever it is. */
    void keepAll() {
        for (int i = 0; i < count; i++) {
            if (codes[i].rank == Code.PREFIX && codes[i].stable && !codes[i].parenthesis) continue;
            codes[i] = g.save(codes[i]);
        }
        settled = count;
    }

    Code get(int i) {
        return codes[i];
    }

    int count() {
        return count;
    }
}
