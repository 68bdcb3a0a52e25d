package com.morrow.scrivel;

/** Where a function of the script begins, for the table that the support library reads. */
record FunctionRow(String name, int length, char kind) {}
