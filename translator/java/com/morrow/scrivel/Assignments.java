package com.morrow.scrivel;

import java.util.ArrayList;
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
                Code value = named(node.getRight(), left == node.getLeft() ? ((Name) left).getIdentifier() : "");
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
                give(left, value, false);
                return value;
            }
            default: {
                Operands operands = new Operands(g, true);
                Place place = target(left, operands, false);
                Block.Link mark = g.out.mark();
                operands.put(mark, named(node.getRight(), ""));
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

    /** {@code a ??= b} and its kin. */
    private Code logical(Assignment node, AstNode left, String operator) {
        Operands operands = new Operands(g, true);
        Place place = left.getType() == Token.NAME ? null : target(left, operands, true);
        Code result = g.save(place == null ? g.expressions.name((Name) left) : place.read());
        int before = g.temporaries;
        g.out.add(new Code().line(g.line(node)).add("if ").add(g.expressions.goesOn(operator, result)).add(" then"));
        Code value = named(node.getRight(), place == null ? ((Name) left).getIdentifier() : "");
        g.out.add(new Code().line(g.line).add(result).add(" = ").add(value));
        result.type = Types.UNKNOWN;
        if (place == null) write((Name) left, result, false);
        else place.write(result);
        g.out.add("end");
        g.temporaries = before;
        return result;
    }

    private Code compound(Assignment node, AstNode left, boolean wanted) {
        if (Names.operator(node) != null) return logical(node, left, Names.operator(node));
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
            case Token.ARRAYLIT:
                arrayPattern((ArrayLiteral) target, value, declaring);
                return;
            case Token.OBJECTLIT:
                objectPattern((ObjectLiteral) target, value.stable ? value : g.save(value), declaring);
                return;
            case Token.ASSIGN:
                giveOr((Assignment) target, value, declaring);
                return;
            default: {
                Code kept = value.stable ? value : g.save(value);
                target(target, new Operands(g, true), false).write(kept);
            }
        }
    }

    /** Gives a value, or another where it is undefined. */
    private void giveOr(Assignment target, Code value, boolean declaring) {
        Code result = g.save(value);
        AstNode left = target.getLeft();
        int before = g.temporaries;
        g.out.add(new Code().line(g.line(target)).add("if ").add(result).add(" == nil then"));
        Code other = named(target.getRight(), left.getType() == Token.NAME ? ((Name) left).getIdentifier() : "");
        g.out.add(new Code().line(g.line(target.getRight())).add(result).add(" = ").add(other));
        g.out.add("end");
        g.temporaries = before;
        result.type = Types.UNKNOWN;
        give(left, result, declaring);
    }

    private void arrayPattern(ArrayLiteral pattern, Code value, boolean declaring) {
        Code list = g.save(new Code().line(g.line(pattern)).add(g.operators.library("values", value)));
        int index = 0;
        for (AstNode element : pattern.getElements()) {
            Code code = new Code().line(g.line(element));
            if (Patterns.isSpread(element)) {
                give(Patterns.spread(element), code.add(g.operators.library("tail", list, Code.atom("" + index, Types.INTEGER))), declaring);
            } else if (element.getType() != Token.EMPTY) give(element, code.add(list).add("[" + index + "]"), declaring);
            index++;
        }
    }

    private void objectPattern(ObjectLiteral pattern, Code value, boolean declaring) {
        boolean empty = pattern.getElements().isEmpty() || Patterns.isSpread(pattern.getElements().get(0));
        if (empty) g.out.add(new Code().line(g.line(pattern)).add(g.operators.library("destructible", value)));
        ArrayList<Code> keys = new ArrayList<>();
        keys.add(value);
        Code computed = null;
        for (ObjectProperty property : pattern.getElements()) {
            Code line = new Code().line(g.line(property.getLeft()));
            if (Patterns.isSpread(property)) {
                give(property.getRight(), line.add(g.operators.library("without", keys.toArray(new Code[0]))), declaring);
            } else if (Patterns.isKey(property)) {
                computed = g.save(g.operators.library("key", g.value(Patterns.key(property))));
                keys.add(computed);
            } else if (computed != null) {
                give(property.getRight(), line.add(g.operators.library("get", value, computed)), declaring);
                computed = null;
            } else {
                keys.add(g.literals.key(property.getLeft()));
                give(property.getRight(), new Code().operand(value, Code.PREFIX).line(g.line(property.getLeft())).add(g.literals.keyAccess(property.getLeft())), declaring);
            }
        }
    }
}
