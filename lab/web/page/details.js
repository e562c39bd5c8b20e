// SPDX-License-Identifier: Apache-2.0
// The details: event list, mailbox, register files, the SES status page beside its bytes.
import {$, button, el, setAttribute, setText} from '/dom.js';
import {registersOf} from '/registers.js';

// ---- events and mails ----

const LIST_MAX = 300;
// Lines of these kinds come with every question to the daemon.
const CHATTER = new Set(['ses', 'reply', 'bus', 'other']);
let lines = [];
let mails = 0;

const clock = (seconds) => `${seconds.toFixed(1)} s`;
const shown = (line) => $('all-lines').checked || !CHATTER.has(line.tag);

function item(line) {
  return el(
      'li', {class: `of-${line.tag}`}, el('time', {}, clock(line.time)),
      el('span', {class: `tag ${line.tag}`}, line.tag), el('span', {}, line.text));
}

// Newest first.
function prepend(list, node) {
  list.querySelector('.none')?.remove();
  list.prepend(node);
  if (list.childElementCount > LIST_MAX) list.lastElementChild.remove();
}

// A mail says nothing itself; the events of the same poll, before it or behind it, say what it is
// about.
let open = [];  // mails that may get further events: { time, about }
function addMail(line, moment) {
  const about = lines.filter((other) => other.tag === 'event' && line.time - other.time < moment)
                    .map((other) => other.text);
  const view = el('span', {}, about.join(' · ') || 'notification');
  open.push({time: line.time, about, view});
  mails += 1;
  setText($('mail-count'), `${mails} sent`);
  prepend($('mails'), el('li', {}, el('time', {}, clock(line.time)), view));
}
function addToMails(line, moment) {
  open = open.filter((mail) => line.time - mail.time < moment);
  for (const mail of open) {
    mail.about.push(line.text);
    setText(mail.view, mail.about.join(' · '));
  }
}

export function clearLines() {
  lines = [];
  open = [];
  mails = 0;
  $('events').replaceChildren(el('li', {class: 'none'}, 'Nothing yet.'));
  $('mails').replaceChildren(el('li', {class: 'none'}, 'No mail yet. A fault sends one.'));
  setText($('mail-count'), '');
}

// `text` as the lab's terminal shows it: a tag of eight columns, then what happened. The parsed
// line is the result. `speed` is the lab's.
export function addLine({time, text}, speed) {
  const line = {time, tag: text.slice(0, 8).trim(), text: text.slice(8)};
  if (line.tag === 'panel') return line;
  const moment = 0.3 + 0.05 * speed;  // seconds that a poll's messages lie apart
  if (line.tag === 'mail') addMail(line, moment);
  if (line.tag === 'event') addToMails(line, moment);
  lines.push(line);
  if (lines.length > LIST_MAX) lines.shift();
  if (shown(line)) prepend($('events'), item(line));
  return line;
}

$('all-lines').addEventListener('change', () => {
  $('events').replaceChildren(...lines.filter(shown).reverse().map(item));
});

// ---- registers ----

const HOT_FOR = 2500;  // milliseconds
let chips = null;
let chipsKey = '';
const hex = (value) => value.toString(16).padStart(2, '0');

function registerTable(count) {
  const cells =
      Array.from({length: count}, (_, n) => el('td', {tabindex: n === 0 ? 0 : -1, 'data-n': n}));
  const columns = Math.min(16, count);
  const head =
      el('tr', {}, el('th'),
         ...cells.slice(0, columns).map((_, n) => el('th', {scope: 'col'}, `_${n.toString(16)}`)));
  const body = [];
  for (let n = 0; n < count; n += columns) {
    body.push(el('tr', {}, el('th', {scope: 'row'}, hex(n)), ...cells.slice(n, n + columns)));
  }
  return {table: el('table', {class: 'registers'}, head, ...body), cells, columns};
}

// What the register under the mouse, or the one with the focus, is called, is for and says. One
// stop for the tab key; arrows go from cell to cell.
function explain(view) {
  const known = registersOf(view.name);
  let shown = null;
  view.explainNow = () => {
    if (shown === null) return;
    const byte = parseInt(view.bytes[shown], 16);
    const {name, meaning, says} = known.get(shown) ?? {name: 'not used', meaning: '', says: null};
    const text = [`0x${hex(shown)} ${name}`, meaning, says?.(byte)].filter(Boolean).join(' · ');
    setText(view.meaning, text);
  };
  const show = (event) => {
    const cell = event.target.closest('td');
    if (!cell) return;
    shown = Number(cell.dataset.n);
    view.explainNow();
    setAttribute(cell, 'aria-label', view.meaning.textContent);
  };
  view.table.addEventListener('mouseover', show);
  view.table.addEventListener('focusin', show);
  view.table.addEventListener('keydown', (event) => {
    const step = {ArrowLeft: -1, ArrowRight: 1, ArrowUp: -view.columns, ArrowDown: view.columns};
    const from = Number(event.target.dataset.n);
    const to = view.cells[from + step[event.key]];
    if (!to) return;
    event.preventDefault();
    view.cells[from].tabIndex = -1;
    to.tabIndex = 0;
    to.focus();
  });
}

function buildChip(chip, first) {
  const {table, cells, columns} = registerTable(chip.registers.length / 2);
  const state = el('span', {class: 'quiet'});
  const meaning = el('p', {class: 'quiet meaning'}, 'Point at a register.');
  const cut = button('', () => `${cut.dataset.cut === 'true' ? 'mend' : 'cut'} ${chip.name}`);
  const node = el(
      'details', {class: 'chip', id: `chip-${chip.name}`, open: first},
      el('summary', {}, el('span', {class: 'chip-name'}, chip.name),
         el('span', {class: 'quiet'}, `0x${hex(chip.address)}`), state),
      el('div', {class: 'buttons'}, cut, button('Fail its next transfer', `fail ${chip.name} 1`)),
      el('div', {class: 'scroll', role: 'region', 'aria-label': `Registers of ${chip.name}`},
         table),
      meaning);
  const view = {
    name: chip.name,
    node,
    table,
    cells,
    columns,
    state,
    cut,
    meaning,
    bytes: [],
    hotUntil: new Map(),
  };
  explain(view);
  return view;
}

function updateChip(view, chip) {
  const now = performance.now();
  const last = chip.lastWrite?.[0];
  view.cells.forEach((cell, n) => {
    const byte = chip.registers.slice(2 * n, 2 * n + 2);
    if (view.bytes[n] !== byte) {
      if (view.bytes[n] !== undefined) view.hotUntil.set(n, now + HOT_FOR);
      view.bytes[n] = byte;
      cell.textContent = byte;
    }
    const hot = (view.hotUntil.get(n) ?? 0) > now;
    const kind =
        [byte === '00' ? 'zero' : '', hot ? 'hot' : '', n === last ? 'last' : ''].join(' ').trim();
    if (cell.className !== kind) cell.className = kind;
  });
  view.explainNow();
  const written =
      chip.lastWrite ? `last written 0x${hex(last)} = ${hex(chip.lastWrite[1])}` : 'never written';
  setText(view.state, chip.cut ? 'does not answer' : written);
  view.cut.dataset.cut = String(chip.cut);
  setText(view.cut, chip.cut ? 'Back on the bus' : 'Cut off the bus');
  setAttribute(view.cut, 'aria-label', `${chip.cut ? 'Mend' : 'Cut'} ${chip.name}`);
}

export function showChips(state) {
  const key = state.chips.map((chip) => chip.name + chip.address).join();
  if (key !== chipsKey) {
    chipsKey = key;
    chips = state.chips.map((chip, n) => buildChip(chip, n === 0));
    $('chips').replaceChildren(...chips.map((chip) => chip.node));
  }
  state.chips.forEach((chip, n) => updateChip(chips[n], chip));
}

// ---- the status page ----

export function showPage(page) {
  const rows = page.rows.map((row) => {
    const bytes =
        page.bytes.slice(2 * row.offset, 2 * (row.offset + row.size)).match(/../g).join(' ');
    const kind = row.fault ? 'fault' : /overall|header/.test(row.of) ? 'head' : null;
    return el(
        'tr', {class: kind}, el('td', {}, row.offset.toString(16).padStart(3, '0')),
        el('td', {}, bytes), el('td', {}, row.of), el('td', {}, row.says));
  });
  $('page').tBodies[0].replaceChildren(...rows);
}
