package com.morrow.scrivel;

/** A member of an object that is read, written or deleted: its object and its key, evaluated once. */
final class Place {
    private final Generator g;
    private final Operands operands;
    private final int object;
    private final int key;
    /** The key where it is known, as text; null for a computed one. */
    private final String field;
    /** The JavaScript line on which an access fails. */
    final int line;

    Place(Generator g, Operands operands, int object, int key, String field, int line) {
        this.g = g;
        this.operands = operands;
        this.object = object;
        this.key = key;
        this.field = field;
        this.line = line;
    }

    Code object() {
        return operands.get(object);
    }

    Code keyValue() {
        return field != null ? Code.atom(Lua.quote(field), Types.STRING) : operands.get(key);
    }

    /** True when the key needs the library, since it may be text that means a number. */
    private boolean general() {
        return field == null && !Types.isNumber(operands.get(key).type);
    }

    Code read() {
        return general() ? call("get", null) : access();
    }

    private Code access() {
        Code code = new Code().operand(object(), Code.PREFIX).line(line);
        if (field == null) {
            code.add("[").add(operands.get(key)).add("]");
            code.weight = Math.max(object().weight, operands.get(key).weight + 1);
            return code;
        }
        return code.add(Expressions.field(field));
    }

    private Code call(String function, Code value) {
        Code code = new Code().line(line);
        code.add(value == null ? g.operators.library(function, object(), keyValue()) : g.operators.library(function, object(), keyValue(), value));
        code.isCall = true;
        return code;
    }

    void write(Code value) {
        if (general()) g.out.add(call("set", value));
        else if ("length".equals(field)) g.out.add(new Code().line(line).add(g.operators.library("setlength", object(), value)));
        else {
            Code code = new Code().line(g.line).add(access()).add(" = ");
            boolean elsewhere = value.lastLine != 0 && value.lastLine != line;
            // Lua blames the line of the last token for a failing store.
            if (elsewhere) code.add("(").add(value).line(line).add(")");
            else code.add(value);
            g.out.add(code);
        }
    }
}
