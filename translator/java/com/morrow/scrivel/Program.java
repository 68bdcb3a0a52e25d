package com.morrow.scrivel;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
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
    private String lua;
    private String listing;
    private IOException unreadable;

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
        Program program = new Program(Paths.get(source));
        Thread worker = new Thread(null, program, "translator", STACK);
        worker.start();
        worker.join();
        try {
            return program.answer(Paths.get(out), Paths.get(err));
        } catch (IOException e) {
            System.err.println("Cannot write the result: " + e);
            return 2;
        }
    }

    private int answer(Path out, Path err) throws IOException {
        if (unreadable != null) {
            Files.write(err, ("Cannot read the script: " + unreadable + "\n").getBytes(StandardCharsets.UTF_8));
            return 1;
        }
        if (lua == null || errors.any()) {
            Files.write(err, errors.text().getBytes(StandardCharsets.UTF_8));
            return 1;
        }
        Files.write(out, lua.getBytes(StandardCharsets.UTF_8));
        Files.write(err, listing.getBytes(StandardCharsets.ISO_8859_1));
        return 0;
    }

    @Override
    public void run() {
        try {
            Source source = Source.read(file, errors);
            if (source != null) translate(source);
        } catch (IOException e) {
            unreadable = e;
        } catch (Generator.Refusal e) {
            if (e.node != null) errors.report(e.node, e.getMessage());
            else errors.report(0, e.getMessage());
        } catch (StackOverflowError e) {
            errors.report(0, "The script is nested too deeply to be translated");
        } catch (OutOfMemoryError e) {
            errors.report(0, "The script is too large to be translated");
        } catch (RuntimeException | Error e) {
            fault(e);
        }
    }

    private Generator generator;

    private void fault(Throwable e) {
        if (System.getProperty("scrivel.debug") != null) e.printStackTrace();
        if (errors.any()) return;
        int offset = generator == null || generator.line < 2 ? 0 : generator.source.start(generator.line);
        errors.report(offset, "The translator failed here (" + e + "); please report this script");
    }

    private void translate(Source source) {
        Syntax syntax = new Syntax(source, errors);
        AstRoot root = syntax.parse();
        if (errors.any()) return;
        Types types = new Types();
        Names names = new Names(errors, source, types);
        FunctionInfo main = names.walk(root);
        if (errors.any()) return;
        Lifetimes lifetimes = new Lifetimes(names, errors);
        lifetimes.decide();
        lifetimes.fit();
        types.infer(names);
        if (errors.any()) return;
        generator = new Generator(source, errors, names, types);
        generator.translate(root, main);
        if (!errors.any()) write(source, generator);
    }

    private void write(Source source, Generator generator) {
        LuaWriter writer = new LuaWriter(Functions.PROLOGUE + 1, source.text.length() > 300000);
        writer.write(generator.out);
        String text = writer.text();
        String js = generator.runtime.js;
        listing = "0\n1\n1\n1\n" + writer.listing();
        StringBuilder chunk = new StringBuilder(text.length() + listing.length() + 4096);
        chunk.append("local ").append(js).append(" = require(\"jsMigration.lua\")\n");
        chunk.append(js).append(".script(function() return ").append(Lua.quote(listing)).append(", ");
        chunk.append(Lua.quote(writer.functions())).append(" end)\n");
        chunk.append(generator.runtime.definitions()).append('\n').append(text);
        lua = chunk.toString();
    }
}
