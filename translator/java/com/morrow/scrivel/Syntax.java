package com.morrow.scrivel;

import org.mozilla.javascript.CompilerEnvirons;
import org.mozilla.javascript.Context;
import org.mozilla.javascript.Parser;
import org.mozilla.javascript.ast.AstRoot;

/** Parses a script, and says in an author's words what the parser did not take. */
final class Syntax {
    private final Source source;
    private final Diagnostics errors;

    Syntax(Source source, Diagnostics errors) {
        this.source = source;
        this.errors = errors;
    }

    AstRoot parse() {
        CompilerEnvirons settings = new CompilerEnvirons();
        settings.setLanguageVersion(Context.VERSION_ES6);
        settings.setRecoverFromErrors(true);
        settings.setIdeMode(true);
        settings.setXmlAvailable(false);
        settings.setErrorReporter(errors);
        return new Parser(settings, errors).parse(source.text, "source", 1);
    }

    /**
     * A sentence for a parser's message, naming the feature where the text shows which one was meant; null for what the
     * parser does not take but its tree holds whole.
     */
    static String explain(String text, int offset, int length, String message) {
        if (message.startsWith("Default values") || message.startsWith("Invalid assignment left") || message.startsWith("Property \"")
            || message.contains("redeclaration of")) return null;
        int at = offset;
        String feature = feature(text, at, message);
        if (feature != null) return feature + " not supported";
        if (message.startsWith("TypeError: ")) message = message.substring(11);
        if (!message.equals("syntax error")) return Character.toUpperCase(message.charAt(0)) + message.substring(1);
        if (at >= text.trim().length()) return "Unexpected end of the script";
        int end = Math.min(text.length(), at + Math.max(1, Math.min(length, 20)));
        return "Unexpected token '" + text.substring(at, end) + "'";
    }

    private static String feature(String text, int at, String message) {
        char c = at < text.length() ? text.charAt(at) : 0;
        if (message.endsWith(": class") || message.endsWith(": extends") || message.endsWith(": super")) return "Classes are";
        if (message.endsWith(": import") || message.endsWith(": export")) return "Modules are";
        if (message.endsWith(": await") || text.startsWith("async", at)) return "Asynchronous functions are";
        if (message.startsWith("invalid property id") && c == '[') return "Accessors with computed names are";
        if (message.startsWith("invalid property id") && c == '*') return "Generators are";
        return null;
    }
}
