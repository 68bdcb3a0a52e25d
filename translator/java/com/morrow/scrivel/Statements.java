package com.morrow.scrivel;

import java.util.List;
import org.mozilla.javascript.Node;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Statements, but for loops and what leaves them. */
record Statements(Generator g) {
    /** A statement of so many pieces of text surely takes less than Lua's longest jump of 32,767 instructions. */
    private static final int MOST_PIECES = 45000;

    /** Statements in a row; what control cannot reach is left out, so that a return is the last of its Lua block. */
    void list(Iterable<? extends Node> statements) {
        for (Node statement : statements) {
            statement((AstNode) statement);
            if (Flow.ends((AstNode) statement)) return;
        }
    }

    private void statement(AstNode node) {
        g.line = g.line(node);
        int size = g.out.size;
        switch (node.getType()) {
            case Token.VAR -> declaration((VariableDeclaration) node);
            case Token.FUNCTION, Token.EMPTY, Token.DEBUGGER -> {}
            case Token.BLOCK -> block(node);
            default -> {
                Generator.Outer outer = g.collect();
                simple(node);
                g.enclose(g.line(node), outer);
            }
        }
        measure(node, size);
    }

    /** Refuses a statement, or a part of a declaration, which is too long for Lua; there were so many pieces before it. */
    private void measure(AstNode node, int before) {
        if (g.out.size - before <= MOST_PIECES || !jumps(node)) return;
        throw new Generator.Refusal(node, "This statement is too long for Lua; move parts of it into functions");
    }

    /** Whether Lua may jump from the beginning of a statement to its end. */
    private boolean jumps(AstNode node) {
        if (node.getType() == Token.BLOCK || node instanceof VariableDeclaration) return false;
        if (!(node instanceof ExpressionStatement || node instanceof VariableInitializer)) return true;
        String text = g.source.text.substring(node.getPosition(), node.getPosition() + node.getLength());
        return text.contains("?") || text.contains("&&") || text.contains("||");
    }

    private void simple(AstNode node) {
        switch (node.getType()) {
            case Token.IF -> ifStatement((IfStatement) node);
            case Token.RETURN -> g.jumps.returning(((ReturnStatement) node).getReturnValue());
            case Token.THROW -> {
                Code value = g.value(((ThrowStatement) node).getExpression());
                g.out.add(g.operators.library(g.line(node), "throw", value));
            }
            case Token.BREAK -> g.jumps.jump(((BreakStatement) node).getBreakLabel(), false);
            case Token.CONTINUE -> g.jumps.jump(((ContinueStatement) node).getLabel(), true);
            case Token.FOR, Token.WHILE, Token.DO -> g.loops.loop((Loop) node, List.of());
            case Token.SWITCH -> g.jumps.switchStatement((SwitchStatement) node, List.of());
            case Token.TRY -> g.jumps.tryStatement((TryStatement) node);
            default -> {
                if (node instanceof LabeledStatement labeled) g.jumps.labeled(labeled);
                else g.expressions.effect(((ExpressionStatement) node).getExpression());
            }
        }
    }

    // -- blocks

    /** A statement as the whole of a Lua block, which is so many levels deeper. */
    void body(AstNode node, int levels) {
        g.deeper(node, levels);
        if (node.getType() == Token.BLOCK) {
            g.functions.open(Names.scope(node));
            list(node);
        } else statement(node);
        g.depth -= levels;
    }

    private void block(AstNode node) {
        if (Names.scope(node).variables.isEmpty()) {
            list(node);
            return;
        }
        g.out.add(g.line(node), "do");
        body(node, 1);
        g.out.add(g.endLine(node), "end");
    }

    private void ifStatement(IfStatement node) {
        int outside = g.temporaries;
        g.out.add(g.line(node), "if ", g.expressions.condition(node.getCondition()), " then");
        int levels = g.temporaries > outside ? 2 : 1;
        body(node.getThenPart(), levels);
        AstNode last = node.getThenPart(), other = node.getElsePart();
        // A chain of else-ifs stays flat as long as no condition needs statements of its own.
        while (other instanceof IfStatement next) {
            g.line = g.line(next);
            int before = g.temporaries;
            Generator.Prepared condition = g.prepare(next.getCondition(), true);
            g.temporaries = before;
            if (!condition.before().isEmpty()) break;
            g.out.add(g.line, "elseif ", condition.code(), " then");
            body(last = next.getThenPart(), levels);
            other = next.getElsePart();
        }
        if (other != null) {
            g.out.add("else");
            body(last = other, levels);
        }
        if (last.getType() == Token.BLOCK) g.out.add(g.endLine(last), "end");
        else g.out.add("end");
    }

    // -- declarations

    /** The declarations of a statement or a loop's head. */
    void declaration(VariableDeclaration node) {
        for (VariableInitializer part : node.getVariables()) {
            g.line = g.line(part);
            int size = g.out.size;
            if (part.getTarget() instanceof Name name) single(name, part.getInitializer());
            else pattern(part);
            measure(part, size);
        }
    }

    private void single(Name name, AstNode value) {
        Variable variable = Names.variable(name);
        boolean here = isDeclaredAt(name);
        if (value == null) {
            boolean clears = variable.kind.isLexical() && (variable.spilledIn != null || variable.checked);
            if (here) declare(variable);
            else if (clears) g.assignments.write(name, Code.atom("nil", Types.UNKNOWN), true);
            return;
        }
        if (here && Functions.isUnnamed(value)) {
            g.out.add(g.functions.local((FunctionNode) value, variable));
            return;
        }
        Generator.Outer outer = g.collect();
        Code code = g.assignments.named(value, variable.name);
        boolean enclosed = g.temporaries > outer.temporaries();
        if (here && !enclosed) g.out.add(g.line, "local " + variable.lua + " = ", g.assignments.kept(Names.use(name), code));
        else g.assignments.write(name, code, true);
        if (here && enclosed) outer.out().add(g.line, "local " + variable.lua);
        g.enclose(g.line, outer);
    }

    private void pattern(VariableInitializer part) {
        declareHere(part.getTarget());
        Generator.Outer outer = g.collect();
        g.assignments.takeApart(part.getTarget(), part.getInitializer(), true, false);
        g.enclose(g.line, outer);
    }

    /** Declares the variables of a target that are declared in place. */
    void declareHere(AstNode target) {
        for (Name name : Patterns.names(target)) if (isDeclaredAt(name)) declare(Names.variable(name));
    }

    private static boolean isDeclaredAt(Name name) {
        Variable variable = Names.variable(name);
        return variable.inPlace && variable.first == name;
    }

    private void declare(Variable variable) {
        g.out.add(g.line, "local " + variable.lua);
    }
}
