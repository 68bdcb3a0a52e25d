package com.morrow.scrivel;

/** A list of statements that can still take one in the middle: operands are saved before what would change them. */
final class Block {
    static final class Link {
        final Object code;
        Link next;

        Link(Object code) {
            this.code = code;
        }
    }

    final Link head = new Link(null);
    private Link last = head;

    Link mark() {
        return last;
    }

    boolean grownSince(Link mark) {
        return last != mark;
    }

    boolean isEmpty() {
        return last == head;
    }

    void add(Code code) {
        insert(last, code);
    }

    void add(String text) {
        insert(last, Code.of(text));
    }

    void add(Block block) {
        if (!block.isEmpty()) insert(last, block);
    }

    /** Puts a statement after a mark; gives the mark after it. */
    Link insert(Link mark, Object code) {
        Link link = new Link(code);
        link.next = mark.next;
        mark.next = link;
        if (last == mark) last = link;
        return link;
    }
}
