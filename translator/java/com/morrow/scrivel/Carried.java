package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.Assignment;
import org.mozilla.javascript.ast.UpdateExpression;

/**
 * Numbers that a loop leaves in variables. What LuaJIT 2.1.0-beta3 takes for a whole number, converted, as such a number
 * times 1, it does not keep where compiled code does not read the variable again: all turns but the first are lost. The sum
 * of a number and -0 is the same number, but one of its own.
 */
final class Carried {
    private Carried() {}

    /** Marks the variables that only ever hold numbers of their own. Their types are known. */
    static void find(Names names) {
        for (Scope scope : names.scopes) for (Variable variable : scope.variables) variable.own = Types.isNumber(variable.type);
        for (Variable.Use use : names.uses) {
            if (use.write && use.variable != null && !isSum(use.value) && !is(use)) use.variable.own = false;
        }
    }

    private static boolean isSum(AstNode value) {
        return switch (Expressions.bare(value).getType()) {
            case Token.NUMBER, Token.ADD, Token.ASSIGN_ADD, Token.INC, Token.DEC -> true;
            default -> false;
        };
    }

    /** Whether a value that a variable gets needs to be one of its own: for what follows a loop, or to be handed on. */
    static boolean is(Variable.Use use) {
        Variable variable = use.variable;
        if (variable.spilledIn != null) return false;
        if (!Types.isNumber(variable.type)) return true;
        AstNode around = Names.repeating(use.name, variable.kind.isLexical() ? variable.home.node : variable.scope.node);
        return around != null && !isFromLast(use, around);
    }

    /** Whether the value is made of the variable's last one, and a loop assigns no other. */
    private static boolean isFromLast(Variable.Use use, AstNode around) {
        boolean reads = use.value instanceof Assignment || use.value instanceof UpdateExpression;
        for (Variable.Use other : use.variable.uses) {
            if (other == use || !Names.isIn(other.name, around)) continue;
            if (other.write) return false;
            reads |= Names.isIn(other.name, use.value);
        }
        return reads;
    }

    /** A value as one of its own. */
    static Code own(Code value, Generator g) {
        boolean sum = value.rank == Code.SUM && value.items.get(1).equals(" + ");
        boolean sure = value.own || value.type == Types.BITS || value.rank == Code.ATOM || sum || !Types.isNumber(value.type);
        return sure ? value : Code.infix(value, " + ", Code.read(g.js("minus0"), Types.NUMBER), Code.SUM, value.type);
    }
}
