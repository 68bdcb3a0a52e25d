package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * Finds out whether code changes no object and runs no other function. In a script that defines accessors or methods
 * like valueOf, reading a member or turning an operand into another type may run one.
 */
final class Quiet implements NodeVisitor {
    private final Generator g;
    private boolean quiet = true;

    private Quiet(Generator g) {
        this.g = g;
    }

    static boolean is(AstNode node, Generator g) {
        Quiet test = new Quiet(g);
        node.visit(test);
        return test.quiet;
    }

    @Override
    public boolean visit(AstNode node) {
        if (node instanceof Assignment change) quiet &= isName(change.getLeft());
        else if (node instanceof UpdateExpression change) quiet &= isName(change.getOperand());
        else if (node.getType() == Token.CALL) quiet &= g.types.mathFunction(((FunctionCall) node).getTarget()) != null;
        else quiet &= node.getType() != Token.NEW && node.getType() != Token.DELPROP && !(node instanceof ForInLoop);
        quiet &= !g.names.hooks || !mayCallHook(node);
        return quiet && node.getType() != Token.FUNCTION;
    }

    private static boolean isName(AstNode target) {
        return Expressions.bare(target).getType() == Token.NAME;
    }

    private boolean mayCallHook(AstNode node) {
        return switch (node.getType()) {
            case Token.GETPROP, Token.GETELEM, Token.CALL, Token.TEMPLATE_LITERAL, Token.OBJECTLIT, Token.ARRAYLIT -> true;
            case Token.AND, Token.OR, Token.COMMA, Token.ASSIGN, Token.SHEQ, Token.SHNE, Token.HOOK -> false;
            case Token.NOT, Token.TYPEOF, Token.TYPEOFNAME, Token.VOID -> false;
            default -> node instanceof InfixExpression infix && !(isPrimitive(infix.getLeft(), g) && isPrimitive(infix.getRight(), g))
                || node instanceof UnaryExpression unary && !isPrimitive(unary.getOperand(), g)
                || node instanceof UpdateExpression change && !isPrimitive(change.getOperand(), g);
        };
    }

    /** Surely nothing that has methods of the script's. */
    static boolean isPrimitive(AstNode node, Generator g) {
        int type = g.types.of(node);
        return Types.isNumber(type) || type == Types.STRING || type == Types.BOOLEAN;
    }
}
