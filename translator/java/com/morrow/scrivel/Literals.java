package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Array, object and template literals. */
final class Literals {
    /** Larger literals, where an operand needs statements of its own, are filled one by one. */
    private static final int MOST_KEYS = 100;

    private final Generator g;

    Literals(Generator g) {
        this.g = g;
    }

    Code array(ArrayLiteral node) {
        List<AstNode> elements = node.getElements();
        if (Patterns.anySpread(elements)) {
            Code all = g.calls.gathered(elements);
            all.type = Types.OBJECT;
            return all;
        }
        boolean holes = false;
        for (AstNode element : elements) holes |= element.getType() == Token.EMPTY;
        Operands operands = new Operands(g, false);
        int many = 0;
        for (AstNode element : elements) {
            if (element.getType() == Token.EMPTY) operands.put(g.out.mark(), Generator.read(g.js("hole"), Types.UNKNOWN));
            else operands.add(element);
            many++;
        }
        Code code = holes ? withHoles(operands, many) : dense(operands, many);
        code.type = Types.OBJECT;
        return code;
    }

    private Code dense(Operands operands, int count) {
        Code code = Code.of(g.js("setmetatable") + "({");
        int weight = 5;
        for (int i = 0; i < count; i++) {
            String before = i == 0 ? "[0] = " : ", ";
            Code element = operands.get(i);
            // A literal is part of the table's template and costs the function no constant, see LuaWriter.
            if (element.rank == Code.ATOM && element.size == 1 && element.items[0] instanceof String) code.add(before + element.items[0]);
            else code.add(before).add(element);
            weight = Math.max(weight, operands.get(i).weight + 5);
        }
        code.add(count == 0 ? "length = 0}, " : ", length = " + count + "}, ").add(g.js("A")).add(")");
        code.weight = weight;
        return code;
    }

    private Code withHoles(Operands operands, int count) {
        if (count > MOST_KEYS) throw new Generator.Refusal(null, "An array literal with holes and so many elements is not supported");
        Code[] arguments = new Code[count + 1];
        arguments[0] = Code.atom(Integer.toString(count), Types.INTEGER);
        for (int i = 0; i < count; i++) arguments[i + 1] = operands.get(i);
        return g.operators.library("array", arguments);
    }

    // -- objects

    private static String keyText(AstNode key) {
        if (key instanceof Name) return ((Name) key).getIdentifier();
        if (key instanceof StringLiteral) return ((StringLiteral) key).getValue();
        return null;
    }

    /** The number that a key stands for, or NaN. */
    private static double keyNumber(AstNode key) {
        if (key instanceof NumberLiteral) {
            double number = ((NumberLiteral) key).getNumber();
            return Lua.canonicalNumber(Lua.keyText(number)) == number ? number : Double.NaN;
        }
        return Lua.canonicalNumber(keyText(key));
    }

    Code key(AstNode key) {
        double number = keyNumber(key);
        if (number == number) return Code.atom(Lua.number(number), Types.NUMBER);
        String text = keyText(key);
        if (text == null) throw new Generator.Refusal(key, "This property name is not supported");
        return Code.atom(Lua.quote(text), Types.STRING);
    }

    String keyAccess(AstNode key) {
        double number = keyNumber(key);
        return number == number ? '[' + Lua.number(number) + ']' : Expressions.field(keyText(key));
    }

    Code object(ObjectLiteral node) {
        List<ObjectProperty> properties = node.getElements();
        boolean plain = properties.size() <= MOST_KEYS;
        HashSet<String> seen = new HashSet<>();
        for (ObjectProperty property : properties) {
            String key = keyText(property.getLeft());
            plain &= !Patterns.isSpread(property) && !Patterns.isKey(property);
            plain &= key != null && keyNumber(property.getLeft()) != keyNumber(property.getLeft());
            plain &= !property.isGetterMethod() && !property.isSetterMethod() && seen.add(key) && !"length".equals(key);
        }
        Code code = plain ? constructor(properties) : filled(properties);
        code.type = Types.OBJECT;
        return code;
    }

    private Code propertyValue(ObjectProperty property) {
        AstNode value = Expressions.bare(property.getRight());
        if (value.getType() != Token.FUNCTION) return g.value(value);
        String key = keyText(property.getLeft());
        return g.functions.expression((FunctionNode) value, key == null ? Lua.keyText(keyNumber(property.getLeft())) : key);
    }

    private Code constructor(List<ObjectProperty> properties) {
        ArrayList<String> keys = new ArrayList<>();
        Operands operands = new Operands(g, false);
        for (ObjectProperty property : properties) {
            keys.add(keyText(property.getLeft()));
            Block.Link mark = g.out.mark();
            operands.put(mark, propertyValue(property));
        }
        Code code = Code.of(g.js("setmetatable") + "({");
        int weight = 5;
        for (int i = 0; i < keys.size(); i++) {
            String key = keys.get(i);
            code.add(Lua.isName(key) ? key + " = " : '[' + Lua.quote(key) + "] = ").add(operands.get(i)).add(", ");
            weight = Math.max(weight, operands.get(i).weight + 5);
        }
        code.add("[\"\\0s\"] = " + g.runtime.shape(keys, g.function) + "}, " + g.js("O") + ")");
        code.weight = weight;
        return code;
    }

    /** An object with accessors, numeric or repeated keys, or very many: made empty, then filled in order. */
    private Code filled(List<ObjectProperty> properties) {
        Code object = g.save(g.operators.library("object"));
        HashSet<String> accessors = new HashSet<>();
        Code computed = null;
        for (ObjectProperty property : properties) {
            Code line = new Code().line(g.line(property));
            if (Patterns.isSpread(property)) {
                g.out.add(line.add(g.operators.library("mix", object, g.value(property.getRight()))));
                continue;
            }
            if (Patterns.isKey(property)) {
                computed = g.save(g.operators.library("key", g.value(Patterns.key(property))));
                continue;
            }
            Code key = computed != null ? computed : key(property.getLeft());
            Code value = computed != null ? computedValue(property, computed) : propertyValue(property);
            boolean accessor = property.isGetterMethod() || property.isSetterMethod();
            String function = property.isGetterMethod() ? "getter" : property.isSetterMethod() ? "setter" : computed != null ? "field" : "set";
            if (!(accessor ? accessors.add(key.toString()) : accessors.isEmpty()) && !accessor) {
                g.out.add(new Code().line(g.line(property)).add(g.operators.library("delete", object, key)));
            }
            g.out.add(line.add(g.operators.library(function, object, key, value)));
            computed = null;
        }
        return object;
    }

    /** A function without a name takes its computed key for one. */
    private Code computedValue(ObjectProperty property, Code key) {
        AstNode value = Expressions.bare(property.getRight());
        boolean names = value.getType() == Token.FUNCTION && ((FunctionNode) value).getFunctionName() == null;
        return names ? g.operators.library("named", g.functions.expression((FunctionNode) value, ""), key) : g.value(value);
    }

    // -- templates

    Code template(TemplateLiteral node) {
        Operands operands = new Operands(g, false);
        for (AstNode element : node.getElements()) {
            Block.Link mark = g.out.mark();
            if (element instanceof TemplateCharacters) {
                String text = ((TemplateCharacters) element).getValue();
                if (text.isEmpty()) continue;
                operands.put(mark, Code.atom(Lua.quote(text), Types.STRING));
                continue;
            }
            Code value = g.value(element);
            if (value.type != Types.STRING) value = new Code().line(g.line(element)).add(g.operators.library("str", value));
            operands.put(mark, value);
        }
        return joined(operands);
    }

    private Code joined(Operands operands) {
        if (operands.count() == 0) return Code.atom("\"\"", Types.STRING);
        if (operands.count() == 1) {
            Code only = operands.get(0);
            only.type = Types.STRING;
            return only;
        }
        Code code = operands.get(0);
        for (int i = 1; i < operands.count(); i++) {
            Code next = operands.get(i);
            int weight = Math.max(code.weight, next.weight + i);
            code = new Code().operand(code, Code.CONCAT).add(" .. ").operand(next, Code.CONCAT).ranked(Code.CONCAT, Types.STRING);
            code.weight = weight;
            if (weight > Generator.MOST_WEIGHT) code = g.save(code);
        }
        return code;
    }
}
