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

// Bars like those of the price file, made here.
function makeBars(count) {
  var source = { open: [], high: [], low: [], close: [], volume: [] }, state = 12345, price = 100;
  function random() {
    state = (state * 1103515245 + 12345) % 2147483648;
    return state / 2147483648;
  }
  for (var i = 0; i < count; i++) {
    var open = price;
    price += random() - 0.5;
    source.open.push(open);
    source.close.push(price);
    source.high.push(Math.max(open, price) + random() / 4);
    source.low.push(Math.min(open, price) - random() / 4);
    source.volume.push(1000 + random() * 1000);
  }
  return source;
}
