package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** What parses but is not translated, and what strict code forbids. */
final class Refusals {
    private final Diagnostics errors;

    Refusals(Diagnostics errors) {
        this.errors = errors;
    }

    private boolean refuse(AstNode node, String feature) {
        errors.report(node, feature + " not supported");
        return false;
    }

    /** Reports a node that cannot be translated; its parts are then of no interest. */
    boolean check(AstNode node) {
        switch (node.getType()) {
            case Token.REGEXP:
                return refuse(node, "Regular expressions are");
            case Token.YIELD:
                return refuse(node, "Generators are");
            case Token.WITH:
                return refuse(node, "The with statement is");
            case Token.TAGGED_TEMPLATE_LITERAL:
                // The parser leaves the place to the tag.
                errors.report(node.getPosition() + ((TaggedTemplateLiteral) node).getTarget().getPosition(), "Tagged templates are not supported");
                return false;
            case Token.BIGINT:
                return refuse(node, "BigInt numbers are");
            case Token.ARRAYCOMP:
            case Token.GENEXPR:
                return refuse(node, "Array comprehensions and generator expressions are");
            case Token.LETEXPR:
                return refuse(node, "Let expressions are");
            case Token.ERROR:
                return refuse(node, "This text is");
            case Token.FUNCTION:
                return function((FunctionNode) node);
            case Token.NUMBER:
                return number((NumberLiteral) node);
            case Token.DELPROP:
                return delete((UnaryExpression) node);
            case Token.CALL:
            case Token.NEW:
                return call((FunctionCall) node);
            case Token.FOR:
                return !(node instanceof ForInLoop && ((ForInLoop) node).isForEach()) || refuse(node, "The for each loop is");
            case Token.LET:
                return !(node instanceof LetNode) || refuse(node, "Let expressions are");
            default:
                return true;
        }
    }

    private boolean function(FunctionNode node) {
        if (node.isGenerator()) return refuse(node, "Generators are");
        if (node.getMemberExprNode() != null) return refuse(node, "Functions named by an expression are");
        return true;
    }

    private boolean number(NumberLiteral node) {
        String text = node.getValue();
        if (text.length() > 1 && text.charAt(0) == '0' && Character.isDigit(text.charAt(1))) {
            return refuse(node, "Octal numbers with a leading zero are");
        }
        return true;
    }

    private boolean delete(UnaryExpression node) {
        AstNode operand = node.getOperand();
        while (operand instanceof ParenthesizedExpression) operand = ((ParenthesizedExpression) operand).getExpression();
        if (operand.getType() != Token.NAME) return true;
        errors.report(node, "Delete of an unqualified identifier in strict mode.");
        return false;
    }

    private boolean call(FunctionCall node) {
        if (node.getTarget().getType() != Token.NAME) return true;
        String name = ((Name) node.getTarget()).getIdentifier();
        if (name.equals("Function")) return refuse(node, "Making functions from text (Function) is");
        if (node instanceof NewExpression && ((NewExpression) node).getInitializer() != null) {
            return refuse(node, "An object literal after new is");
        }
        return true;
    }

    /** A built-in name that other engines have; typeof may ask for most of them. */
    void global(Name node) {
        String name = node.getIdentifier();
        switch (name) {
            case "eval":
                refuse(node, "Running text as a program (eval) is");
                return;
            case "RegExp":
                refuse(node, "Regular expressions are");
                return;
            case "Symbol": case "Proxy": case "Promise": case "Reflect": case "BigInt": case "Intl": case "WeakRef": case "ArrayBuffer":
            case "DataView": case "Int8Array": case "Uint8Array": case "Uint8ClampedArray": case "Int16Array": case "Uint16Array":
            case "Int32Array": case "Uint32Array": case "Float32Array": case "Float64Array": case "AggregateError":
            case "setTimeout": case "setInterval": case "escape": case "unescape":
                refuse(node, name + " is");
                return;
            default:
        }
    }

    /** Escapes in a string that the parser reads in another way than strict code means them. */
    void escapes(AstNode string) {
        String text = errors.source.text;
        int end = Math.min(text.length(), string.getPosition() + string.getLength());
        for (int i = string.getPosition(); i + 1 < end; i++) {
            if (text.charAt(i) != '\\') continue;
            char c = text.charAt(++i);
            char next = i + 1 < end ? text.charAt(i + 1) : 0;
            int digits = c == 'x' ? 2 : c == 'u' ? 4 : 0;
            if (c == 'u' && next == '{') errors.report(string, "Undefined Unicode code point");
            else if (!hexadecimal(text, i + 1, Math.min(end, i + 1 + digits))) errors.report(string, "Invalid escape sequence");
            if (c >= '1' && c <= '9' || c == '0' && next >= '0' && next <= '9') {
                errors.report(string, "Octal escape sequences are not allowed in strict mode.");
            }
        }
    }

    private static boolean hexadecimal(String text, int from, int to) {
        while (from < to && Character.digit(text.charAt(from), 16) >= 0) from++;
        return from >= to;
    }

    void member(Name name) {
        if (name.getIdentifier().equals("__proto__")) refuse(name, "The property __proto__ is");
    }

    /** A name that is declared or assigned. */
    void binding(Name node) {
        String name = node.getIdentifier();
        if (name.equals("eval") || name.equals("arguments")) {
            errors.report(node, "Unexpected eval or arguments in strict mode");
        } else if (name.equals("undefined") || name.equals("NaN") || name.equals("Infinity")) {
            refuse(node, "A variable named " + name + " is");
        } else if (reserved(name)) errors.report(node, "Unexpected strict mode reserved word '" + name + "'");
    }

    private static boolean reserved(String name) {
        switch (name) {
            case "implements": case "interface": case "let": case "package": case "private": case "protected":
            case "public": case "static": case "yield":
                return true;
            default:
                return false;
        }
    }

    void property(ObjectProperty property) {
        AstNode key = property.getLeft();
        String name = key instanceof Name ? ((Name) key).getIdentifier() : key instanceof StringLiteral ? ((StringLiteral) key).getValue() : "";
        if (property.isGetterMethod() || property.isSetterMethod()) {
            int wanted = property.isGetterMethod() ? 0 : 1;
            if (((FunctionNode) property.getRight()).getParams().size() != wanted) {
                errors.report(key, wanted == 0 ? "Getter must not have any formal parameters." : "Setter must have exactly one formal parameter.");
            }
        }
        boolean plain = !property.isMethod() && key != property.getRight();
        if (plain && name.equals("__proto__")) refuse(key, "__proto__ in an object literal is");
    }
}
