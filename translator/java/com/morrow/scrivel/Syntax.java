package com.morrow.scrivel;

import org.mozilla.javascript.CompilerEnvirons;
import org.mozilla.javascript.Context;
import org.mozilla.javascript.Parser;
import org.mozilla.javascript.Token;
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
            node.setLength(length(node));
            if (parent instanceof CatchClause clause && node == clause.getBody()) node.setLength(Names.end(clause) - node.getPosition());
            if (isExpressionBody(parent)) shorten(parent, Names.end(node));
            return true;
        }

        /** The body of an arrow function that has no braces; its only statement has been placed. */
        private static boolean isExpressionBody(AstNode node) {
            return node != null && node.getType() == Token.BLOCK && node.getFirstChild() instanceof ReturnStatement only
                && only.getPosition() == node.getPosition();
        }

        /** The parser takes the token after such a body for a part of it, and of all that ends with it. */
        private static void shorten(AstNode body, int end) {
            int wrong = Names.end(body);
            for (AstNode node = body; node != null && Names.end(node) == wrong && !isClosed(node); node = node.getParent()) {
                node.setLength(end - node.getPosition());
            }
        }

        /** Ends with a bracket of its own. */
        private static boolean isClosed(AstNode node) {
            return switch (node.getType()) {
                case Token.LP, Token.ARRAYLIT, Token.OBJECTLIT, Token.CALL, Token.NEW, Token.GETELEM, Token.TEMPLATE_LITERAL,
                    Token.SWITCH -> true;
                case Token.BLOCK -> !isExpressionBody(node);
                default -> false;
            };
        }

        /** Of a statement that ends with another: as far as that goes. */
        private static int length(AstNode node) {
            // Without a semicolon, the parser ends it before its condition.
            if (node instanceof DoLoop loop) return Math.max(node.getLength(), loop.getRp() + 1);
            AstNode last = null;
            if (node instanceof Loop loop) last = loop.getBody();
            else if (node instanceof LabeledStatement labeled) last = labeled.getStatement();
            else if (node instanceof ThrowStatement thrown) last = thrown.getExpression();
            else if (node instanceof SwitchCase one && one.getStatements() != null) {
                last = one.getStatements().get(one.getStatements().size() - 1);
            } else if (node instanceof IfStatement choice) {
                last = choice.getElsePart() != null ? choice.getElsePart() : choice.getThenPart();
            }
            return last == null ? node.getLength() : last.getPosition() + length(last);
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
        if (message.endsWith(": await") || text.startsWith("async", at)) return "Asynchronous functions are";
        if (message.startsWith("invalid property id") && c == '[') return "Accessors with computed names are";
        if (message.startsWith("invalid property id") && c == '*') return "Generators are";
        return null;
    }
}
