package com.morrow.scrivel;

/** A list of statements that can still take one in the middle: operands are saved before what would change them. */
final class Block {
    static final class Link {
        final Object code;
        Link next;

        Link(Object code, Link next) {
            this.code = code;
            this.next = next;
        }
    }

    final Link head = new Link(null, null);
    private Link last = head;
    /** That of all its code. */
    int size;

    Link mark() {
        return last;
    }

    boolean isEmpty() {
        return last == head;
    }

    /** Adds a statement of {@link Code#add parts}. */
    void add(Object... parts) {
        insert(last, Code.of(parts));
    }

    void add(Block block) {
        if (block.isEmpty()) return;
        link(last, block);
        size += block.size;
    }

    /** Puts a statement after a mark. */
    void insert(Link mark, Code code) {
        link(mark, code);
        size += code.size;
    }

    private void link(Link mark, Object code) {
        Link link = new Link(code, mark.next);
        mark.next = link;
        if (last == mark) last = link;
    }
}
