package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** What the shapes that {@link Rewriting} makes stand for. */
final class Patterns {
    private Patterns() {}

    /** {@code ...x} in an array, a call, or an array pattern. */
    static boolean isSpread(AstNode node) {
        if (node.getType() != Token.ASSIGN || !Rewriting.isMark(((Assignment) node).getLeft())) return false;
        return node.getParent() instanceof ArrayLiteral || node.getParent() instanceof FunctionCall;
    }

    static boolean anySpread(List<AstNode> nodes) {
        for (AstNode node : nodes) if (isSpread(node)) return true;
        return false;
    }

    static AstNode spread(AstNode node) {
        return ((Assignment) node).getRight();
    }

    private static boolean isNamed(ObjectProperty property, String name) {
        return property.getLeft() instanceof Name && ((Name) property.getLeft()).getIdentifier().equals(name);
    }

    /** {@code ...x} in an object literal or pattern. */
    static boolean isSpread(ObjectProperty property) {
        return isNamed(property, Rewriting.SPREAD);
    }

    /** {@code [x]:}; the property after it has the value. */
    static boolean isKey(ObjectProperty property) {
        return isNamed(property, Rewriting.KEY);
    }

    static AstNode key(ObjectProperty property) {
        return ((ArrayLiteral) property.getRight()).getElement(0);
    }

    /** A parameter with a default value, or a rest parameter. */
    private static boolean isWrapped(AstNode parameter) {
        return parameter.getType() == Token.ARRAYLIT && !((ArrayLiteral) parameter).getElements().isEmpty()
            && Rewriting.isMark(((ArrayLiteral) parameter).getElement(0));
    }

    static boolean isRest(AstNode parameter) {
        return isWrapped(parameter) && isSpread(((ArrayLiteral) parameter).getElement(1));
    }

    /** What a parameter's value goes to: a name, a pattern, or one of both with a default value. */
    static AstNode parameter(AstNode parameter) {
        if (!isWrapped(parameter)) return parameter;
        AstNode inner = ((ArrayLiteral) parameter).getElement(1);
        return isSpread(inner) ? spread(inner) : inner;
    }

    /** {@code x?.}: x, if there is one. */
    static boolean isLink(AstNode node) {
        return node.getType() == Token.GETPROP && Rewriting.isMark(((PropertyGet) node).getProperty());
    }

    /** What a member or a call is taken of; null for other expressions. */
    static AstNode target(AstNode node) {
        switch (node.getType()) {
            case Token.GETPROP: return ((PropertyGet) node).getTarget();
            case Token.GETELEM: return ((ElementGet) node).getTarget();
            case Token.CALL: return ((FunctionCall) node).getTarget();
            default: return null;
        }
    }

    static boolean isOptional(AstNode node) {
        for (; node != null; node = target(node)) if (isLink(node)) return true;
        return false;
    }

    /** Adds the names that a target gives values to. */
    static void names(AstNode target, ArrayList<Name> names) {
        target = Expressions.bare(target);
        switch (target.getType()) {
            case Token.NAME:
                if (!Rewriting.isMark(target)) names.add((Name) target);
                return;
            case Token.ASSIGN:
                names(isSpread(target) ? spread(target) : ((Assignment) target).getLeft(), names);
                return;
            case Token.ARRAYLIT:
                for (AstNode element : ((ArrayLiteral) target).getElements()) names(element, names);
                return;
            case Token.OBJECTLIT:
                for (ObjectProperty property : ((ObjectLiteral) target).getElements()) {
                    if (!isKey(property)) names(property.getRight(), names);
                }
                return;
            default:
        }
    }
}
