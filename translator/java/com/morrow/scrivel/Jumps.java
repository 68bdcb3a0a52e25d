package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** What leaves statements early: break, continue, return, switch and try. */
final class Jumps {
    private static final int RETURN = 1, FIRST_JUMP = 2;

    private final Generator g;

    Jumps(Generator g) {
        this.g = g;
    }

    private Flow part() {
        Flow flow = g.flow;
        while (flow != null && !flow.isPart()) flow = flow.outer;
        return flow;
    }

    private void leave(String statement, Code value, boolean last) {
        Code code = new Code().line(g.line).add(last ? statement : "do " + statement);
        if (value != null) code.add(value.isCall ? " (" : " ").add(value).add(value.isCall ? ")" : "");
        g.out.add(last ? code : code.add(" end"));
    }

    /** The value's parentheses keep the frame: Lua's tail call would drop it from every traceback. */
    void returning(AstNode node, boolean last) {
        Code value = node == null ? null : g.value(node);
        Flow part = part();
        if (part != null) part.returns = true;
        leave(part == null ? "return" : value == null ? "return " + RETURN : "return " + RETURN + ",", value, last);
    }

    void jump(Name label, boolean isContinue, AstNode node) {
        Flow target = g.flow == null ? null : g.flow.find(label == null ? null : label.getIdentifier(), isContinue);
        if (target == null) throw new Generator.Refusal(node, "Illegal " + (isContinue ? "continue" : "break") + " statement");
        jump(target, isContinue);
    }

    private void jump(Flow target, boolean isContinue) {
        boolean direct = target.isLuaLoop && !isContinue;
        for (Flow flow = g.flow; flow != target; flow = flow.outer) {
            if (flow.isPart()) {
                leave("return " + code(flow, target, isContinue), null, false);
                return;
            }
            direct &= !flow.isLuaLoop;
        }
        g.out.add(g.statement(g.line).add(direct ? "do break end" : "goto " + target.label(isContinue, g)));
    }

    private static int code(Flow part, Flow target, boolean isContinue) {
        for (int i = 0; i < part.jumps.size(); i++) {
            Flow.Jump jump = part.jumps.get(i);
            if (jump.target == target && jump.isContinue == isContinue) return FIRST_JUMP + i;
        }
        Flow.Jump jump = new Flow.Jump();
        jump.target = target;
        jump.isContinue = isContinue;
        part.jumps.add(jump);
        return FIRST_JUMP + part.jumps.size() - 1;
    }

    void labeled(LabeledStatement node) {
        AstNode statement = node.getStatement();
        if (statement instanceof Loop) g.loops.loop((Loop) statement, node.getLabels());
        else if (statement instanceof SwitchStatement) switchStatement((SwitchStatement) statement, node.getLabels());
        else {
            g.flow = new Flow(g.flow, node.getLabels(), false, false);
            g.out.add("do");
            g.statements.body(statement);
            g.out.add("end");
            close();
        }
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
        if (!value.stable) value = g.save(value);
        if (!scope.variables.isEmpty()) g.temporaries++;
        g.functions.enter(scope);
        g.flow = new Flow(g.flow, labels, false, true);
        if (isChain(node.getCases())) chain(node, value);
        else dispatch(node, value);
        close();
    }

    /** True when the cases are constants, none falls into the next, and what applies otherwise comes last. */
    private static boolean isChain(List<SwitchCase> cases) {
        for (int i = 0; i < cases.size(); i++) {
            SwitchCase one = cases.get(i);
            List<AstNode> statements = one.getStatements();
            boolean last = i == cases.size() - 1;
            boolean empty = statements == null || statements.isEmpty();
            if (one.isDefault() && !last || !one.isDefault() && !isConstant(one.getExpression())) return false;
            if (!last && !empty && !Flow.ends(statements.get(statements.size() - 1))) return false;
            if (last && !one.isDefault() && empty && i > 0) return false;
        }
        return !cases.isEmpty() && !(cases.size() == 1 && cases.get(0).isDefault());
    }

    private static boolean isConstant(AstNode node) {
        switch (node.getType()) {
            case Token.NUMBER: case Token.STRING: case Token.TRUE: case Token.FALSE: case Token.NULL:
                return true;
            case Token.NEG:
                return ((UnaryExpression) node).getOperand().getType() == Token.NUMBER;
            default:
                return false;
        }
    }

    private void chain(SwitchStatement node, Code value) {
        List<SwitchCase> cases = node.getCases();
        String word = "if ";
        Code test = null;
        for (int i = 0; i < cases.size(); i++) {
            SwitchCase one = cases.get(i);
            List<AstNode> statements = one.getStatements();
            boolean empty = statements == null || statements.isEmpty();
            if (one.isDefault()) {
                boolean shared = test != null;
                g.out.add(word.equals("if ") ? "do" : "else");
                if (!empty) caseBody(one, statements);
                break;
            }
            Code equal = g.operators.combine(Token.SHEQ, value, g.value(one.getExpression()), g.line(one));
            test = test == null ? equal : new Code().add(test).add(" or ").add(equal).ranked(Code.OR, Types.BOOLEAN);
            if (empty && i < cases.size() - 1) continue;
            g.out.add(new Code().line(g.line(one)).add(word).add(test).add(" then"));
            if (!empty) caseBody(one, statements);
            word = "elseif ";
            test = null;
        }
        g.out.add(g.statement(g.endLine(node)).add("end"));
    }

    private void caseBody(SwitchCase one, List<AstNode> statements) {
        AstNode last = statements.get(statements.size() - 1);
        boolean breaks = last.getType() == Token.BREAK && ((BreakStatement) last).getBreakLabel() == null;
        g.deeper(one, 1);
        g.statements.list(breaks ? statements.subList(0, statements.size() - 1) : statements, true);
        g.depth--;
    }

    private void dispatch(SwitchStatement node, Code value) {
        List<SwitchCase> cases = node.getCases();
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
            g.out.add(g.statement(g.line).add("do"));
            int before = g.temporaries;
            Code equal = g.operators.combine(Token.SHEQ, value, g.value(one.getExpression()), g.line);
            g.out.add(new Code().line(g.line).add("if ").add(equal).add(" then goto " + labels[i] + " end"));
            g.temporaries = before;
            g.out.add("end");
        }
        g.out.add("goto " + (other != null ? other : g.flow.label(false, g)));
        for (int i = 0; i < labels.length; i++) {
            g.out.add("::" + labels[i] + "::");
            List<AstNode> statements = cases.get(i).getStatements();
            if (statements == null || statements.isEmpty()) continue;
            g.out.add("do");
            g.deeper(cases.get(i), 1);
            g.statements.list(statements, true);
            g.depth--;
            g.out.add("end");
        }
    }

    // -- try

    void tryStatement(TryStatement node) {
        String ok = g.fresh(), what = g.fresh(), result = g.fresh();
        g.temporaries += 3;
        int line = g.line(node);
        boolean closing = node.getFinallyBlock() != null;
        Flow part = new Flow(g.flow, null, false, false);
        part.jumps = new ArrayList<>();
        String names = ok + ", " + what + ", " + result;
        g.out.add(g.statement(line).add("local " + names + " = ").add(part(part, node.getTryBlock(), null)));
        String word = "if ";
        for (CatchClause clause : node.getCatchClauses()) {
            g.out.add(g.statement(g.line(clause)).add("if not " + ok + " then"));
            if (closing) g.out.add(Code.of(names + " = ").add(part(part, clause, what)));
            else caught(clause, what);
            if (closing) g.out.add("end");
            else word = "elseif ";
        }
        if (closing) {
            g.out.add("do");
            g.statements.body(node.getFinallyBlock());
            g.out.add("end");
        }
        if (word.equals("if ")) {
            g.out.add(g.statement(g.endLine(node)).add("if not " + ok + " then " + g.js("throw") + "(" + what + ")"));
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
            jump(part.jumps.get(i).target, part.jumps.get(i).isContinue);
        }
    }

    private void caught(CatchClause clause, String what) {
        Scope scope = Names.scope(clause);
        g.functions.enter(scope);
        Variable variable = Names.variable(clause.getVarName());
        g.out.add(g.statement(g.line(clause)).add((variable.spilledIn == null ? "local " : "") + variable.access() + " = " + what));
        AstNode pattern = clause.getCatchCondition();
        if (pattern != null) {
            g.statements.declareHere(pattern);
            g.assignments.give(pattern, Generator.read(variable.access(), Types.UNKNOWN), true);
        }
        g.statements.body(clause.getBody());
    }

    /** A part of a try statement as a function that is called protected. */
    private Code part(Flow flow, AstNode node, String what) {
        FunctionInfo function = g.function;
        Block out = g.out;
        int temporaries = g.temporaries;
        String spare = g.spare;
        Flow outer = g.flow;
        g.function = Names.function(node);
        g.flow = flow;
        g.temporaries = 0;
        g.spare = null;
        Block top = new Block();
        Block body = g.out = new Block();
        g.deeper(node, 2);
        if (what != null) caught((CatchClause) node, what);
        else g.statements.body(node);
        g.depth -= 2;
        g.out = top;
        g.functions.spare();
        g.function = function;
        g.out = out;
        g.temporaries = temporaries;
        g.spare = spare;
        g.flow = outer;
        Code code = Code.of(g.js("try") + "(").add(new FunctionRow("", 0, 'p')).add("function()");
        return code.add(top).add(body).newline().line(g.endLine(node)).end().add(")");
    }
}
