package com.morrow.scrivel;

import org.mozilla.javascript.Token;
import org.mozilla.javascript.ast.*;

/**
 * Text that a loop or a callback appends to is kept as a list of its pieces, which are joined when it is read: Lua would
 * copy the whole of it with every piece.
 */
final class Appending {
    private Appending() {}

    /** Marks the variables that are kept as pieces. Their types are known. */
    static void find(Names names) {
        for (Scope scope : names.scopes) {
            if (scope.node instanceof Loop) continue;
            for (Variable variable : scope.variables) variable.pieces = variable.type == Types.STRING && gathers(variable);
        }
    }

    /** Whether something is appended time and again before anything else happens to a variable. */
    private static boolean gathers(Variable variable) {
        for (Variable.Use use : variable.uses) {
            AstNode around = isAppended(use) ? Names.repeating(use.name, variable.home.node) : null;
            if (around != null) return !isUsedIn(around, variable);
        }
        return false;
    }

    private static boolean isUsedIn(AstNode around, Variable variable) {
        for (Variable.Use use : variable.uses) {
            if (Names.isIn(use.name, around) && !isAppended(use)) return true;
        }
        return false;
    }

    /** {@code text += x;} */
    private static boolean isAppended(Variable.Use use) {
        return use.name.getParent() instanceof Assignment change && change.getType() == Token.ASSIGN_ADD
            && change.getLeft() == use.name && change.getParent() instanceof ExpressionStatement;
    }

    /** Whether a piece can be appended without a look at what is there: nothing that gives it or its text sees that. */
    static boolean appends(Variable variable, AstNode piece, Generator g) {
        boolean quiet = Quiet.is(piece, g) && (!g.names.hooks || Quiet.isPrimitive(piece, g));
        for (Variable.Use use : variable.uses) {
            boolean called = use.write && use.closure() != null && !quiet;
            if (called || Names.isIn(use.name, piece)) return false;
        }
        return true;
    }
}
