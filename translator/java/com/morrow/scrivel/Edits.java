package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.Arrays;

/** Changes to a text, and the way back from an offset in the changed text to the one in the text as it was given. */
final class Edits {
    /** At one place, what is inserted comes before what is replaced; the rest stays in the order in which it was asked for. */
    private record Edit(int from, int to, String by) implements Comparable<Edit> {
        @Override
        public int compareTo(Edit other) {
            return from != other.from ? Integer.compare(from, other.from) : Boolean.compare(from < to, other.from < other.to);
        }
    }

    private final ArrayList<Edit> edits = new ArrayList<>();
    /** Where each replacement begins in the changed text. */
    private int[] places = {};

    void replace(int from, int to, String by) {
        edits.add(new Edit(from, to, by));
    }

    void insert(int at, String what) {
        replace(at, at, what);
    }

    /** The changed text; the given one itself when nothing changes. */
    String apply(String given) {
        if (edits.isEmpty()) return given;
        edits.sort(null);
        places = new int[edits.size()];
        StringBuilder changed = new StringBuilder(given.length() + 8 * places.length);
        int done = 0;
        for (int i = 0; i < places.length; i++) {
            Edit edit = edits.get(i);
            changed.append(given, done, edit.from);
            places[i] = changed.length();
            changed.append(edit.by);
            done = edit.to;
        }
        return changed.append(given, done, given.length()).toString();
    }

    int original(int offset) {
        int found = Arrays.binarySearch(places, offset);
        int i = found >= 0 ? found : -found - 2;
        while (i + 1 < places.length && places[i + 1] == offset) i++;
        if (i < 0) return offset;
        Edit edit = edits.get(i);
        int into = offset - places[i], length = edit.by.length();
        return into < length ? Math.min(edit.to, edit.from + into) : edit.to + into - length;
    }
}
