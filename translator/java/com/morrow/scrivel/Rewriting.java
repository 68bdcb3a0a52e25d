package com.morrow.scrivel;

import java.util.Arrays;
import java.util.HashMap;

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
 * for (const a ...   for (let   a ...           with a note of the word
 * catch {            catch (ʭ) {
 * catch ({a}) {      catch (ʭ if {a}) {
 * </pre>
 */
final class Rewriting implements Tokens.Edits {
    static final char MARK = '\u02AD';
    static final String SPREAD = String.valueOf(MARK), KEY = MARK + "k", VALUE = MARK + "v";

    private int count;
    private int[] froms = new int[64];
    private int[] tos = new int[64];
    private String[] texts = new String[64];
    /** Where each replacement begins in the text for the parser. */
    private int[] places = new int[64];

    /** By their offsets in the author's text: the operators that stand for another, and the words. */
    private final HashMap<Integer, String> notes = new HashMap<>();
    private final Diagnostics errors;
    private final Tokens tokens;

    /** The first of an array literal's elements that makes it a parameter with a default value or a rest parameter. */
    static boolean isMark(org.mozilla.javascript.ast.AstNode node) {
        return node instanceof org.mozilla.javascript.ast.Name && ((org.mozilla.javascript.ast.Name) node).getIdentifier().equals(SPREAD);
    }

    Rewriting(String given, Diagnostics errors) {
        this.errors = errors;
        tokens = new Tokens(given, errors, this);
        for (int i = 0; i < tokens.count; i++) token(i);
    }

    /** What an operator or a word was before; null when it is as it was written. */
    String note(int offset) {
        return notes.isEmpty() ? null : notes.get(original(offset));
    }

    // -- edits

    @Override
    public void replace(int from, int to, String by) {
        if (count == froms.length) {
            froms = Arrays.copyOf(froms, 2 * count);
            tos = Arrays.copyOf(tos, 2 * count);
            texts = Arrays.copyOf(texts, 2 * count);
        }
        int at = count++;
        for (; at > 0 && (froms[at - 1] > from || from == to && froms[at - 1] == from && tos[at - 1] > from); at--) {
            froms[at] = froms[at - 1];
            tos[at] = tos[at - 1];
            texts[at] = texts[at - 1];
        }
        froms[at] = from;
        tos[at] = to;
        texts[at] = by;
    }

    private void insert(int at, String what) {
        replace(at, at, what);
    }

    /** The text for the parser. */
    String apply(String given) {
        if (count == 0) return given;
        StringBuilder changed = new StringBuilder(given.length() + 8 * count);
        places = new int[count];
        int done = 0;
        for (int i = 0; i < count; i++) {
            changed.append(given, done, froms[i]);
            places[i] = changed.length();
            changed.append(texts[i]);
            done = tos[i];
        }
        return changed.append(given, done, given.length()).toString();
    }

    /** The place in the author's text of an offset in the parser's. */
    int original(int offset) {
        if (count == 0) return offset;
        int found = Arrays.binarySearch(places, 0, count, offset);
        int i = found >= 0 ? found : -found - 2;
        while (i + 1 < count && places[i + 1] == offset) i++;
        if (i < 0) return offset;
        int into = offset - places[i];
        return into < texts[i].length() ? Math.min(tos[i], froms[i] + into) : tos[i] + into - texts[i].length();
    }

    // -- tokens

    private void token(int i) {
        Tokens t = tokens;
        int start = t.starts[i], end = t.ends[i];
        switch (t.kinds[i]) {
            case Tokens.NAME:
                if (t.escaped.containsKey(i) && actsAsKeyword(i)) {
                    errors.reportToken(start, "Keyword must not contain escaped characters");
                } else if (isKey(i) && t.is(i + 1, '=')) {
                    notes.put(start, "=");
                    insert(end, ": " + t.word(i));
                }
                return;
            case Tokens.KEYWORD:
                keyword(i);
                return;
            case '(':
                if (t.partners[i] > 0 && isParameters(i)) parameters(i, t.partners[i]);
                return;
            case '[':
                if (t.partners[i] > 0) computed(i, t.partners[i]);
                return;
            case Tokens.SPREAD:
                if (!isLast(i)) notes.put(start, ",");
                replace(start, end, t.inObject(i) ? MARK + " :" : MARK + " =");
                return;
            case Tokens.OPTIONAL:
                replace(start, end, t.is(i + 1, Tokens.NAME) ? "." + MARK + "." : "." + MARK);
                return;
            case Tokens.NULLISH: case Tokens.LOGICAL_ASSIGN:
                notes.put(start, t.word(i));
                replace(start, end, t.kinds[i] == Tokens.NULLISH ? "||" : "|= ");
                return;
            default:
        }
    }

    private boolean actsAsKeyword(int i) {
        Tokens t = tokens;
        if (isKey(i) && (t.is(i + 1, ':') || t.is(i + 1, '('))) return false;
        boolean word = t.is(i + 1, Tokens.NAME) || t.is(i + 1, Tokens.STRING) || t.is(i + 1, Tokens.NUMBER) || t.is(i + 1, '[');
        return Tokens.isReserved(t.escaped.get(i)) || word;
    }

    /** The first token of a property. */
    private boolean isKey(int i) {
        return tokens.inObject(i) && (tokens.is(i - 1, '{') || tokens.is(i - 1, ','));
    }

    private void keyword(int i) {
        Tokens t = tokens;
        if (t.is(i, "for") && t.is(i + 1, '(') && t.is(i + 2, "const")) {
            notes.put(t.starts[i + 2], "const");
            replace(t.starts[i + 2], t.ends[i + 2], "let  ");
        } else if (t.is(i, "catch") && t.is(i + 1, '{')) insert(t.ends[i], "(" + MARK + ")");
        else if (t.is(i, "catch") && t.is(i + 1, '(') && (t.is(i + 2, '{') || t.is(i + 2, '['))) {
            notes.put(t.starts[i + 2], "catch");
            insert(t.starts[i + 2], MARK + " if ");
        }
    }

    /** Whether no comma follows a spread element. */
    private boolean isLast(int i) {
        Tokens t = tokens;
        int bracket = t.around[i];
        for (i++; i < t.count && t.around[i] == bracket; i++) {
            if (t.is(i, ',')) return false;
            if (t.partners[i] > i) i = t.partners[i];
        }
        return true;
    }

    private boolean isParameters(int i) {
        Tokens t = tokens;
        if (t.is(i - 1, "function") || t.is(i - 2, "function") || t.is(t.partners[i] + 1, Tokens.ARROW)) return true;
        return t.inObject(i) && t.is(t.partners[i] + 1, '{');
    }

    private void parameters(int open, int close) {
        Tokens t = tokens;
        int first = open + 1;
        boolean changed = t.is(first, Tokens.SPREAD);
        for (int i = first; i <= close; i++) {
            if (i == close || t.is(i, ',')) {
                if (i < close && t.is(first, Tokens.SPREAD)) errors.reportToken(t.starts[first], "Rest parameter must be last formal parameter");
                if (changed && i > first) {
                    insert(t.starts[first], "[" + MARK + ",");
                    insert(t.ends[i - 1], "]");
                }
                if (i == close && i == first && i > open + 1) replace(t.starts[i - 1], t.ends[i - 1], " ");
                first = i + 1;
                changed = t.is(first, Tokens.SPREAD);
            } else if (t.is(i, '=')) changed = true;
            else if (t.partners[i] > i) i = t.partners[i];
        }
    }

    private void computed(int open, int close) {
        Tokens t = tokens;
        boolean accessor = isKey(open - 1) && (t.is(open - 1, "get") || t.is(open - 1, "set")) && t.is(close + 1, '(');
        if (accessor) replace(t.starts[open - 1], t.ends[open - 1], KEY + ":");
        else if (isKey(open) && (t.is(close + 1, ':') || t.is(close + 1, '('))) insert(t.starts[open], KEY + ":");
        else return;
        if (t.is(close + 1, ':')) replace(t.starts[close + 1], t.ends[close + 1], "," + VALUE + ":");
        else insert(t.starts[close + 1], "," + (accessor ? t.word(open - 1) + " " : "") + VALUE);
    }
}
