package com.morrow.scrivel;

import org.mozilla.javascript.CompilerEnvirons;
import org.mozilla.javascript.Context;
import org.mozilla.javascript.Parser;
import org.mozilla.javascript.ast.*;

/** Parses a script, and says in an author's words what the parser did not take. */
final class Syntax {
    static final String NO_LOOP = "A continue statement needs the label of a loop around it";
    static final String END = "Unexpected end of file";

    private Syntax() {}

    /** The tree, with positions that count from the beginning of the text; what does not parse is reported. */
    static AstRoot parse(Source source, Diagnostics errors) {
        CompilerEnvirons settings = new CompilerEnvirons();
        settings.setLanguageVersion(Context.VERSION_ES6);
        settings.setRecoverFromErrors(true);
        settings.setIdeMode(true);
        settings.setXmlAvailable(false);
        ErrorCollector problems = new ErrorCollector();
        settings.setErrorReporter(problems);
        AstRoot root;
        try {
            root = new Parser(settings, problems).parse(source.text, "source", 1);
        } finally {
            for (ParseProblem problem : problems.getErrors()) report(problem, source, errors);
        }
        if (!errors.any()) root.visit(new Placing());
        return root;
    }

    private static void report(ParseProblem problem, Source source, Diagnostics errors) {
        int at = source.original(problem.getFileOffset());
        String message = explain(source.given, at, problem.getLength(), problem.getMessage());
        if (message != null && problem.getType() == ParseProblem.Type.Error) {
            errors.reportToken(at, message.startsWith("Unterminated") ? message : message + source.hint(at));
        }
    }

    /** The parser counts a node's position from its parent's, but for slips in loops within labelled statements. */
    private static final class Placing implements NodeVisitor {
        @Override
        public boolean visit(AstNode node) {
            AstNode parent = node.getParent();
            if (parent instanceof Loop loop && isMisplaced(node, loop)) node.setPosition(node.getPosition() + labelAround(loop));
            if (parent != null) node.setPosition(parent.getPosition() + node.getPosition());
            return true;
        }

        /** A condition stands behind its parenthesis, unless its place was counted from the label's. */
        private static boolean isMisplaced(AstNode node, Loop loop) {
            AstNode condition = loop instanceof WhileLoop whole ? whole.getCondition()
                : loop instanceof DoLoop whole ? whole.getCondition() : null;
            return node == condition && node.getPosition() <= loop.getLp();
        }

        private static int labelAround(AstNode node) {
            while (node != null && !(node instanceof LabeledStatement)) node = node.getParent();
            return node == null ? 0 : node.getPosition();
        }
    }

    /**
     * A sentence for a parser's message, naming the feature where the text shows which one was meant; null for what the
     * parser does not take but its tree holds whole.
     */
    static String explain(String text, int at, int length, String message) {
        if (message.startsWith("Default values") || message.startsWith("Invalid assignment left")
            || message.startsWith("Property \"") || message.contains("redeclaration of") || text.startsWith("..", at)) return null;
        String feature = feature(text, at, message);
        if (feature != null) return feature + " not supported";
        if (message.startsWith("TypeError: ")) message = message.substring(11);
        if (message.startsWith("continue can only")) return NO_LOOP;
        if (message.startsWith("XML")) return "Unexpected token 'default'";
        // What it takes for a method is most often a property that lacks its colon.
        boolean separate = message.equals("missing ; before statement");
        boolean unclear = separate || message.equals("syntax error") || message.startsWith("missing ( before function");
        if (!unclear) return Character.toUpperCase(message.charAt(0)) + message.substring(1);
        if (at >= text.stripTrailing().length()) return END;
        int end = Math.min(text.length(), at + Math.max(1, Math.min(length, 20)));
        return (separate ? "Missing ; before '" : "Unexpected token '") + text.substring(at, end) + "'";
    }

    private static String feature(String text, int at, String message) {
        char c = at < text.length() ? text.charAt(at) : 0;
        if (message.endsWith(": super")) return "The word super is";
        if (c == '.' && text.substring(0, at).stripTrailing().endsWith("new")) return "The expression new.target is";
        if (message.endsWith(": import") || message.endsWith(": export")) return "Modules are";
        if (message.endsWith(": await") || text.startsWith("async ", at)) return "Asynchronous functions are";
        if (message.startsWith("invalid property id") && c == '*') return "Generators are";
        return null;
    }
}
