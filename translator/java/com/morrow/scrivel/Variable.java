package com.morrow.scrivel;

import java.util.ArrayList;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.Name;

/** A declared name, with everything that decides how it is kept in Lua. */
final class Variable {
    enum Kind {
        VAR, LET, CONST, PARAMETER, FUNCTION, CATCH, SELF;

        boolean isLexical() {
            return this == LET || this == CONST;
        }
    }

    /**
     * A declaration: whether it is a statement of its scope's list, when it begins, and what is around it: its scope, or its
     * case of a switch. What stands elsewhere may run without it.
     */
    record Declaring(Kind kind, boolean direct, int begins, AstNode around) {}

    /** One use of a name. */
    static final class Use {
        final Name name;
        final Scope scope;
        /** What the variable gets here; null where it is only read, or declared without a value. */
        final AstNode value;
        final boolean write;
        /** When the walk came to it. */
        final int time;
        Variable variable;
        /** It stands where the variable cannot have been initialised yet. */
        boolean early;

        Use(Name name, Scope scope, AstNode value, int time) {
            this.name = name;
            this.scope = scope;
            this.value = value;
            this.time = time;
            write = value != null;
        }

        /** The outermost function around the use that lies within the variable's own, or null. */
        FunctionInfo closure() {
            FunctionInfo found = null;
            FunctionInfo home = variable.scope.function.real();
            for (FunctionInfo f = scope.function.real(); f != home; f = f.parent.real()) found = f;
            return found;
        }
    }

    final String name;
    final Kind kind;
    final Scope scope;
    /** In Lua: an identifier, or a field of the scope's table. */
    String lua;

    // What the walk finds of its uses.
    final ArrayList<Use> uses = new ArrayList<>();
    int writes;
    boolean captured;
    boolean writtenInClosure;
    /** A property of the global object, which anyone may change. */
    boolean shared;
    /** Declared more than once. */
    boolean again;
    /** The function that it was declared as. */
    FunctionInfo declaration;

    // The declaration that gives it its first value.
    Scope home;
    Name first;
    Declaring how;
    /** When it has that value. */
    int given;
    /** The expression that gives it, or ANYTHING of Types; null where the variable is declared without a value. */
    AstNode initial;

    // What Lifetimes decides.
    /** Declared where it is initialised, not at the scope's beginning. */
    boolean inPlace;
    /** Cannot be seen before it is initialised. */
    boolean safe;
    /** A closure may see it before it is initialised, so uses are checked. */
    boolean checked;
    /** The scope whose table holds it, or null for a Lua local. */
    Scope spilledIn;

    // What Types, Appending and Carried decide.
    int type = Types.UNKNOWN;
    /** Text that is kept as a list of its pieces. */
    boolean pieces;
    /** Every value that it gets is a number that compiled code holds by itself. */
    boolean own;

    /** The counter of the Lua numeric loop that is being written, which declares it and alone changes it. */
    boolean counts;

    Variable(String name, Kind kind, Scope scope) {
        this.name = name;
        this.kind = kind;
        this.scope = scope;
        this.lua = Lua.variable(name);
    }

    void add(Use use) {
        use.variable = this;
        uses.add(use);
        if (use.write) writes++;
        FunctionInfo home = scope.function, user = use.scope.function;
        captured |= user.real() != home.real();
        writtenInClosure |= use.write && user != home;
        for (FunctionInfo f = user; f != home; f = f.parent) f.outer.add(this);
    }

    void share() {
        shared = kind == Kind.VAR || kind == Kind.FUNCTION;
        if (!shared) return;
        captured = writtenInClosure = true;
        writes += 2;
    }

    /** A plain variable of the top level: declaring it changes nothing about what has its name already. */
    boolean isGlobal() {
        return kind == Kind.VAR && scope.parent == null;
    }

    /** Keeps one value once it has one. */
    boolean isSettled() {
        if (kind == Kind.FUNCTION && writes == 0) return true;
        return writes <= 1 && (safe && initial != null || kind == Kind.PARAMETER);
    }

    /** Always holds the number or boolean that its declaration spells out. */
    boolean isConstant() {
        int type = initial == null ? Token.EMPTY : initial.getType();
        return (type == Token.NUMBER || type == Token.TRUE || type == Token.FALSE) && (kind.isLexical() || kind == Kind.VAR) && isSettled();
    }

    /** Whether a use may come before the initialisation, which only running the script can tell. */
    boolean isCheckedAt(Use use) {
        return checked && (use.closure() != null || !Names.isIn(use.name, how.around));
    }

    /** As an operand: where it is kept in this scope. */
    String access() {
        return spilledIn != null ? spilledIn.table + '.' + lua : lua;
    }
}
