package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Statements, but for loops and what leaves them. */
final class Statements {
    private final Generator g;
    /** The statement is the last of a Lua block, where a bare return may stand. */
    private boolean tail;

    Statements(Generator g) {
        this.g = g;
    }

    /** The statements of a list; what control cannot reach is left out. */
    void list(List<AstNode> statements, boolean inTail) {
        int last = statements.size();
        for (int i = 0; i < last; i++) if (Flow.ends(statements.get(i))) last = i + 1;
        for (int i = 0; i < last; i++) {
            tail = inTail && i == last - 1;
            statement(statements.get(i));
        }
    }

    void statement(AstNode node) {
        g.line = g.line(node);
        switch (node.getType()) {
            case Token.VAR: case Token.LET: case Token.CONST:
                declaration((VariableDeclaration) node, false);
                return;
            case Token.FUNCTION: case Token.EMPTY: case Token.DEBUGGER:
                return;
            case Token.BLOCK:
                block(node, tail);
                return;
            default:
                break;
        }
        int before = g.temporaries;
        boolean last = tail;
        Block outer = g.out;
        g.out = new Block();
        if (jumpsOver(node)) spanned(node);
        else simple(node);
        Block inner = g.out;
        g.out = outer;
        if (g.temporaries > before && g.depth < Generator.MOST_ENCLOSED) {
            g.out.add(g.statement(g.line(node)).add("do"));
            g.out.add(inner);
            g.out.add("end");
            g.temporaries = before;
        } else if (inner.isEmpty()) {
            return;
        } else g.out.add(inner);
        tail = last;
    }

    private boolean jumpsOver(AstNode node) {
        if (node.getLength() <= Span.MOST_PIECES) return false;
        if (!(node instanceof ExpressionStatement)) return true;
        String text = g.source.text.substring(node.getPosition(), node.getPosition() + node.getLength());
        return text.indexOf('?') >= 0 || text.contains("&&") || text.contains("||");
    }

    private void spanned(AstNode node) {
        Span span = new Span(node);
        g.out.add(new Code().add(span));
        simple(node);
        g.out.add(new Code().add(span));
    }

    private void simple(AstNode node) {
        switch (node.getType()) {
            case Token.IF:
                ifStatement((IfStatement) node);
                return;
            case Token.RETURN:
                g.jumps.returning(((ReturnStatement) node).getReturnValue(), tail);
                return;
            case Token.THROW: {
                Code value = g.value(((ThrowStatement) node).getExpression());
                g.out.add(new Code().line(g.line(node)).add(g.operators.library("throw", value)));
                return;
            }
            case Token.BREAK:
                g.jumps.jump(((BreakStatement) node).getBreakLabel(), false, node);
                return;
            case Token.CONTINUE:
                g.jumps.jump(((ContinueStatement) node).getLabel(), true, node);
                return;
            case Token.FOR: case Token.WHILE: case Token.DO:
                g.loops.loop((Loop) node, null);
                return;
            case Token.SWITCH:
                g.jumps.switchStatement((SwitchStatement) node, null);
                return;
            case Token.TRY:
                g.jumps.tryStatement((TryStatement) node);
                return;
            default:
                if (node instanceof LabeledStatement) g.jumps.labeled((LabeledStatement) node);
                else if (node instanceof ExpressionStatement) g.expressions.effect(((ExpressionStatement) node).getExpression());
                else g.expressions.effect(node);
        }
    }

    // -- blocks

    /** A statement as the whole of a Lua block. */
    void body(AstNode node) {
        int before = g.temporaries;
        g.deeper(node, 1);
        if (node.getType() == Token.BLOCK) {
            Scope scope = Names.scope(node);
            if (scope != null) g.functions.enter(scope);
            list(Functions.children(node), true);
        } else {
            tail = true;
            statement(node);
        }
        g.depth--;
        g.temporaries = before;
    }

    private void block(AstNode node, boolean inTail) {
        Scope scope = Names.scope(node);
        if (scope == null || scope.variables.isEmpty()) {
            list(Functions.children(node), inTail);
            return;
        }
        g.out.add(g.statement(g.line(node)).add("do"));
        body(node);
        g.out.add(g.statement(g.endLine(node)).add("end"));
    }

    private void ifStatement(IfStatement node) {
        Code test = g.expressions.condition(node.getCondition());
        g.out.add(new Code().line(g.line(node)).add("if ").add(test).add(" then"));
        body(node.getThenPart());
        AstNode other = node.getElsePart();
        // A chain of else-ifs stays flat as long as no condition needs statements of its own.
        while (other instanceof IfStatement) {
            IfStatement next = (IfStatement) other;
            Block outer = g.out;
            g.out = new Block();
            g.line = g.line(next);
            int before = g.temporaries;
            Code condition = g.expressions.condition(next.getCondition());
            boolean flat = g.out.isEmpty();
            g.out = outer;
            g.temporaries = before;
            if (!flat) break;
            g.out.add(new Code().line(g.line(next)).add("elseif ").add(condition).add(" then"));
            body(next.getThenPart());
            other = next.getElsePart();
        }
        if (other != null) {
            g.out.add("else");
            body(other);
        }
        g.out.add(g.statement(g.endLine(node)).add("end"));
    }

    // -- declarations

    /** The declarations of a statement or a loop's head. */
    void declaration(VariableDeclaration node, boolean head) {
        for (VariableInitializer part : node.getVariables()) {
            g.line = g.line(part);
            if (part.getTarget().getType() == Token.NAME) single((Name) part.getTarget(), part.getInitializer());
            else pattern(part);
        }
    }

    void single(Name name, AstNode value) {
        Variable variable = Names.variable(name);
        boolean here = variable.inPlace && variable.start == name.getPosition();
        if (value == null) {
            if (here) g.out.add(g.statement(g.line).add("local " + variable.lua));
            else if (variable.isLexical() && (variable.spilledIn != null || variable.checked)) g.assignments.write(name, Code.atom("nil", Types.UNKNOWN), true);
            return;
        }
        int before = g.temporaries;
        if (here && variable.selfReferring) {
            if (value.getType() == Token.FUNCTION && ((FunctionNode) value).getFunctionName() == null) {
                g.out.add(g.functions.local((FunctionNode) value, variable));
                return;
            }
            g.out.add(g.statement(g.line).add("local " + variable.lua));
            here = false;
        }
        Block outer = g.out;
        g.out = new Block();
        Code code = g.assignments.named(value, variable.name);
        boolean temporaries = g.temporaries > before;
        Block inner = g.out;
        g.out = outer;
        if (!temporaries) {
            g.out.add(inner);
            if (here) g.out.add(g.statement(g.line(name)).add("local " + variable.lua + " = ").add(code));
            else g.assignments.write(name, code, true);
            return;
        }
        if (here) g.out.add(g.statement(g.line).add("local " + variable.lua));
        g.out = inner;
        g.assignments.write(name, code, true);
        g.out = outer;
        enclose(inner, before);
    }

    private void enclose(Block inner, int before) {
        g.out.add(g.statement(g.line).add("do"));
        g.out.add(inner);
        g.out.add("end");
        g.temporaries = before;
    }

    private void pattern(VariableInitializer part) {
        declareHere(part.getTarget());
        int before = g.temporaries;
        Block outer = g.out;
        g.out = new Block();
        Code value = g.value(part.getInitializer());
        g.assignments.give(part.getTarget(), g.save(value), true);
        Block inner = g.out;
        g.out = outer;
        enclose(inner, before);
    }

    /** Declares the variables of a target that are declared in place. */
    void declareHere(AstNode target) {
        ArrayList<Name> names = new ArrayList<>();
        Patterns.names(target, names);
        for (Name name : names) {
            Variable variable = Names.variable(name);
            if (variable.inPlace && variable.start == name.getPosition()) g.out.add(g.statement(g.line).add("local " + variable.lua));
        }
    }
}
