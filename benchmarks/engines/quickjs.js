// Runs a script in QuickJS, compiled to WebAssembly. Usage: node quickjs.js FOLDER SCRIPT, where npm has
// installed it in FOLDER.
const fs = require("fs");
const { getQuickJS } = require(require.resolve("quickjs-emscripten", { paths: [process.argv[2]] }));
getQuickJS().then((engine) => {
  const context = engine.newContext();
  const print = context.newFunction("print", (text) => { fs.writeSync(1, context.getString(text) + "\n"); });
  context.setProp(context.global, "print", print);
  print.dispose();
  const result = context.evalCode(fs.readFileSync(process.argv[3], "utf8"));
  if (result.error) throw new Error(JSON.stringify(context.dump(result.error)));
  result.value.dispose();
  context.dispose();
});
