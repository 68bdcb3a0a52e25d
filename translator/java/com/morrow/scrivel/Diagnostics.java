package com.morrow.scrivel;

import java.util.ArrayList;
import org.mozilla.javascript.ast.AstNode;

/** Collects what is wrong with a script, each fault once, in the order of the text. */
final class Diagnostics {
    private static final int MOST = 100;

    private record Fault(int line, int column, int lastLine, String message, boolean fromParser) {
        boolean isAfter(Fault other) {
            return line > other.line || line == other.line && column > other.column;
        }

        /** A parser that went astray reports it several times over: the first report is the useful one. */
        boolean repeats(Fault other) {
            boolean within = line >= other.line && line <= other.lastLine;
            return within && (fromParser && other.fromParser || message.equals(other.message));
        }
    }

    /** Null until it has been read; faults then have no place. */
    Source source;
    private final ArrayList<Fault> faults = new ArrayList<>();

    boolean any() {
        return !faults.isEmpty();
    }

    /** Reports a node, or the script as a whole for null. */
    void report(AstNode node, String message) {
        report(node == null ? 0 : node.getPosition(), message);
    }

    /** Reports a place in the parser's text. */
    void report(int offset, String message) {
        int at = source == null ? 0 : source.original(offset);
        report(at, at, message, false);
    }

    /** Reports a place in the author's text, where the parser may go astray as well. */
    void reportToken(int offset, String message) {
        reportTokens(offset, offset, message);
    }

    /** Reports a part of the author's text, where the parser goes astray. */
    void reportTokens(int offset, int end, String message) {
        report(offset, end, message, true);
    }

    private void report(int offset, int end, String message, boolean fromParser) {
        int line = source == null ? 1 : source.givenLine(offset), last = source == null ? 1 : source.lastLine();
        int column = source == null || line > last ? 1 : source.givenColumn(offset);
        int lastLine = source == null ? 1 : source.givenLine(end);
        Fault fault = new Fault(Math.min(line, last), column, lastLine, message, fromParser);
        faults.removeIf(other -> other.line > fault.line && other.repeats(fault));
        int place = faults.size();
        while (place > 0 && faults.get(place - 1).isAfter(fault)) place--;
        boolean repeated = place > 0 && fault.repeats(faults.get(place - 1));
        if (!repeated && faults.size() < MOST) faults.add(place, fault);
    }

    String text() {
        StringBuilder text = new StringBuilder();
        for (Fault fault : faults) {
            text.append("source(").append(fault.line).append(',').append(fault.column).append("): ");
            text.append(fault.message.replace('\n', ' ')).append('\n');
        }
        return text.toString();
    }
}
