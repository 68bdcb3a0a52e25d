package com.morrow.scrivel;

import java.util.Arrays;
import java.util.LinkedHashSet;
import org.mozilla.javascript.ast.FunctionNode;

/** What is known of a function, of the script itself, or of a part of a try statement, which becomes a Lua function too. */
final class FunctionInfo {
    final FunctionInfo parent;
    final FunctionNode node;
    /** Part of a try statement: transparent to everything but Lua's limits. */
    final boolean part;
    Scope scope;
    boolean usesThis;
    boolean usesArguments;
    boolean arrow;
    boolean hasRest;
    /** The variable of a declaration, or of a function expression that refers to itself. */
    Variable variable;
    /** Hoisted as a declaration of this scope. */
    Scope hoistedIn;
    int start;
    /** From which position on it can be called: where a name that leads to it is first used. */
    int reachedAt = Integer.MAX_VALUE;
    final LinkedHashSet<Variable> outer = new LinkedHashSet<>();
    final LinkedHashSet<String> runtime = new LinkedHashSet<>();
    int returnType = Types.NONE;

    private int[] calls = new int[4];
    private int callCount;

    FunctionInfo(FunctionInfo parent, FunctionNode node, boolean part) {
        this.parent = parent;
        this.node = node;
        this.part = part;
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

    void callAt(int position) {
        FunctionInfo function = real();
        if (function.callCount == function.calls.length) function.calls = Arrays.copyOf(function.calls, 2 * function.callCount);
        function.calls[function.callCount++] = position;
    }

    void sortCalls() {
        Arrays.sort(calls, 0, callCount);
    }

    /** Whether its own code makes a call that ends between two positions. */
    boolean callsBetween(int from, int to) {
        int at = Arrays.binarySearch(calls, 0, callCount, from);
        if (at < 0) at = -at - 1;
        return at < callCount && calls[at] <= to;
    }
}
