package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** What leaves statements early: break, continue, return, switch and try. */
record Jumps(Generator g) {
    private static final int RETURN = 1, FIRST_JUMP = 2;

    /** The innermost part of a try statement around here, or null. */
    private Flow part() {
        Flow flow = g.flow;
        while (flow != null && !flow.isPart()) flow = flow.outer;
        return flow;
    }

    /** The value's parentheses keep the frame: Lua's tail call would drop it from every traceback. */
    void returning(AstNode node) {
        Code code = Code.of(g.line, "return");
        Code value = node == null ? null : Carried.own(g.value(node), g);
        Flow part = part();
        if (part != null) {
            part.returns = true;
            code.add(value == null ? " " + RETURN : " " + RETURN + ",");
        }
        if (value != null) code.add(value.isCall ? " (" : " ", value, value.isCall ? ")" : "");
        g.out.add(code);
    }

    /** The parser has seen to it that there is a statement that a jump leads to, but not that it is a loop. */
    void jump(Name label, boolean isContinue) {
        Flow target = g.flow.find(label == null ? null : label.getIdentifier(), isContinue);
        if (isContinue && !target.isLoop()) throw new Generator.Refusal(label, Syntax.NO_LOOP);
        jump(target, isContinue);
    }

    private void jump(Flow target, boolean isContinue) {
        boolean direct = target.isLoop() && !isContinue;
        for (Flow flow = g.flow; flow != target; flow = flow.outer) {
            if (flow.isPart()) {
                g.out.add(g.line, "do return " + code(flow, target, isContinue) + " end");
                return;
            }
            direct &= !flow.isLoop();
        }
        g.out.add(g.line, direct ? "do break end" : "goto " + target.label(isContinue, g));
    }

    private static int code(Flow part, Flow target, boolean isContinue) {
        Flow.Jump jump = new Flow.Jump(target, isContinue);
        if (!part.jumps.contains(jump)) part.jumps.add(jump);
        return FIRST_JUMP + part.jumps.indexOf(jump);
    }

    void labeled(LabeledStatement node) {
        AstNode statement = node.getStatement();
        g.line = g.line(statement);
        if (statement instanceof Loop loop) g.loops.loop(loop, node.getLabels());
        else if (statement instanceof SwitchStatement choice) switchStatement(choice, node.getLabels());
        else {
            g.flow = new Flow(g.flow, node.getLabels(), node);
            block(statement);
            close();
        }
    }

    private void block(AstNode statement) {
        g.out.add("do");
        g.statements.body(statement, 2);
        g.out.add("end");
    }

    /** Leaves the current statement: what breaks out of it arrives here. */
    void close() {
        if (g.flow.breakLabel != null) g.out.add("::" + g.flow.breakLabel + "::");
        g.flow = g.flow.outer;
    }

    // -- switch

    void switchStatement(SwitchStatement node, List<Label> labels) {
        Scope scope = Names.scope(node);
        Code value = g.value(node.getExpression());
        value = scope.variables.isEmpty() || value.rank == Code.ATOM ? g.keep(value) : g.save(value);
        if (!scope.variables.isEmpty()) g.temporaries++; // for a block around them
        g.functions.open(scope);
        g.flow = new Flow(g.flow, labels, node);
        dispatch(node.getCases(), value);
        close();
    }

    private void dispatch(List<SwitchCase> cases, Code value) {
        String[] labels = new String[cases.size()];
        String other = null;
        for (int i = 0; i < labels.length; i++) {
            SwitchCase one = cases.get(i);
            labels[i] = "case" + g.number();
            if (one.isDefault()) {
                other = labels[i];
                continue;
            }
            g.line = g.line(one);
            Generator.Outer outer = g.collect();
            Code equal = g.operators.combine(Token.SHEQ, value, g.value(one.getExpression()), g.line);
            g.out.add(g.line, "if ", equal, " then goto " + labels[i] + " end");
            g.enclose(g.line, outer);
        }
        g.out.add("goto " + (other != null ? other : g.flow.label(false, g)));
        for (int i = 0; i < labels.length; i++) {
            g.out.add("::" + labels[i] + "::");
            List<AstNode> statements = cases.get(i).getStatements();
            if (statements == null) continue;
            g.out.add("do");
            g.deeper(cases.get(i), 2);
            g.statements.list(statements);
            g.depth -= 2;
            g.out.add("end");
        }
    }

    // -- try

    void tryStatement(TryStatement node) {
        String ok = g.fresh(), what = g.fresh(), result = g.fresh();
        g.temporaries += 3;
        boolean closing = node.getFinallyBlock() != null, passes = closing && node.getCatchClauses().isEmpty();
        Flow part = new Flow(g.flow, List.of(), node);
        String names = ok + ", " + what + ", " + result;
        g.out.add(g.line(node), "local " + names + " = ", part(part, node.getTryBlock(), null, passes));
        for (CatchClause clause : node.getCatchClauses()) {
            g.out.add(g.line(node), "if not " + ok + " then");
            if (closing) {
                g.out.add(names + " = ", part(part, clause, what, true));
                g.out.add("end");
            } else caught(clause, what);
        }
        if (closing) {
            block(node.getFinallyBlock());
            g.out.add(g.endLine(node), "if not " + ok + " then " + g.js("throw") + "(" + what + ")");
        }
        g.line = g.endLine(node);
        leaveAfter(part, what, result);
        g.out.add("end");
    }

    private void leaveAfter(Flow part, String what, String result) {
        if (part.returns) {
            g.out.add("elseif " + what + " == " + RETURN + " then");
            Flow outer = part();
            if (outer != null) outer.returns = true;
            g.out.add("return " + (outer == null ? "" : RETURN + ", ") + result);
        }
        for (int i = 0; i < part.jumps.size(); i++) {
            g.out.add("elseif " + what + " == " + (FIRST_JUMP + i) + " then");
            jump(part.jumps.get(i).target(), part.jumps.get(i).isContinue());
        }
    }

    private void caught(CatchClause clause, String what) {
        g.line = g.line(clause);
        g.functions.open(Names.scope(clause));
        Variable variable = Names.variable(clause.getVarName());
        g.out.add(g.line(clause), Functions.definition(variable) + what);
        AstNode pattern = clause.getCatchCondition();
        if (pattern != null) {
            g.statements.declareHere(pattern);
            g.assignments.give(pattern, Code.read(variable.access(), Types.UNKNOWN), true);
        }
        g.statements.body(clause.getBody(), 2);
    }

    /** A part of a try statement as a function that is called protected; `what` is what a catch clause catches. */
    private Code part(Flow flow, AstNode node, String what, boolean passes) {
        Generator.Outer outer = g.enter(Names.function(node), flow, node, 2);
        AstNode block = node instanceof CatchClause clause ? clause.getBody() : node;
        if (node instanceof CatchClause clause) caught(clause, what);
        else g.statements.body(node, 2);
        Block body = g.leave(outer);
        Code last = Flow.ends(block) ? new Code() : Code.of("return");
        Code function = Functions.function(new LuaWriter.FunctionRow("", 0, 'p'), "function()", body, last, g.line(node));
        return Code.of(g.js("try"), "(", function, passes ? ", true)" : ")");
    }
}
