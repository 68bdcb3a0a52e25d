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
        return node.getType() == Token.ASSIGN && Rewriting.isMark(((Assignment) node).getLeft())
            && (node.getParent() instanceof ArrayLiteral || node.getParent() instanceof FunctionCall);
    }

    static boolean anySpread(List<AstNode> nodes) {
        for (AstNode node : nodes) if (isSpread(node)) return true;
        return false;
    }

    static AstNode spread(AstNode node) {
        return ((Assignment) node).getRight();
    }

    private static boolean isNamed(ObjectProperty property, String text) {
        return property.getLeft() instanceof Name name && name.getIdentifier().equals(text);
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

    /** Takes parameters with default values, and rest parameters, out of the arrays that the parser takes for patterns. */
    static void unwrap(List<AstNode> parameters) {
        for (int i = 0; i < parameters.size(); i++) {
            if (!(parameters.get(i) instanceof ArrayLiteral array) || array.getSize() == 0) continue;
            if (Rewriting.isMark(array.getElement(0))) parameters.set(i, array.getElement(1));
        }
    }

    /** {@code x?.}: x, if there is one. */
    static boolean isLink(AstNode node) {
        return node instanceof PropertyGet get && Rewriting.isMark(get.getProperty());
    }

    /** What a member or a call is taken of; null for other expressions. */
    static AstNode target(AstNode node) {
        return switch (node.getType()) {
            case Token.GETPROP -> ((PropertyGet) node).getTarget();
            case Token.GETELEM -> ((ElementGet) node).getTarget();
            case Token.CALL -> ((FunctionCall) node).getTarget();
            default -> null;
        };
    }

    static boolean isOptional(AstNode node) {
        for (; node != null; node = target(node)) if (isLink(node)) return true;
        return false;
    }

    /** What a part of a pattern, or a parameter, gives its value to, whether or not there is a default value. */
    static AstNode taker(AstNode node) {
        if (!(node instanceof Assignment part)) return node;
        return isSpread(part) ? part.getRight() : part.getLeft();
    }

    /** The names that a target gives values to. */
    static List<Name> names(AstNode target) {
        ArrayList<Name> names = new ArrayList<>();
        target = Expressions.bare(taker(target));
        if (target instanceof Name name) names.add(name);
        else if (target instanceof ArrayLiteral array) {
            for (AstNode element : array.getElements()) names.addAll(names(element));
        } else if (target instanceof ObjectLiteral object) {
            for (ObjectProperty property : object.getElements()) if (!isKey(property)) names.addAll(names(property.getRight()));
        }
        return names;
    }
}
