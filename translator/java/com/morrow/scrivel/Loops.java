package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Loops. A body's locals are fresh with each turn, as its closures expect. */
record Loops(Generator g) {
    /** Lua keeps three locals of its own for a numeric loop. */
    static final int HIDDEN = 3;
    private static final Generator.Prepared ALWAYS = new Generator.Prepared(new Block(), Code.atom("true", Types.BOOLEAN));

    void loop(Loop node, List<Label> labels) {
        g.flow = new Flow(g.flow, labels, node);
        if (node instanceof ForInLoop loop) forEach(loop);
        else if (node instanceof WhileLoop loop) whileLoop(loop.getCondition(), loop.getBody(), null);
        else if (node instanceof DoLoop loop) doLoop(loop);
        else forLoop((ForLoop) node);
        g.jumps.close();
    }

    /** A loop's body; where a continue needs one, its label follows. What else follows must not see the body's names. */
    void body(AstNode body, boolean followed) {
        Generator.Outer outer = g.collect();
        g.statements.body(body, 3);
        Block inner = g.collected(outer);
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
        Generator.Prepared test = isEmpty(condition) ? ALWAYS : g.prepare(condition, true);
        boolean plain = test.before().isEmpty();
        g.out.add(line, "while ", plain ? test.code() : "true", " do");
        g.out.add(test.before());
        if (!plain) exitUnless(test.code(), line);
        body(body, !isEmpty(increment));
        increment(increment);
        g.out.add(line, "end");
    }

    private void increment(AstNode node) {
        if (isEmpty(node)) return;
        g.line = g.line(node);
        Generator.Outer outer = g.collect();
        g.expressions.effect(node);
        g.enclose(g.line(node), outer);
    }

    private void exitUnless(Code test, int line) {
        g.out.add(line, "if ", g.operators.not(test), " then break end");
    }

    private static boolean isEmpty(AstNode node) {
        return node == null || node.getType() == Token.EMPTY;
    }

    private void doLoop(DoLoop node) {
        g.out.add(g.line, "while true do");
        body(node.getBody(), true);
        exit(node.getCondition());
        g.out.add("end");
    }

    /** Leaves the loop here unless its condition holds. */
    private void exit(AstNode condition) {
        int line = g.line = g.line(condition);
        exitUnless(g.expressions.condition(condition), line);
    }

    // -- for

    private void initialise(AstNode node) {
        if (node instanceof VariableDeclaration declaration) g.statements.declaration(declaration);
        else if (!isEmpty(node)) g.expressions.effect(node);
    }

    private void forLoop(ForLoop node) {
        Counting counter = new Counting(g, node);
        boolean counts = g.temporaries + HIDDEN < Generator.MOST_TEMPORARIES && counter.applies();
        Scope scope = Names.scope(node);
        if (node.getInitializer() instanceof VariableDeclaration) g.temporaries++; // for a block around what it declares
        g.functions.open(scope);
        int line = g.line;
        if (!counts || !counter.isAlone()) initialise(node.getInitializer());
        g.line = line;
        if (counts) {
            g.temporaries += HIDDEN;
            counter.write(this);
            return;
        }
        ArrayList<Variable> fresh = new ArrayList<>();
        boolean anew = false;
        for (Variable variable : scope.variables) anew |= variable.captured && variable.writes > 1;
        // With one variable that lives in the scope's table, all that do move to the next turn's.
        for (Variable variable : scope.variables) {
            if (anew && variable.captured && (variable.writes > 1 || variable.spilledIn != null)) fresh.add(variable);
        }
        if (fresh.isEmpty()) whileLoop(node.getCondition(), node.getBody(), node.getIncrement());
        else freshLoop(node, scope, fresh);
    }

    /** A loop whose variables closures keep: each turn has copies of its own, which the increment changes first. */
    private void freshLoop(ForLoop node, Scope scope, ArrayList<Variable> variables) {
        int line = g.line;
        ArrayList<String> carriers = new ArrayList<>();
        g.temporaries += variables.size() + 1;
        for (Variable variable : variables) {
            String carrier = g.fresh();
            carriers.add(carrier);
            g.out.add("local " + carrier + " = " + variable.access());
        }
        String first = g.fresh();
        g.out.add("local " + first + " = true");
        g.out.add(line, "while true do");
        if (scope.table != null) g.out.add("local " + scope.table + " = {}");
        for (int i = 0; i < carriers.size(); i++) g.out.add(Functions.definition(variables.get(i)) + carriers.get(i));
        g.out.add("if " + first + " then " + first + " = false else");
        increment(node.getIncrement());
        g.out.add("end");
        if (!isEmpty(node.getCondition())) exit(node.getCondition());
        body(node.getBody(), true);
        for (int i = 0; i < carriers.size(); i++) g.out.add(carriers.get(i) + " = " + variables.get(i).access());
        g.out.add(line, "end");
    }

    // -- for-in and for-of

    private void forEach(ForInLoop node) {
        int line = g.line;
        AstNode iterated = node.getIteratedObject();
        Code object = g.value(iterated);
        if (!node.isForOf()) object = g.keep(object);
        Code list = g.save(node.isForOf() ? g.calls.values(object, iterated, g.line(iterated))
            : g.operators.library(g.line(iterated), "keys", object));
        String item = g.fresh(), index = g.fresh();
        g.temporaries += 2;
        g.out.add("local " + index + " = 0");
        g.out.add(line, "while " + index + " < ", list, ".length do");
        g.out.add(line, "local " + item + " = ", list, "[" + index + "]");
        g.out.add(index + " = " + index + " + 1");
        boolean lasting = node.isForOf() || Quiet.is(node.getBody(), g);
        if (!lasting) g.out.add("if ", g.operators.library("lasts", Code.read(item, Types.STRING), object), " then");
        turn(node, item);
        if (!lasting) g.out.add("end");
        g.out.add(line, "end");
    }

    /** One turn of a for-in or for-of loop: its variables get the item, then the body runs. */
    private void turn(ForInLoop node, String item) {
        g.functions.open(Names.scope(node));
        Code value = Code.read(item, Types.UNKNOWN);
        if (node.getIterator() instanceof VariableDeclaration declaration) {
            AstNode target = declaration.getVariables().get(0).getTarget();
            g.statements.declareHere(target);
            g.assignments.give(target, value, true);
        } else g.assignments.give(node.getIterator(), value, false);
        body(node.getBody(), false);
    }
}
