package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;
import java.util.LinkedHashSet;
import java.util.TreeSet;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.FunctionNode;
import org.mozilla.javascript.ast.ReturnStatement;

/** What is known of a function, of the script itself, or of a part of a try statement, which becomes a Lua function too. */
final class FunctionInfo {
    /** Lua finds the names of 256, among which are some of the library's. */
    private static final int MOST_CONSTANTS = 200;

    final FunctionInfo parent;
    final FunctionNode node;
    /** Part of a try statement: transparent to everything but Lua's limits. */
    final boolean part;
    /** The scope of the parameters, and within it that of the variables; one and the same for the script. */
    Scope scope, body;
    boolean usesThis;
    boolean usesArguments;
    final boolean arrow;
    boolean hasRest;
    /** The variable of a declaration, or of a function expression that refers to itself. */
    Variable variable;
    /** Hoisted as a declaration of this scope. */
    Scope hoistedIn;
    /** When the walk came to it. */
    final int time;
    /** From when on it can be called: where a name that leads to it is first used. */
    int reachedAt = Integer.MAX_VALUE;
    /** What stands there; null while nothing leads to it. */
    AstNode reachedBy;
    final LinkedHashSet<Variable> outer = new LinkedHashSet<>();
    final LinkedHashSet<String> runtime = new LinkedHashSet<>();
    /** What its own code has among Lua's constants: names of properties, texts, literals and functions. */
    final HashSet<Object> constants = new HashSet<>();
    final ArrayList<ReturnStatement> returns = new ArrayList<>(1);
    int returnType = Types.NONE;

    /** The hoisted functions that its code leads to, where it is hoisted beside them. */
    final ArrayList<FunctionInfo> leads = new ArrayList<>(0);
    /** When its own code calls or jumps. */
    final TreeSet<Integer> leaves = new TreeSet<>();

    FunctionInfo(FunctionInfo parent, FunctionNode node, int time) {
        this.parent = parent;
        this.node = node;
        part = parent != null && node == null;
        this.time = time;
        arrow = node != null && node.getFunctionType() == FunctionNode.ARROW_FUNCTION;
    }

    FunctionInfo real() {
        FunctionInfo function = this;
        while (function.part) function = function.parent;
        return function;
    }

    /** The function whose `this` and `arguments` are seen here. */
    FunctionInfo ofThis() {
        FunctionInfo function = this;
        while (function.part || function.arrow) function = function.parent;
        return function;
    }

    /** Whether it has so many constants that Lua no longer knows a method that is missing by its name. */
    boolean isCrowded() {
        int exposed = parent == null ? 2 * scope.functions.size() : 0;
        return constants.size() + exposed > MOST_CONSTANTS;
    }

    /** Whether its own code calls or jumps in that time, so that other code may run. */
    boolean leavesBetween(int from, int to) {
        Integer first = leaves.ceiling(from);
        return first != null && first <= to;
    }

    /** It can be called from a time on, by what stands there, and with it all that it leads to. */
    void reached(int from, AstNode by) {
        if (from >= reachedAt) return;
        reachedAt = from;
        reachedBy = by;
        for (FunctionInfo to : leads) to.reached(from, by);
    }
}
