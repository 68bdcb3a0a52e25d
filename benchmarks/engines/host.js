// The part of a host that a study needs, for engines that bring none. Plain ES5: some know no more.
function runStudy(source) {
  var parameters = {}, streams = [];
  function add(id, name, value) { parameters[id] = value; }
  function ignore() {}
  indicator({
    setName: ignore,
    setDescription: ignore,
    setRequiredSource: ignore,
    setIndicatorType: ignore,
    parameters: { addInteger: add, addDouble: add, addBoolean: add, addString: add }
  });
  var instance = {
    parameters: parameters,
    source: source,
    addStream: function (id) {
      var values = [];
      streams.push({ id: id, values: values });
      return values;
    }
  };
  prepare(instance, false);
  for (var period = 0; period < source.close.length; period++) update(instance, period, 0);
  return streams;
}

// The columns of a price file's text, and its rows as they stand.
function readBars(text) {
  var names = ["open", "high", "low", "close", "volume"], source = {}, rows = text.split("\n"), bars = [];
  names.forEach(function (name) { source[name] = []; });
  for (var i = 1; i < rows.length; i++) {
    if (rows[i] === "") continue;
    var cells = rows[i].split(",");
    bars.push(rows[i]);
    for (var k = 0; k < names.length; k++) source[names[k]].push(+cells[k + 1]);
  }
  return { head: rows[0], bars: bars, source: source };
}

// The whole job: the text of a price file to the text of its rows with the study's streams.
function study(text) {
  var read = readBars(text), streams = runStudy(read.source), lines = [read.head];
  for (var s = 0; s < streams.length; s++) lines[0] += "," + streams[s].id;
  for (var i = 0; i < read.bars.length; i++) {
    var line = read.bars[i];
    for (s = 0; s < streams.length; s++) {
      var value = streams[s].values[i];
      line += "," + (value === undefined ? "" : value);
    }
    lines.push(line);
  }
  return lines.join("\n");
}
