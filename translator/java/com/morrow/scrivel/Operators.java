package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Unary and binary operators: Lua's own where the operands' types allow, the library's functions elsewhere. */
final class Operators {
    private final Generator g;

    Operators(Generator g) {
        this.g = g;
    }

    /** A call of a library function. */
    Code library(String name, Code... operands) {
        Code code = new Code().add(g.js(name)).add("(");
        int weight = 3;
        for (int i = 0; i < operands.length; i++) {
            if (i > 0) code.add(", ");
            code.argument(operands[i], i == operands.length - 1);
            weight = Math.max(weight, operands[i].weight + 2 + i);
        }
        code.add(")");
        code.weight = weight;
        code.isCall = true;
        return code;
    }

    private Code typed(Code code, int type) {
        code.type = type;
        return code;
    }

    Code not(Code test) {
        Code code = new Code().add("not ").operand(test, Code.UNARY).ranked(Code.UNARY, Types.BOOLEAN);
        code.stable = test.stable;
        return code;
    }

    /** A value as a Lua condition. */
    Code truth(Code code) {
        if (code.type == Types.BOOLEAN) return code;
        return typed(library("truthy", code), Types.BOOLEAN);
    }

    Code toNumber(Code code) {
        return Types.isNumber(code.type) ? code : typed(library("num", code), Types.NUMBER);
    }

    Code unary(UnaryExpression node) {
        AstNode operand = node.getOperand();
        switch (node.getType()) {
            case Token.NEG: {
                if (operand.getType() == Token.NUMBER) {
                    Code code = Code.atom(Lua.number(-((NumberLiteral) operand).getNumber()), g.types.of(operand));
                    if (code.items[0].toString().charAt(0) == '-') code.rank = Code.UNARY;
                    return code;
                }
                Code value = g.value(operand);
                int type = value.type == Types.INTEGER ? Types.INTEGER : Types.NUMBER;
                return new Code().add("-").operand(value, Code.UNARY + 1).ranked(Code.UNARY, type);
            }
            case Token.POS:
                return toNumber(g.value(operand));
            case Token.BITNOT:
                return typed(library("bnot", g.value(operand)), Types.INTEGER);
            case Token.TYPEOF: case Token.TYPEOFNAME:
                return typed(typeOf(operand), Types.STRING);
            case Token.VOID:
                g.expressions.effect(operand);
                return Code.atom("nil", Types.UNKNOWN);
            case Token.DELPROP:
                return delete(operand);
            default:
                throw new Generator.Refusal(node, "This operator is not supported");
        }
    }

    private Code typeOf(AstNode operand) {
        operand = Expressions.bare(operand);
        boolean global = operand.getType() == Token.NAME && Names.variable(operand) == null;
        String name = global ? ((Name) operand).getIdentifier() : "";
        if (!global || name.equals("undefined") || name.equals("arguments")) return library("typeof", g.value(operand));
        return library("typeofglobal", Code.atom(Lua.quote(name), Types.STRING));
    }

    private Code delete(AstNode operand) {
        boolean inParentheses = operand.getType() == Token.LP;
        operand = Expressions.bare(operand);
        if (inParentheses && Names.isChain(operand)) throw new Generator.Refusal(operand, "Deleting an optional chain in parentheses is not supported");
        if (operand.getType() != Token.GETPROP && operand.getType() != Token.GETELEM) {
            g.expressions.effect(operand);
            return Code.atom("true", Types.BOOLEAN);
        }
        Operands operands = new Operands(g, false);
        Place place = g.assignments.place(operand, operands, false);
        Code code = new Code().line(place.line).add(library("delete", place.object(), place.keyValue()));
        code.isCall = true;
        code.type = Types.BOOLEAN;
        return code;
    }

    Code binary(InfixExpression node) {
        Operands operands = new Operands(g, true).add(node.getLeft()).add(node.getRight());
        return combine(node.getType(), operands.get(0), operands.get(1), g.source.line(node.getPosition() + node.getOperatorPosition()));
    }

    /** Applies a binary operator that stands on a line. */
    Code combine(int operator, Code left, Code right, int line) {
        int type = Types.binary(operator, left.type, right.type);
        boolean numbers = Types.isNumber(left.type) && Types.isNumber(right.type);
        boolean comparable = numbers || left.type == Types.STRING && right.type == Types.STRING;
        switch (operator) {
            case Token.ADD:
                if (numbers) return infix(left, " + ", right, Code.SUM, type);
                Code text = concatenation(left, right);
                return text != null ? text : call("add", left, right, type, line);
            case Token.SUB: return infix(left, " - ", right, Code.SUM, type);
            case Token.MUL: return infix(left, " * ", right, Code.PRODUCT, type);
            case Token.DIV: return infix(left, " / ", right, Code.PRODUCT, type);
            case Token.MOD: return call("mod", left, right, type, line);
            case Token.EXP: return call("pow", left, right, type, line);
            case Token.BITOR: return call("bor", left, right, type, line);
            case Token.BITXOR: return call("bxor", left, right, type, line);
            case Token.BITAND: return call("band", left, right, type, line);
            case Token.LSH: return call("shl", left, right, type, line);
            case Token.RSH: return call("shr", left, right, type, line);
            case Token.URSH: return call("ushr", left, right, type, line);
            case Token.LT: return comparison(comparable, "lt", " < ", left, right, line);
            case Token.LE: return comparison(comparable, "le", " <= ", left, right, line);
            case Token.GT: return comparison(comparable, "gt", " > ", left, right, line);
            case Token.GE: return comparison(comparable, "ge", " >= ", left, right, line);
            case Token.SHEQ: return comparison(true, null, " == ", left, right, line);
            case Token.SHNE: return comparison(true, null, " ~= ", left, right, line);
            case Token.EQ: return comparison(comparable, "eq", " == ", left, right, line);
            case Token.NE: return comparable ? comparison(true, null, " ~= ", left, right, line)
                : not(comparison(false, "eq", null, left, right, line));
            case Token.IN: return call("has", left, right, Types.BOOLEAN, line);
            case Token.INSTANCEOF: return call("instanceof", left, right, Types.BOOLEAN, line);
            default:
                throw new IllegalStateException("operator " + operator);
        }
    }

    private Code call(String name, Code left, Code right, int type, int line) {
        Code code = new Code().line(line).add(library(name, left, right));
        code.isCall = true;
        code.type = type;
        return code;
    }

    private Code comparison(boolean direct, String name, String sign, Code left, Code right, int line) {
        return direct ? infix(left, sign, right, Code.COMPARE, Types.BOOLEAN) : call(name, left, right, Types.BOOLEAN, line);
    }

    private static Code infix(Code left, String sign, Code right, int rank, int type) {
        Code code = new Code().operand(left, rank == Code.COMPARE ? rank + 1 : rank).add(sign).operand(right, rank + 1);
        code.weight = Math.max(code.weight, Math.max(left.weight, right.weight + 1));
        return code.ranked(rank, type);
    }

    /** Text with text, or with what turns into text in one way only; null for other operands. */
    private Code concatenation(Code left, Code right) {
        if (left.type != Types.STRING && right.type != Types.STRING) return null;
        Code first = text(left);
        Code second = text(right);
        if (first == null || second == null) return null;
        Code code = new Code().operand(first, Code.CONCAT).add(" .. ").operand(second, Code.CONCAT);
        code.weight = first.weight + second.weight;
        return code.ranked(Code.CONCAT, Types.STRING);
    }

    private Code text(Code code) {
        if (code.type == Types.STRING) return code;
        return Types.isNumber(code.type) || code.type == Types.BOOLEAN ? library("str", code) : null;
    }
}
