package com.morrow.scrivel;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharsetDecoder;
import java.nio.charset.CoderResult;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

/** A script's text, and where in it an offset lies. Lines and columns count from 1; lines end at a line feed, as for the host. */
final class Source {
    /** As its author wrote it, and as the parser reads it: lines are the same, offsets may differ. */
    final String given;
    String text;
    private final int[] givenStarts;
    private int[] starts;
    private Rewriting rewriting;

    /** Reads a UTF-8 file; a malformed sequence is reported with its place and gives null. */
    static Source read(Path file, Diagnostics errors) throws IOException {
        ByteBuffer bytes = ByteBuffer.wrap(Files.readAllBytes(file));
        CharBuffer chars = CharBuffer.allocate(bytes.remaining() + 1);
        CharsetDecoder decoder = StandardCharsets.UTF_8.newDecoder();
        CoderResult result = decoder.decode(bytes, chars, true);
        chars.flip();
        Source source = new Source(chars.toString());
        errors.source = source;
        if (!result.isError()) {
            source.rewrite(errors);
            return source;
        }
        errors.reportToken(source.given.length(), "The text is not valid UTF-8 from here on; save the file as UTF-8");
        return null;
    }

    private Source(String read) {
        given = read.startsWith("\uFEFF") ? " " + read.substring(1) : read;
        text = given;
        givenStarts = starts = lineStarts(given);
    }

    private void rewrite(Diagnostics errors) {
        rewriting = new Rewriting(given, errors);
        text = rewriting.apply(given);
        if (text != given) starts = lineStarts(text);
    }

    private static int[] lineStarts(String text) {
        int[] starts = new int[256];
        int lines = 1;
        for (int at = text.indexOf('\n'); at >= 0; at = text.indexOf('\n', at + 1)) {
            if (lines == starts.length) starts = Arrays.copyOf(starts, 2 * lines);
            starts[lines++] = at + 1;
        }
        return Arrays.copyOf(starts, lines);
    }

    int line(int offset) {
        return line(starts, offset);
    }

    private static int line(int[] starts, int offset) {
        int found = Arrays.binarySearch(starts, offset);
        return found >= 0 ? found + 1 : -found - 1;
    }

    int start(int line) {
        return starts[line - 1];
    }

    /** Where an offset of the parser's text lies in the author's. */
    int original(int offset) {
        return rewriting == null ? offset : rewriting.original(offset);
    }

    /** What the author wrote where the parser got something else; null where it did not. */
    String note(int offset) {
        return rewriting.note(offset);
    }

    // Lines and columns of offsets in the author's text.

    int givenLine(int offset) {
        return line(givenStarts, offset);
    }

    int givenColumn(int offset) {
        return offset - givenStarts[givenLine(offset) - 1] + 1;
    }

    /** The last line that holds anything; a line feed that ends the file begins no line. */
    int lastLine() {
        int lines = givenStarts.length;
        return lines > 1 && givenStarts[lines - 1] == given.length() ? lines - 1 : lines;
    }
}
