package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * For loops that count become Lua's numeric loops: when nothing but the head changes the counter, and nothing in the loop
 * can change its bound. The bound is asked once.
 */
final class Counting {
    /** With larger steps, a loop gets to where whole numbers are no longer exact. */
    private static final double MOST_STEP = 1e6;

    private final Generator g;
    private final ForLoop loop;
    private Variable counter;
    /** The counter is the loop's own. */
    private boolean own;
    private AstNode start;
    private AstNode bound;
    /** The counter goes up, and the bound itself is not reached. */
    private boolean up, open;
    private double step;

    Counting(Generator g, ForLoop loop) {
        this.g = g;
        this.loop = loop;
    }

    /** Whether the loop counts. To be asked before it is written. */
    boolean applies() {
        return hasForm() && keepsCounter() && isInvariant(bound);
    }

    // -- recognition

    private boolean hasForm() {
        AstNode condition = Expressions.bare(loop.getCondition());
        int comparison = condition.getType();
        up = comparison == Token.LT || comparison == Token.LE;
        open = comparison == Token.LT || comparison == Token.GT;
        if (!up && comparison != Token.GT && comparison != Token.GE) return false;
        AstNode left = ((InfixExpression) condition).getLeft();
        bound = Expressions.bare(((InfixExpression) condition).getRight());
        counter = left.getType() == Token.NAME ? Names.variable(left) : null;
        if (counter == null || counter.spilledIn != null || counter.checked || counter.shared) return false;
        own = counter.scope == Names.scope(loop);
        step = step(Expressions.bare(loop.getIncrement()));
        start = start(loop.getInitializer());
        boolean steps = (up ? step > 0 : step < 0) && Math.abs(step) <= MOST_STEP;
        return steps && start != null && startsRight(Expressions.bare(start));
    }

    private boolean isCounter(AstNode node) {
        return node.getType() == Token.NAME && Names.variable(node) == counter;
    }

    /** By how much the increment changes the counter, or 0 when it does anything else. */
    private double step(AstNode node) {
        boolean down = node.getType() == Token.DEC || node.getType() == Token.ASSIGN_SUB;
        double by = 0;
        if (node instanceof UpdateExpression change && isCounter(change.getOperand())) by = 1;
        else if (node instanceof Assignment change && (down || node.getType() == Token.ASSIGN_ADD)) {
            if (isCounter(change.getLeft()) && change.getRight() instanceof NumberLiteral number) by = number.getNumber();
        }
        return down ? -by : by;
    }

    /** What the head of a for loop gives to the counter first, or null. */
    private AstNode start(AstNode head) {
        AstNode found = null;
        if (head instanceof VariableDeclaration declaration) {
            for (VariableInitializer part : declaration.getVariables()) {
                if (isCounter(part.getTarget())) found = part.getInitializer();
            }
        } else if (head instanceof Assignment first && head.getType() == Token.ASSIGN && isCounter(first.getLeft())) {
            found = first.getRight();
        }
        return found;
    }

    /**
     * The counter begins as a number, and a whole one where an open bound is turned into a closed one, which is exact for
     * these. A compiled Lua loop begins at 0 where it is to begin at -0.
     */
    private boolean startsRight(AstNode from) {
        boolean below = from instanceof UnaryExpression sign && sign.getOperand() instanceof NumberLiteral number && number.getNumber() != 0;
        if (from.getType() == Token.NEG && !below) return false;
        int type = g.types.of(from);
        return Types.isNumber(type) && (!open || Types.isWhole(type) && step == Math.rint(step));
    }

    private boolean isInLoop(Variable.Use use) {
        return Names.isIn(use.name, loop);
    }

    /** The loop's head alone changes the counter there, and no function does. */
    private boolean keepsCounter() {
        if (counter.kind == Variable.Kind.CONST || counter.kind == Variable.Kind.SELF) return false;
        int writes = 0;
        for (Variable.Use use : counter.uses) {
            boolean inHead = Names.isIn(use.name, loop.getInitializer());
            if (use.early || use.write && use.closure() != null || own && inHead && !use.write) return false;
            if (use.write && isInLoop(use)) writes++;
        }
        return writes == 2;
    }

    private boolean isInvariant(AstNode node) {
        node = Expressions.bare(node);
        return switch (node.getType()) {
            case Token.NUMBER -> true;
            case Token.NAME -> isInvariant(Names.use(node));
            case Token.ADD, Token.SUB, Token.MUL, Token.DIV ->
                isInvariant(((InfixExpression) node).getLeft()) && isInvariant(((InfixExpression) node).getRight());
            case Token.GETPROP -> {
                PropertyGet get = (PropertyGet) node;
                yield get.getProperty().getIdentifier().equals("length") && get.getTarget().getType() == Token.NAME
                    && isInvariant(get.getTarget()) && Quiet.is(get, g) && Quiet.is(loop.getBody(), g);
            }
            default -> false;
        };
    }

    private boolean isInvariant(Variable.Use use) {
        Variable variable = use.variable;
        if (variable == null || variable == counter || use.early || variable.checked) return false;
        if (variable.isSettled()) return true;
        if (variable.writtenInClosure) return false;
        for (Variable.Use other : variable.uses) if (other.write && isInLoop(other)) return false;
        return use.closure() == null;
    }

    // -- writing

    /** The head of the loop declares the counter and nothing else. */
    boolean isAlone() {
        return own && ((VariableDeclaration) loop.getInitializer()).getVariables().size() == 1;
    }

    /** Writes the loop. If its counter is not alone, the head has run. */
    void write(Loops loops) {
        int line = g.line;
        Code first = isAlone() ? g.value(start) : Code.read(counter.access(), g.types.of(start));
        String item = own ? counter.lua : g.fresh();
        Operands operands = new Operands(g, false).put(g.out.mark(), isCertain(start) ? first : limit(first, !up));
        Block.Link mark = g.out.mark();
        Code end = g.value(bound);
        operands.put(mark, closed(isCertain(bound) ? end : limit(end, up)));
        g.out.add(line, "for " + item + " = ", operands.get(0), ", ", operands.get(1),
            (step == 1 ? "" : ", " + Lua.number(step)) + " do");
        if (!own) g.out.add(counter.access() + " = " + item);
        counter.counts = own;
        loops.body(loop.getBody(), !own);
        counter.counts = false;
        if (!own) g.out.add(line, counter.access() + " = " + item + " + " + Lua.number(step));
        g.out.add(line, "end");
    }

    /** A value as a number; where it is NaN, the infinity that ends a loop before its first turn. */
    private Code limit(Code value, boolean least) {
        Code code = least ? g.operators.library(g.line, "limit", value)
            : g.operators.library(g.line, "limit", value, Code.atom("1 / 0", Types.NUMBER));
        return code.typed(Types.NUMBER);
    }

    /** Surely not NaN. Products and sums of whole numbers may have grown to infinities, and a difference of those is. */
    private boolean isCertain(AstNode end) {
        end = Expressions.bare(end);
        int type = g.types.of(end);
        if (type == Types.BITS || type == Types.SUM || end instanceof NumberLiteral) return true;
        Variable variable = end.getType() == Token.NAME ? Names.variable(end) : null;
        if (variable != null) return variable.counts && Types.isWhole(type);
        return (end.getType() == Token.ADD || end.getType() == Token.SUB) && isCertain(((InfixExpression) end).getLeft())
            && isCertain(((InfixExpression) end).getRight());
    }

    /** The last value that a counter may have. */
    private Code closed(Code code) {
        if (!open) return code;
        if (bound instanceof NumberLiteral number) {
            double value = number.getNumber();
            return Code.atom(Lua.number(up ? Math.ceil(value) - 1 : Math.floor(value) + 1), Types.INTEGER);
        }
        Code whole = Types.isWhole(code.type) ? code : g.operators.library(up ? "ceil" : "floor", code);
        return Code.of(whole.within(Code.SUM), up ? " - 1" : " + 1").ranked(Code.SUM, Types.INTEGER);
    }
}
