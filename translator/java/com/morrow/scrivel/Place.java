package com.morrow.scrivel;

import org.mozilla.javascript.ast.*;

/**
 * What is read, written or deleted: a variable, or a member of an object. Which operands are the object and the key
 * is told here; the key is text in `field` where that is known. An access that fails does so on `line`.
 */
record Place(Generator g, Name variable, Operands operands, int objectAt, int keyAt, String field, int line) {
    /** The property that stands for an object's prototype. */
    static final String PROTO = "__proto__";

    /** Evaluates object and key of a member access, as {@link Operands} does. To be used more than once, they are kept. */
    static Place of(Generator g, AstNode node, boolean late, boolean several) {
        Operands operands = new Operands(g, late);
        AstNode last = node instanceof PropertyGet get ? get.getProperty() : ((ElementGet) node).getElement();
        int object = operands.object(Patterns.target(node), g.line(last)).count() - 1;
        if (several) operands.keep();
        if (node instanceof PropertyGet member) {
            Name name = member.getProperty();
            return new Place(g, null, operands, object, 0, name.getIdentifier(), g.line(name));
        }
        AstNode key = Expressions.bare(((ElementGet) node).getElement());
        if (key instanceof StringLiteral literal) {
            double number = Lua.canonicalNumber(literal.getValue());
            if (number != number) return new Place(g, null, operands, object, 0, Refusals.key(literal), g.line(key));
            operands.put(g.out.mark(), Code.atom(Lua.number(number), Types.NUMBER));
        } else operands.add(key);
        if (several) operands.keep();
        return new Place(g, null, operands, object, operands.count() - 1, null, g.line(key));
    }

    /** A place that is assigned to; no Lua statement may begin with its object's parenthesis. */
    static Place target(Generator g, AstNode node, boolean several) {
        if (node instanceof Name name) return new Place(g, name, new Operands(g, true), 0, 0, null, g.line(name));
        Place place = of(g, node, true, several);
        if (place.object().rank != Code.PREFIX || place.object().parenthesis) place.operands.keepAll();
        return place;
    }

    /** The same, where an access fails on another line. */
    Place at(int otherLine) {
        return new Place(g, variable, operands, objectAt, keyAt, field, otherLine);
    }

    Code object() {
        return operands.get(objectAt);
    }

    Code keyValue() {
        return field != null ? Code.atom(Lua.quote(field), Types.STRING) : operands.get(keyAt);
    }

    /** Text may mean a number, and a number may mean text: NaN and the infinities. */
    Code read() {
        if (variable != null) return g.expressions.name(variable);
        boolean known = field != null || Types.isWhole(operands.get(keyAt).type);
        return known ? access() : g.operators.library(line, "get", object(), keyValue());
    }

    /** A member to read. */
    static Code member(Generator g, Code object, String field, int line) {
        if (field.equals(PROTO)) return g.operators.library(line, "getproto", object);
        Code code = Code.of(object.within(Code.PREFIX), line, Lua.member(field));
        code.calls |= g.names.hooks;
        return code;
    }

    private Code access() {
        if (field != null) return member(g, object(), field, line);
        Code code = Code.of(object().within(Code.PREFIX), line, "[", keyValue(), "]");
        code.calls |= g.names.hooks;
        code.weight = Math.max(object().weight, keyValue().weight + 1);
        return code;
    }

    /** Writes a value; gives it, as it can be read afterwards when it is wanted. */
    Code write(Code value, boolean wanted) {
        if (wanted && (variable == null || Names.variable(variable) == null)) value = g.keep(value);
        write(value);
        return variable == null || !wanted || value.stable ? value : read().typed(value.type);
    }

    void write(Code value) {
        if (variable != null) g.assignments.write(variable, value, false);
        else if (field == null && !Types.isNumber(keyValue().type)) {
            g.out.add(g.operators.library(line, "set", object(), keyValue(), value));
        } else if ("length".equals(field)) g.out.add(g.operators.library(line, "setlength", object(), value));
        else if (PROTO.equals(field)) g.out.add(g.operators.library(line, "setproto", object(), value));
        else store(g, line, access(), value);
    }

    /** Writes a field; a failure is on `line`. */
    static void store(Generator g, int line, Code field, Code value) {
        // Lua blames the line of the last token for a failing store, and for a read that stands right before it.
        if (value.lastLine != 0 && value.lastLine != line) value = value.pure ? Code.of("(", value, line, ")") : g.save(value);
        g.out.add(g.line, field, " = ", value);
    }
}
