package com.morrow.scrivel;

import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;

/**
 * What a script uses of the support library, as locals of the chunk: its functions, and the shapes of object literals.
 * Where a Lua function would need too many of them, it reaches the rest through the library's table.
 */
final class Runtime {
    private static final int MOST_LOCALS = 60;
    private static final int MOST_A_FUNCTION = 20;
    private static final int MOST_SHAPE_LOCALS = 20;

    private final HashSet<String> taken;
    private final HashMap<String, String> locals = new HashMap<>();
    private final ArrayList<String> order = new ArrayList<>();
    private final HashMap<String, Integer> shapes = new HashMap<>();
    private final StringBuilder shapeLocals = new StringBuilder();
    private final StringBuilder shapeTable = new StringBuilder();
    final String js;
    private final String shapesName;

    Runtime(HashSet<String> taken) {
        this.taken = taken;
        js = free("js");
        shapesName = free("shapes");
    }

    /** A name that no variable of the script has. */
    String free(String name) {
        return taken.contains(name) ? name + Lua.CHANGED : name;
    }

    String name(String name, FunctionInfo user) {
        if (!fits(name, user)) return luaGlobal(name) ? name : js + '.' + name;
        String local = locals.get(name);
        if (local != null) return local;
        local = name.equals("arguments") ? name + Lua.CHANGED : free(name);
        locals.put(name, local);
        order.add(name);
        return local;
    }

    private boolean fits(String name, FunctionInfo user) {
        if (!locals.containsKey(name) && order.size() >= MOST_LOCALS) return false;
        for (FunctionInfo f = user; f.parent != null; f = f.parent) {
            if (!f.runtime.contains(name) && f.runtime.size() >= MOST_A_FUNCTION) return false;
        }
        for (FunctionInfo f = user; f.parent != null; f = f.parent) f.runtime.add(name);
        return true;
    }

    private static boolean luaGlobal(String name) {
        return name.equals("setmetatable") || name.equals("type");
    }

    String shape(List<String> keys, FunctionInfo user) {
        StringBuilder text = new StringBuilder();
        for (String key : keys) text.append(text.length() == 0 ? "" : ", ").append(Lua.quote(key));
        String list = text.toString();
        Integer known = shapes.get(list);
        int index = known != null ? known : shapes.size() + 1;
        boolean local = index <= MOST_SHAPE_LOCALS;
        if (known == null) {
            shapes.put(list, index);
            String made = js + ".shape(" + list + ")";
            if (local) shapeLocals.append("local ").append(shapeName(index)).append(" = ").append(made).append("; ");
            else shapeTable.append('[').append(index).append("] = ").append(made).append(", ");
        }
        String name = local ? shapeName(index) : shapesName;
        if (!local || fits(name, user)) return local ? name : shapesName + '[' + index + ']';
        return js + ".shape(" + list + ")";
    }

    private String shapeName(int index) {
        return free("shape" + index);
    }

    /** One Lua line that defines all that was asked for. */
    String definitions() {
        StringBuilder text = new StringBuilder();
        if (!order.isEmpty()) {
            StringBuilder values = new StringBuilder();
            text.append("local ");
            for (int i = 0; i < order.size(); i++) {
                String name = order.get(i);
                text.append(i == 0 ? "" : ", ").append(locals.get(name));
                values.append(i == 0 ? "" : ", ").append(luaGlobal(name) ? name : js + '.' + name);
            }
            text.append(" = ").append(values).append("; ");
        }
        text.append(shapeLocals);
        if (shapeTable.length() > 0) text.append("local ").append(shapesName).append(" = {").append(shapeTable).append('}');
        return text.toString();
    }
}
