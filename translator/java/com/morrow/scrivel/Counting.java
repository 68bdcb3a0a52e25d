package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * For loops that count become Lua's numeric loops: when nothing but the increment changes the counter, and nothing in
 * the loop can change its bound. Bounds that are not known to be numbers are asked once; an object that stands for one
 * is compared with each turn.
 */
final class Counting {
    /** With larger steps, a loop gets to where whole numbers are no longer exact. */
    private static final double MOST_STEP = 1e6;

    private final Generator g;
    private final ForLoop loop;
    private Variable counter;
    private AstNode start;
    private AstNode bound;
    private int comparison;
    /** The counter goes up, and the bound itself is not reached. */
    private boolean up, open;
    private double step;

    Counting(Generator g, ForLoop loop) {
        this.g = g;
        this.loop = loop;
    }

    /** Whether the loop counts. To be asked before it is written. */
    boolean applies() {
        return hasForm() && keepsCounter() && isInvariant(bound) && startsRight();
    }

    // -- recognition

    private boolean hasForm() {
        AstNode condition = Expressions.bare(loop.getCondition());
        comparison = condition.getType();
        up = comparison == Token.LT || comparison == Token.LE;
        open = comparison == Token.LT || comparison == Token.GT;
        if (!up && comparison != Token.GT && comparison != Token.GE) return false;
        AstNode left = ((InfixExpression) condition).getLeft();
        bound = Expressions.bare(((InfixExpression) condition).getRight());
        counter = left.getType() == Token.NAME ? Names.variable(left) : null;
        if (counter == null || counter.spilledIn != null || counter.checked) return false;
        step = step(Expressions.bare(loop.getIncrement()));
        start = start(loop.getInitializer());
        boolean steps = (up ? step > 0 : step < 0) && Math.abs(step) <= MOST_STEP;
        return steps && start != null && Quiet.is(start, g) && settlesOthers(loop.getInitializer());
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

    private boolean settlesOthers(AstNode head) {
        if (!(head instanceof VariableDeclaration declaration)) return true;
        boolean after = false;
        for (VariableInitializer part : declaration.getVariables()) {
            if (part.getTarget().getType() != Token.NAME) return false;
            if (isCounter(part.getTarget())) after = true;
            else if (after && !isInvariant(start) || !Names.variable(part.getTarget()).isSettled()) return false;
        }
        return true;
    }

    private boolean isInLoop(Variable.Use use) {
        return use.position >= loop.getPosition() && use.position < Names.end(loop);
    }

    /** The counter is written by the loop's head alone and read in the loop alone. */
    private boolean keepsCounter() {
        if (counter.kind == Variable.Kind.CONST || counter.kind == Variable.Kind.SELF) return false;
        for (Variable.Use use : counter.uses) {
            boolean inHead = isInLoop(use) && use.position < loop.getCondition().getPosition();
            if (inHead && (use.closure() != null || counter.kind.isLexical() && !use.write)) return false;
        }
        if (counter.kind.isLexical() && counter.scope == Names.scope(loop)) return counter.writes == 2;
        if (counter.captured) return false;
        int writes = 0;
        for (Variable.Use use : counter.uses) {
            if (use.write && isInLoop(use)) writes++;
            if (heads(use.name) != 1) return false;
        }
        return writes == 2;
    }

    /** How many for loops around a use start the counter anew before it; a use in such a start counts for none. */
    private int heads(AstNode use) {
        int count = 0;
        AstNode child = use;
        for (AstNode node = use.getParent(); node != null && !(node instanceof FunctionNode); node = node.getParent()) {
            if (node instanceof ForLoop outer && start(outer.getInitializer()) != null) {
                if (child == outer.getInitializer() && !Names.use(use).write) return 0;
                count++;
            }
            child = node;
        }
        return count;
    }

    /**
     * The counter begins as a number. An open bound is turned into a closed one, which is exact for whole numbers. For
     * undefined and for objects, the library puts an infinity that is right for counters that go up only. A compiled Lua
     * loop begins at 0 where it is to begin at -0.
     */
    private boolean startsRight() {
        AstNode from = Expressions.bare(start);
        boolean below = from.getType() == Token.NEG && Expressions.bare(((UnaryExpression) from).getOperand()) instanceof NumberLiteral number
            && number.getNumber() != 0;
        if (from.getType() == Token.NEG && !below) return false;
        int type = g.types.of(start);
        boolean whole = Types.isWhole(type) && step == Math.rint(step);
        return Types.isNumber(type) && (whole || !open) && (up || Types.isNumber(g.types.of(bound)));
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
                    && isInvariant(get.getTarget()) && Quiet.is(get, g) && Quiet.is(loop.getBody(), g) && Quiet.is(start, g);
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

    void write(Loops loops) {
        int line = g.line;
        loops.own(Names.scope(loop));
        counter.counts = true;
        declareOthers();
        g.line = line;
        Operands operands = new Operands(g, false).add(start);
        boolean certain = isCertain(start), number = Types.isNumber(g.types.of(bound));
        boolean tested = !certain || number && !isCertain(bound);
        if (number) operands.add(bound);
        if (tested) operands.keep();
        Code first = operands.get(0), end;
        String slow = null;
        if (number) end = operands.get(1);
        else {
            String fast = g.fresh();
            slow = g.fresh();
            g.temporaries += 2;
            g.out.add(line, "local " + fast + ", " + slow + " = ", g.operators.library("limit", g.value(bound)));
            end = Code.read(fast, Types.NUMBER);
        }
        Code limit = closed(end);
        if (tested) {
            // Asked here whether there is a first turn: LuaJIT's compiled loop takes one where an end is NaN.
            Code test = Code.of(first, up ? open ? " < " : " <= " : open ? " > " : " >= ", end, " and ");
            limit = Code.of(test, limit, up ? " or -1 / 0" : " or 1 / 0");
            if (!certain) first = Code.of(test, first, up ? " or 1 / 0" : " or -1 / 0");
        }
        String by = step == 1 ? "" : ", " + Lua.number(step);
        g.out.add(line, "for " + counter.lua + " = ", first, ", ", limit, by + " do");
        if (slow != null) {
            Code value = Code.read(counter.lua, Types.NUMBER);
            Code test = g.operators.combine(comparison, value, Code.read(slow, Types.UNKNOWN), line);
            g.out.add(line, "if " + slow + " and ", g.operators.not(test), " then break end");
        }
        loops.body(loop.getBody(), false);
        counter.counts = false;
        g.out.add(line, "end");
    }

    /** Declares the names of the head but the counter, which the Lua loop declares. */
    private void declareOthers() {
        g.functions.open(Names.scope(loop));
        if (!(loop.getInitializer() instanceof VariableDeclaration declaration)) return;
        for (VariableInitializer part : declaration.getVariables()) {
            if (isCounter(part.getTarget())) continue;
            g.temporaries++;
            g.line = g.line(part);
            g.statements.single((Name) part.getTarget(), part.getInitializer());
        }
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
