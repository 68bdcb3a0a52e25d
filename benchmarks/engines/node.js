// The whole job in node: reads the prices, runs the study, writes the bars with its streams as CSV.
// Usage: node node.js STUDY CSV
const fs = require("fs");
const vm = require("vm");
const [script, prices] = process.argv.slice(2);

vm.runInThisContext(fs.readFileSync(__dirname + "/host.js", "utf8"));
vm.runInThisContext(fs.readFileSync(script, "utf8"));
fs.writeSync(1, study(fs.readFileSync(prices, "utf8")) + "\n");
