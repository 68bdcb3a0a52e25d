package com.morrow.scrivel;

import com.morrow.scrivel.Generator.Refusal;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Calls, method calls and `new`. */
record Calls(Generator g) {
    /** More than Lua has registers for, beside all locals, are passed as a list. */
    private static final int MOST_ARGUMENTS = 40;
    /** How many members and calls of a callee a message spells out. */
    private static final int MOST_NAMED = 6;
    private static final String UNNAMED = "(intermediate value)";
    /** Operands of {@code Math.max} that are compared in place: each is a call around the ones before. */
    private static final int MOST_COMPARED = 4;

    Code call(FunctionCall node) {
        AstNode target = Expressions.bare(node.getTarget());
        List<AstNode> arguments = node.getArguments();
        if (Names.isChain(target) && target != node.getTarget()) {
            throw new Refusal(target, "Calling an optional chain in parentheses is not supported");
        }
        if (Patterns.isLink(target)) return lookedUp(node, Expressions.bare(Patterns.target(target)), true);
        if (!(target instanceof PropertyGet member) || isOneList(arguments)) return lookedUp(node, target, false);
        if (!Lua.isName(member.getProperty().getIdentifier())) return lookedUp(node, target, false);
        Code known = math(member, arguments);
        if (known != null) return known;
        return g.function.isCrowded() ? lookedUp(node, target, false) : method(member, arguments);
    }

    private Operands arguments(Operands operands, List<AstNode> arguments) {
        int last = arguments.size() - 1;
        boolean spread = Patterns.anySpread(arguments), many = arguments.size() > MOST_ARGUMENTS;
        boolean several = many || spread && Patterns.anySpread(arguments.subList(0, last));
        if (!several) for (AstNode argument : spread ? arguments.subList(0, last) : arguments) operands.add(argument);
        if (!spread && !many) return operands;
        Block.Link mark = g.out.mark();
        Code all = g.operators.library("spread", several ? gathered(arguments) : g.value(Patterns.spread(arguments.get(last))));
        all.calls = true;
        return operands.put(mark, all);
    }

    private static boolean isOneList(List<AstNode> arguments) {
        return arguments.size() == 1 && Patterns.anySpread(arguments);
    }

    /** An array of elements, some of which are spread. */
    Code gathered(List<AstNode> elements) {
        Operands lists = new Operands(g, false);
        for (int i = 0; i < elements.size(); i++) {
            if (Patterns.isSpread(elements.get(i))) {
                AstNode spread = Patterns.spread(elements.get(i));
                boolean now = g.line(spread) != g.line || !areQuiet(elements.subList(i + 1, elements.size()));
                Block.Link mark = g.out.mark();
                Code list = g.value(spread);
                lists.put(mark, now ? running(g.operators.library(g.line(spread), "gather", list)) : list);
                continue;
            }
            int end = i;
            while (end < elements.size() && !Patterns.isSpread(elements.get(end))) end++;
            List<AstNode> run = elements.subList(i, end);
            for (AstNode element : run) {
                boolean hole = element.getType() == Token.EMPTY;
                if (hole) throw new Refusal(element, "An array literal with holes and spread elements is not supported");
            }
            lists.put(g.out.mark(), g.literals.list(run));
            i = end - 1;
        }
        return close(Code.of(g.line, g.js("gather")), "", lists.from(0));
    }

    /** A call of what the code says, with some text before the arguments. */
    private static Code close(Code callee, String fixed, List<Code> arguments) {
        int weight = Math.max(callee.weight, 3);
        return running(callee.add("(", fixed).arguments(arguments, fixed.isEmpty(), weight, 4));
    }

    private Code library(int line, String name, List<Code> arguments, Object... before) {
        Code code = Code.of(line, g.js(name), "(").add(before);
        return running(code.arguments(arguments, false, Math.max(code.weight + 2, 5), 5));
    }

    private static Code running(Code call) {
        call.calls = true;
        call.spreads = true;
        return call;
    }

    /** Where a call that fails is told: by the callee's name, or where its arguments begin. */
    private int line(FunctionCall node, AstNode target) {
        return target.getType() == Token.NAME ? g.line(target) : g.source.line(node.getPosition() + node.getLp());
    }

    private Code method(PropertyGet target, List<AstNode> arguments) {
        String name = target.getProperty().getIdentifier();
        int line = g.line(target.getProperty());
        Operands operands = new Operands(g, false).object(target.getTarget(), line);
        Block.Link mark = g.out.mark();
        Code object = operands.get(0);
        arguments(operands, arguments);
        if (g.out.mark() != mark && !areQuiet(arguments)) {
            Code saved = operands.get(0);
            Code method = g.save(Code.of(saved.within(Code.PREFIX), line, Lua.member(name)), saved == object ? mark : mark.next);
            return library(line, "call", operands.from(0), method, ", " + name(target));
        }
        return close(Code.of(closed(operands.get(0).within(Code.PREFIX), line), line, ":" + name), "", operands.from(1));
    }

    /** A method's object. Lua reads a property late, and would blame the method's line where that fails. */
    private static Code closed(Code object, int line) {
        boolean read = !object.isCall && object.items.size() > 1 && !object.parenthesis;
        return read && object.lastLine != line ? Code.of("(", object, ")") : object;
    }

    /** Evaluating them cannot change what a method's name leads to. */
    private boolean areQuiet(List<AstNode> arguments) {
        for (AstNode argument : arguments) if (!Quiet.is(argument, g)) return false;
        return true;
    }

    /**
     * Calls a function, or a method, that is looked up before its arguments are evaluated; {@code f?.()} if there is one.
     * A variable or a function expression is called as it stands, unless the arguments take statements that may change it.
     * A list that is spread goes to the library whole: some functions take one of any length.
     */
    private Code lookedUp(FunctionCall node, AstNode target, boolean optional) {
        List<AstNode> arguments = node.getArguments();
        int line = line(node, target);
        Operands operands = new Operands(g, false);
        boolean member = (target.getType() == Token.GETPROP || target.getType() == Token.GETELEM) && !Patterns.isLink(target);
        if (member) {
            Place place = Place.of(g, target, false, true);
            line = place.line();
            Code method = optional ? g.expressions.link(place.read()) : g.save(place.read());
            operands.put(g.out.mark(), method).put(g.out.mark(), place.object());
        } else if (optional) operands.put(g.out.mark(), g.expressions.link(g.value(target)));
        else operands.add(target);
        Code callee = operands.get(0);
        // Lua names what it calls where that is a variable or a property, but not what a check or a function gives.
        boolean name = target.getType() == Token.NAME && callee.rank == Code.PREFIX && !callee.isCall;
        boolean list = isOneList(arguments);
        if (list) operands.add(Patterns.spread(arguments.get(0)));
        else arguments(operands, arguments);
        if (!list && !optional && callee == operands.get(0) && (name || target.getType() == Token.FUNCTION)) {
            Code known = callee.rank == Code.PREFIX ? Code.of(line, callee) : Code.of("(", callee, line, ")");
            return close(known, "nil", operands.from(1)).typed(g.types.call(target));
        }
        String fixed = ", " + name(target) + (member ? "" : ", nil");
        return library(line, list ? "apply" : "call", operands.from(1), operands.get(0), fixed);
    }

    Code construct(NewExpression node) {
        AstNode target = Expressions.bare(node.getTarget());
        Operands operands = arguments(new Operands(g, false).add(target), node.getArguments());
        return library(g.line(node), "new", operands.from(1), operands.get(0), ", " + name(target)).typed(Types.OBJECT);
    }

    /** The elements of what a loop or pattern goes through; a message names what has none. */
    Code values(Code iterated, AstNode node, int line) {
        boolean named = node instanceof Name || node instanceof PropertyGet || node instanceof ElementGet;
        if (!named) return g.operators.library(line, "values", iterated);
        return g.operators.library(line, "values", iterated, Code.atom(name(node), Types.STRING));
    }

    /** A callee as a message names it, quoted. */
    private static String name(AstNode target) {
        return Lua.quote(text(target, MOST_NAMED));
    }

    private static String text(AstNode node, int depth) {
        node = Expressions.bare(node);
        return switch (depth == 0 ? Token.EMPTY : node.getType()) {
            case Token.NAME -> ((Name) node).getIdentifier();
            case Token.THIS -> "this";
            case Token.GETPROP -> {
                String target = text(Patterns.target(node), depth - 1);
                boolean link = Patterns.isLink(node), linked = Patterns.isLink(Patterns.target(node));
                yield target + (link ? "?." : (linked ? "" : ".") + text(((PropertyGet) node).getProperty(), 1));
            }
            case Token.GETELEM -> {
                AstNode key = Expressions.bare(((ElementGet) node).getElement());
                String name = key.getType() == Token.STRING ? "." + Literals.key(key) : "[" + text(key, depth - 1) + "]";
                yield text(Patterns.target(node), depth - 1) + name.replace("[" + UNNAMED + "]", "[...]");
            }
            case Token.NUMBER -> Literals.key(node);
            case Token.CALL -> text(Patterns.target(node), depth - 1) + "(...)";
            default -> UNNAMED;
        };
    }

    // -- Math

    /** Evaluating it later, when operands before it have turned into numbers, makes no difference. */
    private boolean isPlain(AstNode node) {
        AstNode bare = Expressions.bare(node);
        if (bare.getType() != Token.NAME) return bare.getType() == Token.NUMBER || bare.getType() == Token.STRING;
        Variable variable = Names.variable(bare);
        return !g.names.hooks || variable != null && !variable.writtenInClosure;
    }

    private Code math(PropertyGet target, List<AstNode> arguments) {
        String name = g.types.mathFunction(target);
        if (name == null) return null;
        boolean extreme = name.equals("max2") || name.equals("min2");
        int count = arguments.size();
        boolean right = extreme ? count >= 2 && count <= MOST_COMPARED : count == (name.equals("pow") ? 2 : 1);
        if (!right || Patterns.anySpread(arguments)) return null;
        // Arguments turn into numbers one after the other when all have been evaluated: with more than one, only if no
        // one can tell.
        boolean numbers = true;
        for (AstNode argument : arguments) {
            if (!numbers && !isPlain(argument)) return null;
            numbers &= Types.isNumber(g.types.of(argument));
        }
        int line = g.line(target.getProperty());
        Operands operands = new Operands(g, false);
        for (AstNode argument : arguments) operands.put(g.out.mark(), g.operators.toNumber(g.value(argument), line));
        Code code = operands.get(0);
        if (count == 1) return g.operators.library(line, name, code).typed(Types.NUMBER);
        for (Code value : operands.from(1)) code = g.operators.library(line, name, code, value).typed(Types.NUMBER);
        return code;
    }
}
