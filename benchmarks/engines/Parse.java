import java.nio.file.Files;
import java.nio.file.Path;
import org.mozilla.javascript.CompilerEnvirons;
import org.mozilla.javascript.Context;
import org.mozilla.javascript.Parser;

/** What a translation cannot do without: the parse of a file. Without one, an empty program. */
public final class Parse {
    private Parse() {}

    public static void main(String[] files) throws Exception {
        if (files.length > 0) parse(Files.readString(Path.of(files[0])));
    }

    private static void parse(String text) {
        CompilerEnvirons settings = new CompilerEnvirons();
        settings.setLanguageVersion(Context.VERSION_ES6);
        settings.setIdeMode(true);
        settings.setRecoverFromErrors(true);
        new Parser(settings, settings.getErrorReporter()).parse(text, "source", 1);
    }
}
