package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Assignments of every form, to variables, members and patterns. */
final class Assignments {
    private static final Code ONE = Code.atom("1", Types.INTEGER);

    private final Generator g;

    Assignments(Generator g) {
        this.g = g;
    }

    // -- places

    /** Evaluates object and key of a member access into the operands. To be used more than once, they are kept. */
    Place place(AstNode node, Operands operands, boolean several) {
        boolean property = node.getType() == Token.GETPROP;
        AstNode target = property ? ((PropertyGet) node).getTarget() : ((ElementGet) node).getTarget();
        int object = operands.add(target).count() - 1;
        if (several) operands.keep();
        if (property) {
            Name name = ((PropertyGet) node).getProperty();
            return new Place(g, operands, object, 0, name.getIdentifier(), g.line(name));
        }
        AstNode key = Expressions.bare(((ElementGet) node).getElement());
        int line = g.line(key);
        if (key.getType() == Token.STRING) {
            String text = ((StringLiteral) key).getValue();
            double number = Lua.canonicalNumber(text);
            if (number != number) return new Place(g, operands, object, 0, text, line);
            Code code = Code.atom(Lua.number(number), Types.NUMBER);
            int index = operands.put(g.out.mark(), code).count() - 1;
            return new Place(g, operands, object, index, null, line);
        }
        int index = operands.add(key).count() - 1;
        if (several) operands.keep();
        return new Place(g, operands, object, index, null, line);
    }

    /** A place that is assigned to; no Lua statement may begin with its object's parenthesis. */
    private Place target(AstNode node, Operands operands, boolean several) {
        Place place = place(node, operands, several);
        Code object = place.object();
        if (object.rank == Code.PREFIX && !object.parenthesis) return place;
        operands.keepAll();
        return place;
    }

    // -- variables

    /** Writes a variable; the first value of a declaration may go to a constant. */
    void write(Name name, Code value, boolean declaring) {
        Variable.Use use = Names.use(name);
        Variable variable = use.variable;
        int line = g.line(name);
        if (variable == null) {
            g.out.add(new Code().line(g.line).add(g.js("G") + Expressions.field(name.getIdentifier()) + " = ").add(value));
            return;
        }
        if (!declaring && (use.early || variable.isCheckedAt(use))) {
            value = g.save(value);
            g.out.add(g.expressions.check(name, use.early ? g.js("unset") : variable.access()));
        }
        if (!declaring && (variable.kind == Variable.Kind.CONST || variable.kind == Variable.Kind.SELF)) {
            if (!value.pure) g.save(value);
            Code error = Code.of(g.js("G") + ".TypeError, \"Assignment to constant variable.\"");
            g.out.add(new Code().line(line).add(g.operators.library("throw", g.operators.library("new", error))));
            return;
        }
        g.out.add(new Code().line(g.line).add(variable.access() + " = ").add(value));
    }

    // -- forms of assignment

    /** Carries out an assignment; gives its value when it is wanted, else null. */
    Code assign(Assignment node, boolean wanted) {
        AstNode left = Expressions.bare(node.getLeft());
        if (node.getType() != Token.ASSIGN) return compound(node, left, wanted);
        switch (left.getType()) {
            case Token.NAME: {
                Code value = named(node.getRight(), ((Name) left).getIdentifier());
                boolean simple = Names.variable(left) != null && Names.variable(left).kind != Variable.Kind.CONST;
                if (wanted && !value.stable && !simple) value = g.save(value);
                write((Name) left, value, false);
                if (!wanted || value.stable) return value;
                Code result = g.expressions.name((Name) left);
                result.type = value.type;
                return result;
            }
            case Token.ARRAYLIT: case Token.OBJECTLIT: {
                Code value = g.value(node.getRight());
                if (!value.stable) value = g.save(value);
                pattern(left, value, false);
                return value;
            }
            default: {
                Operands operands = new Operands(g, true);
                Place place = target(left, operands, false);
                Block.Link mark = g.out.mark();
                operands.put(mark, named(node.getRight(), left.getType() == Token.GETPROP ? ((PropertyGet) left).getProperty().getIdentifier() : ""));
                Code value = wanted ? operands.keep() : operands.get(operands.count() - 1);
                place.write(value);
                return value;
            }
        }
    }

    /** A value that is given to a name, which a function takes for its own. */
    Code named(AstNode value, String name) {
        value = Expressions.bare(value);
        if (value.getType() != Token.FUNCTION) return g.value(value);
        return g.functions.expression((FunctionNode) value, name);
    }

    private Code compound(Assignment node, AstNode left, boolean wanted) {
        int operator = Types.operator(node.getType());
        int line = g.source.line(node.getPosition() + node.getOperatorPosition());
        Operands operands = new Operands(g, true);
        if (left.getType() == Token.NAME) {
            operands.add(left).add(node.getRight());
            Code value = g.operators.combine(operator, operands.get(0), operands.get(1), line);
            return written((Name) left, value, wanted);
        }
        Place place = target(left, operands, true);
        Block.Link mark = g.out.mark();
        int old = operands.put(mark, place.read()).count() - 1;
        operands.add(node.getRight());
        Code value = g.operators.combine(operator, operands.get(old), operands.get(old + 1), line);
        if (wanted) value = g.save(value);
        place.write(value);
        return value;
    }

    private Code written(Name name, Code value, boolean wanted) {
        if (wanted && Names.variable(name) == null) value = g.save(value);
        write(name, value, false);
        if (!wanted || value.stable) return value;
        Code result = g.expressions.name(name);
        result.type = value.type;
        return result;
    }

    /** Increments or decrements; gives the old or the new value when it is wanted. */
    Code update(UpdateExpression node, boolean wanted) {
        int operator = node.getType() == Token.INC ? Token.ADD : Token.SUB;
        AstNode left = Expressions.bare(node.getOperand());
        boolean oldWanted = wanted && node.isPostfix();
        if (left.getType() == Token.NAME) {
            Code old = g.operators.toNumber(g.expressions.name((Name) left));
            if (oldWanted) old = g.save(old);
            Code value = written((Name) left, g.operators.combine(operator, old, ONE, g.line(node)), wanted && !oldWanted);
            return oldWanted ? old : value;
        }
        Operands operands = new Operands(g, true);
        Place place = target(left, operands, true);
        Code old = g.operators.toNumber(place.read());
        if (oldWanted) old = g.save(old);
        Code value = g.operators.combine(operator, old, ONE, g.line(node));
        if (wanted && !oldWanted) value = g.save(value);
        place.write(value);
        return oldWanted ? old : value;
    }

    // -- patterns

    /** Gives a value, which can be read several times, to whatever stands on the left. */
    void give(AstNode target, Code value, boolean declaring) {
        target = Expressions.bare(target);
        switch (target.getType()) {
            case Token.NAME:
                write((Name) target, value, declaring);
                return;
            case Token.ARRAYLIT: case Token.OBJECTLIT:
                pattern(target, value.stable ? value : g.save(value), declaring);
                return;
            default: {
                Code kept = value.stable ? value : g.save(value);
                target(target, new Operands(g, true), false).write(kept);
            }
        }
    }

    private void pattern(AstNode pattern, Code value, boolean declaring) {
        if (pattern.getType() == Token.ARRAYLIT) {
            Code list = g.save(new Code().line(g.line(pattern)).add(g.operators.library("values", value)));
            int index = 0;
            for (AstNode element : ((ArrayLiteral) pattern).getElements()) {
                if (element.getType() != Token.EMPTY) {
                    give(element, new Code().line(g.line(element)).add(list).add("[" + index + "]"), declaring);
                }
                index++;
            }
            return;
        }
        if (((ObjectLiteral) pattern).getElements().isEmpty()) {
            g.out.add(new Code().line(g.line(pattern)).add("do local _ = ").operand(value, Code.PREFIX).add(".constructor end"));
        }
        for (ObjectProperty property : ((ObjectLiteral) pattern).getElements()) {
            AstNode key = property.getLeft();
            Code member = new Code().operand(value, Code.PREFIX).line(g.line(key)).add(g.literals.keyAccess(key));
            give(property.getRight(), member, declaring);
        }
    }
}
