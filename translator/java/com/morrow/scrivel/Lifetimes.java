package com.morrow.scrivel;

import java.util.ArrayDeque;
import java.util.ArrayList;
import org.mozilla.javascript.ast.ForInLoop;

/**
 * Decides from the places where a variable is used whether it is always initialised before it is seen, whether it can
 * be declared where that happens, and which variables have to live in a table because Lua's limits leave no room.
 */
final class Lifetimes {
    // Lua takes 200 locals and 60 upvalues a function; the rest is for temporaries and the support library's names.
    private static final int MOST_LOCALS = 110;
    private static final int MOST_OUTER = 24;

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
                if (variable.start >= 0) declared(variable);
            }
        }
    }

    /** Spills what does not fit. Runs after the decisions on initialisation, which it may only restrict. */
    void fit() {
        for (FunctionInfo function : names.functions) {
            if (function.part) continue;
            while (live(function.scope) > MOST_LOCALS) {
                Scope widest = widest(function.scope, null);
                if (widest == null) {
                    errors.report(function.scope.node, "Too many nested blocks in one function");
                    return;
                }
                widest.spent = true;
                for (Variable variable : widest.variables) spill(variable);
            }
        }
        for (FunctionInfo function : names.functions) {
            while (outerCount(function) > MOST_OUTER && spillOuter(function)) continue;
        }
    }

    // -- initialisation

    /** From where on each hoisted function may be called, following the names that lead from one to another. */
    private void reach() {
        ArrayDeque<FunctionInfo> changed = new ArrayDeque<>();
        java.util.HashMap<FunctionInfo, ArrayList<FunctionInfo>> leads = new java.util.HashMap<>();
        for (FunctionInfo function : names.functions) function.sortCalls();
        for (Variable.Use use : names.uses) {
            if (use.variable == null || use.variable.declaration == null) continue;
            FunctionInfo to = use.variable.declaration;
            if (use.name == (to.node == null ? null : to.node.getFunctionName())) continue;
            FunctionInfo from = use.closure();
            if (from != null && from.hoistedIn == use.variable.scope) {
                leads.computeIfAbsent(from, FunctionListMaker.INSTANCE).add(to);
                continue;
            }
            int position = from == null ? use.position : from.start;
            if (position >= to.reachedAt) continue;
            to.reachedAt = position;
            changed.add(to);
        }
        while (!changed.isEmpty()) {
            FunctionInfo from = changed.poll();
            ArrayList<FunctionInfo> list = leads.get(from);
            if (list == null) continue;
            for (FunctionInfo to : list) {
                if (from.reachedAt >= to.reachedAt) continue;
                to.reachedAt = from.reachedAt;
                changed.add(to);
            }
        }
    }

    /** A class of its own, since a lambda would cost its machinery's start-up. */
    private static final class FunctionListMaker implements java.util.function.Function<FunctionInfo, ArrayList<FunctionInfo>> {
        static final FunctionListMaker INSTANCE = new FunctionListMaker();

        @Override
        public ArrayList<FunctionInfo> apply(FunctionInfo key) {
            return new ArrayList<>();
        }
    }

    private void declared(Variable v) {
        if (v.kind == Variable.Kind.PARAMETER) {
            for (Variable.Use use : v.uses) use.early = use.position != v.start && use.position < Math.max(v.start, v.ownEnd) && use.closure() == null;
            return;
        }
        if (v.kind == Variable.Kind.CATCH || v.kind == Variable.Kind.FUNCTION) return;
        FunctionInfo function = v.scope.function.real();
        int last = v.home.end();
        v.safe = true;
        v.inPlace = true;
        if (!v.direct || v.home.isSwitch || v.declaration != null || v.shared) v.safe = v.inPlace = false;
        for (Variable.Use use : v.uses) {
            if (use.position == v.start) continue;
            if (use.position > last) v.safe = v.inPlace = false;
            if (v.caseEnd >= 0 && use.position >= v.caseEnd) v.checked = true;
            FunctionInfo closure = use.closure();
            if (v.home.node instanceof ForInLoop && isIterated((ForInLoop) v.home.node, use)) {
                use.early = v.isLexical();
                continue;
            }
            if (closure == null) early(v, use);
            else closure(v, use, closure, function);
        }
        if (v.kind == Variable.Kind.VAR && v.home.inLoop && (v.captured || !v.initialised)) v.inPlace = false;
        if (v.kind == Variable.Kind.VAR && v.captured && v.home.node instanceof ForInLoop) v.inPlace = false;
        if (v.kind == Variable.Kind.VAR && v.home.inLoop && !v.initialised) v.safe = false;
        v.checked &= v.isLexical();
    }

    /** In what a loop goes through, its own variables are never initialised. */
    private static boolean isIterated(ForInLoop loop, Variable.Use use) {
        int from = loop.getIteratedObject().getPosition();
        return use.position >= from && use.position < from + loop.getIteratedObject().getLength();
    }

    private static void early(Variable v, Variable.Use use) {
        if (use.position >= v.end || use.position > v.start && use.position >= v.ownEnd && use.position < v.patternEnd) return;
        if (v.isLexical()) use.early = true;
        v.inPlace = false;
        if (!v.isLexical()) v.safe = false;
    }

    private static void closure(Variable v, Variable.Use use, FunctionInfo closure, FunctionInfo function) {
        boolean hoisted = closure.hoistedIn != null && closure.hoistedIn.node.getPosition() <= v.home.node.getPosition()
            && closure.hoistedIn.function.real() == function;
        int from = hoisted ? closure.reachedAt : closure.start;
        if (hoisted || closure.start < v.start) v.inPlace = false;
        else if (closure.start < v.end) v.selfReferring = true;
        if (from < v.end && function.callsBetween(from, v.end)) {
            v.safe = false;
            v.checked = true;
            v.inPlace = false;
        }
        if (!v.isLexical() && closure.start < v.start && !hoisted) v.safe = false;
    }

    // -- limits

    /** How many locals may be alive at once in a function. */
    private static int live(Scope scope) {
        int most = 0;
        for (Scope child : scope.children) {
            if (child.function.real() == scope.function.real()) most = Math.max(most, live(child));
        }
        return most + own(scope);
    }

    private static int own(Scope scope) {
        int count = scope.table == null ? 0 : 1;
        for (Variable variable : scope.variables) if (variable.spilledIn == null) count++;
        return count;
    }

    /** The scope with the most variables to spill on the path that counts. */
    private static Scope widest(Scope scope, Scope best) {
        if (!scope.spent && own(scope) > 0 && (best == null || own(scope) > own(best))) best = scope;
        Scope deepest = null;
        int most = -1;
        for (Scope child : scope.children) {
            if (child.function.real() != scope.function.real()) continue;
            int size = live(child);
            if (size <= most) continue;
            deepest = child;
            most = size;
        }
        return deepest == null ? best : widest(deepest, best);
    }

    /** A captured variable needs the table of its own scope, made with each turn of a loop; others share the function's. */
    private void spill(Variable variable) {
        if (variable.kind == Variable.Kind.SELF || variable.spilledIn != null) return;
        Scope outermost = variable.scope.function.real().scope;
        Scope home = variable.captured ? variable.scope : outermost;
        if (home.table == null) home.table = "scope" + Lua.CHANGED + ++tables;
        if (home != variable.scope) variable.lua += Lua.CHANGED + Integer.toString(++tables);
        variable.spilledIn = home;
        variable.inPlace = false;
    }

    private static int outerCount(FunctionInfo function) {
        int count = 0;
        for (Variable variable : function.outer) if (variable.spilledIn == null) count++;
        return count;
    }

    /** Spills what a function takes from the scope that it takes most from. */
    private boolean spillOuter(FunctionInfo function) {
        java.util.HashMap<Scope, ArrayList<Variable>> byScope = new java.util.HashMap<>();
        ArrayList<Variable> most = null;
        for (Variable variable : function.outer) {
            if (variable.spilledIn != null || variable.kind == Variable.Kind.SELF) continue;
            ArrayList<Variable> list = byScope.get(variable.scope);
            if (list == null) byScope.put(variable.scope, list = new ArrayList<>());
            list.add(variable);
            if (most == null || list.size() > most.size()) most = list;
        }
        if (most == null || most.size() < 2) return false;
        for (Variable variable : most) spill(variable);
        return true;
    }
}
