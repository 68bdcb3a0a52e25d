package com.morrow.scrivel;

import com.morrow.scrivel.Tokens.Token;
import java.util.HashMap;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.Name;

/**
 * Writes what is newer than the parser in a form that the parser takes, so that one walk over one tree sees all of the
 * language. No line is added or removed, and every offset leads back to the text as its author wrote it.
 *
 * <pre>
 * f(a = 1, ...b)     f([ʭ,a = 1], [ʭ,ʭ =b])     in a list of parameters
 * [...a]  f(...a)    [ʭ =a]  f(ʭ =a)
 * {...a}  {[k]: v}   {ʭ :a}  {ʭk:[k],ʭv: v}
 * {a = 1}            {a: a = 1}
 * a?.b  a?.[k]       a.ʭ.b  a.ʭ[k]
 * a ?? b  a ??= b    a || b  a |=  b            with a note of the operator
 * let a  const a     var a  var   a             with a note of the word
 * catch {            catch (ʭ) {
 * catch ({a}) {      catch (ʭ if {a}) {
 * </pre>
 */
final class Rewriting {
    static final char MARK = '\u02AD';
    static final String SPREAD = String.valueOf(MARK), KEY = MARK + "k", VALUE = MARK + "v";

    /** By their offsets in the author's text: the operators that stand for another, and the words. */
    final HashMap<Integer, String> notes = new HashMap<>();
    private final Diagnostics errors;
    private final Edits edits;
    final Tokens tokens;

    Rewriting(String given, Diagnostics errors, Edits edits) {
        this.errors = errors;
        this.edits = edits;
        tokens = new Tokens(given, errors, edits);
        for (Token t = tokens.first.after; t != tokens.end; t = t.after) {
            pairs(given, t);
            token(t);
        }
    }

    /** The first of an array literal's elements that makes it a parameter with a default value or a rest parameter. */
    static boolean isMark(AstNode node) {
        return node instanceof Name name && name.getIdentifier().equals(SPREAD);
    }

    private void replace(Token t, String by) {
        edits.replace(t.start, t.end, by);
    }

    private void token(Token t) {
        switch (t.kind) {
            case Tokens.NAME -> name(t);
            case Tokens.KEYWORD -> keyword(t);
            case '(' -> {
                if (t.opens() && isParameters(t)) parameters(t);
            }
            case '[' -> {
                if (t.opens()) computed(t);
            }
            case Tokens.DOT -> {
                if (!t.after.is(Tokens.NAME)) unexpected(t.after);
            }
            case Tokens.SPREAD -> {
                boolean begins = t.before.is('(') || t.before.is('[') || t.before.is('{') || t.before.is(',');
                if (!begins || t.around.is('{') && !t.inObject()) unexpected(t);
                if (!isLast(t)) notes.put(t.start, ",");
                replace(t, t.inObject() ? MARK + " :" : MARK + " =");
            }
            case Tokens.OPTIONAL -> {
                boolean member = t.after.is(Tokens.NAME);
                if (!member && !t.after.is('(') && !t.after.is('[')) unexpected(t.after);
                replace(t, member ? "." + MARK + "." : "." + MARK);
            }
            case Tokens.NULLISH, Tokens.LOGICAL_ASSIGN -> {
                notes.put(t.start, t.text());
                replace(t, t.is(Tokens.NULLISH) ? "||" : "|= ");
            }
            default -> {}
        }
    }

    private void name(Token t) {
        boolean named = isKey(t) && (t.after.is(':') || t.after.is('(')) || t.before.is(Tokens.DOT) || t.before.is(Tokens.OPTIONAL);
        boolean arrow = t.after.after.is(Tokens.ARROW);
        if (t.escaped != null && actsAsKeyword(t)) {
            errors.reportToken(t.start, "Keyword must not contain escaped characters");
        } else if (t.is("await") && !named) {
            errors.reportToken(t.start, "Asynchronous functions, and await as a name, are not supported");
        } else if (t.is("async") && (t.after.is("function") || t.after.is(Tokens.NAME) && (isKey(t) || arrow))) {
            errors.reportToken(t.start, "Asynchronous functions are not supported");
        } else if (isKey(t) && t.after.is('=')) {
            notes.put(t.start, "=");
            edits.insert(t.end, ": " + t.text());
        }
    }

    /** Some parsers count a pair of surrogates as one character: it becomes two escapes. */
    private void pairs(String given, Token t) {
        for (int i = t.start; i < t.end; i++) {
            char c = given.charAt(i);
            if (Character.isSurrogate(c) && given.charAt(i - 1) != '\\') edits.replace(i, i + 1, "\\u" + Integer.toHexString(c));
        }
    }

    private void unexpected(Token t) {
        errors.reportToken(t.start, t.start == t.end ? Syntax.END : "Unexpected token '" + t.text() + "'");
    }

    private boolean actsAsKeyword(Token t) {
        Token next = t.after;
        if (isKey(t) && (next.is(':') || next.is('('))) return false;
        boolean word = next.is(Tokens.NAME) || next.is(Tokens.STRING) || next.is(Tokens.NUMBER) || next.is('[');
        return word || Tokens.isReserved(t.escaped);
    }

    /** The first token of a property. */
    private static boolean isKey(Token t) {
        return t.inObject() && (t.before.is('{') || t.before.is(','));
    }

    private void keyword(Token t) {
        if (isKey(t) || t.inObject() && isKey(t.before)) return;
        Token second = t.after.after;
        if (t.is("for") && t.after.opens()) head(t.after);
        if (t.is("class")) refuseClass(t);
        if (t.is("const") || t.is("let") && (t.after.is(Tokens.NAME) || t.after.is('[') || t.after.is('{'))) {
            notes.put(t.start, t.text());
            replace(t, t.is("let") ? "var" : "var  ");
        } else if (t.is("catch") && t.after.is('{')) edits.insert(t.end, "(" + MARK + ")");
        else if (t.is("catch") && t.after.is('(') && (second.is('{') || second.is('['))) {
            notes.put(second.start, "catch");
            edits.insert(second.start, MARK + " if ");
        }
    }

    private void refuseClass(Token word) {
        Token body = word.after.is(Tokens.NAME) ? word.after.after : word.after;
        if (body.is("extends")) while (!body.is('{') && body != tokens.end) body = body.next();
        errors.reportTokens(word.start, body.opens() ? body.partner.end : word.end, "Classes are not supported");
    }

    /** The parser overlooks a name at the end of the first part of a for loop's head. */
    private void head(Token open) {
        Token t = open.after;
        while (t != open.partner && !t.is(';')) t = t.next();
        boolean doubled = t.before.is(Tokens.NAME) && Tokens.isOperand(t.before.before);
        if (t.is(';') && doubled) unexpected(t.before);
    }

    /** Whether no comma follows a spread element. */
    private static boolean isLast(Token spread) {
        for (Token t = spread.after; t.around == spread.around; t = t.next()) if (t.is(',')) return false;
        return true;
    }

    private static boolean isParameters(Token open) {
        Token next = open.partner.after, word = open.before.is(Tokens.NAME) ? open.before.before : open.before;
        if (word.is(Tokens.KEYWORD) && word.is("function") && !word.before.is(Tokens.DOT)) return true;
        return next.is(Tokens.ARROW) || open.inObject() && next.is('{');
    }

    private void parameters(Token open) {
        Token first = open.after, close = open.partner;
        boolean changed = first.is(Tokens.SPREAD);
        for (Token t = first; t != close.after; t = t.next()) {
            if (t == close || t.is(',')) {
                boolean early = t != close && first.is(Tokens.SPREAD);
                if (early) errors.reportToken(first.start, "Rest parameter must be last formal parameter");
                if (changed && t != first) {
                    edits.insert(first.start, "[" + MARK + ",");
                    edits.insert(t.before.end, "]");
                }
                if (t == close && t == first && t.before != open && t.before.before != open) replace(t.before, " ");
                first = t.after;
                changed = first.is(Tokens.SPREAD);
            } else if (t.is('=')) changed = true;
        }
    }

    private void computed(Token open) {
        Token inner = open.after;
        while (inner != open.partner && !inner.is(',') && !inner.is(Tokens.SPREAD)) inner = inner.next();
        boolean single = inner == open.partner && inner != open.after;
        Token word = open.before, next = open.partner.after;
        boolean accessor = isKey(word) && (word.is("get") || word.is("set")) && next.is('(');
        if (accessor) replace(word, KEY + ":");
        else if (isKey(open) && (next.is(':') || next.is('('))) edits.insert(open.start, KEY + ":");
        else return;
        if (!single) unexpected(inner);
        if (next.is(':')) replace(next, "," + VALUE + ":");
        else edits.insert(next.start, "," + (accessor ? word.text() + " " : "") + VALUE);
    }
}
