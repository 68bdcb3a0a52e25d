package com.morrow.scrivel;

import java.io.PrintStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;

/** Translates many scripts in one JVM: {@code Batch LIST}, where each line of LIST is SOURCE, OUT and ERR, tab between. */
public final class Batch {
    public static void main(String[] arguments) throws Exception {
        Path list = Paths.get(arguments[0]);
        PrintStream statuses = new PrintStream(Files.newOutputStream(Paths.get(arguments[0] + ".statuses")));
        for (String line : Files.readAllLines(list)) {
            String[] part = line.split("\t");
            statuses.println(Program.translate(part[0], part[1], part[2]));
        }
        statuses.close();
    }
}
