package com.morrow.scrivel;

import com.morrow.scrivel.Generator.Refusal;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Array, object and template literals. */
record Literals(Generator g) {
    /** Larger literals, where an operand needs statements of its own, are filled one by one. */
    private static final int MOST_KEYS = 100;

    private static final Set<String> INHERITED = Set.of("constructor", "hasOwnProperty", "isPrototypeOf",
        "propertyIsEnumerable", "toLocaleString", "toString", "valueOf");

    /** Neither holes nor spread. */
    static boolean isDense(ArrayLiteral node) {
        return !Patterns.anySpread(node.getElements()) && node.getElements().stream().noneMatch(e -> e.getType() == Token.EMPTY);
    }

    Code array(ArrayLiteral node) {
        List<AstNode> elements = node.getElements();
        return Patterns.anySpread(elements) ? g.calls.gathered(elements).typed(Types.OBJECT) : list(elements);
    }

    /** An array of elements of which none is spread. */
    Code list(List<AstNode> elements) {
        String maker = "fresh";
        Operands operands = new Operands(g, false);
        for (AstNode element : elements) {
            if (element.getType() == Token.EMPTY) maker = "array";
            operands.add(element);
        }
        int count = operands.count();
        Code fields = new Code();
        for (int i = 0; i < count; i++) {
            Code element = operands.get(i);
            String before = i == 0 ? "[0] = " : ", ";
            // A literal is part of the table's template and costs the function no constant, see LuaWriter.
            boolean literal = element.rank == Code.ATOM && element.items.size() == 1 && element.items.get(0) instanceof String;
            if (literal) fields.add(before + element.items.get(0));
            else fields.add(before, element);
        }
        return table(maker, fields, (count == 0 ? "length = " : ", length = ") + count, "A").typed(Types.OBJECT);
    }

    private Code table(String maker, Code fields, String last, String metatable) {
        Code code = Code.of(g.js(maker), "({", fields, last + "}, " + g.js(metatable) + ")");
        code.weight = fields.weight + 5;
        return code;
    }

    // -- objects

    /** The text of a property's key. */
    static String key(AstNode node) {
        if (node instanceof Name name) return name.getIdentifier();
        if (node instanceof StringLiteral literal) return Refusals.key(literal);
        if (node instanceof NumberLiteral literal) return Lua.keyText(literal.getNumber());
        throw new Refusal(node, "This property name is not supported");
    }

    /** A property's key as a value. */
    static Code keyValue(String key) {
        return Code.atom(Lua.key(key), Double.isNaN(Lua.canonicalNumber(key)) ? Types.STRING : Types.NUMBER);
    }

    Code object(ObjectLiteral node) {
        List<ObjectProperty> properties = node.getElements();
        boolean plain = properties.size() <= MOST_KEYS;
        HashSet<String> seen = new HashSet<>();
        for (ObjectProperty property : properties) plain = plain && isPlain(property) && seen.add(key(property.getLeft()));
        return (plain ? constructor(properties) : filled(properties)).typed(Types.OBJECT);
    }

    /** Can stand as a field in a Lua table's constructor: one that surely hides what the prototype has. */
    private boolean isPlain(ObjectProperty property) {
        if (Patterns.isSpread(property) || Patterns.isKey(property) || isAccessor(property) || isProto(property)) return false;
        String key = key(property.getLeft());
        if (INHERITED.contains(key) && g.types.of(property.getRight()) == Types.UNKNOWN) return false;
        return !key.equals("length") && Double.isNaN(Lua.canonicalNumber(key));
    }

    private static boolean isAccessor(ObjectProperty property) {
        return property.isGetterMethod() || property.isSetterMethod();
    }

    /** Gives the object its prototype; a method of that name, or a variable's name alone, is a property like any other. */
    private static boolean isProto(ObjectProperty property) {
        boolean alone = property.getLeft().getPosition() == property.getRight().getPosition();
        return key(property.getLeft()).equals(Place.PROTO) && !property.isMethod() && !alone;
    }

    private Code constructor(List<ObjectProperty> properties) {
        ArrayList<String> keys = new ArrayList<>();
        Operands operands = new Operands(g, false);
        for (ObjectProperty property : properties) {
            String key = key(property.getLeft());
            keys.add(key);
            operands.put(g.out.mark(), g.assignments.named(property.getRight(), key));
        }
        Code fields = new Code();
        for (int i = 0; i < keys.size(); i++) {
            String key = keys.get(i);
            fields.add(Lua.isName(key) ? key + " = " : '[' + Lua.quote(key) + "] = ", operands.get(i), ", ");
        }
        return table("fresh", fields, "[\"\\0s\"] = " + g.runtime.shape(keys), "O");
    }

    /** An object with accessors, numeric or repeated keys, or very many: made empty, then filled in order. */
    private Code filled(List<ObjectProperty> properties) {
        Code object = g.save(g.operators.library("object"));
        Code computed = null;
        for (ObjectProperty property : properties) {
            int line = g.line(property);
            if (Patterns.isSpread(property)) g.out.add(g.operators.library(line, "mix", object, g.value(property.getRight())));
            else if (Patterns.isKey(property)) computed = g.save(g.operators.library("key", g.value(Patterns.key(property))));
            else if (computed == null && isProto(property)) {
                g.out.add(g.operators.library(line, "setproto", object, g.value(property.getRight())));
            } else {
                String name = computed != null ? "" : key(property.getLeft());
                Code key = computed != null ? computed : keyValue(name);
                Code value = g.assignments.named(property.getRight(), name);
                if (computed != null && Functions.isUnnamed(Expressions.bare(property.getRight()))) value = g.operators.library("named", value, key);
                String function = property.isGetterMethod() ? "getter" : property.isSetterMethod() ? "setter" : "field";
                g.out.add(g.operators.library(line, function, object, key, value));
                computed = null;
            }
        }
        return object;
    }

    // -- templates

    Code template(TemplateLiteral node) {
        Operands operands = new Operands(g, false);
        for (AstNode element : node.getElements()) {
            boolean nothing = element instanceof TemplateCharacters text && text.getValue().isEmpty();
            if (!nothing) operands.put(g.out.mark(), g.operators.text(g.value(element), g.line(element)));
        }
        if (operands.count() == 0) return Code.atom("\"\"", Types.STRING);
        Code code = operands.get(0).typed(Types.STRING);
        for (int i = 1; i < operands.count(); i++) {
            code = g.cut(g.operators.concatenation(code, operands.get(i)));
        }
        return code;
    }
}
