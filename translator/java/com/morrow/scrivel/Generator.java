package com.morrow.scrivel;

import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.InfixExpression;

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

    /** A value and the statements that it needs before. */
    record Prepared(Block before, Code code) {}

    /** What was current before {@link #collect} or {@link #enter}. */
    record Outer(FunctionInfo function, Flow flow, Block out, int temporaries, String spare, int depth) {}

    /** An expression that needs more registers or nesting than this is cut with a temporary. */
    static final int MOST_WEIGHT = 36;
    static final int MOST_DEPTH = 158;
    /** Locals of a Lua function beside the variables: temporaries, and with those what its statements take to run. */
    static final int MOST_TEMPORARIES = 30, MOST_RESERVED = 45;

    final Source source;
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
    private String spare;
    /** Where the next statement goes. */
    Block out = new Block();
    FunctionInfo function;
    Flow flow;
    /** Locals beside the variables alive in the current Lua function, and all names made so far. */
    int temporaries;
    private int made;
    private final String temporaryPrefix;

    Generator(Source source, Names names, Types types) {
        this.source = source;
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

    int operatorLine(InfixExpression node) {
        return source.line(node.getPosition() + node.getOperatorPosition());
    }

    /** The library's function of that name, as this place reaches it. */
    String js(String name) {
        return runtime.name(name, function);
    }

    Code value(AstNode node) {
        return expressions.value(node);
    }

    /** Statements go to a block of their own from now on, until {@link #collected} is given the result. */
    Outer collect() {
        Outer outer = new Outer(function, flow, out, temporaries, spare, depth);
        out = new Block();
        return outer;
    }

    /** The statements since {@link #collect}; the next ones go to the outer block again. */
    Block collected(Outer outer) {
        Block inner = out;
        out = outer.out;
        return inner;
    }

    /** Adds the statements since {@link #collect}, in a Lua block of their own if they made temporaries. */
    void enclose(int line, Outer outer) {
        Block inner = collected(outer);
        boolean own = temporaries > outer.temporaries;
        if (own) out.add(line, "do");
        out.add(inner);
        if (own) out.add("end");
        temporaries = outer.temporaries;
    }

    /** Translates an expression, to be judged or for its value, without evaluating it here. */
    Prepared prepare(AstNode node, boolean judged) {
        Outer outer = collect();
        Code value = judged ? expressions.condition(node) : value(node);
        return new Prepared(collected(outer), value);
    }

    /** Begins a Lua function within the current one. */
    Outer enter(FunctionInfo inner, Flow innerFlow, AstNode node, int levels) {
        Outer outer = collect();
        deeper(node, levels);
        function = inner;
        flow = innerFlow;
        temporaries = 0;
        spare = null;
        return outer;
    }

    /** Ends the Lua function; gives its statements, first the table for temporaries if they ask for one. */
    Block leave(Outer outer) {
        Block body = new Block();
        if (spare != null) body.add("local " + spare + " = {}");
        body.add(collected(outer));
        function = outer.function;
        flow = outer.flow;
        temporaries = outer.temporaries;
        spare = outer.spare;
        depth = outer.depth;
        return body;
    }

    /** A name that nothing else has. */
    String fresh() {
        return temporaryPrefix + number();
    }

    int number() {
        return ++made;
    }

    /** A name for a temporary. Where Lua has no room for another local, it is a field of the function's spare table. */
    private String temporary() {
        if (temporaries < MOST_TEMPORARIES) {
            temporaries++;
            return fresh();
        }
        if (spare == null) spare = "spare" + Lua.CHANGED + number();
        return spare + '.' + fresh();
    }

    /** Evaluates a value here and now; for null, declares a temporary without one. */
    Code save(Code value) {
        return save(value, out.mark());
    }

    /** Evaluates a value at a mark. */
    Code save(Code value, Block.Link mark) {
        String name = temporary();
        boolean local = name.indexOf('.') < 0;
        Code code = Code.of(line, local ? "local " + name : name);
        if (value != null) code.add(" = ", value);
        else if (!local) code.add(" = nil");
        out.insert(mark, code);
        return Code.read(name, value == null ? Types.UNKNOWN : value.type);
    }

    /** A value that can be read several times, whatever runs between. */
    Code keep(Code value) {
        return value.stable ? value : save(value);
    }

    /** Evaluates now what has grown too large for one Lua expression. */
    Code cut(Code value) {
        return value.weight > MOST_WEIGHT ? save(value) : value;
    }

    /** Nothing in the script nests deeper than Lua's parser can follow, or takes more locals than Lua has. */
    void deeper(AstNode node, int levels) {
        depth += levels;
        if (depth > MOST_DEPTH || temporaries > MOST_RESERVED) throw new Refusal(node, "The code is nested too deeply");
    }
}
