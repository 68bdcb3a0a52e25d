package com.morrow.scrivel;

import java.util.Collections;
import java.util.List;
import java.util.Set;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** What parses but is not translated, and what strict code forbids. */
record Refusals(Diagnostics errors) {
    /** Built-in names that other engines have; typeof may ask for them. */
    private static final Set<String> ELSEWHERE = Set.of(
        "Symbol", "Proxy", "Promise", "Reflect", "BigInt", "Intl", "WeakRef", "AggregateError", "setTimeout", "setInterval");
    /** Others of them: who has one has all. */
    private static final Set<String> BINARY = Set.of(
        "ArrayBuffer", "DataView", "Int8Array", "Uint8Array", "Uint8ClampedArray", "Int16Array", "Uint16Array", "Int32Array",
        "Uint32Array", "Float32Array", "Float64Array", "BigInt64Array", "BigUint64Array");

    /** Libraries get the global object by a function of this text. */
    static final String GLOBAL = "return this";

    private void refuse(AstNode node, String feature) {
        errors.report(node, feature + " not supported");
    }

    /** Reports a node that cannot be translated and gives false; its parts are then of no interest. */
    boolean check(AstNode node) {
        String feature = feature(node);
        if (feature != null) refuse(node, feature);
        else if (node instanceof NewExpression made && Patterns.isOptional(made.getTarget())) {
            errors.report(node, "Invalid optional chain from new expression");
        } else if (node instanceof Label label && Tokens.isReserved(label.getName())) {
            errors.report(node, "Unexpected strict mode reserved word '" + label.getName() + "'");
        } else if (node instanceof TaggedTemplateLiteral tagged) refuse(tagged.getTarget(), "Tagged templates are");
        else if (node instanceof UnaryExpression delete && node.getType() == Token.DELPROP
            && Expressions.bare(delete.getOperand()).getType() == Token.NAME) {
            errors.report(node, "Delete of an unqualified identifier in strict mode.");
        } else return true;
        return false;
    }

    /** The feature that a node belongs to where that is not translated, or null. */
    private static String feature(AstNode node) {
        return switch (node.getType()) {
            case Token.REGEXP -> "Regular expressions are";
            case Token.WITH -> "The with statement is";
            case Token.BIGINT -> "BigInt numbers are";
            case Token.ARRAYCOMP, Token.GENEXPR -> "Array comprehensions and generator expressions are";
            case Token.LETEXPR -> "Let expressions are";
            case Token.FUNCTION -> ((FunctionNode) node).isGenerator() ? "Generators are" : null;
            case Token.CALL, Token.NEW -> {
                if (!(((FunctionCall) node).getTarget() instanceof Name name)) yield null;
                if (name.getIdentifier().equals("Function") && !asksForGlobals(node)) yield "Making functions from text (Function) is";
                boolean literal = node instanceof NewExpression made && made.getInitializer() != null;
                yield literal ? "An object literal after new is" : null;
            }
            case Token.FOR -> node instanceof ForInLoop loop && loop.isForEach() ? "The for each loop is" : null;
            case Token.LET -> node instanceof LetNode ? "Let expressions are" : null;
            default -> null;
        };
    }

    private static boolean asksForGlobals(AstNode call) {
        List<AstNode> arguments = ((FunctionCall) call).getArguments();
        return arguments.size() == 1 && arguments.get(0) instanceof StringLiteral text && text.getValue().equals(GLOBAL);
    }

    /** A name that the script does not declare. */
    void global(Name node) {
        String name = node.getIdentifier();
        if (isAbsentClass(node)) return;
        if (name.equals("eval")) refuse(node, "Running text as a program (eval) is");
        else if (name.equals("RegExp")) refuse(node, "Regular expressions are");
        else if (isElsewhere(name)) refuse(node, name + " is");
    }

    private static boolean isElsewhere(String name) {
        return ELSEWHERE.contains(name) || BINARY.contains(name);
    }

    /** The names that a script may use which asks by typeof for these. */
    static void answer(Set<String> asked) {
        asked.remove("eval");
        if (!Collections.disjoint(asked, BINARY)) asked.addAll(BINARY);
    }

    /** A class of other engines behind instanceof, which nothing is an instance of unless the script defines it. */
    static boolean isAbsentClass(AstNode node) {
        boolean asked = node.getParent() instanceof InfixExpression test && test.getType() == Token.INSTANCEOF && test.getRight() == node;
        if (!asked || !(node instanceof Name name) || Names.variable(name) != null) return false;
        return isElsewhere(name.getIdentifier()) || name.getIdentifier().equals("RegExp");
    }

    /** The support library keeps what it knows of an object under names like \0s. */
    static String key(StringLiteral literal) {
        String key = literal.getValue();
        if (key.length() != 2 || key.charAt(0) != 0) return key;
        throw new Generator.Refusal(literal, "The property name \\0" + key.charAt(1) + " is not supported");
    }

    /** A name that is assigned, or declared; `local` where a function declares it. */
    void binding(Name node, boolean local) {
        String name = node.getIdentifier();
        switch (name) {
            case "eval", "arguments" -> errors.report(node, "Unexpected eval or arguments in strict mode");
            case "undefined", "NaN", "Infinity" -> {
                if (!local) refuse(node, "A variable named " + name + " is");
            }
            default -> reserved(node);
        }
    }

    void reserved(Name node) {
        String name = node.getIdentifier();
        if (Tokens.isReserved(name)) errors.report(node, "Unexpected strict mode reserved word '" + name + "'");
    }

    void property(ObjectProperty property) {
        AstNode key = property.getLeft();
        boolean getter = property.isGetterMethod();
        if (getter || property.isSetterMethod()) {
            List<AstNode> parameters = ((FunctionNode) property.getRight()).getParams();
            boolean one = parameters.size() == 1 && !Patterns.isSpread(parameters.get(0));
            if (getter && !parameters.isEmpty()) errors.report(key, "Getter must not have any formal parameters.");
            if (!getter && !one) errors.report(key, "Setter must have exactly one formal parameter.");
        }
    }
}
