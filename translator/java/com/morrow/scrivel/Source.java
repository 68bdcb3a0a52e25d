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
    String text;
    private int[] starts = new int[256];
    private int lines;

    /** Reads a UTF-8 file; a malformed sequence is reported with its place and gives null. */
    static Source read(Path file, Diagnostics errors) throws IOException {
        ByteBuffer bytes = ByteBuffer.wrap(Files.readAllBytes(file));
        CharBuffer chars = CharBuffer.allocate(bytes.remaining() + 1);
        CharsetDecoder decoder = StandardCharsets.UTF_8.newDecoder();
        CoderResult result = decoder.decode(bytes, chars, true);
        chars.flip();
        Source source = new Source(chars.toString());
        errors.source = source;
        if (!result.isError()) return source;
        errors.report(source.text.length(), "The text is not valid UTF-8 from here on; save the file as UTF-8");
        return null;
    }

    Source(String given) {
        text = given.startsWith("\uFEFF") ? " " + given.substring(1) : given;
        lines = 1;
        for (int at = text.indexOf('\n'); at >= 0; at = text.indexOf('\n', at + 1)) {
            if (lines == starts.length) starts = Arrays.copyOf(starts, 2 * lines);
            starts[lines++] = at + 1;
        }
    }

    int line(int offset) {
        int found = Arrays.binarySearch(starts, 0, lines, offset);
        return found >= 0 ? found + 1 : -found - 1;
    }

    int start(int line) {
        return starts[line - 1];
    }

    int column(int offset) {
        return offset - starts[line(offset) - 1] + 1;
    }

    /** The last line that holds anything; a line feed that ends the file begins no line. */
    int lastLine() {
        return lines > 1 && starts[lines - 1] == text.length() ? lines - 1 : lines;
    }
}
