package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * The names of a script: declares them in their scopes, notes their uses, and leads each use to its variable once all are
 * known. Scopes, functions and uses are left on the nodes for the walks that follow.
 */
final class Names {
    private static final int SCOPE = 1002, FUNCTION = 1003, USE = 1004;
    static final int BEGINS = 1005, CHAIN = 1006, OPERATOR = 1007;

    private final Diagnostics errors;
    private final Refusals refusals;
    final ArrayList<Variable.Use> uses = new ArrayList<>();
    final ArrayList<FunctionInfo> functions = new ArrayList<>();
    final ArrayList<Scope> scopes = new ArrayList<>();
    final HashSet<String> declared = new HashSet<>();
    /** Counts what the walk comes to. It goes in the order in which code runs: values before what gets them. */
    private int time;
    /** The innermost ones around what is being walked over. */
    Scope scope;
    FunctionInfo function;
    boolean mathShared;
    /** The script defines functions that run without being called: accessors, or what turns an object into a value. */
    boolean hooks;
    /** The script has the global object in its hands, whose properties the variables of the top level are. */
    boolean sharesGlobals;

    Names(Diagnostics errors, Refusals refusals) {
        this.errors = errors;
        this.refusals = refusals;
    }

    // -- what is known of a node

    static Variable variable(AstNode name) {
        return use(name).variable;
    }

    static Variable.Use use(AstNode name) {
        return (Variable.Use) name.getProp(USE);
    }

    static Scope scope(AstNode node) {
        return (Scope) node.getProp(SCOPE);
    }

    static FunctionInfo function(AstNode node) {
        return (FunctionInfo) node.getProp(FUNCTION);
    }

    /** The operator that the author wrote where the tree has another, or null. */
    static String operator(AstNode node) {
        return (String) node.getProp(OPERATOR);
    }

    /** The whole of a chain of members and calls that `?.` may cut short. */
    static boolean isChain(AstNode node) {
        return node.getProp(CHAIN) != null;
    }

    /** Whether a node is a part of another, or that itself. No part begins before the whole, which saves most of the way. */
    static boolean isIn(AstNode part, AstNode whole) {
        while (part != null && part != whole && part.getPosition() >= whole.getPosition()) part = part.getParent();
        return part == whole;
    }

    /** The loop or function that a part of the script stands in, as long as that is a part of the whole; or null. */
    static AstNode repeating(AstNode part, AstNode whole) {
        for (AstNode around = part.getParent(); around != null && around != whole; around = around.getParent()) {
            if (around instanceof Loop || around instanceof FunctionNode) return around;
        }
        return null;
    }

    int tick() {
        return ++time;
    }

    // -- scopes and functions

    void open(AstNode node) {
        scope = new Scope(scope, function, node, tick());
        node.putProp(SCOPE, scope);
        scopes.add(scope);
    }

    void close() {
        scope = scope.parent;
    }

    /** Enters a function, the script itself, or a part of a try statement, for which the function is null. */
    FunctionInfo enter(AstNode node, FunctionNode code) {
        function = new FunctionInfo(function, code, tick());
        functions.add(function);
        node.putProp(FUNCTION, function);
        return function;
    }

    void leave() {
        function = function.parent;
    }

    // -- declarations and uses

    /** Declares a name in its scope; gives its variable, an earlier one where it may be declared again. */
    Variable declare(Name name, Variable.Kind kind) {
        String text = name.getIdentifier();
        refusals.binding(name, scope.function.real().node != null);
        declared.add(text);
        Scope home = scope;
        if (kind == Variable.Kind.VAR) {
            for (; !home.isBody(); home = home.parent) {
                Variable hidden = home.names.get(text);
                if (hidden != null && hidden.kind != Variable.Kind.CATCH) clash(name);
                home.passed.add(text);
            }
        } else if (scope.passed.contains(text) || kind != Variable.Kind.CATCH && scope.isBodyOfCatch(text)) clash(name);
        Variable found = home.names.get(text);
        if (found == null && home.isBody() && home.parent != null) found = home.parent.names.get(text);
        if (found == null || found.kind == Variable.Kind.SELF) return home.declare(text, kind);
        boolean again = home.isBody() && !kind.isLexical() && !found.kind.isLexical();
        if (!again) clash(name);
        found.again = true;
        return found;
    }

    private void clash(Name name) {
        errors.report(name, "Identifier '" + name.getIdentifier() + "' has already been declared");
    }

    /** Declares a function in its scope, before anything of the scope runs. */
    void hoist(FunctionNode node, FunctionInfo info) {
        int around = node.getParent().getType();
        if (around != Token.BLOCK && around != Token.SCRIPT && around != Token.CASE && around != Token.FUNCTION) {
            errors.report(node, "A function can only be declared at top level or inside a block");
        }
        Name name = node.getFunctionName();
        Variable variable = declare(name, Variable.Kind.FUNCTION);
        if (variable.kind != Variable.Kind.FUNCTION || variable.declaration != null) variable.writes++;
        variable.declaration = info;
        info.variable = variable;
        info.hoistedIn = scope;
        scope.functions.add(node);
        use(name, null);
    }

    /** Declares the name of a function expression within it. */
    void declareSelf(FunctionInfo info, Name name) {
        refusals.binding(name, true);
        info.variable = scope.declare(name.getIdentifier(), Variable.Kind.SELF);
        declared.add(name.getIdentifier());
    }

    /** Notes a use of a name here, and what it gets there, if anything. */
    void use(Name name, AstNode value) {
        Variable.Use use = new Variable.Use(name, scope, value, tick());
        name.putProp(USE, use);
        uses.add(use);
    }

    /** Leads every use to its variable. A script that asks by typeof whether a name is there can do without it. */
    void resolve() {
        if (sharesGlobals) for (Variable variable : scopes.get(0).variables) variable.share();
        HashSet<String> asked = new HashSet<>();
        for (Variable.Use use : uses) {
            Variable variable = use.scope.find(use.name.getIdentifier());
            if (variable != null) variable.add(use);
            else if (use.name.getParent().getType() == Token.TYPEOF) asked.add(use.name.getIdentifier());
        }
        Refusals.answer(asked);
        for (Variable.Use use : uses) {
            if (use.variable == null && !asked.contains(use.name.getIdentifier())) refusals.global(use.name);
        }
    }
}
