package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * Finds the local variables and functions whose values always are of one type. Only what is known for certain counts:
 * a variable is a number when every assignment to it gives one, whatever the order in which they run.
 */
final class Types {
    /** BITS are whole numbers below 2^50 in size; Lua's bit operators take them as they are, and the SUM of two of them. */
    static final int NONE = 0, BITS = 1, SUM = 2, INTEGER = 3, NUMBER = 4, STRING = 5, BOOLEAN = 6, FUNCTION = 7, OBJECT = 8,
        UNKNOWN = 9;

    /** Stands for a value of which nothing is known. */
    static final AstNode ANYTHING = new EmptyExpression();

    private static final int MOST_ROUNDS = 12;

    /** Compound assignments, and the operator of each. */
    private static final int[] COMPOUND = {
        Token.ASSIGN_ADD, Token.ADD, Token.ASSIGN_SUB, Token.SUB, Token.ASSIGN_MUL, Token.MUL, Token.ASSIGN_DIV, Token.DIV,
        Token.ASSIGN_MOD, Token.MOD, Token.ASSIGN_EXP, Token.EXP, Token.ASSIGN_BITOR, Token.BITOR, Token.ASSIGN_BITXOR, Token.BITXOR,
        Token.ASSIGN_BITAND, Token.BITAND, Token.ASSIGN_LSH, Token.LSH, Token.ASSIGN_RSH, Token.RSH, Token.ASSIGN_URSH, Token.URSH};

    private final Names names;
    /** `Math` is only ever the plain object before a dot, so that its functions are the known ones. */
    private final boolean mathIsPlain;

    /** Finds the types. The variables' lifetimes are known. */
    Types(Names names) {
        this.names = names;
        mathIsPlain = !names.mathShared && !names.declared.contains("Math");
        for (Scope scope : names.scopes) {
            for (Variable variable : scope.variables) variable.type = initial(variable);
        }
        for (FunctionInfo function : names.functions) {
            boolean falls = function.node == null || !Flow.ends(function.node.getBody());
            function.returnType = falls ? UNKNOWN : NONE;
        }
        for (int round = 0; settle(); round++) if (round == MOST_ROUNDS) forget();
    }

    /** Relies on nothing, which settles all: each round may take the types but one step further. */
    private void forget() {
        for (Scope scope : names.scopes) for (Variable variable : scope.variables) variable.type = UNKNOWN;
        for (FunctionInfo function : names.functions) function.returnType = UNKNOWN;
    }

    /** The type from which a variable's may only widen. */
    private static int initial(Variable variable) {
        if (variable.kind == Variable.Kind.FUNCTION) return variable.writes == 0 ? FUNCTION : UNKNOWN;
        boolean local = variable.kind.isLexical() || variable.kind == Variable.Kind.VAR;
        return local && variable.safe && variable.initial != null && !variable.shared ? NONE : UNKNOWN;
    }

    /** One round over what is assigned and returned; true when a type changed. */
    private boolean settle() {
        boolean changed = false;
        for (Variable.Use use : names.uses) {
            Variable variable = use.variable;
            if (!use.write || variable == null || variable.type == UNKNOWN) continue;
            int type = join(variable.type, of(use.value));
            changed |= type != variable.type;
            variable.type = type;
        }
        for (FunctionInfo function : names.functions) {
            int type = function.returnType;
            for (ReturnStatement one : function.returns) {
                type = join(type, one.getReturnValue() == null ? UNKNOWN : of(one.getReturnValue()));
            }
            changed |= type != function.returnType;
            function.returnType = type;
        }
        return changed;
    }

    static int join(int one, int other) {
        if (one == other || other == NONE) return one;
        if (one == NONE) return other;
        return isNumber(one) && isNumber(other) ? Math.max(one, other) : UNKNOWN;
    }

    static boolean isNumber(int type) {
        return isWhole(type) || type == NUMBER;
    }

    static boolean isWhole(int type) {
        return type >= BITS && type <= INTEGER;
    }

    private static int number(double value) {
        if (value != Math.rint(value) || Math.abs(value) >= 9e15) return NUMBER;
        return Math.abs(value) < 0x1p50 ? BITS : INTEGER;
    }

    /** The type of an expression as far as the types of variables are known by now. */
    int of(AstNode node) {
        return switch (node.getType()) {
            case Token.NUMBER -> number(((NumberLiteral) node).getNumber());
            case Token.STRING, Token.TEMPLATE_LITERAL, Token.TYPEOF, Token.TYPEOFNAME -> STRING;
            case Token.TRUE, Token.FALSE, Token.NOT, Token.DELPROP, Token.IN, Token.INSTANCEOF, Token.LT, Token.LE, Token.GT,
                Token.GE, Token.EQ, Token.NE, Token.SHEQ, Token.SHNE -> BOOLEAN;
            case Token.FUNCTION -> FUNCTION;
            case Token.ARRAYLIT, Token.OBJECTLIT, Token.NEW -> OBJECT;
            case Token.NAME -> name((Name) node);
            case Token.LP -> of(((ParenthesizedExpression) node).getExpression());
            case Token.COMMA, Token.ASSIGN -> of(((InfixExpression) node).getRight());
            case Token.HOOK -> {
                ConditionalExpression choice = (ConditionalExpression) node;
                yield join(of(choice.getTrueExpression()), of(choice.getFalseExpression()));
            }
            case Token.AND, Token.OR -> join(of(((InfixExpression) node).getLeft()), of(((InfixExpression) node).getRight()));
            case Token.INC, Token.DEC -> isWhole(of(((UpdateExpression) node).getOperand())) ? INTEGER : NUMBER;
            case Token.NEG, Token.POS -> signed(of(((UnaryExpression) node).getOperand()));
            case Token.BITNOT -> BITS;
            case Token.CALL -> call(((FunctionCall) node).getTarget());
            default -> node instanceof InfixExpression infix && Names.operator(node) == null ? infix(infix) : UNKNOWN;
        };
    }

    /** The type of a value with a sign before it. */
    static int signed(int type) {
        return isWhole(type) ? type : NUMBER;
    }

    private int infix(InfixExpression node) {
        int operator = operator(node.getType());
        boolean asks = operator == Token.ADD || operator == Token.SUB || operator == Token.MUL;
        return asks ? binary(operator, of(node.getLeft()), of(node.getRight())) : binary(operator, UNKNOWN, UNKNOWN);
    }

    private static int name(Name node) {
        Variable.Use use = Names.use(node);
        if (use.variable != null) return use.early ? UNKNOWN : use.variable.type;
        String name = node.getIdentifier();
        return name.equals("NaN") || name.equals("Infinity") ? NUMBER : UNKNOWN;
    }

    /** The type of what a call of a target gives. */
    int call(AstNode target) {
        if (target.getType() != Token.NAME) return mathFunction(target) != null ? NUMBER : UNKNOWN;
        Variable variable = Names.variable(target);
        boolean known = variable != null && variable.declaration != null && variable.writes == 0;
        return known ? variable.declaration.returnType : UNKNOWN;
    }

    /** The library's direct function for a call of Math, or null. It is right for arguments that are numbers. */
    String mathFunction(AstNode target) {
        if (!mathIsPlain || !(target instanceof PropertyGet member) || !(member.getTarget() instanceof Name object)) return null;
        if (!object.getIdentifier().equals("Math")) return null;
        String name = member.getProperty().getIdentifier();
        return switch (name) {
            case "floor", "ceil", "sqrt", "abs", "sin", "cos", "tan", "exp", "log", "atan", "round", "pow" -> name;
            case "max" -> "max2";
            case "min" -> "min2";
            default -> null;
        };
    }

    /** The operator of a compound assignment, and every other operator itself. */
    static int operator(int token) {
        for (int i = 0; i < COMPOUND.length; i += 2) if (COMPOUND[i] == token) return COMPOUND[i + 1];
        return token;
    }

    static int binary(int operator, int left, int right) {
        return switch (operator) {
            case Token.ADD -> {
                if (left == NONE || right == NONE) yield NONE;
                if (left == STRING || right == STRING) yield STRING;
                if (left == BITS && right == BITS) yield SUM;
                yield isNumber(left) && isNumber(right) ? Math.max(INTEGER, join(left, right)) : UNKNOWN;
            }
            case Token.SUB -> left == BITS && right == BITS ? SUM : isWhole(left) && isWhole(right) ? INTEGER : NUMBER;
            case Token.MUL -> isWhole(left) && isWhole(right) ? INTEGER : NUMBER;
            case Token.DIV, Token.MOD, Token.EXP -> NUMBER;
            case Token.BITOR, Token.BITXOR, Token.BITAND, Token.LSH, Token.RSH, Token.URSH -> BITS;
            default -> UNKNOWN;
        };
    }
}
