package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.AstRoot;
import org.mozilla.javascript.ast.NumberLiteral;

/** What the parts of the translation share: where statements go, temporaries, and access to variables. */
final class Generator {
    /** Ends a translation at a node that cannot be translated. */
    static final class Refusal extends RuntimeException {
        final AstNode node;

        Refusal(AstNode node, String message) {
            super(message, null, false, false);
            this.node = node;
        }
    }

    /** An expression that needs more registers or nesting than this is cut with a temporary. */
    static final int MOST_WEIGHT = 36;
    static final int MOST_DEPTH = 158;
    /** Below this depth, statements with temporaries are no longer enclosed in blocks of their own. */
    static final int MOST_ENCLOSED = 15;
    private static final int MOST_TEMPORARIES = 40;

    final Source source;
    final Diagnostics errors;
    final Names names;
    final Types types;
    final Runtime runtime;
    final Expressions expressions = new Expressions(this);
    final Operators operators = new Operators(this);
    final Calls calls = new Calls(this);
    final Literals literals = new Literals(this);
    final Assignments assignments = new Assignments(this);
    final Functions functions = new Functions(this);
    final Statements statements = new Statements(this);
    final Loops loops = new Loops(this);
    final Jumps jumps = new Jumps(this);

    /** The line of the current statement, and how deep in Lua's blocks it stands. */
    int line = 1;
    int depth;
    /** The current Lua function's table for temporaries beyond the limit, if it needed one. */
    String spare;
    /** Where the next statement goes. */
    Block out = new Block();
    FunctionInfo function;
    Flow flow;
    /** Temporaries alive in the current Lua function, and all made so far. */
    int temporaries;
    private int made;
    private final String temporaryPrefix;

    Generator(Source source, Diagnostics errors, Names names, Types types) {
        this.source = source;
        this.errors = errors;
        this.names = names;
        this.types = types;
        runtime = new Runtime(names.declared);
        String prefix = "t";
        for (String name : names.declared) {
            if (name.length() > 1 && name.charAt(0) == 't' && Character.isDigit(name.charAt(1))) prefix = "t" + Lua.CHANGED;
        }
        temporaryPrefix = prefix;
    }

    int line(AstNode node) {
        return source.line(node.getPosition());
    }

    int endLine(AstNode node) {
        return source.line(Math.max(node.getPosition(), node.getPosition() + node.getLength() - 1));
    }

    /** The library's function of that name, as this place reaches it. */
    String js(String name) {
        return runtime.name(name, function);
    }

    /** Begins a statement of a JavaScript line. */
    Code statement(int line) {
        return new Code().line(line);
    }

    Code value(AstNode node) {
        return expressions.value(node);
    }

    /** A name that nothing else has. */
    String fresh() {
        return temporaryPrefix + ++made;
    }

    int number() {
        return ++made;
    }

    /** Declares a temporary at a mark, with a value or without. */
    private Block.Link declare(Block.Link at, String name, Code value) {
        boolean local = name.indexOf('.') < 0;
        if (!local && value == null) return at;
        Code code = new Code().line(line).add(local ? "local " + name : name);
        if (value != null) code.add(" = ").add(value);
        return out.insert(at, code);
    }

    /** A name for a temporary. Where Lua has no room for another local, it is a field of the function's spare table. */
    private String temporary() {
        if (++temporaries <= MOST_TEMPORARIES) return fresh();
        if (spare == null) spare = "spare" + Lua.CHANGED + number();
        return spare + '.' + fresh();
    }

    /** Declares a temporary here without a value. */
    Code declareTemporary() {
        String name = temporary();
        declare(out.mark(), name, null);
        return read(name, Types.UNKNOWN);
    }

    /** Evaluates a value here and now. */
    Code save(Code value) {
        String name = temporary();
        declare(out.mark(), name, value);
        return read(name, value.type);
    }

    /** Evaluates operands at a mark, those that could change; gives them as they are read afterwards. */
    void saveAt(Block.Link mark, Code[] codes, int from, int to) {
        for (int i = from; i < to; i++) {
            if (codes[i].stable) continue;
            String name = temporary();
            mark = declare(mark, name, codes[i]);
            codes[i] = read(name, codes[i].type);
        }
    }

    static Code read(String name, int type) {
        Code code = Code.of(name);
        code.type = type;
        code.pure = true;
        code.stable = true;
        return code;
    }

    /** Nothing in the script nests deeper than Lua's parser can follow. */
    void deeper(AstNode node, int levels) {
        depth += levels;
        if (depth > MOST_DEPTH) throw new Refusal(node, "The code is nested too deeply");
    }

    private void findConstants() {
        for (Scope scope : names.scopes) {
            for (Variable variable : scope.variables) {
                if (variable.isLexical() && variable.isSettled() && variable.initial != null) {
                    variable.constant = constant(variable.initial);
                }
            }
        }
    }

    private static Code constant(AstNode value) {
        switch (value.getType()) {
            case Token.NUMBER: {
                double number = ((NumberLiteral) value).getNumber();
                return Code.atom(Lua.number(number), Types.isNumeric(number) ? Types.INTEGER : Types.NUMBER);
            }
            case Token.TRUE: return Code.atom("true", Types.BOOLEAN);
            case Token.FALSE: return Code.atom("false", Types.BOOLEAN);
            default: return null;
        }
    }

    /** Translates a script whose names and types are known. */
    void translate(AstRoot root, FunctionInfo main) {
        findConstants();
        functions.chunk(root, main);
    }
}
