package com.morrow.scrivel;

import java.util.List;
import org.mozilla.javascript.Node;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * For loops that count become Lua's numeric loops: when nothing but the increment changes the counter, and nothing in
 * the loop can change its bound. Bounds that are not known to be numbers are asked once; an object that stands for one
 * is compared with each turn.
 */
final class Counting {
    private static final int MOST_NESTED = 10;

    private final Generator g;
    private int nested;

    // The loop in question.
    private ForLoop loop;
    private Variable counter;
    private AstNode start;
    private AstNode bound;
    private int comparison;
    private double step;

    Counting(Generator g) {
        this.g = g;
    }

    /** Writes the loop if it counts; false leaves everything untouched. */
    boolean translate(ForLoop node, Loops loops) {
        loop = node;
        if (nested >= MOST_NESTED || !hasForm() || !keepsCounter() || !isInvariant(bound) || !startsRight()) return false;
        write(node, loops);
        return true;
    }

    // -- recognition

    private boolean hasForm() {
        AstNode condition = Expressions.bare(loop.getCondition());
        comparison = condition.getType();
        if (comparison != Token.LT && comparison != Token.LE && comparison != Token.GT && comparison != Token.GE) return false;
        AstNode left = ((InfixExpression) condition).getLeft();
        bound = Expressions.bare(((InfixExpression) condition).getRight());
        counter = left.getType() == Token.NAME ? Names.variable(left) : null;
        if (counter == null || counter.spilledIn != null || counter.checked) return false;
        step = step(Expressions.bare(loop.getIncrement()));
        boolean up = comparison == Token.LT || comparison == Token.LE;
        return (up ? step > 0 : step < 0) && findStart(loop.getInitializer());
    }

    private boolean isCounter(AstNode node) {
        return node.getType() == Token.NAME && Names.variable(node) == counter;
    }

    /** By how much the increment changes the counter, or 0 when it does anything else. */
    private double step(AstNode node) {
        switch (node.getType()) {
            case Token.INC: case Token.DEC:
                if (!isCounter(((UpdateExpression) node).getOperand())) return 0;
                return node.getType() == Token.INC ? 1 : -1;
            case Token.ASSIGN_ADD: case Token.ASSIGN_SUB: {
                InfixExpression change = (InfixExpression) node;
                if (!isCounter(change.getLeft()) || change.getRight().getType() != Token.NUMBER) return 0;
                double by = ((NumberLiteral) change.getRight()).getNumber();
                return node.getType() == Token.ASSIGN_ADD ? by : -by;
            }
            default:
                return 0;
        }
    }

    private boolean findStart(AstNode node) {
        start = null;
        if (node instanceof VariableDeclaration) {
            for (VariableInitializer part : ((VariableDeclaration) node).getVariables()) {
                if (isCounter(part.getTarget())) start = part.getInitializer();
                else if (part.getTarget().getType() != Token.NAME || !Names.variable(part.getTarget()).isSettled()) return false;
            }
        } else if (node.getType() == Token.ASSIGN && isCounter(((InfixExpression) node).getLeft())) {
            start = ((InfixExpression) node).getRight();
        }
        return start != null && isQuiet(start);
    }

    /** The counter is written by the loop's head alone and read in the loop alone. */
    private boolean keepsCounter() {
        if (counter.kind == Variable.Kind.CONST) return false;
        for (Variable.Use use : counter.uses) {
            boolean inHead = use.position >= loop.getPosition() && use.position < loop.getCondition().getPosition();
            if (inHead && use.closure() != null) return false;
        }
        if (counter.isLexical() && counter.scope == Names.scope(loop)) return counter.writes == 2;
        if (counter.captured) return false;
        int from = loop.getPosition(), to = from + loop.getLength();
        int writes = 0;
        for (Variable.Use use : counter.uses) {
            if (use.write && use.position >= from && use.position < to) writes++;
            if (heads(use.name) != 1) return false;
        }
        return writes == 2;
    }

    /** How many for loops around a use start the counter anew before it; a use in such a start counts for none. */
    private int heads(AstNode use) {
        int count = 0;
        AstNode child = use;
        for (AstNode node = use.getParent(); node != null && !(node instanceof FunctionNode); node = node.getParent()) {
            if (node instanceof ForLoop && starts(((ForLoop) node).getInitializer())) {
                boolean inStart = child == ((ForLoop) node).getInitializer();
                if (inStart && Names.use(use) != null && !Names.use(use).write) return 0;
                count++;
            }
            child = node;
        }
        return count;
    }

    private boolean starts(AstNode node) {
        if (node.getType() == Token.ASSIGN) return isCounter(((InfixExpression) node).getLeft());
        if (!(node instanceof VariableDeclaration)) return false;
        for (VariableInitializer part : ((VariableDeclaration) node).getVariables()) {
            if (isCounter(part.getTarget()) && part.getInitializer() != null) return true;
        }
        return false;
    }

    private boolean startsRight() {
        int type = g.types.of(start);
        if (!Types.isNumber(type)) return false;
        boolean known = Types.isNumber(g.types.of(bound));
        boolean open = comparison == Token.LT || comparison == Token.GT;
        // An open bound is turned into a closed one, which is exact for whole numbers.
        if (open && (type != Types.INTEGER || step != Math.rint(step))) return false;
        return known || step > 0;
    }

    private boolean isInvariant(AstNode node) {
        node = Expressions.bare(node);
        switch (node.getType()) {
            case Token.NUMBER:
                return true;
            case Token.NAME: {
                Variable.Use use = Names.use(node);
                Variable variable = use.variable;
                if (variable == null || variable == counter || use.early || variable.checked) return false;
                if (variable.isSettled()) return true;
                if (variable.writtenInClosure) return false;
                int from = loop.getPosition(), to = from + loop.getLength();
                for (Variable.Use other : variable.uses) {
                    if (other.write && other.position >= from && other.position < to) return false;
                }
                return use.closure() == null;
            }
            case Token.ADD: case Token.SUB: case Token.MUL: case Token.DIV:
                return isInvariant(((InfixExpression) node).getLeft()) && isInvariant(((InfixExpression) node).getRight());
            case Token.GETPROP:
                return ((PropertyGet) node).getProperty().getIdentifier().equals("length")
                    && ((PropertyGet) node).getTarget().getType() == Token.NAME && isInvariant(((PropertyGet) node).getTarget())
                    && isQuiet(loop.getBody()) && isQuiet(start);
            default:
                return false;
        }
    }

    /** Changes no object and runs no other function. */
    boolean isQuiet(AstNode node) {
        QuietTest test = new QuietTest();
        node.visit(test);
        return test.quiet;
    }

    private static final class QuietTest implements NodeVisitor {
        boolean quiet = true;

        @Override
        public boolean visit(AstNode node) {
            int type = node.getType();
            AstNode target = node instanceof Assignment ? ((Assignment) node).getLeft()
                : node instanceof UpdateExpression ? ((UpdateExpression) node).getOperand() : null;
            if (target != null && Expressions.bare(target).getType() != Token.NAME) quiet = false;
            if (type == Token.CALL && Calls.mathFunction(((FunctionCall) node).getTarget()) == null) quiet = false;
            if (type == Token.NEW || type == Token.DELPROP || node instanceof ForInLoop) quiet = false;
            return quiet && type != Token.FUNCTION;
        }
    }

    // -- writing

    private void write(ForLoop node, Loops loops) {
        Variable variable = counter;
        Scope scope = Names.scope(node);
        int line = g.line;
        loops.own(scope);
        enter(node, scope);
        g.line = line;
        Operands operands = new Operands(g, false).add(start);
        String slow = null;
        Code limit;
        if (Types.isNumber(g.types.of(bound))) limit = closed(operands.add(bound).get(1));
        else {
            String fast = g.fresh();
            slow = g.fresh();
            g.temporaries += 2;
            Code asked = g.operators.library("limit", g.value(bound));
            g.out.add(new Code().line(line).add("local " + fast + ", " + slow + " = ").add(asked));
            limit = closed(Generator.read(fast, Types.NUMBER));
        }
        Code head = new Code().line(line).add("for " + variable.lua + " = ").add(operands.get(0)).add(", ").add(limit);
        if (step != 1) head.add(", " + Lua.number(step));
        g.out.add(head.add(" do"));
        if (slow != null) {
            Code test = g.operators.combine(comparison, Generator.read(variable.lua, Types.NUMBER), Generator.read(slow, Types.UNKNOWN), line);
            g.out.add(new Code().line(line).add("if " + slow + " and ").add(g.operators.not(test)).add(" then break end"));
        }
        boolean counted = variable.counts;
        variable.counts = true;
        nested++;
        loops.body(node.getBody(), false);
        nested--;
        variable.counts = counted;
        g.out.add(g.statement(line).add("end"));
    }

    /** Declares the head's other variables. */
    private void enter(ForLoop node, Scope scope) {
        boolean declared = counter.inPlace;
        counter.inPlace = true;
        g.functions.enter(scope);
        counter.inPlace = declared;
        if (!(node.getInitializer() instanceof VariableDeclaration)) return;
        List<VariableInitializer> parts = ((VariableDeclaration) node.getInitializer()).getVariables();
        for (VariableInitializer part : parts) {
            if (isCounter(part.getTarget())) continue;
            g.temporaries++;
            g.line = g.line(part);
            g.statements.single((Name) part.getTarget(), part.getInitializer());
        }
    }

    /** The last value that a counter may have. */
    private Code closed(Code code) {
        if (comparison == Token.LE || comparison == Token.GE) return code;
        boolean up = comparison == Token.LT;
        if (bound.getType() == Token.NUMBER) {
            double value = ((NumberLiteral) bound).getNumber();
            return Code.atom(Lua.number(up ? Math.ceil(value) - 1 : Math.floor(value) + 1), Types.INTEGER);
        }
        Code whole = code.type == Types.INTEGER ? code : g.operators.library(up ? "ceil" : "floor", code);
        return new Code().operand(whole, Code.SUM).add(up ? " - 1" : " + 1").ranked(Code.SUM, Types.INTEGER);
    }
}
