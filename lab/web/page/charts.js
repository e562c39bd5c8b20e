// SPDX-License-Identifier: Apache-2.0
// The live charts: temperatures over the thresholds of the personality, fan loads beneath, and the
// controls that make it warm.
import {$, act, button, el, getJson, setText} from '/dom.js';

const dark = matchMedia('(prefers-color-scheme: dark)');
const ROWS_MAX = 6000;
const COLOURS =
    ['#0b7a8f', '#c2571a', '#6b4fbb', '#2f8f4e', '#b8327a', '#8a6d00', '#3568c9', '#7a4a2b'];
const COLOURS_DARK =
    ['#4fc3d9', '#ff9d5c', '#b39dff', '#6fd08c', '#ff7fc0', '#e0c04f', '#8ab4ff', '#d0a080'];
// The personality's keys for the ladder of fan loads, with what they mean.
const STEPS = [
  ['fanPwm25To50TemperatureThreshold', '50 %'], ['fanPwm50To75TemperatureThreshold', '75 %'],
  ['fanPwm75To100TemperatureThreshold', '100 %'], ['overheatTemperatureLimit', 'shutdown']
];

let rows = [];
let charts = null;
let tiles = null;
let key = '';
let latest = null;
let lastRow = -1;

const style = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
const clock = (seconds) =>
    `${Math.floor(seconds / 60)}:${String(Math.floor(seconds % 60)).padStart(2, '0')}`;

function drawThresholds(context, area, graph) {
  context.save();
  context.font = '11px system-ui, sans-serif';
  context.setLineDash([5, 4]);
  for (const [name, meaning] of STEPS) {
    const degrees = latest.personality[name];
    const y = graph.toDomYCoord(degrees);
    if (degrees === undefined || y < area.y || y > area.y + area.h) continue;
    context.strokeStyle = context.fillStyle = style(meaning === 'shutdown' ? '--bad' : '--quiet');
    context.beginPath();
    context.moveTo(area.x, y);
    context.lineTo(area.x + area.w, y);
    context.stroke();
    context.fillText(
        meaning === 'shutdown' ? `${degrees}° shutdown` : `${degrees}° fans to ${meaning}`,
        area.x + 6, y - 4);
  }
  context.restore();
}

function temperatureRange() {
  const shown = rows.slice(-300).flatMap((row) => row.slice(1, 1 + latest.chassis.sensors.length));
  const marks = [latest.personality.fanPwm75To100TemperatureThreshold ?? 45, 20];
  const high = Math.max(...shown, ...marks) + 4;
  const limit = latest.personality.overheatTemperatureLimit ?? Infinity;
  return [Math.min(...shown, ...marks) - 3, high > limit - 12 ? Math.max(high, limit + 4) : high];
}

function window_() {
  const span = Number($('span').value);
  const end = rows.length ? rows[rows.length - 1][0] : 1;
  const start = rows[0]?.[0] ?? 0;
  return [span === 0 ? start : Math.max(start, end - span), Math.max(end, start + 10)];
}

function options(labels, colours, more) {
  return {
    labels,
    colors: colours,
    legend: 'follow',
    strokeWidth: 2,
    gridLineColor: style('--line'),
    axisLineColor: style('--line'),
    axisLabelWidth: 40,
    drawGrid: true,
    labelsKMB: false,
    animatedZooms: false,
    interactionModel: {},
    axes: {
      x: {axisLabelFormatter: clock, valueFormatter: clock, pixelsPerLabel: 70},
      y: {axisLabelWidth: 34, pixelsPerLabel: 28}
    },
    ...more,
  };
}

function buildCharts() {
  if (typeof Dygraph === 'undefined') {
    $('chart-temperature').className = 'chart none';
    $('chart-temperature').textContent = 'No chart: the package libjs-dygraphs is not installed.';
    $('chart-load').hidden = true;
    return;
  }
  charts?.forEach((chart) => chart.destroy());
  const {sensors, fans} = latest.chassis;
  const colours = dark.matches ? COLOURS_DARK : COLOURS;
  const empty = (n) => [[0, ...Array(n).fill(null)]];
  charts = [
    new Dygraph(
        $('chart-temperature'), empty(sensors.length),
        options(
            ['time', ...sensors.map((_, n) => `sensor ${n}`)], colours,
            {underlayCallback: drawThresholds, ylabel: '°C', yLabelWidth: 14})),
    new Dygraph(
        $('chart-load'), empty(fans.length),
        options(
            ['time', ...fans.map((_, n) => `fan ${n}`)], colours,
            {valueRange: [0, 105], ylabel: '% load', yLabelWidth: 14, stepPlot: true})),
  ];
}

function drawCharts() {
  if (!charts || rows.length === 0) return;
  const count = latest.chassis.sensors.length;
  const dateWindow = window_();
  charts[0].updateOptions({
    file: rows.map((row) => row.slice(0, 1 + count)),
    dateWindow,
    valueRange: temperatureRange()
  });
  charts[1].updateOptions({file: rows.map((row) => [row[0], ...row.slice(1 + count)]), dateWindow});
}

function sensorTile(number) {
  const input =
      el('input',
         {type: 'number', step: 0.5, value: 50, 'aria-label': `Degrees for sensor ${number}`});
  const tile = {value: el('div', {class: 'value'}), note: el('div', {class: 'note'})};
  tile.release =
      button('Release', `temp ${number} auto`, {'aria-label': `Release sensor ${number}`});
  tile.node = el(
      'div',
      {class: 'tile', id: `sensor-${number}`, role: 'group', 'aria-label': `Sensor ${number}`},
      el('div', {class: 'name'}, `Sensor ${number}`), tile.value, tile.note,
      el('div', {class: 'buttons'}, input, button('Hold', () => `temp ${number} ${input.value}`, {
           'aria-label': `Hold sensor ${number}`
         }),
         tile.release));
  return tile;
}

function slider(label, unit, min, max, value, line) {
  const shown = el('span', {class: 'quiet'}, `${Math.round(value)} ${unit}`);
  const input = el('input', {
    type: 'range',
    min,
    max,
    value,
    oninput: () => setText(shown, `${input.value} ${unit}`),
    onchange: () => act(`${line} ${input.value}`)
  });
  return el('label', {}, label, input, shown);
}

function buildHeat(state) {
  const tools = [];
  if (state.plant) {
    const heat =
        state.plant.heat.reduce((sum, one) => sum + one, 0) / Math.max(1, state.plant.heat.length);
    tools.push(
        slider('Air at the inlet', '°C', -10, 60, state.plant.inlet, 'inlet'),
        slider('Drives busy', '%', 0, 100, heat, 'heat'));
  }
  const all =
      el('input', {type: 'number', step: 0.5, value: 65, 'aria-label': 'Degrees for all sensors'});
  tools.push(
      el('label', {}, 'All sensors', all), button('Hold all', () => `temp all ${all.value}`));
  if (state.plant) tools.push(button('Release all', 'temp all auto'));
  $('heat').replaceChildren(...tools);
}

async function build(state) {
  rows = [];
  lastRow = -1;
  tiles = state.chassis.sensors.map((_, n) => sensorTile(n));
  $('sensors').replaceChildren(...tiles.map((tile) => tile.node));
  buildHeat(state);
  buildCharts();
  const own = key;
  const history = await getJson('/api/history').catch(() => []);
  if (own === key) {
    rows = history.concat(rows.filter((row) => row[0] > (history.at(-1)?.[0] ?? -1)));
    drawCharts();
  }
}

function addRow(state) {
  const second = Math.floor(performance.now() / 1000);
  if (second === lastRow) return;
  lastRow = second;
  rows.push([
    state.time, ...state.chassis.sensors.map((sensor) => sensor.celsius),
    ...state.chassis.fans.map((fan) => fan.load)
  ]);
  if (rows.length > ROWS_MAX) rows.shift();
  drawCharts();
}

export function showHeat(state, page) {
  latest = state;
  const now =
      [state.directory, state.daemon.pid, state.chassis.name, state.chassis.sensors.length].join();
  if (now !== key) {
    key = now;
    build(state);
  }
  const limit = state.personality.overheatTemperatureLimit ?? Infinity;
  tiles.forEach((tile, n) => {
    const sensor = state.chassis.sensors[n];
    const told = page?.status.temperatureSensors[n]?.celsius;
    setText(tile.value, `${sensor.celsius.toFixed(1)} °C`);
    const daemon = page ?
        (told === null || told === undefined ? 'daemon: no reading' : `daemon read ${told} °C`) :
                                               '';
    setText(tile.note, [sensor.held ? 'held' : '', daemon].filter(Boolean).join(' · '));
    tile.node.classList.toggle('fault', sensor.celsius > limit || (page !== null && told === null));
    tile.release.hidden = !sensor.held;
  });
  addRow(state);
}

dark.addEventListener('change', () => {
  if (latest) {
    buildCharts();
    drawCharts();
  }
});
$('span').addEventListener('change', drawCharts);
