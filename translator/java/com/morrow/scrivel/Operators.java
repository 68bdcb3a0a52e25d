package com.morrow.scrivel;

import com.morrow.scrivel.Generator.Refusal;
import java.util.Arrays;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Unary and binary operators: Lua's own where the operands' types allow, the library's functions elsewhere. */
record Operators(Generator g) {
    /** A call of a library function. */
    Code library(String name, Code... operands) {
        Code code = Code.of(g.js(name), "(").arguments(Arrays.asList(operands), true, 3, 2);
        code.calls |= g.names.hooks;
        return code;
    }

    /** A call of a library function that blames a line when it fails. */
    Code library(int line, String name, Code... operands) {
        Code code = Code.of(line, library(name, operands));
        code.isCall = true;
        return code;
    }

    Code not(Code test) {
        Code code = Code.of("not ", test.within(Code.UNARY)).ranked(Code.UNARY, Types.BOOLEAN);
        code.stable = test.stable;
        return code;
    }

    /** A value as a Lua condition. */
    Code truth(Code code) {
        return code.type == Types.BOOLEAN ? code : library("truthy", code).typed(Types.BOOLEAN);
    }

    Code toNumber(Code code, int line) {
        return Types.isNumber(code.type) ? code : library(line, "num", code).typed(Types.NUMBER);
    }

    Code unary(UnaryExpression node) {
        AstNode operand = node.getOperand();
        return switch (node.getType()) {
            case Token.NEG -> negative(operand, g.line(node));
            case Token.POS -> toNumber(g.value(operand), g.line(node));
            case Token.BITNOT -> library(g.line(node), "bnot", bits(g.value(operand))).typed(Types.BITS);
            case Token.TYPEOF, Token.TYPEOFNAME -> typeOf(Expressions.bare(operand)).typed(Types.STRING);
            case Token.DELPROP -> delete(operand);
            case Token.VOID -> {
                g.expressions.effect(operand);
                yield Code.atom("nil", Types.UNKNOWN);
            }
            default -> throw new Refusal(node, "This operator is not supported");
        };
    }

    private Code negative(AstNode operand, int line) {
        if (operand instanceof NumberLiteral literal) {
            String number = Lua.number(-literal.getNumber());
            Code code = Code.atom(number, g.types.of(operand));
            if (number.charAt(0) == '-') code.rank = Code.UNARY;
            return code;
        }
        Code value = number(g.value(operand), line);
        return Code.of(line, "-", value.within(Code.UNARY + 1)).ranked(Code.UNARY, Types.signed(value.type));
    }

    private Code typeOf(AstNode operand) {
        boolean global = operand.getType() == Token.NAME && Names.variable(operand) == null;
        String name = global ? ((Name) operand).getIdentifier() : "";
        if (!global || name.equals("undefined") || name.equals("arguments")) return library("typeof", g.value(operand));
        return library("typeofglobal", Code.atom(Lua.quote(name), Types.STRING));
    }

    private Code delete(AstNode operand) {
        AstNode bare = Expressions.bare(operand);
        if (bare != operand && Names.isChain(bare)) {
            throw new Refusal(bare, "Deleting an optional chain in parentheses is not supported");
        }
        if (bare.getType() != Token.GETPROP && bare.getType() != Token.GETELEM) {
            g.expressions.effect(bare);
            return Code.atom("true", Types.BOOLEAN);
        }
        Place place = Place.of(g, bare, false, false);
        return library(place.line(), "delete", place.object(), place.keyValue()).typed(Types.BOOLEAN);
    }

    Code binary(InfixExpression node) {
        if (Refusals.isAbsentClass(node.getRight())) {
            Code name = Code.atom(Lua.quote(((Name) node.getRight()).getIdentifier()), Types.STRING);
            return library(g.operatorLine(node), "instanceofglobal", g.value(node.getLeft()), name).typed(Types.BOOLEAN);
        }
        Operands operands = new Operands(g, true).add(node.getLeft()).add(node.getRight());
        return combine(node.getType(), operands.get(0), operands.get(1), g.operatorLine(node));
    }

    /** Applies a binary operator that stands on a line. */
    Code combine(int operator, Code left, Code right, int line) {
        int type = Types.binary(operator, left.type, right.type);
        boolean numbers = Types.isNumber(left.type) && Types.isNumber(right.type);
        boolean texts = left.type == Types.STRING && right.type == Types.STRING, comparable = numbers || texts;
        // Lua compares bytes, which differs from UTF-16 units only beyond ASCII.
        boolean ordered = numbers || texts && (left.isAscii() || right.isAscii());
        Code result = switch (operator) {
            case Token.ADD -> numbers ? Code.infix(left, " + ", right, Code.SUM, type)
                : type == Types.STRING && hasText(left) && hasText(right) ? concatenation(text(left, line), text(right, line))
                : library(line, "add", left, right).typed(type);
            case Token.SUB -> arithmetic(left, " - ", right, Code.SUM, type, line);
            case Token.MUL -> arithmetic(left, " * ", right, Code.PRODUCT, type, line);
            case Token.DIV -> arithmetic(left, " / ", right, Code.PRODUCT, type, line);
            case Token.MOD -> library(line, "mod", left, right).typed(type);
            case Token.EXP -> library(line, "pow", left, right).typed(type);
            case Token.BITOR -> bits(line, "bor", left, right);
            case Token.BITXOR -> bits(line, "bxor", left, right);
            case Token.BITAND -> bits(line, "band", left, right);
            case Token.LSH -> bits(line, "lshift", left, right);
            case Token.RSH -> bits(line, "arshift", left, right);
            case Token.URSH -> unsigned(bits(line, "rshift", left, right));
            case Token.LT -> comparison(ordered, " < ", "lt", left, right, line);
            case Token.LE -> comparison(ordered, " <= ", "le", left, right, line);
            case Token.GT -> comparison(ordered, " > ", "gt", left, right, line);
            case Token.GE -> comparison(ordered, " >= ", "ge", left, right, line);
            case Token.SHEQ -> Code.infix(left, " == ", right, Code.COMPARE, Types.BOOLEAN);
            case Token.SHNE -> Code.infix(left, " ~= ", right, Code.COMPARE, Types.BOOLEAN);
            case Token.EQ -> comparison(comparable, " == ", "eq", left, right, line);
            case Token.NE -> comparable ? Code.infix(left, " ~= ", right, Code.COMPARE, Types.BOOLEAN)
                : not(comparison(false, "", "eq", left, right, line));
            case Token.IN -> library(line, "has", left, right).typed(Types.BOOLEAN);
            case Token.INSTANCEOF -> library(line, "instanceof", left, right).typed(Types.BOOLEAN);
            default -> throw new IllegalStateException("operator " + operator);
        };
        result.calls |= g.names.hooks;
        return result;
    }

    /** Lua's bit operator. The left operand may not turn into a number before the right one is evaluated, if one can tell. */
    private Code bits(int line, String name, Code left, Code right) {
        boolean apart = Types.isNumber(left.type) || right.pure && right.stable;
        Code code = apart ? library(line, name, bits(left), bits(right))
            : library(line, "bits", Code.read(g.js(name), Types.FUNCTION), left, right);
        return code.typed(Types.BITS);
    }

    /** A value as Lua's bit operators take it. */
    private Code bits(Code value) {
        if (value.bits != null) return value.bits;
        return value.type == Types.BITS || value.type == Types.SUM ? value : library("int32", value).typed(Types.BITS);
    }

    private static Code unsigned(Code bits) {
        Code code = Code.of(bits, " % 4294967296").ranked(Code.PRODUCT, Types.BITS);
        code.bits = bits;
        return code;
    }

    private Code comparison(boolean direct, String sign, String name, Code left, Code right, int line) {
        if (direct) return Code.infix(left, sign, right, Code.COMPARE, Types.BOOLEAN);
        return library(line, name, left, right).typed(Types.BOOLEAN);
    }

    /** Is text, or turns into text in one way only. */
    private static boolean hasText(Code code) {
        return code.type == Types.STRING || code.type == Types.BOOLEAN || Types.isNumber(code.type);
    }

    /** Lua takes some texts for numbers that JavaScript does not. */
    private Code number(Code code, int line) {
        return code.type == Types.STRING ? toNumber(code, line) : code;
    }

    /** Lua's operator. The mark stands behind the sign: Lua reads a member on the left on the sign's line. */
    private Code arithmetic(Code left, String sign, Code right, int rank, int type, int line) {
        boolean quiet = Types.isNumber(left.type) && Types.isNumber(right.type);
        return Code.infix(number(left, line), quiet ? sign : Code.of(sign, line), number(right, line), rank, type);
    }

    /** What `+` makes of an operand beside a text. */
    Code piece(Code code, int line) {
        return hasText(code) ? text(code, line) : library(line, "add", Code.atom("\"\"", Types.STRING), code);
    }

    Code text(Code code, int line) {
        if (code.type == Types.STRING) return code;
        Code text = library(line, "str", code).typed(Types.STRING);
        text.beginsWhole = text.endsWhole = hasText(code);
        return text;
    }

    /** Two texts as one; the library joins the halves of a surrogate pair. */
    Code concatenation(Code first, Code second) {
        boolean emptyFirst = first.isEmptyText(), emptySecond = second.isEmptyText();
        boolean whole = first.endsWhole || second.beginsWhole || emptyFirst || emptySecond;
        Code code = whole ? Code.of(first.within(Code.CONCAT), " .. ", second.within(Code.CONCAT)).ranked(Code.CONCAT, Types.STRING)
            : library("join", first, second).typed(Types.STRING);
        if (whole) code.weight = first.weight + second.weight;
        code.beginsWhole = (emptyFirst ? second : first).beginsWhole;
        code.endsWhole = (emptySecond ? first : second).endsWhole;
        return code;
    }
}
