// The whole job in node: reads the prices, runs the study, writes the bars with its streams as CSV.
// Usage: node node.js STUDY CSV
const fs = require("fs");
const vm = require("vm");
const [study, prices] = process.argv.slice(2);

vm.runInThisContext(fs.readFileSync(__dirname + "/host.js", "utf8"));
vm.runInThisContext(fs.readFileSync(study, "utf8"));

const source = { open: [], high: [], low: [], close: [], volume: [] };
const rows = fs.readFileSync(prices, "utf8").split("\n");
const bars = [];
for (let i = 1; i < rows.length; i++) {
  if (!rows[i]) continue;
  const [time, open, high, low, close, volume] = rows[i].split(",");
  bars.push(rows[i]);
  source.open.push(+open);
  source.high.push(+high);
  source.low.push(+low);
  source.close.push(+close);
  source.volume.push(+volume);
}
const streams = runStudy(source);
const out = [rows[0] + "," + streams.map((s) => s.id).join(",")];
for (let i = 0; i < bars.length; i++) {
  let row = bars[i];
  for (const { values } of streams) row += "," + (values[i] === undefined ? "" : values[i]);
  out.push(row);
}
fs.writeSync(1, out.join("\n") + "\n");
