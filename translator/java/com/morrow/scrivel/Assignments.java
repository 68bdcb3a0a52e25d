package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.List;
import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/** Assignments of every form, to variables, members and patterns. */
record Assignments(Generator g) {
    private static final Code ONE = Code.atom("1", Types.INTEGER);

    /** Writes a variable; the first value of a declaration may go to a constant. */
    void write(Name name, Code value, boolean declaring) {
        Variable.Use use = Names.use(name);
        Variable variable = use.variable;
        boolean guarded = variable != null && !declaring;
        Code check = guarded ? g.expressions.check(name) : null;
        if (check != null) {
            value = g.save(value);
            g.out.add(check);
        }
        if (guarded && (variable.kind == Variable.Kind.CONST || variable.kind == Variable.Kind.SELF)) {
            if (!value.pure) g.save(value);
            Code error = Code.of(g.js("G") + ".TypeError, \"TypeError\", \"Assignment to constant variable.\"");
            g.out.add(g.line(name), g.operators.library("throw", g.operators.library("new", error)));
            return;
        }
        if (variable == null) Place.store(g, g.line(name), Code.of(g.line(name), g.js("G") + Lua.member(name.getIdentifier())), value);
        else g.out.add(g.line, variable.access() + " = ", kept(use, value));
    }

    /** A value in the form in which a variable holds it. */
    Code kept(Variable.Use use, Code value) {
        if (use.variable.pieces) return Code.of("{", value, "}");
        return Carried.is(use) ? Carried.own(value, g) : value;
    }

    // -- forms of assignment

    /** Carries out an assignment; what it gives is its value when that is wanted. */
    Code assign(Assignment node, boolean wanted) {
        AstNode left = Expressions.bare(node.getLeft());
        boolean plain = node.getType() == Token.ASSIGN;
        if (!plain && Names.operator(node) != null) return logical(node, left);
        if (!plain) return compound(node, left, wanted);
        if (left.getType() == Token.ARRAYLIT || left.getType() == Token.OBJECTLIT) return takeApart(left, node.getRight(), false, wanted);
        Place place = Place.target(g, left, false).at(g.operatorLine(node));
        Operands operands = place.operands().put(g.out.mark(), named(node.getRight(), node.getLeft()));
        Variable variable = left instanceof Name ? Names.variable(left) : null;
        if (wanted && (variable == null || variable.kind == Variable.Kind.CONST)) operands.keep();
        return place.write(operands.last(), wanted);
    }

    /** A value that is given to a target: a function takes the name of a variable for its own. */
    Code named(AstNode value, AstNode target) {
        return named(value, target instanceof Name name ? name.getIdentifier() : "");
    }

    Code named(AstNode value, String name) {
        value = Expressions.bare(value);
        return value instanceof FunctionNode function ? g.functions.expression(function, name) : g.value(value);
    }

    /** {@code a ??= b} and its kin. */
    private Code logical(Assignment node, AstNode left) {
        Place place = Place.target(g, left, true);
        Code result = g.save(place.read());
        int before = g.temporaries;
        g.out.add(g.line(node), "if ", g.expressions.goesOn(Names.operator(node), result), " then");
        g.out.add(g.line, result, " = ", named(node.getRight(), left));
        place.write(result.typed(Types.UNKNOWN));
        g.out.add("end");
        g.temporaries = before;
        return result;
    }

    private Code compound(Assignment node, AstNode left, boolean wanted) {
        Variable text = left instanceof Name ? Names.variable(left) : null;
        if (text != null && text.pieces && !wanted && Appending.appends(text, node.getRight(), g)) return append(node, text);
        Place place = Place.target(g, left, true);
        Operands operands = place.operands().put(g.out.mark(), place.read());
        int old = operands.count() - 1;
        operands.add(node.getRight());
        int operator = Types.operator(node.getType());
        return place.write(g.operators.combine(operator, operands.get(old), operands.last(), g.operatorLine(node)), wanted);
    }

    private Code append(Assignment node, Variable text) {
        Code piece = g.operators.piece(g.value(node.getRight()), g.operatorLine(node));
        if (piece.calls) piece = g.save(piece); // what runs may read the text, which changes how many pieces there are
        g.out.add(g.line, text.access() + "[#" + text.access() + " + 1] = ", piece);
        return piece;
    }

    /** Increments or decrements; what it gives is the old or the new value when that is wanted. */
    Code update(UpdateExpression node, boolean wanted) {
        Place place = Place.target(g, Expressions.bare(node.getOperand()), true);
        Code old = g.operators.toNumber(place.read(), place.line());
        boolean oldWanted = wanted && node.isPostfix();
        if (oldWanted) old = g.save(old);
        int operator = node.getType() == Token.INC ? Token.ADD : Token.SUB;
        Code value = place.write(g.operators.combine(operator, old, ONE, g.line(node)), wanted && !oldWanted);
        return oldWanted ? old : value;
    }

    // -- patterns

    /** Gives what stands on the right to a pattern; an array literal that nothing else would see is not made. */
    Code takeApart(AstNode pattern, AstNode right, boolean declaring, boolean wanted) {
        if (!wanted && pattern instanceof ArrayLiteral targets && Expressions.bare(right) instanceof ArrayLiteral list
            && !Patterns.anySpread(targets.getElements()) && Literals.isDense(list)) {
            Operands values = new Operands(g, true);
            for (AstNode element : list.getElements()) values.add(element);
            values.keep();
            int index = 0;
            for (AstNode target : targets.getElements()) {
                Code value = index < values.count() ? values.get(index) : Code.atom("nil", Types.UNKNOWN);
                if (target.getType() != Token.EMPTY) give(target, value, declaring);
                index++;
            }
            return null;
        }
        Code value = g.keep(g.value(right));
        value.origin = right;
        give(pattern, value, declaring);
        return value;
    }

    /** Gives a value, which can be read several times, to whatever stands on the left. */
    void give(AstNode target, Code value, boolean declaring) {
        target = Expressions.bare(target);
        switch (target.getType()) {
            case Token.NAME -> write((Name) target, value, declaring);
            case Token.ARRAYLIT -> arrayPattern((ArrayLiteral) target, value, declaring);
            case Token.OBJECTLIT -> objectPattern((ObjectLiteral) target, g.keep(value), declaring);
            case Token.ASSIGN -> giveOr((Assignment) target, value, declaring);
            default -> Place.target(g, target, true).write(value);
        }
    }

    /** Gives a value, or another where it is undefined; either is read after a member's object and key. */
    private void giveOr(Assignment target, Code value, boolean declaring) {
        AstNode left = Expressions.bare(target.getLeft());
        Place member = Patterns.target(left) == null ? null : Place.target(g, left, true);
        Code result = g.save(value);
        fallback(target, result);
        result = result.typed(Types.UNKNOWN);
        if (member != null) member.write(result);
        else give(left, result, declaring);
    }

    /** Gives a variable the value on the right if it is undefined. */
    void fallback(Assignment node, Code variable) {
        int before = g.temporaries;
        g.out.add(g.line(node), "if ", variable, " == nil then");
        g.out.add(g.line(node.getRight()), variable, " = ", named(node.getRight(), node.getLeft()));
        g.out.add("end");
        g.temporaries = before;
    }

    private void arrayPattern(ArrayLiteral pattern, Code given, boolean declaring) {
        Code list = g.save(g.calls.values(given, given.origin, g.line(given.origin != null ? given.origin : pattern)));
        int index = 0;
        for (AstNode element : pattern.getElements()) {
            int line = g.line(element);
            if (Patterns.isSpread(element)) {
                Code from = Code.atom("" + index, Types.INTEGER);
                give(Patterns.spread(element), g.operators.library(line, "tail", list, from), declaring);
            } else {
                Code value = Code.of(line, list, "[" + index + "]");
                if (element.getType() == Token.EMPTY) g.save(value);
                else give(element, value, declaring);
            }
            index++;
        }
    }

    private void objectPattern(ObjectLiteral pattern, Code value, boolean declaring) {
        List<ObjectProperty> properties = pattern.getElements();
        boolean unread = properties.isEmpty() || Patterns.isSpread(properties.get(0)) || Patterns.isKey(properties.get(0));
        if (unread) g.out.add(g.operators.library(g.line(pattern), "destructible", value));
        ArrayList<Code> keys = new ArrayList<>();
        keys.add(value);
        Code computed = null;
        for (ObjectProperty property : properties) {
            AstNode key = property.getLeft();
            if (Patterns.isKey(property)) {
                computed = g.save(g.operators.library("key", g.value(Patterns.key(property))));
                keys.add(computed);
                continue;
            }
            Code part;
            if (Patterns.isSpread(property)) part = g.operators.library(g.line(key), "without", keys.toArray(new Code[0]));
            else if (computed != null) part = g.operators.library(g.line(key), "get", value, computed);
            else {
                keys.add(Literals.keyValue(Literals.key(key)));
                part = Place.member(g, value, Literals.key(key), g.line(key));
            }
            computed = null;
            give(property.getRight(), part, declaring);
        }
    }
}
