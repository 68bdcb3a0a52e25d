package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** The chunk, functions, and what stands at the beginning of every scope. */
record Functions(Generator g) {
    /** Lines of the chunk before the script's own text. */
    static final int PROLOGUE = 3;
    private static final int MOST_PARAMETERS = 50;
    /** Levels of Lua's parser that a function and the call around it take. */
    private static final int LEVELS = 4;

    // -- the chunk

    void chunk(AstRoot root, FunctionInfo main) {
        Generator.Outer outer = g.enter(main, null, root, 0);
        if (main.usesThis) g.out.add("local this = " + g.js("G") + ".globalThis");
        open(main.scope);
        for (Variable variable : main.scope.variables) if (variable.shared) share(variable);
        g.statements.list(root);
        for (Variable variable : main.scope.variables) expose(variable);
        Block all = g.leave(outer);
        g.out.add(all);
    }

    /** Lets the host see a variable that holds a function when the chunk ends. */
    private void expose(Variable variable) {
        if (variable.kind == Variable.Kind.FUNCTION || variable.first == null || variable.isConstant()) return;
        if (variable.type != Types.UNKNOWN && variable.type != Types.FUNCTION) return;
        String access = variable.access();
        g.out.add(g.line(variable.first), "if " + g.js("type") + "(" + access + ") == \"function\" then "
            + "_G" + Lua.member(variable.name) + " = function(...) return " + access + "(nil, ...) end end");
    }

    private void exposeDeclared(FunctionNode node, Variable variable) {
        FunctionInfo info = Names.function(node);
        int named = node.getParams().size() - (info.hasRest ? 1 : 0);
        StringBuilder names = new StringBuilder();
        for (int i = 1; i <= named; i++) names.append(i == 1 ? "" : ", ").append('p').append(i).append(Lua.CHANGED);
        if (info.usesArguments || info.hasRest) names.append(named == 0 ? "..." : ", ...");
        g.out.add(g.line(node), "_G" + Lua.member(variable.name) + " = function(" + names + ") return "
            + variable.access() + "(nil" + (names.length() == 0 ? "" : ", ") + names + ") end");
    }

    /** Makes a variable of the top level a property of the global object. */
    private void share(Variable variable) {
        String access = variable.access();
        g.out.add(g.js("variable") + "(" + Lua.quote(variable.name) + ", function() return " + access + " end, "
            + "function(v) " + access + " = v end)");
    }

    // -- scopes

    /** Declares what a scope needs from its beginning on: its table, its hoisted variables and functions. */
    void open(Scope scope) {
        if (scope.table != null) g.out.add(g.line(scope.node), "local " + scope.table + " = {}");
        ArrayList<String> hoisted = new ArrayList<>();
        for (Variable variable : scope.variables) {
            if (variable.checked) g.out.add(definition(variable) + g.js("unset"));
            else if (variable.isGlobal() && !variable.safe) {
                // What the host or the library has by that name, or nil.
                g.out.add(definition(variable) + "(" + g.js("builtinGlobal") + "(" + Lua.quote(variable.name) + "))");
            } else if (isHoisted(variable)) hoisted.add(variable.lua);
        }
        if (!hoisted.isEmpty()) g.out.add("local " + String.join(", ", hoisted));
        for (FunctionNode node : scope.functions) declaration(node, scope);
    }

    /** The text that defines a variable, before its value. */
    static String definition(Variable variable) {
        return (variable.spilledIn != null ? "" : "local ") + variable.access() + " = ";
    }

    private static boolean isHoisted(Variable variable) {
        if (variable.inPlace || variable.spilledIn != null) return false;
        if (variable.kind == Variable.Kind.FUNCTION) return variable.writes > 0 || isUsedBefore(variable);
        return variable.kind == Variable.Kind.VAR || variable.kind.isLexical();
    }

    /** Whether a hoisted function before this one refers to it, so that its name must be known there already. */
    private static boolean isUsedBefore(Variable variable) {
        for (Variable.Use use : variable.uses) {
            FunctionInfo closure = use.closure();
            if (closure != null && closure.time < variable.declaration.time) return true;
        }
        return false;
    }

    // -- functions

    /** Whether an expression is a function that takes its name from what gets it. */
    static boolean isUnnamed(AstNode value) {
        return value instanceof FunctionNode function && function.getFunctionName() == null;
    }

    private void declaration(FunctionNode node, Scope scope) {
        Variable variable = Names.function(node).variable;
        boolean local = variable.kind == Variable.Kind.FUNCTION && !isHoisted(variable) && variable.spilledIn == null;
        if (local) g.out.add(local(node, variable));
        else g.out.add(g.line(node), variable.access() + " = ", body(node, variable.name, "function"));
        if (scope.parent == null) exposeDeclared(node, variable);
    }

    /** A function as an expression; `name` is what it is called where it has no name of its own. */
    Code expression(FunctionNode node, String name) {
        FunctionInfo info = Names.function(node);
        Name own = node.getFunctionName();
        if (own == null || info.variable == null || info.variable.uses.isEmpty()) {
            Code code = body(node, own == null ? name : own.getIdentifier(), "function").ranked(Code.ATOM, Types.FUNCTION);
            code.pure = true;
            return code;
        }
        info.variable.lua += Lua.CHANGED + Integer.toString(g.number());
        g.temporaries++;
        g.out.add(local(node, info.variable));
        return Code.read(info.variable.lua, Types.FUNCTION);
    }

    /** A function as the local variable that it refers to itself by. */
    Code local(FunctionNode node, Variable variable) {
        return Code.of(g.line(node), body(node, variable.name, "local function " + variable.lua));
    }

    /** A function's text, which begins with the given words. */
    private Code body(FunctionNode node, String name, String words) {
        FunctionInfo info = Names.function(node);
        int line = g.line;
        Generator.Outer outer = g.enter(info, null, node, LEVELS);
        Block top = new Block();
        String parameters = parameters(node, info, top);
        open(info.body);
        g.statements.list(node.getBody());
        top.add(g.leave(outer));
        g.line = line;
        LuaWriter.FunctionRow row = new LuaWriter.FunctionRow(name, length(node), info.arrow || node.isMethod() ? 'a' : 'f');
        Code last = Flow.ends(node.getBody()) ? new Code() : Code.of(g.endLine(node), "return");
        return Code.of(g.line(node), function(row, words + "(" + parameters + ")", top, last, g.line(node)));
    }

    /** A Lua function. It ends on the line where it began: Lua makes the closure on the line of that word. */
    static Code function(LuaWriter.FunctionRow row, String head, Block body, Code last, int line) {
        Code code = Code.of(row, head, body, Code.NEXT, last, Code.NEXT, line, Code.END, "end");
        code.size = 1;
        return code;
    }

    /** Gives the list of parameters. What unpacks arguments goes to the top, what unpacks values to the current block. */
    private String parameters(FunctionNode node, FunctionInfo info, Block top) {
        ArrayList<String> names = new ArrayList<>();
        for (AstNode parameter : node.getParams()) {
            AstNode target = Patterns.taker(parameter);
            names.add(target.getType() == Token.NAME ? Names.variable(target).lua : g.fresh());
        }
        if (names.size() > MOST_PARAMETERS) {
            throw new Generator.Refusal(node, "A function with more than " + MOST_PARAMETERS + " parameters is not supported");
        }
        List<String> named = info.hasRest ? names.subList(0, names.size() - 1) : names;
        String list = String.join(", ", named);
        boolean all = info.usesArguments;
        // Nothing takes from `...` after a call: LuaJIT 2.1.0-beta3 may then take what lies one further.
        if (all && !named.isEmpty()) top.add(g.line(node), "local " + list + " = ...");
        if (all) top.add(g.line(node), "local arguments = " + g.js("arguments") + "(...)");
        if (info.hasRest) {
            String rest = all ? g.js("tail") + "(arguments, " + named.size() + ")" : g.js("rest") + "(...)";
            top.add("local " + names.get(named.size()) + " = " + rest);
        }
        g.line = g.line(node);
        open(info.scope);
        for (int i = 0; i < names.size(); i++) parameter(node.getParams().get(i), names.get(i));
        String receiver = info.arrow ? "_" + Lua.CHANGED : "this";
        return receiver + (all || named.isEmpty() ? "" : ", " + list) + (all || info.hasRest ? ", ..." : "");
    }

    private void parameter(AstNode parameter, String name) {
        Code value = Code.read(name, Types.UNKNOWN);
        if (parameter instanceof Assignment assignment && !Patterns.isSpread(parameter)) g.assignments.fallback(assignment, value);
        AstNode target = Patterns.taker(parameter);
        if (target.getType() == Token.NAME) {
            Variable variable = Names.variable(target);
            if (variable.spilledIn != null) g.out.add(variable.access() + " = " + name);
            return;
        }
        for (Name part : Patterns.names(target)) if (Names.variable(part).spilledIn == null) g.out.add("local " + Names.variable(part).lua);
        g.assignments.give(target, value, true);
    }

    /** How many parameters come before the first that may be left out. */
    private static int length(FunctionNode node) {
        int count = 0;
        for (AstNode parameter : node.getParams()) {
            if (parameter instanceof Assignment) break;
            count++;
        }
        return count;
    }
}
