package com.morrow.scrivel;

import java.util.ArrayList;
import org.mozilla.javascript.EvaluatorException;
import org.mozilla.javascript.ast.AstNode;
import org.mozilla.javascript.ast.IdeErrorReporter;

/** Collects what is wrong with a script, each fault once, in the order of the text. */
final class Diagnostics implements IdeErrorReporter {
    private static final int MOST = 100;

    private static final class Fault {
        int line;
        int column;
        String message;
        boolean fromParser;
    }

    Source source;
    private final ArrayList<Fault> faults = new ArrayList<>();

    boolean any() {
        return !faults.isEmpty();
    }

    void report(AstNode node, String message) {
        report(node.getPosition(), message);
    }

    void report(int offset, String message) {
        report(original(offset), message, false);
    }

    /** Reports a place in the author's text, where the parser may go astray as well. */
    void reportToken(int offset, String message) {
        report(offset, message, true);
    }

    private int original(int offset) {
        return source == null ? 0 : source.original(Math.max(0, Math.min(offset, source.text.length())));
    }

    private void report(int offset, String message, boolean fromParser) {
        Fault fault = new Fault();
        int line = source == null ? 1 : source.givenLine(offset);
        fault.line = source == null ? 1 : Math.min(line, source.lastLine());
        fault.column = fault.line < line ? 1 : source == null ? 1 : source.givenColumn(offset);
        fault.message = message;
        fault.fromParser = fromParser;
        int place = faults.size();
        while (place > 0 && after(faults.get(place - 1), fault)) place--;
        if (place > 0) {
            Fault previous = faults.get(place - 1);
            // A parser that went astray on a line reports it several times over: the first report is the useful one.
            if (previous.line == fault.line && (fromParser && previous.fromParser || message.equals(previous.message))) return;
        }
        if (faults.size() < MOST) faults.add(place, fault);
    }

    private static boolean after(Fault one, Fault other) {
        return one.line > other.line || one.line == other.line && one.column > other.column;
    }

    String text() {
        StringBuilder text = new StringBuilder();
        for (Fault fault : faults) {
            text.append("source(").append(fault.line).append(',').append(fault.column).append("): ");
            text.append(fault.message.replace('\n', ' ')).append('\n');
        }
        return text.toString();
    }

    @Override
    public void error(String message, String name, int offset, int length) {
        String explained = Syntax.explain(source.given, original(offset), length, message);
        if (explained != null) report(original(offset), explained, true);
    }

    @Override
    public void error(String message, String name, int line, String text, int column) {
        error(message, name, column, 1);
    }

    @Override
    public void warning(String message, String name, int offset, int length) {}

    @Override
    public void warning(String message, String name, int line, String text, int column) {}

    @Override
    public EvaluatorException runtimeError(String message, String name, int line, String text, int column) {
        return new EvaluatorException(message, name, line, text, column);
    }
}
