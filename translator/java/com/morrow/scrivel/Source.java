package com.morrow.scrivel;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collections;

/**
 * A script's text as its author wrote it, and as the parser reads it: lines are the same, offsets may differ. Lines and
 * columns count from 1; lines end at a line feed, as for the host.
 */
final class Source {
    final String given;
    String text;
    /** Not UTF-8, which has been reported. */
    final boolean malformed;
    /** Where in the author's text the lines begin. */
    private final ArrayList<Integer> starts = new ArrayList<>();
    private final Edits edits = new Edits();
    private Rewriting rewriting;

    /** Reads a file; what is malformed or no token is reported with its place. */
    Source(Path file, Diagnostics errors) throws IOException {
        ByteBuffer bytes = ByteBuffer.wrap(Files.readAllBytes(file));
        CharBuffer chars = CharBuffer.allocate(bytes.remaining() + 1);
        malformed = StandardCharsets.UTF_8.newDecoder().decode(bytes, chars, true).isError();
        String read = chars.flip().toString();
        given = text = read.startsWith("\uFEFF") ? " " + read.substring(1) : read;
        starts.add(0);
        for (int at = given.indexOf('\n'); at >= 0; at = given.indexOf('\n', at + 1)) starts.add(at + 1);
        errors.source = this;
        if (malformed) errors.reportToken(given.length(), "The text is not valid UTF-8 from here on; save the file as UTF-8");
        else {
            rewriting = new Rewriting(given, errors, edits);
            text = edits.apply(given);
        }
    }

    /** The line of an offset in the parser's text. */
    int line(int offset) {
        return givenLine(edits.original(offset));
    }

    /** Where an offset of the parser's text lies in the author's. */
    int original(int offset) {
        return edits.original(Math.max(0, Math.min(offset, text.length())));
    }

    /** What the author wrote, an operator or a word, where the parser got something else; null where it did not. */
    String note(int offset) {
        return rewriting.notes.get(edits.original(offset));
    }

    /** What to add to the message of a fault at this place of the author's text: at its end, the bracket that is open. */
    String hint(int at) {
        Tokens.Token open = rewriting.tokens.unclosed;
        if (open == null || at < rewriting.tokens.end.before.start) return "";
        int bracket = open.end - 1;
        return "; " + given.charAt(bracket) + " of line " + givenLine(bracket) + " is not closed";
    }

    // In the author's text.

    int start(int line) {
        return starts.get(line - 1);
    }

    int givenLine(int offset) {
        int found = Collections.binarySearch(starts, offset);
        return found >= 0 ? found + 1 : -found - 1;
    }

    int givenColumn(int offset) {
        return offset - start(givenLine(offset)) + 1;
    }

    /** The last line that holds anything; a line feed that ends the file begins no line. */
    int lastLine() {
        return Math.max(1, givenLine(given.length() - 1));
    }
}
