package com.morrow.scrivel;

/** Where a function of the script begins, for the table that the support library reads. */
final class FunctionRow {
    final String name;
    final int length;
    final char kind;

    FunctionRow(String name, int length, char kind) {
        this.name = name;
        this.length = length;
        this.kind = kind;
    }
}
