package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import org.mozilla.javascript.ast.*;

/** A stretch of text with names of its own: a function, a block, a loop's head, a switch or a catch clause. */
final class Scope {
    final Scope parent;
    final FunctionInfo function;
    final AstNode node;
    /** When the walk came to it. */
    final int time;
    final HashMap<String, Variable> names = new HashMap<>(8);
    final ArrayList<Variable> variables = new ArrayList<>();
    final ArrayList<FunctionNode> functions = new ArrayList<>();
    /** The names of variables that are declared within and live outside. */
    final HashSet<String> passed = new HashSet<>(2);
    /** How many of its variables are Lua locals. */
    int locals;
    /** The Lua local that holds the spilled variables, or null. */
    String table;

    Scope(Scope parent, FunctionInfo function, AstNode node, int time) {
        this.parent = parent;
        this.function = function;
        this.node = node;
        this.time = time;
    }

    /** Entered anew with each turn of a loop of its function. */
    boolean inLoop() {
        return Names.repeating(node, null) instanceof Loop;
    }

    /** Holds a function's variables, or the script's. */
    boolean isBody() {
        return this == function.real().body;
    }

    boolean isBodyOfCatch(String name) {
        if (parent == null || !(parent.node instanceof CatchClause clause)) return false;
        return node == clause.getBody() && parent.names.containsKey(name);
    }

    Variable declare(String name, Variable.Kind kind) {
        Variable variable = new Variable(name, kind, this);
        names.put(name, variable);
        variables.add(variable);
        return variable;
    }

    Variable find(String name) {
        for (Scope scope = this; scope != null; scope = scope.parent) {
            Variable found = scope.names.get(name);
            if (found != null) return found;
        }
        return null;
    }
}
