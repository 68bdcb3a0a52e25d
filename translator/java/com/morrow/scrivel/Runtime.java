package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.List;

/**
 * What a script uses of the support library, as locals of the chunk: its functions, and a table of its literals' shapes.
 * Where a Lua function would need too many of them, it reaches the rest through the library's table.
 */
final class Runtime {
    private static final int MOST_LOCALS = 50;
    private static final int MOST_A_FUNCTION = 20;

    private final HashSet<String> taken;
    private final LinkedHashMap<String, String> locals = new LinkedHashMap<>();
    private final ArrayList<String> values = new ArrayList<>();
    private final LinkedHashMap<String, Integer> shapes = new LinkedHashMap<>();
    /** The library's table, and that of the shapes. */
    final String js;
    private final String shapesName;

    Runtime(HashSet<String> taken) {
        this.taken = taken;
        js = free("js");
        shapesName = free("shapes");
    }

    /** A name that no variable of the script has. */
    private String free(String name) {
        return taken.contains(name) ? name + Lua.CHANGED : name;
    }

    /** A library function as a function of the script reaches it. */
    String name(String name, FunctionInfo user) {
        boolean isLua = name.equals("setmetatable") || name.equals("type");
        String value = isLua ? name : js + '.' + name;
        if (!fits(name, user) && !(isLua && taken.contains(name))) return value;
        String local = locals.get(name);
        if (local != null) return local;
        local = name.equals("arguments") ? name + Lua.CHANGED : free(name);
        locals.put(name, local);
        values.add(value);
        return local;
    }

    private boolean fits(String name, FunctionInfo user) {
        if (!locals.containsKey(name) && locals.size() >= MOST_LOCALS) return false;
        for (FunctionInfo f = user; f.parent != null; f = f.parent) {
            if (!f.runtime.contains(name) && f.runtime.size() >= MOST_A_FUNCTION) return false;
        }
        for (FunctionInfo f = user; f.parent != null; f = f.parent) f.runtime.add(name);
        return true;
    }

    /** The shape with some keys. */
    String shape(List<String> keys) {
        StringBuilder list = new StringBuilder(js + ".shape(");
        for (int i = 0; i < keys.size(); i++) list.append(i == 0 ? "" : ", ").append(Lua.quote(keys.get(i)));
        String made = list.append("), ").toString();
        shapes.putIfAbsent(made, shapes.size() + 1);
        return shapesName + '[' + shapes.get(made) + ']';
    }

    /** One Lua line that defines all that was asked for. */
    String definitions() {
        String names = String.join(", ", locals.values());
        String functions = names.isEmpty() ? "" : "local " + names + " = " + String.join(", ", values) + "; ";
        return functions + (shapes.isEmpty() ? "" : "local " + shapesName + " = {" + String.join("", shapes.keySet()) + '}');
    }
}
