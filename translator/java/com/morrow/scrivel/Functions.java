package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Node;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** The chunk, functions, and what stands at the beginning of every scope. */
final class Functions {
    /** Lines of the chunk before the script's own text. */
    static final int PROLOGUE = 3;
    private static final int MOST_NAMES_A_LINE = 50;

    /** Levels of Lua's parser that a function and the call around it take. */
    private static final int LEVELS = 4;

    private final Generator g;

    Functions(Generator g) {
        this.g = g;
    }

    // -- the chunk

    void chunk(AstRoot root, FunctionInfo main) {
        g.function = main;
        Block body = g.out;
        Block top = g.out = new Block();
        if (main.usesThis) g.out.add("local this = " + g.js("G") + ".globalThis");
        enter(main.scope);
        for (Variable variable : main.scope.variables) if (variable.shared) share(variable);
        g.statements.list(children(root), true);
        expose(main.scope);
        g.out = body;
        spare();
        body.add(top);
    }

    static List<AstNode> children(AstNode node) {
        ArrayList<AstNode> list = new ArrayList<>();
        for (Node child = node.getFirstChild(); child != null; child = child.getNext()) list.add((AstNode) child);
        return list;
    }

    /** Lets the host see the variables that hold functions when the chunk ends. */
    private void expose(Scope scope) {
        for (Variable variable : scope.variables) {
            if (variable.kind == Variable.Kind.FUNCTION || variable.start < 0) continue;
            if (variable.type != Types.UNKNOWN && variable.type != Types.FUNCTION || variable.constant != null) continue;
            String access = variable.access();
            g.out.add(g.statement(g.source.line(variable.start)).add("if " + g.js("type") + "(" + access + ") == \"function\" then "
                + "_G" + Expressions.field(variable.name) + " = function(...) return " + access + "(nil, ...) end end"));
        }
    }

    /** Makes a variable of the top level a property of the global object. */
    private void share(Variable variable) {
        String access = variable.access();
        g.out.add(Code.of(g.js("variable") + "(" + Lua.quote(variable.name) + ", function() return " + access + " end, function(v) " + access + " = v end)"));
    }

    private void exposeDeclared(FunctionNode node, Variable variable) {
        StringBuilder names = new StringBuilder();
        FunctionInfo info = Names.function(node);
        int named = node.getParams().size() - (info.hasRest ? 1 : 0);
        for (int i = 0; i < named; i++) names.append(i == 0 ? "" : ", ").append('p').append(i + 1).append(Lua.CHANGED);
        if (info.usesArguments || info.hasRest) names.append(names.length() == 0 ? "..." : ", ...");
        String list = names.toString();
        g.out.add(g.statement(g.line(node)).add("_G" + Expressions.field(variable.name) + " = function(" + list + ") return "
            + variable.access() + "(nil" + (list.isEmpty() ? "" : ", " + list) + ") end"));
    }

    // -- scopes

    /** Declares what a scope needs from its beginning on: its table, its hoisted variables and functions. */
    void enter(Scope scope) {
        if (scope.table != null) g.out.add(g.statement(g.line(scope.node)).add("local " + scope.table + " = {}"));
        StringBuilder names = new StringBuilder();
        int count = 0;
        for (Variable variable : scope.variables) {
            if (variable.checked) {
                g.out.add(Code.of((variable.spilledIn == null ? "local " : "") + variable.access() + " = " + g.js("unset")));
                continue;
            }
            if (!isHoisted(variable)) continue;
            names.append(count == 0 ? "local " : ", ").append(variable.lua);
            if (++count < MOST_NAMES_A_LINE) continue;
            g.out.add(names.toString());
            names.setLength(0);
            count = 0;
        }
        if (count > 0) g.out.add(names.toString());
        for (FunctionNode node : scope.functions) declaration(node, scope);
    }

    private boolean isHoisted(Variable variable) {
        if (variable.inPlace || variable.spilledIn != null) return false;
        switch (variable.kind) {
            case PARAMETER: case CATCH: case SELF:
                return false;
            case FUNCTION:
                return variable.writes > 0 || isUsedBefore(variable);
            default:
                return true;
        }
    }

    /** Whether a hoisted function before this one refers to it, so that its name must be known there already. */
    private static boolean isUsedBefore(Variable variable) {
        for (Variable.Use use : variable.uses) {
            FunctionInfo closure = use.closure();
            if (closure != null && closure.start < variable.declaration.start) return true;
        }
        return false;
    }

    private void declaration(FunctionNode node, Scope scope) {
        Variable variable = Names.function(node).variable;
        boolean local = variable.kind == Variable.Kind.FUNCTION && !isHoisted(variable) && variable.spilledIn == null;
        Code code = new Code().line(g.line(node));
        if (local) code.add(body(node, variable.name, "local function " + variable.lua));
        else code.add(variable.access() + " = ").add(body(node, variable.name, "function"));
        g.out.add(code);
        if (scope.parent == null) exposeDeclared(node, variable);
    }

    /** A function as an expression; `name` is what it is called where it has no name of its own. */
    Code expression(FunctionNode node, String name) {
        FunctionInfo info = Names.function(node);
        Name own = node.getFunctionName();
        if (own != null) name = own.getIdentifier();
        if (own == null || info.variable == null || info.variable.uses.isEmpty()) {
            Code code = body(node, name == null ? "" : name, "function");
            code.rank = Code.ATOM;
            code.type = Types.FUNCTION;
            code.pure = true;
            return code;
        }
        info.variable.lua += Lua.CHANGED + Integer.toString(g.number());
        g.temporaries++;
        g.out.add(new Code().line(g.line(node)).add(body(node, name, "local function " + info.variable.lua)));
        return Generator.read(info.variable.lua, Types.FUNCTION);
    }

    /** A function as the local variable that it refers to itself by. */
    Code local(FunctionNode node, Variable variable) {
        return new Code().line(g.line(node)).add(body(node, variable.name, "local function " + variable.lua));
    }

    /** A function's text, which begins with the given words. */
    private Code body(FunctionNode node, String name, String words) {
        FunctionInfo info = Names.function(node);
        FunctionInfo function = g.function;
        Block out = g.out;
        Flow flow = g.flow;
        int temporaries = g.temporaries;
        int line = g.line;
        String spare = g.spare;
        g.function = info;
        g.flow = null;
        g.temporaries = 0;
        g.spare = null;
        g.deeper(node, LEVELS);

        Block top = new Block();
        g.out = new Block();
        String parameters = parameters(node, info, top);
        enter(info.scope);
        g.statements.list(children(node.getBody()), true);
        Block statements = g.out;
        g.out = top;
        spare();

        boolean method = info.arrow || node.isMethod();
        Code code = new Code().line(g.line(node)).add(new FunctionRow(name, length(node), method ? 'a' : 'f'));
        code.add(words + "(" + parameters + ")").add(top).add(statements).newline().line(g.endLine(node)).end();
        code.weight = 1;
        code.calls = false;
        g.function = function;
        g.out = out;
        g.flow = flow;
        g.temporaries = temporaries;
        g.line = line;
        g.spare = spare;
        g.depth -= LEVELS;
        return code;
    }

    /** Declares the table that temporaries beyond Lua's limit have asked for. */
    void spare() {
        if (g.spare != null) g.out.add("local " + g.spare + " = {}");
        g.spare = null;
    }

    private String parameters(FunctionNode node, FunctionInfo info, Block top) {
        StringBuilder list = new StringBuilder();
        ArrayList<String> names = new ArrayList<>();
        for (AstNode parameter : node.getParams()) {
            AstNode target = Patterns.parameter(parameter);
            if (target.getType() == Token.ASSIGN) target = ((Assignment) target).getLeft();
            names.add(target.getType() == Token.NAME ? Names.variable(target).lua : g.fresh());
            if (!Patterns.isRest(parameter)) list.append(list.length() == 0 ? "" : ", ").append(names.get(names.size() - 1));
        }
        if (names.size() > 100) throw new Generator.Refusal(node, "A function with more than 100 parameters is not supported");
        String receiver = info.arrow ? "_" + Lua.CHANGED : "this";
        boolean all = info.usesArguments;
        int named = names.size() - (info.hasRest ? 1 : 0);
        if (all) top.add(new Code().line(g.line(node)).add("local arguments = " + g.js("arguments") + "(nil, ...)"));
        if (all && named > 0) top.add("local " + list + " = ...");
        if (info.hasRest) {
            String rest = all && named > 0 ? "select(" + (named + 1) + ", ...)" : "...";
            top.add("local " + names.get(named) + " = " + g.js("rest") + "(" + rest + ")");
        }
        g.line = g.line(node);
        if (info.scope.table != null) g.out.add("local " + info.scope.table + " = {}");
        for (int i = 0; i < names.size(); i++) parameter(Patterns.parameter(node.getParams().get(i)), names.get(i));
        String most = all || list.length() == 0 ? receiver : receiver + ", " + list;
        return all || info.hasRest ? most + ", ..." : most;
    }

    private void parameter(AstNode parameter, String name) {
        boolean fallback = parameter.getType() == Token.ASSIGN;
        AstNode target = fallback ? ((Assignment) parameter).getLeft() : parameter;
        if (fallback) {
            int before = g.temporaries;
            g.out.add(g.statement(g.line(parameter)).add("if " + name + " == nil then"));
            Code value = g.assignments.named(((Assignment) parameter).getRight(), target.getType() == Token.NAME ? ((Name) target).getIdentifier() : "");
            g.out.add(new Code().line(g.line).add(name + " = ").add(value));
            g.out.add("end");
            g.temporaries = before;
        }
        if (target.getType() != Token.NAME) {
            declarePattern(target);
            g.assignments.give(target, Generator.read(name, Types.UNKNOWN), true);
            return;
        }
        Variable variable = Names.variable(target);
        if (variable.spilledIn != null) g.out.add(variable.access() + " = " + name);
    }

    /** Makes locals of the names in a pattern. */
    void declarePattern(AstNode target) {
        ArrayList<Name> names = new ArrayList<>();
        Patterns.names(target, names);
        for (Name name : names) {
            Variable variable = Names.variable(name);
            if (variable.spilledIn == null) g.out.add("local " + variable.lua);
        }
    }

    /** How many parameters come before the first that may be left out. */
    private static int length(FunctionNode node) {
        int count = 0;
        for (AstNode parameter : node.getParams()) {
            if (Patterns.parameter(parameter) != parameter) break;
            count++;
        }
        return count;
    }
}
