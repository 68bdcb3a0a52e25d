package com.morrow.scrivel;

import org.mozilla.javascript.ast.AstNode;

/** A statement that Lua jumps over; written once where it begins and once where it ends. */
final class Span {
    /** Pieces of text that surely take less than Lua's longest jump of 32,767 instructions. */
    static final int MOST_PIECES = 45000;

    final AstNode node;
    int begun = -1;

    Span(AstNode node) {
        this.node = node;
    }
}
