package com.morrow.scrivel;

import java.util.ArrayList;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Expressions for their value, as conditions, and for what they do. */
final class Expressions {
    private final Generator g;

    Expressions(Generator g) {
        this.g = g;
    }

    /** The value of an expression; what it needs done before stands in the current block. */
    Code value(AstNode node) {
        Code code = plain(node);
        return code.weight > Generator.MOST_WEIGHT ? g.save(code) : code;
    }

    private Code plain(AstNode node) {
        if (Names.isChain(node)) return chain(node);
        return parts(node);
    }

    /** A chain that ends early, without a value, where `?.` finds null or undefined. */
    private Code chain(AstNode node) {
        Code result = g.declareTemporary();
        int before = g.temporaries;
        if (node.getType() == Token.DELPROP) g.out.add(new Code().add(result).add(" = true"));
        g.out.add(g.statement(g.line).add("repeat"));
        g.deeper(node, 1);
        Code value = parts(node);
        g.out.add(new Code().line(g.line).add(result).add(" = ").add(value));
        g.depth--;
        g.out.add("until true");
        g.temporaries = before;
        return result;
    }

    /** What stands before `?.`; without it, the chain ends. */
    Code link(Code value) {
        if (!value.stable) value = g.save(value);
        g.out.add(new Code().line(g.line).add("if ").add(nullish(value)).add(" then break end"));
        return value;
    }

    private Code nullish(Code value) {
        return new Code().add(value).add(" == nil or ").add(value).add(" == " + g.js("null")).ranked(Code.OR, Types.BOOLEAN);
    }

    private Code parts(AstNode node) {
        switch (node.getType()) {
            case Token.NUMBER: {
                double number = ((NumberLiteral) node).getNumber();
                return Code.atom(Lua.number(number), g.types.of(node));
            }
            case Token.STRING:
                return Code.atom(Lua.quote(((StringLiteral) node).getValue()), Types.STRING);
            case Token.TRUE:
                return Code.atom("true", Types.BOOLEAN);
            case Token.FALSE:
                return Code.atom("false", Types.BOOLEAN);
            case Token.NULL:
                return Generator.read(g.js("null"), Types.UNKNOWN);
            case Token.THIS:
                return Generator.read("this", Types.UNKNOWN);
            case Token.NAME:
                return name((Name) node);
            case Token.LP:
                return value(((ParenthesizedExpression) node).getExpression());
            case Token.FUNCTION:
                return g.functions.expression((FunctionNode) node, null);
            case Token.ARRAYLIT:
                return g.literals.array((ArrayLiteral) node);
            case Token.OBJECTLIT:
                return g.literals.object((ObjectLiteral) node);
            case Token.TEMPLATE_LITERAL:
                return g.literals.template((TemplateLiteral) node);
            case Token.GETPROP: case Token.GETELEM: {
                if (Patterns.isLink(node)) return link(g.value(Patterns.target(node)));
                Operands operands = new Operands(g, true);
                return g.assignments.place(node, operands, false).read();
            }
            case Token.CALL:
                return g.calls.call((FunctionCall) node);
            case Token.NEW:
                return g.calls.construct((NewExpression) node);
            case Token.COMMA:
                effect(((InfixExpression) node).getLeft());
                return value(((InfixExpression) node).getRight());
            case Token.AND: case Token.OR:
                return logical((InfixExpression) node);
            case Token.HOOK:
                return choice((ConditionalExpression) node);
            case Token.INC: case Token.DEC:
                return g.assignments.update((UpdateExpression) node, true);
            case Token.NOT:
                return condition(node);
            default:
                if (node instanceof Assignment) return g.assignments.assign((Assignment) node, true);
                if (node instanceof UnaryExpression) return g.operators.unary((UnaryExpression) node);
                if (node instanceof InfixExpression) return g.operators.binary((InfixExpression) node);
                throw new Generator.Refusal(node, "This expression is not supported");
        }
    }

    /** A name that belongs to no variable of the script. */
    static boolean isGlobal(AstNode node, String name) {
        return node.getType() == Token.NAME && Names.variable(node) == null && ((Name) node).getIdentifier().equals(name);
    }

    static AstNode bare(AstNode node) {
        while (node instanceof ParenthesizedExpression) node = ((ParenthesizedExpression) node).getExpression();
        return node;
    }

    Code name(Name node) {
        Variable.Use use = Names.use(node);
        Variable variable = use == null ? null : use.variable;
        if (variable == null) return global(node);
        if (use.early) return check(node, g.js("unset"));
        if (variable.isCheckedAt(use)) return check(node, variable.access());
        if (variable.constant != null) return variable.constant;
        Code code = Generator.read(variable.access(), variable.type);
        code.stable = variable.isSettled() || variable.counts;
        code.fragile = variable.writtenInClosure && variable.spilledIn == null && use.scope.function == variable.scope.function;
        return code;
    }

    /** Raises the error of a variable that is used before it is initialised. */
    Code check(Name node, String access) {
        return new Code().line(g.line(node)).add(g.js("ready") + "(" + access + ", " + Lua.quote(node.getIdentifier()) + ")");
    }

    private Code global(Name node) {
        String name = node.getIdentifier();
        switch (name) {
            case "undefined":
                return Code.atom("nil", Types.UNKNOWN);
            case "NaN":
                return Code.atom("(0/0)", Types.NUMBER);
            case "Infinity":
                return Code.atom("(1/0)", Types.NUMBER);
            case "arguments":
                if (g.function.ofThis().usesArguments) return Generator.read("arguments", Types.OBJECT);
                break;
            default:
                break;
        }
        return new Code().line(g.line(node)).add(g.js("G")).add(field(name));
    }

    static String field(String name) {
        return Lua.isName(name) ? '.' + name : '[' + Lua.quote(name) + ']';
    }

    // -- choices

    /** The operands of a chain of one logical operator, however it is nested. */
    private static void operands(AstNode node, int operator, ArrayList<AstNode> list) {
        AstNode bare = bare(node);
        if (bare.getType() != operator || Names.operator(bare) != null) {
            list.add(bare);
            return;
        }
        operands(((InfixExpression) bare).getLeft(), operator, list);
        operands(((InfixExpression) bare).getRight(), operator, list);
    }

    /** Whether `a ?? b` and its kin go on to b; a is a variable. */
    Code goesOn(String operator, Code left) {
        if (operator.startsWith("??")) return nullish(left);
        Code test = g.operators.truth(left);
        return operator.startsWith("||") ? g.operators.not(test) : test;
    }

    private Code logical(InfixExpression node) {
        if (Names.operator(node) != null) {
            Code result = g.save(value(node.getLeft()));
            Block outer = g.out;
            Block inner = g.out = new Block();
            Code right = value(node.getRight());
            g.out = outer;
            branch(nullish(result), inner, result, right);
            g.out.add("end");
            result.type = Types.join(result.type, right.type);
            result.stable = true;
            return result;
        }
        ArrayList<AstNode> list = new ArrayList<>();
        operands(node, node.getType(), list);
        Code result = value(list.get(0));
        for (int i = 1; i < list.size(); i++) result = logical(node.getType() == Token.AND, result, list.get(i));
        return result;
    }

    private Code logical(boolean and, Code left, AstNode node) {
        Block outer = g.out;
        g.out = new Block();
        Code right = value(node);
        Block inner = g.out;
        g.out = outer;
        String word = and ? " and " : " or ";
        int rank = and ? Code.AND : Code.OR;
        int type = Types.join(left.type, right.type);
        if (inner.isEmpty() && left.type == Types.BOOLEAN) {
            return cut(infix(left, word, right, rank).ranked(rank, type));
        }
        if (inner.isEmpty() && !and && left.pure && left.size == 1) {
            Code test = g.operators.truth(left);
            return cut(infix(infix(test, " and ", left, Code.AND), word, right, rank).ranked(rank, type));
        }
        Code result = left.temporary ? left : g.save(left);
        result.temporary = true;
        Code test = g.operators.truth(result);
        branch(and ? test : g.operators.not(test), inner, result, right);
        g.out.add("end");
        result.type = type;
        return result;
    }

    private Code cut(Code code) {
        return code.weight > Generator.MOST_WEIGHT ? g.save(code) : code;
    }

    private void branch(Code test, Block before, Code result, Code value) {
        g.out.add(new Code().line(g.line).add("if ").add(test).add(" then"));
        g.out.add(before);
        g.out.add(new Code().line(g.line).add(result).add(" = ").add(value));
    }

    private static Code infix(Code left, String word, Code right, int rank) {
        Code code = new Code().operand(left, rank).add(word).operand(right, rank + 1);
        code.rank = rank;
        code.weight = Math.max(left.weight, right.weight + 1);
        return code;
    }

    private static boolean isTruthyInLua(Code code) {
        return code.type != Types.UNKNOWN && code.type != Types.BOOLEAN && code.type != Types.NONE;
    }

    private Code choice(ConditionalExpression node) {
        Code test = condition(node.getTestExpression());
        Block outer = g.out;
        Block first = g.out = new Block();
        Code yes = value(node.getTrueExpression());
        g.out = outer;
        AstNode other = bare(node.getFalseExpression());
        if (other.getType() == Token.HOOK) return choices(test, first, yes, (ConditionalExpression) other);
        Block second = g.out = new Block();
        Code no = value(other);
        g.out = outer;
        int type = Types.join(yes.type, no.type);
        if (first.isEmpty() && second.isEmpty()) {
            if (isTruthyInLua(yes)) return infix(infix(test, " and ", yes, Code.AND), " or ", no, Code.OR).ranked(Code.OR, type);
            if (isTruthyInLua(no)) {
                return infix(infix(g.operators.not(test), " and ", no, Code.AND), " or ", yes, Code.OR).ranked(Code.OR, type);
            }
        }
        Code result = g.declareTemporary();
        branch(test, first, result, yes);
        g.out.add("else");
        g.out.add(second);
        g.out.add(new Code().line(g.line).add(result).add(" = ").add(no));
        g.out.add("end");
        result.type = type;
        return result;
    }

    /** A chain of conditional expressions, flat as long as no condition needs statements of its own. */
    private Code choices(Code test, Block before, Code yes, ConditionalExpression next) {
        Code result = g.declareTemporary();
        result.type = yes.type;
        branch(test, before, result, yes);
        int open = 1;
        AstNode other = next;
        while (other.getType() == Token.HOOK) {
            ConditionalExpression choice = (ConditionalExpression) other;
            Block outer = g.out;
            Block tests = g.out = new Block();
            Code condition = condition(choice.getTestExpression());
            Block inner = g.out = new Block();
            Code value = value(choice.getTrueExpression());
            g.out = outer;
            if (!tests.isEmpty()) {
                g.out.add("else");
                g.out.add(tests);
                g.deeper(other, 1);
                open++;
            }
            g.out.add(new Code().line(g.line(choice)).add(tests.isEmpty() ? "elseif " : "if ").add(condition).add(" then"));
            g.out.add(inner);
            g.out.add(new Code().line(g.line).add(result).add(" = ").add(value));
            result.type = Types.join(result.type, value.type);
            other = bare(choice.getFalseExpression());
        }
        g.out.add("else");
        Code last = value(other);
        g.out.add(new Code().line(g.line).add(result).add(" = ").add(last));
        result.type = Types.join(result.type, last.type);
        for (int i = 0; i < open; i++) g.out.add("end");
        g.depth -= open - 1;
        return result;
    }

    /** An expression as Lua judges it in a condition. */
    Code condition(AstNode node) {
        node = bare(node);
        int type = node.getType();
        if (type == Token.NOT) {
            boolean negated = false;
            for (; node.getType() == Token.NOT; node = bare(((UnaryExpression) node).getOperand())) negated = !negated;
            Code test = condition(node);
            return negated ? g.operators.not(test) : test;
        }
        if (type != Token.AND && type != Token.OR || Names.operator(node) != null) return g.operators.truth(value(node));
        ArrayList<AstNode> list = new ArrayList<>();
        operands(node, type, list);
        Code result = condition(list.get(0));
        for (int i = 1; i < list.size(); i++) result = condition(type == Token.AND, result, list.get(i));
        return result;
    }

    private Code condition(boolean and, Code left, AstNode node) {
        Block outer = g.out;
        g.out = new Block();
        Code right = condition(node);
        Block inner = g.out;
        g.out = outer;
        int rank = and ? Code.AND : Code.OR;
        if (inner.isEmpty()) return cut(infix(left, and ? " and " : " or ", right, rank).ranked(rank, Types.BOOLEAN));
        Code result = left.temporary ? left : g.save(left);
        result.temporary = true;
        branch(and ? result : g.operators.not(result), inner, result, right);
        g.out.add("end");
        result.type = Types.BOOLEAN;
        return result;
    }

    // -- effects

    /** Evaluates an expression for what it does. */
    void effect(AstNode node) {
        switch (node.getType()) {
            case Token.LP:
                effect(((ParenthesizedExpression) node).getExpression());
                return;
            case Token.COMMA:
                effect(((InfixExpression) node).getLeft());
                effect(((InfixExpression) node).getRight());
                return;
            case Token.AND: case Token.OR: {
                if (Names.operator(node) != null) break;
                InfixExpression both = (InfixExpression) node;
                Code test = condition(both.getLeft());
                open(node.getType() == Token.AND ? test : g.operators.not(test));
                nested(both.getRight());
                g.out.add("end");
                return;
            }
            case Token.HOOK: {
                ConditionalExpression choice = (ConditionalExpression) node;
                open(condition(choice.getTestExpression()));
                nested(choice.getTrueExpression());
                g.out.add("else");
                nested(choice.getFalseExpression());
                g.out.add("end");
                return;
            }
            case Token.INC: case Token.DEC:
                g.assignments.update((UpdateExpression) node, false);
                return;
            case Token.VOID: case Token.NOT:
                effect(((UnaryExpression) node).getOperand());
                return;
            default:
                break;
        }
        if (node instanceof Assignment) g.assignments.assign((Assignment) node, false);
        else discard(value(node));
    }

    private void open(Code test) {
        g.out.add(new Code().line(g.line).add("if ").add(test).add(" then"));
    }

    private void nested(AstNode node) {
        Block outer = g.out;
        g.out = new Block();
        int before = g.temporaries;
        g.deeper(node, 1);
        effect(node);
        g.depth--;
        g.temporaries = before;
        Block inner = g.out;
        g.out = outer;
        g.out.add(inner);
    }

    private void discard(Code code) {
        if (code.pure) return;
        if (code.isCall && !code.parenthesis) g.out.add(g.statement(g.line).add(code));
        else g.out.add(new Code().line(g.line).add("do local _ = ").add(code).add(" end"));
    }
}
