package com.morrow.scrivel;

import java.util.HashSet;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.ForInLoop;
import org.mozilla.javascript.ast.FunctionNode;
import org.mozilla.javascript.ast.Loop;
import org.mozilla.javascript.ast.SwitchCase;

/**
 * Decides from the places where a variable is used whether it is always initialised before it is seen, whether it can
 * be declared where that happens, and which variables have to live in a table because Lua's limits leave no room.
 */
final class Lifetimes {
    // Lua takes 200 locals and 60 upvalues a function; the rest is for temporaries and the support library's names.
    private static final int MOST_LOCALS = 100, MOST_OUTER = 24, MOST_UPVALUES = 34;

    private final Names names;
    private final Diagnostics errors;
    private int tables;

    Lifetimes(Names names, Diagnostics errors) {
        this.names = names;
        this.errors = errors;
    }

    void decide() {
        reach();
        for (Scope scope : names.scopes) {
            for (Variable variable : scope.variables) {
                if (variable.kind == Variable.Kind.PARAMETER) parameter(variable);
                else if (variable.first != null) initialised(variable);
            }
        }
        fit();
    }

    // -- initialisation

    /** From when on each hoisted function may be called, following the names that lead from one to another. */
    private void reach() {
        Scope global = names.scopes.get(0);
        if (names.sharesGlobals) for (FunctionNode node : global.functions) Names.function(node).reached(0, global.node);
        for (Variable.Use use : names.uses) {
            FunctionInfo to = use.variable == null ? null : use.variable.declaration;
            if (to == null || use.name == to.node.getFunctionName()) continue;
            FunctionInfo from = use.closure();
            Scope hoistedIn = from == null ? null : from.hoistedIn;
            if (from == null) to.reached(use.time, use.name);
            else if (hoistedIn == null) to.reached(from.time, from.node);
            else if (hoistedIn != use.variable.scope) to.reached(hoistedIn.time, from.node);
            else {
                from.leads.add(to);
                to.reached(from.reachedAt, from.reachedBy);
            }
        }
    }

    private void parameter(Variable v) {
        FunctionInfo function = v.scope.function;
        for (Variable.Use use : v.uses) {
            FunctionInfo closure = use.closure();
            if (closure == null) use.early = use.time < v.given;
            else if (closure.time < function.body.time) {
                if (v.again) errors.report(use.name, "A function in a default value cannot use what the body declares again");
                if (function.leavesBetween(closure.time, v.given)) {
                    errors.report(use.name, "A default value cannot call a function that uses a later parameter");
                }
            }
        }
    }

    private void initialised(Variable v) {
        v.safe = v.inPlace = v.how.direct() && v.declaration == null && !v.shared;
        for (Variable.Use use : v.uses) {
            FunctionInfo closure = use.closure();
            if (!Names.isIn(use.name, v.how.around())) {
                v.safe = v.inPlace = false;
                v.checked = true;
            }
            // What a loop goes through is evaluated before there is any of its variables.
            if (closure != null && !(v.home.node instanceof ForInLoop && use.time < v.how.begins())) closure(v, closure);
            else if (use.time < v.given) {
                use.early = v.kind.isLexical();
                v.safe &= use.early;
                v.inPlace = false;
            }
        }
        if (v.kind == Variable.Kind.VAR) {
            if (v.home.inLoop() && v.initial == null) v.safe = v.inPlace = false;
            if (v.captured && (v.home.inLoop() || v.home.node instanceof ForInLoop)) v.inPlace = false;
        }
        // The conditions of a switch run before the statements that come first.
        v.checked |= v.how.around() instanceof SwitchCase && v.captured;
        v.checked &= v.kind.isLexical();
        // One that the host or the library has already keeps its value until it gets another.
        if (v.isGlobal() && v.initial == null) v.safe = v.inPlace = false;
    }

    /** A function that was made within the variable's own function uses it. */
    private void closure(Variable v, FunctionInfo closure) {
        FunctionInfo function = v.scope.function.real();
        boolean hoisted = closure.hoistedIn != null && closure.hoistedIn.time <= v.home.time
            && closure.hoistedIn.function.real() == function;
        int from = closure.hoistedIn != null ? closure.reachedAt : closure.time;
        // What comes earlier in a loop around that place may run after it.
        AstNode around = closure.hoistedIn != null ? closure.reachedBy : closure.node;
        for (; around != null && !Names.isIn(v.first, around); around = around.getParent()) {
            if (around instanceof Loop) from = (Integer) around.getProp(Names.BEGINS);
        }
        if (hoisted || closure.time < v.how.begins()) v.inPlace = false;
        else if (closure.time < v.given && !Functions.isUnnamed(v.initial)) v.inPlace = false;
        if (from < v.given && (names.hooks || function.leavesBetween(from, v.given))) {
            v.safe = v.inPlace = false;
            v.checked = true;
        }
        if (!v.kind.isLexical() && closure.time < v.how.begins() && !hoisted) v.safe = false;
    }

    // -- limits

    /** Spills what does not fit. Runs after the decisions on initialisation, which it may only restrict. */
    private void fit() {
        for (Scope scope : names.scopes) scope.locals = locals(scope.variables);
        for (Scope scope : names.scopes) while (spillWidest(scope)) continue;
        for (FunctionInfo function : names.functions) {
            if (locals(function.outer) > MOST_OUTER) for (Variable variable : function.outer) spill(variable);
            HashSet<Scope> tables = new HashSet<>();
            for (Variable variable : function.outer) if (variable.spilledIn != null) tables.add(variable.spilledIn);
            if (locals(function.outer) + tables.size() > MOST_UPVALUES) {
                errors.report(function.real().node, "This function uses variables of too many blocks around it");
            }
        }
    }

    private static int locals(Iterable<Variable> variables) {
        int count = 0;
        for (Variable variable : variables) if (canSpill(variable)) count++;
        return count;
    }

    /** Where a scope and those around it in its function have too many locals, spills the one that has most. */
    private boolean spillWidest(Scope inner) {
        int live = 0;
        Scope widest = inner;
        for (Scope scope = inner; scope != null && scope.function.real() == inner.function.real(); scope = scope.parent) {
            live += scope.locals + (scope.table == null ? 0 : 1);
            if (scope.locals > widest.locals) widest = scope;
        }
        if (live <= MOST_LOCALS) return false;
        boolean helps = widest.locals > 0;
        if (!helps) errors.report(inner.node, "Too many nested blocks in one function");
        for (Variable variable : widest.variables) spill(variable);
        return helps;
    }

    private static boolean canSpill(Variable variable) {
        return variable.kind != Variable.Kind.SELF && variable.spilledIn == null;
    }

    /** A captured variable needs the table of its own scope, made with each turn of a loop; others share the function's. */
    private void spill(Variable variable) {
        if (!canSpill(variable)) return;
        Scope home = variable.captured ? variable.scope : variable.scope.function.real().scope;
        if (home.table == null) home.table = "scope" + Lua.CHANGED + ++tables;
        if (home != variable.scope) variable.lua += Lua.CHANGED + Integer.toString(++tables);
        variable.spilledIn = home;
        variable.scope.locals--;
        variable.inPlace = false;
    }
}
