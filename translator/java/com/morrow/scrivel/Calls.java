package com.morrow.scrivel;

import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Calls, method calls and `new`. */
final class Calls {
    private static final int MOST_ARGUMENTS = 100;
    /** How many members and calls of a callee a message spells out. */
    private static final int MOST_NAMED = 6;

    private final Generator g;

    Calls(Generator g) {
        this.g = g;
    }

    Code call(FunctionCall node) {
        AstNode target = Expressions.bare(node.getTarget());
        List<AstNode> arguments = node.getArguments();
        if (arguments.size() > MOST_ARGUMENTS) throw new Generator.Refusal(node, "A call with more than 100 arguments is not supported");
        if (Names.isChain(target) && target != node.getTarget()) {
            throw new Generator.Refusal(target, "Calling an optional chain in parentheses is not supported");
        }
        switch (target.getType()) {
            case Token.GETPROP:
                if (Patterns.isLink(target)) return optional(Expressions.bare(Patterns.target(target)), arguments);
                Code known = math(target, arguments);
                return known != null ? known : method((PropertyGet) target, arguments);
            case Token.GETELEM:
                return computedMethod((ElementGet) target, arguments);
            default:
                return function(target, arguments);
        }
    }

    private Operands arguments(Operands operands, List<AstNode> arguments) {
        int last = arguments.size() - 1;
        if (!Patterns.anySpread(arguments)) {
            for (AstNode argument : arguments) operands.add(argument);
            return operands;
        }
        boolean simple = !Patterns.anySpread(arguments.subList(0, last));
        if (simple) for (AstNode argument : arguments.subList(0, last)) operands.add(argument);
        Block.Link mark = g.out.mark();
        Code all = g.operators.library("spread", simple ? g.value(Patterns.spread(arguments.get(last))) : gathered(arguments));
        all.calls = true;
        return operands.put(mark, all);
    }

    /** An array of elements, some of which are spread. */
    Code gathered(List<AstNode> elements) {
        Operands lists = new Operands(g, false);
        for (int i = 0; i < elements.size(); i++) {
            if (Patterns.isSpread(elements.get(i))) {
                lists.add(Patterns.spread(elements.get(i)));
                continue;
            }
            Operands run = new Operands(g, false);
            Block.Link mark = g.out.mark();
            for (; i < elements.size() && !Patterns.isSpread(elements.get(i)); i++) {
                if (elements.get(i).getType() == Token.EMPTY) throw new Generator.Refusal(elements.get(i), "An array literal with holes and spread elements is not supported");
                run.add(elements.get(i));
            }
            i--;
            lists.put(mark, close(new Code().add(g.js("rest")), "", run, 0));
        }
        return close(new Code().line(g.line).add(g.js("gather")), "", lists, 0);
    }

    /** Closes a call whose text ends before its parenthesis; `fixed` come before the operands from `first` on. */
    private Code close(Code code, String fixed, Operands operands, int first) {
        code.add("(").add(fixed);
        int weight = Math.max(code.weight, 3);
        for (int i = first; i < operands.count(); i++) {
            if (i > first || !fixed.isEmpty()) code.add(", ");
            code.argument(operands.get(i), i == operands.count() - 1);
            weight = Math.max(weight, operands.get(i).weight + 4 + i - first);
        }
        code.add(")");
        code.weight = weight;
        code.isCall = true;
        code.calls = true;
        code.spreads = true;
        return code;
    }

    private Code function(AstNode target, List<AstNode> arguments) {
        Operands operands = new Operands(g, false);
        boolean literal = target.getType() == Token.FUNCTION;
        Code callee = operands.add(target).get(0);
        arguments(operands, arguments);
        boolean same = operands.get(0) == callee;
        boolean name = target.getType() == Token.NAME && callee.rank == Code.PREFIX;
        if (same && (literal || name)) {
            Code code = close(new Code().line(g.line(target)).operand(callee, Code.PREFIX), "nil", operands, 1);
            Variable variable = name ? Names.variable(target) : null;
            if (variable != null && variable.declaration != null && variable.writes == 0) code.type = variable.declaration.returnType;
            return code;
        }
        Code code = new Code().line(g.line(target)).add(g.js("call") + "(").add(operands.get(0)).add(", " + Lua.quote(text(target)));
        return spliced(code, ", nil", operands, 1);
    }

    /** The rest of a library call that already has its first arguments. */
    private Code spliced(Code code, String fixed, Operands operands, int first) {
        code.add(fixed);
        int weight = Math.max(code.weight + 2, 5);
        for (int i = first; i < operands.count(); i++) {
            code.add(", ").argument(operands.get(i), i == operands.count() - 1);
            weight = Math.max(weight, operands.get(i).weight + 5 + i - first);
        }
        code.add(")");
        code.weight = weight;
        code.isCall = true;
        code.calls = true;
        code.spreads = true;
        return code;
    }

    private Code method(PropertyGet target, List<AstNode> arguments) {
        String name = target.getProperty().getIdentifier();
        int line = g.line(target.getProperty());
        Operands operands = new Operands(g, false).add(target.getTarget());
        arguments(operands, arguments);
        if (!Lua.isName(name)) {
            Code code = new Code().line(line).add(g.js("method") + "(").add(operands.get(0)).add(", " + Lua.quote(name));
            return spliced(code, "", operands, 1);
        }
        return close(new Code().operand(operands.get(0), Code.PREFIX).line(line).add(":" + name), "", operands, 1);
    }

    /** {@code f?.(...)}: the method of an object when f is a member, else a function. */
    private Code optional(AstNode target, List<AstNode> arguments) {
        Operands operands = new Operands(g, false);
        String name = Lua.quote(text(target));
        Code function, object = null;
        if ((target.getType() == Token.GETPROP || target.getType() == Token.GETELEM) && !Patterns.isLink(target)) {
            Operands member = new Operands(g, false);
            Place place = g.assignments.place(target, member, true);
            object = place.object();
            function = g.expressions.link(place.read());
        } else function = g.expressions.link(g.value(target));
        operands.put(g.out.mark(), function);
        if (object != null) operands.put(g.out.mark(), object);
        arguments(operands, arguments);
        Code code = new Code().line(g.line(target)).add(g.js("call") + "(").add(operands.get(0)).add(", " + name);
        return spliced(code, object == null ? ", nil" : "", operands, 1);
    }

    private Code computedMethod(ElementGet target, List<AstNode> arguments) {
        Operands operands = new Operands(g, false);
        Place place = g.assignments.place(target, operands, false);
        int first = operands.count();
        arguments(operands, arguments);
        Code code = new Code().line(place.line).add(g.js("method") + "(").add(place.object()).add(", ").add(place.keyValue());
        return spliced(code, "", operands, first);
    }

    Code construct(NewExpression node) {
        AstNode target = Expressions.bare(node.getTarget());
        Operands operands = new Operands(g, false).add(target);
        arguments(operands, node.getArguments());
        Code code = new Code().line(g.line(target)).add(g.js("new") + "(").add(operands.get(0));
        code = spliced(code, "", operands, 1);
        code.type = Types.OBJECT;
        return code;
    }

    /** A callee as a message names it. */
    private static String text(AstNode node) {
        return text(node, MOST_NAMED);
    }

    private static String text(AstNode node, int depth) {
        node = Expressions.bare(node);
        if (depth == 0) return "(intermediate value)";
        switch (node.getType()) {
            case Token.NAME:
                return ((Name) node).getIdentifier();
            case Token.THIS:
                return "this";
            case Token.GETPROP:
                return text(((PropertyGet) node).getTarget(), depth - 1) + "." + ((PropertyGet) node).getProperty().getIdentifier();
            case Token.GETELEM:
                return text(((ElementGet) node).getTarget(), depth - 1) + "[...]";
            case Token.CALL:
                return text(((FunctionCall) node).getTarget(), depth - 1) + "(...)";
            default:
                return "(intermediate value)";
        }
    }

    // -- Math

    /** The library's direct function for a call of Math, or null. It is right for arguments that are numbers. */
    static String mathFunction(AstNode target) {
        if (target.getType() != Token.GETPROP || !Expressions.isGlobal(((PropertyGet) target).getTarget(), "Math")) return null;
        String name = ((PropertyGet) target).getProperty().getIdentifier();
        switch (name) {
            case "floor": case "ceil": case "sqrt": case "abs": case "sin": case "cos": case "tan": case "exp": case "log":
            case "atan": case "round":
                return name;
            case "max": return "max2";
            case "min": return "min2";
            case "pow": return "pow";
            default: return null;
        }
    }

    private static boolean isPlain(AstNode node) {
        int type = Expressions.bare(node).getType();
        return type == Token.NAME || type == Token.NUMBER || type == Token.STRING;
    }

    private Code math(AstNode target, List<AstNode> arguments) {
        String name = g.types.mathIsPlain ? mathFunction(target) : null;
        if (name == null) return null;
        boolean two = name.equals("max2") || name.equals("min2") || name.equals("pow");
        if (arguments.size() != (two ? 2 : 1) || Patterns.anySpread(arguments)) return null;
        // Arguments turn into numbers one after the other when all have been evaluated: with two, only if no one can tell.
        if (two && !Types.isNumber(g.types.of(arguments.get(0))) && !isPlain(arguments.get(1))) return null;
        Operands operands = new Operands(g, false);
        for (AstNode argument : arguments) {
            Block.Link mark = g.out.mark();
            operands.put(mark, g.operators.toNumber(g.value(argument)));
        }
        int line = g.line(((PropertyGet) target).getProperty());
        Code code = close(new Code().line(line).add(g.js(name)), "", operands, 0);
        code.calls = false;
        code.spreads = false;
        code.type = Types.NUMBER;
        return code;
    }
}
