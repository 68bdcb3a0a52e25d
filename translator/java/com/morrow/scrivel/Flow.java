package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Node;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Where control goes: which statements never end normally, and what a break or continue leads to. */
final class Flow {
    final Flow outer;
    private final List<Label> labels;
    /** What break or continue can name, or a try statement, a part of which they have to leave. */
    private final AstNode statement;
    String breakLabel, continueLabel;
    /** For a part of a try statement: the jumps that leave it, in the order of their codes from 2 on. */
    final ArrayList<Jump> jumps = new ArrayList<>(0);
    boolean returns;

    /** A jump that leaves a part of a try statement. */
    record Jump(Flow target, boolean isContinue) {}

    Flow(Flow outer, List<Label> labels, AstNode statement) {
        this.outer = outer;
        this.labels = labels;
        this.statement = statement;
    }

    String label(boolean isContinue, Generator g) {
        if (isContinue) return continueLabel != null ? continueLabel : (continueLabel = "continue" + g.number());
        return breakLabel != null ? breakLabel : (breakLabel = "break" + g.number());
    }

    boolean isLoop() {
        return statement instanceof Loop;
    }

    boolean isPart() {
        return statement instanceof TryStatement;
    }

    /** What a break or continue leads to, with a label or with null. */
    Flow find(String label, boolean isContinue) {
        Flow flow = this;
        while (!flow.takes(label, isContinue)) flow = flow.outer;
        return flow;
    }

    private boolean takes(String label, boolean isContinue) {
        if (label == null) return isLoop() || statement instanceof SwitchStatement && !isContinue;
        for (Label own : labels) if (own.getName().equals(label)) return true;
        return false;
    }

    /** True when control never gets past a statement. */
    static boolean ends(AstNode node) {
        if (node == null) return false;
        return switch (node.getType()) {
            case Token.RETURN, Token.THROW, Token.BREAK, Token.CONTINUE -> true;
            case Token.BLOCK -> anyEnds(node);
            case Token.IF -> ends(((IfStatement) node).getThenPart()) && ends(((IfStatement) node).getElsePart());
            default -> false;
        };
    }

    private static boolean anyEnds(AstNode block) {
        for (Node child : block) if (ends((AstNode) child)) return true;
        return false;
    }
}
