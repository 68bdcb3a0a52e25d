package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;
import org.mozilla.javascript.CompilerEnvirons;
import org.mozilla.javascript.Context;
import org.mozilla.javascript.Parser;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.AstRoot;

/** Parses a script, and says in an author's words what the parser did not take. */
final class Syntax {
    private final Source source;
    private final Diagnostics errors;

    // The parser knows no `const` in the head of a for loop. It gets `let` there; where these offsets turn out to lie in
    // text, the script is parsed once more without touching them.
    private final HashSet<Integer> constHeads = new HashSet<>();
    private final HashSet<Integer> untouched = new HashSet<>();

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
        return new Parser(settings, errors).parse(withoutConstHeads(), "source", 1);
    }

    private String withoutConstHeads() {
        constHeads.clear();
        String text = source.text;
        StringBuilder changed = null;
        for (int at = text.indexOf("const"); at >= 0; at = text.indexOf("const", at + 5)) {
            int before = skipSpaceBack(at);
            if (before < 0 || text.charAt(before) != '(') continue;
            before = skipSpaceBack(before);
            if (before < 2 || !text.startsWith("for", before - 2) || untouched.contains(at)) continue;
            if (changed == null) changed = new StringBuilder(text);
            changed.replace(at, at + 5, "let  ");
            constHeads.add(at);
        }
        return changed == null ? text : changed.toString();
    }

    private int skipSpaceBack(int at) {
        do at--; while (at >= 0 && source.text.charAt(at) <= ' ');
        return at;
    }

    /** Whether the declaration that begins here was written with `const`. */
    boolean isConstHead(int position) {
        return !constHeads.isEmpty() && constHeads.contains(position);
    }

    /** Whether a piece of text is not what its author wrote; if so, the next parse leaves it alone. */
    boolean spoiled(AstNode text) {
        if (constHeads.isEmpty()) return false;
        boolean spoiled = false;
        for (int at : new ArrayList<>(constHeads)) {
            if (at < text.getPosition() || at >= text.getPosition() + text.getLength()) continue;
            untouched.add(at);
            spoiled = true;
        }
        return spoiled;
    }

    /** A sentence for a parser's message, naming the feature where the text shows which one was meant. */
    static String explain(String text, int offset, int length, String message) {
        int at = Math.max(0, Math.min(offset, text.length()));
        String before = text.substring(Math.max(0, at - 2), at);
        String feature = feature(text, at, before, message);
        if (feature != null) return feature + " not supported";
        if (message.startsWith("TypeError: ")) message = message.substring(11);
        if (!message.equals("syntax error")) return Character.toUpperCase(message.charAt(0)) + message.substring(1);
        if (at >= text.trim().length()) return "Unexpected end of the script";
        int end = Math.min(text.length(), at + Math.max(1, Math.min(length, 20)));
        return "Unexpected token '" + text.substring(at, end) + "'";
    }

    private static String feature(String text, int at, String before, String message) {
        char c = at < text.length() ? text.charAt(at) : 0;
        if (message.endsWith(": class") || message.endsWith(": extends") || message.endsWith(": super")) return "Classes are";
        if (message.endsWith(": import") || message.endsWith(": export")) return "Modules are";
        if (message.endsWith(": await") || text.startsWith("async", at)) return "Asynchronous functions are";
        if (text.startsWith("...", at)) return "Spread and rest (...) are";
        if (before.endsWith("?") && c == '.') return "Optional chaining (?.) is";
        if (before.endsWith("?") && c == '?') return "The ?? operator is";
        if (before.equals("||") && c == '=' || before.equals("&&") && c == '=') return "Logical assignment is";
        if (message.startsWith("invalid property id") && c == '[') return "Computed property names are";
        if (message.startsWith("invalid property id") && c == '*') return "Generators are";
        if (message.startsWith("missing ( before function") && c == '=') return "Default values in destructuring are";
        if (message.startsWith("Default values")) return "Default values in destructuring are";
        if (message.startsWith("missing ) after formal") && c == '=') return "Default parameters are";
        if (message.startsWith("missing ( before catch")) return "A catch clause without a name is";
        if (message.startsWith("invalid catch") && (c == '{' || c == '[')) return "Destructuring in a catch clause is";
        return null;
    }
}
