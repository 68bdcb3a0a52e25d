package com.morrow.scrivel;

import java.util.ArrayList;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * Finds the local variables and functions whose values always are of one type. Only what is known for certain counts:
 * a variable is a number when every assignment to it gives one, whatever the order in which they run.
 */
final class Types {
    static final int NONE = 0, INTEGER = 1, NUMBER = 2, STRING = 3, BOOLEAN = 4, FUNCTION = 5, OBJECT = 6, UNKNOWN = 7;

    /** Stands for a value of which nothing is known. */
    static final AstNode ANYTHING = new EmptyExpression();

    private static final int MOST_ROUNDS = 12;

    private final ArrayList<Variable.Use> targets = new ArrayList<>();
    private final ArrayList<AstNode> values = new ArrayList<>();
    private final ArrayList<FunctionInfo> returning = new ArrayList<>();
    private final ArrayList<AstNode> results = new ArrayList<>();
    boolean mathIsPlain;

    void assigned(Variable.Use use, AstNode value) {
        if (value == null) return;
        targets.add(use);
        values.add(value);
    }

    void returned(FunctionInfo function, AstNode value) {
        returning.add(function);
        results.add(value == null ? ANYTHING : value);
    }

    void infer(Names names) {
        mathIsPlain = names.mathIsPlain();
        for (Scope scope : names.scopes) {
            for (Variable variable : scope.variables) variable.type = initial(variable);
        }
        for (FunctionInfo function : names.functions) {
            boolean falls = function.node == null || !Flow.ends(function.node.getBody());
            function.returnType = falls ? UNKNOWN : NONE;
        }
        for (int round = 0; round < MOST_ROUNDS; round++) {
            if (!settle()) return;
        }
        forget(names);
    }

    private static int initial(Variable variable) {
        switch (variable.kind) {
            case FUNCTION:
                return variable.writes == 0 ? FUNCTION : UNKNOWN;
            case VAR: case LET: case CONST:
                return variable.safe && variable.initialised && !variable.shared ? NONE : UNKNOWN;
            default:
                return UNKNOWN;
        }
    }

    private boolean settle() {
        boolean changed = false;
        for (int i = 0; i < targets.size(); i++) {
            Variable variable = targets.get(i).variable;
            if (variable == null || variable.type == UNKNOWN || variable.kind == Variable.Kind.FUNCTION) continue;
            int type = join(variable.type, of(values.get(i)));
            changed |= type != variable.type;
            variable.type = type;
        }
        for (int i = 0; i < returning.size(); i++) {
            FunctionInfo function = returning.get(i);
            if (function.returnType == UNKNOWN) continue;
            int type = join(function.returnType, of(results.get(i)));
            changed |= type != function.returnType;
            function.returnType = type;
        }
        return changed;
    }

    private static void forget(Names names) {
        for (Scope scope : names.scopes) {
            for (Variable variable : scope.variables) variable.type = UNKNOWN;
        }
        for (FunctionInfo function : names.functions) function.returnType = UNKNOWN;
    }

    static int join(int one, int other) {
        if (one == other || other == NONE) return one;
        if (one == NONE) return other;
        return isNumber(one) && isNumber(other) ? NUMBER : UNKNOWN;
    }

    static boolean isNumber(int type) {
        return type == INTEGER || type == NUMBER;
    }

    static boolean isNumeric(double value) {
        return value == Math.rint(value) && Math.abs(value) < 9e15;
    }

    /** The type of an expression as far as the types of variables are known by now. */
    int of(AstNode node) {
        switch (node.getType()) {
            case Token.NUMBER:
                return isNumeric(((NumberLiteral) node).getNumber()) ? INTEGER : NUMBER;
            case Token.STRING: case Token.TEMPLATE_LITERAL: case Token.TYPEOF: case Token.TYPEOFNAME:
                return STRING;
            case Token.TRUE: case Token.FALSE: case Token.NOT: case Token.DELPROP: case Token.IN: case Token.INSTANCEOF:
            case Token.LT: case Token.LE: case Token.GT: case Token.GE:
            case Token.EQ: case Token.NE: case Token.SHEQ: case Token.SHNE:
                return BOOLEAN;
            case Token.FUNCTION:
                return FUNCTION;
            case Token.ARRAYLIT: case Token.OBJECTLIT: case Token.NEW:
                return OBJECT;
            case Token.NAME:
                return name((Name) node);
            case Token.LP:
                return of(((ParenthesizedExpression) node).getExpression());
            case Token.COMMA: case Token.ASSIGN:
                return of(((InfixExpression) node).getRight());
            case Token.HOOK: {
                ConditionalExpression choice = (ConditionalExpression) node;
                return join(of(choice.getTrueExpression()), of(choice.getFalseExpression()));
            }
            case Token.AND: case Token.OR:
                return join(of(((InfixExpression) node).getLeft()), of(((InfixExpression) node).getRight()));
            case Token.INC: case Token.DEC:
                return of(((UpdateExpression) node).getOperand()) == INTEGER ? INTEGER : NUMBER;
            case Token.NEG: case Token.POS:
                return of(((UnaryExpression) node).getOperand()) == INTEGER ? INTEGER : NUMBER;
            case Token.BITNOT:
                return INTEGER;
            case Token.CALL:
                return call((FunctionCall) node);
            default:
                if (!(node instanceof InfixExpression) || Names.operator(node) != null) return UNKNOWN;
                int operator = operator(node.getType());
                if (operator != Token.ADD && operator != Token.SUB) return binary(operator, UNKNOWN, UNKNOWN);
                return binary(operator, of(((InfixExpression) node).getLeft()), of(((InfixExpression) node).getRight()));
        }
    }

    private int name(Name node) {
        Variable.Use use = Names.use(node);
        if (use == null) return UNKNOWN;
        if (use.variable != null) return use.early ? UNKNOWN : use.variable.type;
        String name = node.getIdentifier();
        return name.equals("NaN") || name.equals("Infinity") ? NUMBER : UNKNOWN;
    }

    private int call(FunctionCall node) {
        AstNode target = node.getTarget();
        if (target.getType() == Token.NAME) {
            Variable variable = Names.variable(target);
            return variable == null || variable.declaration == null || variable.writes > 0 ? UNKNOWN : variable.declaration.returnType;
        }
        return mathIsPlain && Calls.mathFunction(target) != null ? NUMBER : UNKNOWN;
    }

    /** The operator of a compound assignment, and every other operator itself. */
    static int operator(int token) {
        switch (token) {
            case Token.ASSIGN_ADD: return Token.ADD;
            case Token.ASSIGN_SUB: return Token.SUB;
            case Token.ASSIGN_MUL: return Token.MUL;
            case Token.ASSIGN_DIV: return Token.DIV;
            case Token.ASSIGN_MOD: return Token.MOD;
            case Token.ASSIGN_EXP: return Token.EXP;
            case Token.ASSIGN_BITOR: return Token.BITOR;
            case Token.ASSIGN_BITXOR: return Token.BITXOR;
            case Token.ASSIGN_BITAND: return Token.BITAND;
            case Token.ASSIGN_LSH: return Token.LSH;
            case Token.ASSIGN_RSH: return Token.RSH;
            case Token.ASSIGN_URSH: return Token.URSH;
            default: return token;
        }
    }

    static int binary(int operator, int left, int right) {
        switch (operator) {
            case Token.ADD:
                if (left == NONE || right == NONE) return NONE;
                if (left == STRING || right == STRING) return STRING;
                if (left == INTEGER && right == INTEGER) return INTEGER;
                return isNumber(left) && isNumber(right) ? NUMBER : UNKNOWN;
            case Token.SUB:
                return left == INTEGER && right == INTEGER ? INTEGER : NUMBER;
            case Token.MUL: case Token.DIV: case Token.MOD: case Token.EXP:
                return NUMBER;
            case Token.BITOR: case Token.BITXOR: case Token.BITAND: case Token.LSH: case Token.RSH: case Token.URSH:
                return INTEGER;
            default:
                return UNKNOWN;
        }
    }
}
