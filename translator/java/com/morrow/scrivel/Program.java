package com.morrow.scrivel;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import org.mozilla.javascript.ast.AstRoot;

/**
 * Translates one JavaScript file to Lua: {@code Program SOURCE OUT ERR}. OUT takes the Lua text and ERR the line
 * listing, and the exit status is 0; or ERR takes what is wrong with the script and the exit status is 1.
 */
public final class Program implements Runnable {
    /** Deeply nested scripts recurse deeply; the memory is only reserved. */
    private static final long STACK = 1L << 29;

    private final Path file;
    private final Diagnostics errors = new Diagnostics();
    private Generator generator;
    /** The results: null where the script has faults. */
    private String lua, listing;
    private String unreadable = "";

    private Program(Path file) {
        this.file = file;
    }

    public static void main(String[] arguments) throws InterruptedException {
        if (arguments.length != 3) {
            System.err.println("usage: java -cp scrivel.jar com.morrow.scrivel.Program SOURCE OUT ERR");
            System.exit(2);
        }
        System.exit(translate(arguments[0], arguments[1], arguments[2]));
    }

    /** Translates a file; gives the exit status. */
    static int translate(String source, String out, String err) throws InterruptedException {
        Program program = new Program(Path.of(source));
        Thread worker = new Thread(null, program, "translator", STACK);
        worker.start();
        worker.join();
        boolean done = program.lua != null;
        try {
            if (done) write(out, program.lua);
            write(err, done ? program.listing : program.unreadable + program.errors.text());
            return done ? 0 : 1;
        } catch (IOException e) {
            System.err.println("Cannot write the result: " + e);
            return 2;
        }
    }

    private static void write(String file, String text) throws IOException {
        Files.write(Path.of(file), text.getBytes(StandardCharsets.UTF_8));
    }

    @Override
    public void run() {
        try {
            translate(new Source(file, errors));
        } catch (IOException e) {
            unreadable = "Cannot read the script: " + e + "\n";
        } catch (Generator.Refusal e) {
            errors.report(e.node, e.getMessage());
        } catch (StackOverflowError e) {
            errors.report(0, "The script is nested too deeply to be translated");
        } catch (OutOfMemoryError e) {
            errors.report(0, "The script is too large to be translated");
        } catch (RuntimeException | Error e) {
            fault(e);
        }
    }

    private void fault(Throwable e) {
        if (System.getProperty("scrivel.debug") != null) e.printStackTrace();
        if (errors.any()) return;
        int offset = generator == null || generator.line < 2 ? 0 : generator.source.start(generator.line);
        errors.reportToken(offset, "The translator failed here (" + e + "); please report this script");
    }

    private void translate(Source source) {
        if (source.malformed) return;
        AstRoot root = Syntax.parse(source, errors);
        if (errors.any()) return;
        Names names = new Binding(source, errors).walk(root);
        if (errors.any()) return;
        new Lifetimes(names, errors).decide();
        Types types = new Types(names);
        Appending.find(names);
        Carried.find(names);
        if (errors.any()) return;
        generator = new Generator(source, names, types);
        generator.functions.chunk(root, names.functions.get(0));
        if (!errors.any()) assemble(source);
    }

    private void assemble(Source source) {
        LuaWriter writer = new LuaWriter(Functions.PROLOGUE + 1, source.text.length() > 300000);
        writer.write(generator.out);
        String text = writer.text();
        String js = generator.runtime.js;
        listing = "0\n1\n1\n1\n" + writer.listing;
        lua = "local " + js + " = require(\"jsMigration.lua\")\n"
            + js + ".script(" + Lua.quote(listing) + ", " + Lua.quote(writer.functions.toString()) + ")\n"
            + generator.runtime.definitions() + '\n' + text;
    }
}
