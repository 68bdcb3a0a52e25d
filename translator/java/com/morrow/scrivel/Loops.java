package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Loops. A body's locals are fresh with each turn, as its closures expect. */
final class Loops {
    private final Generator g;
    private final Counting counting;

    Loops(Generator g) {
        this.g = g;
        counting = new Counting(g);
    }

    void loop(Loop node, List<Label> labels) {
        g.flow = new Flow(g.flow, labels, true, false);
        g.flow.isLuaLoop = true;
        if (node instanceof ForInLoop) forEach((ForInLoop) node);
        else if (node instanceof WhileLoop) whileLoop(((WhileLoop) node).getCondition(), node.getBody(), null);
        else if (node instanceof DoLoop) doLoop((DoLoop) node);
        else if (!counting.translate((ForLoop) node, this)) forLoop((ForLoop) node);
        g.jumps.close();
    }

    /** A loop's body; where a continue needs one, its label follows. What else follows must not see the body's names. */
    void body(AstNode body, boolean followed) {
        Block outer = g.out;
        g.out = new Block();
        int levels = g.names.continues(body) ? 1 : 0;
        g.deeper(body, levels);
        g.statements.body(body);
        g.depth -= levels;
        Block inner = g.out;
        g.out = outer;
        String label = g.flow.continueLabel;
        Scope scope = Names.scope(body);
        boolean enclose = label != null || followed && (Flow.ends(body) || scope != null && !scope.variables.isEmpty());
        if (enclose) g.out.add("do");
        g.out.add(inner);
        if (enclose) g.out.add("end");
        if (label != null) g.out.add("::" + label + "::");
    }

    private void whileLoop(AstNode condition, AstNode body, AstNode increment) {
        int line = g.line;
        Block outer = g.out;
        g.out = new Block();
        Code test = isEmpty(condition) ? Code.atom("true", Types.BOOLEAN) : g.expressions.condition(condition);
        Block before = g.out;
        g.out = outer;
        if (before.isEmpty()) g.out.add(new Code().line(line).add("while ").add(test).add(" do"));
        else {
            g.out.add(g.statement(line).add("while true do"));
            g.out.add(before);
            exitUnless(test, line);
        }
        body(body, increment != null && !isEmpty(increment));
        if (increment != null && !isEmpty(increment)) {
            g.line = g.line(increment);
            increment(increment);
        }
        g.out.add(g.statement(line).add("end"));
    }

    private void increment(AstNode node) {
        Block outer = g.out;
        g.out = new Block();
        int before = g.temporaries;
        g.expressions.effect(node);
        Block inner = g.out;
        g.out = outer;
        boolean enclose = g.temporaries > before;
        if (enclose) g.out.add(g.statement(g.line(node)).add("do"));
        g.out.add(inner);
        if (enclose) g.out.add("end");
        g.temporaries = before;
    }

    private void exitUnless(Code test, int line) {
        g.out.add(new Code().line(line).add("if ").add(g.operators.not(test)).add(" then break end"));
    }

    private static boolean isEmpty(AstNode node) {
        return node.getType() == Token.EMPTY;
    }

    private void doLoop(DoLoop node) {
        g.out.add(g.statement(g.line).add("while true do"));
        g.out.add("do");
        g.deeper(node, 1);
        body(node.getBody(), false);
        g.depth--;
        g.out.add("end");
        int line = g.line = g.line(node.getCondition());
        exitUnless(g.expressions.condition(node.getCondition()), line);
        g.out.add("end");
    }

    // -- for

    /** Makes the loop's names its own, by a block around it or, where nesting is deep, by other names. */
    void own(Scope scope) {
        if (scope.variables.isEmpty()) return;
        g.temporaries++;
        if (g.depth < Generator.MOST_ENCLOSED) return;
        for (Variable variable : scope.variables) {
            if (variable.spilledIn == null) variable.lua += Lua.CHANGED + Integer.toString(g.number());
        }
    }

    void initialise(AstNode node) {
        if (node instanceof VariableDeclaration) {
            if (!((VariableDeclaration) node).isLet()) g.temporaries++;
            g.statements.declaration((VariableDeclaration) node, true);
        } else if (!isEmpty(node)) g.expressions.effect(node);
    }

    private void forLoop(ForLoop node) {
        Scope scope = Names.scope(node);
        own(scope);
        g.functions.enter(scope);
        int line = g.line;
        initialise(node.getInitializer());
        g.line = line;
        ArrayList<Variable> fresh = new ArrayList<>();
        for (Variable variable : scope.variables) {
            if (variable.captured && variable.writes > 1) fresh.add(variable);
        }
        if (fresh.isEmpty()) whileLoop(node.getCondition(), node.getBody(), node.getIncrement());
        else freshLoop(node, scope, fresh);
    }

    /** A loop whose variables closures keep: each turn has copies of its own, which the increment changes first. */
    private void freshLoop(ForLoop node, Scope scope, ArrayList<Variable> variables) {
        int line = g.line;
        String[] carriers = new String[variables.size()];
        for (int i = 0; i < carriers.length; i++) {
            carriers[i] = g.fresh();
            g.out.add("local " + carriers[i] + " = " + variables.get(i).access());
        }
        String first = g.fresh();
        g.out.add("local " + first + " = true");
        g.out.add(g.statement(line).add("while true do"));
        if (scope.table != null) g.out.add("local " + scope.table + " = {}");
        for (int i = 0; i < carriers.length; i++) {
            Variable variable = variables.get(i);
            g.out.add((variable.spilledIn == null ? "local " : "") + variable.access() + " = " + carriers[i]);
        }
        g.out.add("if " + first + " then " + first + " = false else");
        if (!isEmpty(node.getIncrement())) {
            g.line = g.line(node.getIncrement());
            increment(node.getIncrement());
        }
        g.out.add("end");
        if (!isEmpty(node.getCondition())) {
            g.line = g.line(node.getCondition());
            exitUnless(g.expressions.condition(node.getCondition()), g.line);
        }
        body(node.getBody(), true);
        for (int i = 0; i < carriers.length; i++) g.out.add(carriers[i] + " = " + variables.get(i).access());
        g.out.add(g.statement(line).add("end"));
    }

    // -- for-in and for-of

    private void forEach(ForInLoop node) {
        Scope scope = Names.scope(node);
        int line = g.line;
        Code object = g.value(node.getIteratedObject());
        String item = g.fresh();
        int iteratedLine = g.line(node.getIteratedObject());
        if (node.isForOf()) {
            Code list = g.save(new Code().line(iteratedLine).add(g.operators.library("values", object)));
            String index = g.fresh();
            g.out.add("local " + index + " = 0");
            g.out.add(g.statement(line).add("while " + index + " < ").add(list).add(".length do"));
            g.out.add(new Code().line(line).add("local " + item + " = ").add(list).add("[" + index + "]"));
            g.out.add(index + " = " + index + " + 1");
            turn(node, scope, item);
        } else {
            if (!object.stable) object = g.save(object);
            String list = g.fresh(), count = g.fresh(), index = g.fresh();
            g.temporaries += 2;
            g.out.add(new Code().line(iteratedLine).add("local " + list + ", " + count + " = ").add(g.operators.library("keys", object)));
            g.out.add(g.statement(line).add("for " + index + " = 1, " + count + " do"));
            g.out.add("local " + item + " = " + list + "[" + index + "]");
            boolean lasting = counting.isQuiet(node.getBody());
            if (!lasting) {
                g.out.add(new Code().add("if " + g.js("type") + "(").add(object).add(") ~= \"table\" or ")
                    .add(g.operators.library("has", Generator.read(item, Types.STRING), object)).add(" then"));
            }
            turn(node, scope, item);
            if (!lasting) g.out.add("end");
        }
        g.out.add(g.statement(line).add("end"));
    }

    /** One turn of a for-in or for-of loop: its variables get the item, then the body runs. */
    private void turn(ForInLoop node, Scope scope, String item) {
        int before = g.temporaries;
        g.functions.enter(scope);
        Code value = Generator.read(item, Types.UNKNOWN);
        AstNode iterator = node.getIterator();
        if (iterator instanceof VariableDeclaration) {
            AstNode target = ((VariableDeclaration) iterator).getVariables().get(0).getTarget();
            g.statements.declareHere(target);
            g.assignments.give(target, value, true);
        } else g.assignments.give(iterator, value, false);
        g.temporaries = Math.max(before, g.temporaries);
        body(node.getBody(), false);
        g.temporaries = before;
    }
}
