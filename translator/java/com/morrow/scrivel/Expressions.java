package com.morrow.scrivel;

import com.morrow.scrivel.Generator.Prepared;
import java.util.ArrayList;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Expressions for their value, as conditions, and for what they do. */
final class Expressions {
    private final Generator g;
    /** The label behind the chain that is being written. */
    private String chainEnd;

    Expressions(Generator g) {
        this.g = g;
    }

    /** The value of an expression; what it needs done before stands in the current block. */
    Code value(AstNode node) {
        return g.cut(Names.isChain(node) ? chain(node) : parts(node));
    }

    /**
     * A chain that ends early, without a value, where `?.` finds null or undefined. It ends by a jump: LuaJIT takes even
     * a loop of one turn for the start of a trace, and then gives up the real loop around it.
     */
    private Code chain(AstNode node) {
        Code result = g.save(null);
        int before = g.temporaries;
        String outer = chainEnd;
        chainEnd = "chain" + g.number();
        if (node.getType() == Token.DELPROP) g.out.add(result, " = true");
        g.out.add(g.line, "do");
        g.deeper(node, 1);
        g.out.add(g.line, result, " = ", parts(node));
        g.depth--;
        g.out.add("end");
        g.out.add("::" + chainEnd + "::");
        chainEnd = outer;
        g.temporaries = before;
        return result;
    }

    /** What stands before `?.`; without it, the chain ends. */
    Code link(Code value) {
        value = g.keep(value);
        g.out.add(g.line, "if ", nullish(value), " then goto " + chainEnd + " end");
        return value;
    }

    private Code nullish(Code value) {
        return Code.of(value, " == nil or ", value, " == " + g.js("null")).ranked(Code.OR, Types.BOOLEAN);
    }

    private Code parts(AstNode node) {
        return switch (node.getType()) {
            case Token.NUMBER -> Code.atom(Lua.number(((NumberLiteral) node).getNumber()), g.types.of(node));
            case Token.STRING -> Code.atom(Lua.quote(((StringLiteral) node).getValue()), Types.STRING);
            case Token.TEMPLATE_CHARS -> Code.atom(Lua.quote(((TemplateCharacters) node).getValue()), Types.STRING);
            case Token.EMPTY -> Code.read(g.js("hole"), Types.UNKNOWN);
            case Token.TRUE -> Code.atom("true", Types.BOOLEAN);
            case Token.FALSE -> Code.atom("false", Types.BOOLEAN);
            case Token.NULL -> Code.read(g.js("null"), Types.UNKNOWN);
            case Token.THIS -> Code.read("this", Types.UNKNOWN);
            case Token.NAME -> name((Name) node);
            case Token.LP -> value(((ParenthesizedExpression) node).getExpression());
            case Token.FUNCTION -> g.functions.expression((FunctionNode) node, "");
            case Token.ARRAYLIT -> g.literals.array((ArrayLiteral) node);
            case Token.OBJECTLIT -> g.literals.object((ObjectLiteral) node);
            case Token.TEMPLATE_LITERAL -> g.literals.template((TemplateLiteral) node);
            case Token.GETPROP, Token.GETELEM -> Patterns.isLink(node) ? link(value(Patterns.target(node)))
                : Place.of(g, node, true, false).read();
            case Token.CALL -> g.calls.call((FunctionCall) node);
            case Token.NEW -> g.calls.construct((NewExpression) node);
            case Token.COMMA -> {
                effect(((InfixExpression) node).getLeft());
                yield value(((InfixExpression) node).getRight());
            }
            case Token.AND, Token.OR -> logical(node, false);
            case Token.HOOK -> choice((ConditionalExpression) node);
            case Token.INC, Token.DEC -> g.assignments.update((UpdateExpression) node, true);
            case Token.NOT -> condition(node);
            default -> {
                if (node instanceof Assignment assignment) yield g.assignments.assign(assignment, true);
                if (node instanceof UnaryExpression unary) yield g.operators.unary(unary);
                yield g.operators.binary((InfixExpression) node);
            }
        };
    }

    // -- names

    static AstNode bare(AstNode node) {
        while (node instanceof ParenthesizedExpression inner) node = inner.getExpression();
        return node;
    }

    Code name(Name node) {
        Variable.Use use = Names.use(node);
        Variable variable = use.variable;
        if (variable == null) return global(node);
        Code check = check(node);
        if (check != null) return check;
        if (variable.isConstant()) return value(variable.initial);
        if (variable.pieces) return g.operators.library("joined", Code.of(variable.access())).typed(Types.STRING);
        Code code = Code.read(variable.access(), variable.type);
        code.own = variable.own || variable.counts;
        code.stable = variable.isSettled() || variable.counts;
        FunctionInfo home = variable.inPlace ? variable.home.function : variable.scope.function;
        code.fragile = variable.writtenInClosure && variable.spilledIn == null && use.scope.function == home;
        return code;
    }

    /** The value of a variable, or the error of one that is used before it is initialised; null where it surely is. */
    Code check(Name node) {
        Variable.Use use = Names.use(node);
        if (!use.early && !use.variable.isCheckedAt(use)) return null;
        Code value = Code.of(use.early ? g.js("unset") : use.variable.access());
        return g.operators.library(g.line(node), "ready", value, Code.atom(Lua.quote(node.getIdentifier()), Types.STRING));
    }

    private Code global(Name node) {
        String name = node.getIdentifier();
        if (name.equals("undefined")) return Code.atom("nil", Types.UNKNOWN);
        if (name.equals("NaN")) return Code.atom("(0/0)", Types.NUMBER);
        if (name.equals("Infinity")) return Code.atom("(1/0)", Types.NUMBER);
        if (name.equals("arguments") && g.function.ofThis().usesArguments) return Code.read("arguments", Types.OBJECT);
        return Code.of(g.line(node), g.js("G"), Lua.member(name));
    }

    // -- choices

    /** Whether `a ?? b` and its kin go on to b; a is a variable. */
    Code goesOn(String operator, Code left) {
        if (operator.startsWith("??")) return nullish(left);
        Code test = g.operators.truth(left);
        return operator.startsWith("||") ? g.operators.not(test) : test;
    }

    /** The logical operator of an expression, or null. */
    private static String operator(AstNode node) {
        String other = Names.operator(node);
        return node.getType() == Token.AND ? "&&" : node.getType() != Token.OR ? null : other != null ? other : "||";
    }

    /** The operands of a chain of one logical operator, however it is nested. */
    private static void operands(AstNode node, String operator, ArrayList<AstNode> list) {
        AstNode bare = bare(node);
        if (!operator.equals(operator(bare))) {
            list.add(bare);
            return;
        }
        operands(((InfixExpression) bare).getLeft(), operator, list);
        operands(((InfixExpression) bare).getRight(), operator, list);
    }

    /** A logical operator for its value, or as it is judged in a condition. */
    private Code logical(AstNode node, boolean judged) {
        String operator = operator(node);
        ArrayList<AstNode> list = new ArrayList<>();
        operands(node, operator, list);
        Code result = judged ? condition(list.get(0)) : value(list.get(0));
        for (AstNode next : list.subList(1, list.size())) result = logical(operator, result, g.prepare(next, judged));
        return result;
    }

    private Code logical(String operator, Code left, Prepared right) {
        Code value = right.code();
        int type = Types.join(left.type, value.type);
        if (!operator.equals("??") && right.before().isEmpty()) {
            boolean and = operator.equals("&&");
            String word = and ? " and " : " or ";
            int rank = and ? Code.AND : Code.OR;
            if (left.type == Types.BOOLEAN) return g.cut(Code.infix(left, word, value, rank, type));
            if (!and && left.pure && left.items.size() == 1) {
                Code test = g.operators.truth(left);
                return g.cut(Code.infix(Code.infix(test, " and ", left, Code.AND, Types.UNKNOWN), word, value, rank, type));
            }
        }
        Code result = left.temporary ? left : g.save(left);
        result.temporary = true;
        branch(goesOn(operator, result), right, result);
        g.out.add("end");
        return result.typed(type);
    }

    private void branch(Code test, Prepared value, Code result) {
        g.out.add(g.line, "if ", test, " then");
        give(value, result);
    }

    /** Assigns a value in the branch that needs it. */
    private void give(Prepared value, Code result) {
        g.out.add(value.before());
        g.out.add(g.line, result, " = ", Carried.own(value.code(), g));
    }

    private static boolean isTruthyInLua(Prepared value) {
        int type = value.code().type;
        return type != Types.UNKNOWN && type != Types.BOOLEAN && type != Types.NONE;
    }

    private Code choice(ConditionalExpression node) {
        Code test = condition(node.getTestExpression());
        Prepared yes = g.prepare(node.getTrueExpression(), false);
        AstNode other = bare(node.getFalseExpression());
        Prepared no = other instanceof ConditionalExpression ? null : g.prepare(other, false);
        if (no != null && yes.before().isEmpty() && no.before().isEmpty()) {
            int type = Types.join(yes.code().type, no.code().type);
            if (isTruthyInLua(yes)) return choice(test, yes, no, type);
            if (isTruthyInLua(no)) return choice(g.operators.not(test), no, yes, type);
        }
        return choices(test, yes, other, no);
    }

    private static Code choice(Code test, Prepared truthy, Prepared other, int type) {
        return Code.infix(Code.infix(test, " and ", truthy.code(), Code.AND, Types.UNKNOWN), " or ", other.code(), Code.OR, type);
    }

    /** A chain of conditional expressions, flat as long as no condition needs statements of its own; `no` ends the shortest. */
    private Code choices(Code test, Prepared yes, AstNode other, Prepared no) {
        Code result = g.save(null).typed(yes.code().type);
        branch(test, yes, result);
        int open = 1;
        while (other instanceof ConditionalExpression choice) {
            Prepared next = g.prepare(choice.getTestExpression(), true);
            Prepared value = g.prepare(choice.getTrueExpression(), false);
            boolean flat = next.before().isEmpty();
            if (!flat) {
                g.out.add("else");
                g.out.add(next.before());
                g.deeper(other, 1);
                open++;
            }
            g.out.add(g.line(choice), flat ? "elseif " : "if ", next.code(), " then");
            give(value, result);
            result.type = Types.join(result.type, value.code().type);
            other = bare(choice.getFalseExpression());
        }
        g.out.add("else");
        Prepared last = no != null ? no : g.prepare(other, false);
        give(last, result);
        for (int i = 0; i < open; i++) g.out.add("end");
        g.depth -= open - 1;
        return result.typed(Types.join(result.type, last.code().type));
    }

    /** An expression as Lua judges it in a condition. */
    Code condition(AstNode node) {
        node = bare(node);
        boolean negated = false;
        for (; node.getType() == Token.NOT; node = bare(((UnaryExpression) node).getOperand())) negated = !negated;
        String operator = operator(node);
        Code test = operator == null || operator.equals("??") ? g.operators.truth(value(node)) : logical(node, true);
        return negated ? g.operators.not(test) : test;
    }

    // -- effects

    /** Evaluates an expression for what it does. */
    void effect(AstNode node) {
        switch (node.getType()) {
            case Token.LP -> effect(((ParenthesizedExpression) node).getExpression());
            case Token.COMMA -> {
                effect(((InfixExpression) node).getLeft());
                effect(((InfixExpression) node).getRight());
            }
            case Token.AND, Token.OR -> {
                InfixExpression both = (InfixExpression) node;
                if (Names.operator(node) != null) discard(value(node));
                else effects(node.getType() == Token.AND, both.getLeft(), both.getRight(), null);
            }
            case Token.HOOK -> {
                ConditionalExpression choice = (ConditionalExpression) node;
                effects(true, choice.getTestExpression(), choice.getTrueExpression(), choice.getFalseExpression());
            }
            case Token.INC, Token.DEC -> g.assignments.update((UpdateExpression) node, false);
            case Token.VOID, Token.NOT -> effect(((UnaryExpression) node).getOperand());
            default -> {
                if (node instanceof Assignment assignment) g.assignments.assign(assignment, false);
                else discard(value(node));
            }
        }
    }

    /** What one expression does if the condition holds as wanted, or else another if there is one. */
    private void effects(boolean wanted, AstNode condition, AstNode then, AstNode other) {
        Code test = condition(condition);
        g.out.add(g.line, "if ", wanted ? test : g.operators.not(test), " then");
        nested(then);
        if (other != null) {
            g.out.add("else");
            nested(other);
        }
        g.out.add("end");
    }

    private void nested(AstNode node) {
        int before = g.temporaries;
        g.deeper(node, 1);
        effect(node);
        g.depth--;
        g.temporaries = before;
    }

    private void discard(Code code) {
        if (code.pure) return;
        if (code.isCall && !code.parenthesis) g.out.add(g.line, code);
        else g.out.add(g.line, "do local _ = ", code, " end");
    }
}
