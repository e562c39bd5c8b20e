// SPDX-License-Identifier: Apache-2.0
// The front panel: takes the lab's stream, keeps what it said last, and has the parts of the page
// show it.
import {showHeat} from '/charts.js';
import {showFaults} from '/controls.js';
import {addLine, clearLines, showChips, showPage} from '/details.js';
import {$, el, loadCommands, post, postJson, setText} from '/dom.js';
import {alarmSound, showPicture} from '/picture.js';
import {showVerdict} from '/verdict.js';

let state = null;
let page = null;  // the status page read last

// ---- the summary and what is gone ----

function fact(id, label) {
  const lamp = el('span', {class: 'lamp'});
  const value = el('strong');
  const node = el(
      'div', {class: 'fact', id}, lamp, el('div', {}, value, el('span', {class: 'quiet'}, label)));
  $('summary').append(node);
  return (text, kind) => {
    setText(value, text);
    lamp.className = `lamp ${kind}`;
    node.className = `fact ${kind === 'warn' ? 'bad' : kind === 'bad' ? 'dead' : ''}`;
  };
}
const facts = {
  daemon: fact('fact-daemon', 'Daemon'),
  led: fact('fact-led', 'Composite fault LED'),
  mail: fact('fact-mail', 'Mails sent'),
  stop: fact('fact-stop', 'Shutdowns asked for'),
};

function showFacts() {
  const {daemon, peers} = state;
  facts.daemon(
      !daemon.running        ? 'ended' :
          !daemon.connected  ? 'not connected' :
          daemon.initialised ? 'running' :
                               'starting',
      !daemon.running      ? 'bad' :
          daemon.connected ? 'good' :
                             'warn');
  facts.led(peers.compositeLed ? 'lit' : 'off', peers.compositeLed ? 'warn' : '');
  facts.mail(String(peers.mails), peers.mails > 0 ? 'warn' : '');
  facts.stop(String(peers.shutdownRequests), peers.shutdownRequests > 0 ? 'bad' : '');
  setText(
      $('clock'),
      `${state.time.toFixed(0)} s${state.speed > 1 ? `, ${state.speed} times real time` : ''}`);
  document.title = `${peers.compositeLed ? '● Fault – ' : ''}Enclosure lab`;
}

function showGone(text) {
  $('gone').hidden = text === '';
  setText($('gone'), text);
}

function showDaemonGone() {
  const {daemon} = state;
  showGone(
      daemon.running ?
          '' :
          `The daemon has ended with status ${daemon.exitStatus}: nothing watches the enclosure.`);
}

// ---- choosing the chassis ----

function showChoices() {
  const select = $('chassis');
  const choices = [...state.choices];
  if (!choices.some((choice) => choice.name === state.chassis.name)) choices.unshift(state.chassis);
  const key = choices.map((choice) => choice.name).join();
  if (select.dataset.key !== key) {
    select.dataset.key = key;
    select.replaceChildren(
        ...choices.map((choice) => el('option', {value: choice.name}, choice.title)));
  }
  if (document.activeElement !== select) select.value = state.chassis.name;
}

$('chassis').addEventListener('change', async (event) => {
  event.target.blur();
  try {
    await post('/api/chassis', event.target.value);
  } catch (error) {
    $('answer').className = 'wrong';
    $('answer').textContent = error.message;
  }
});

// ---- the status page, read as a client reads it ----

let reading = false;
async function readPage() {
  if (reading) return;
  reading = true;
  setText($('page-state'), 'reading …');
  try {
    page = await postJson('/api/page');
    showPage(page);
    setText(
        $('page-state'),
        `read at ${state ? state.time.toFixed(0) : 0} s, ${page.bytes.length / 2} bytes`);
  } catch (error) {
    page = null;
    setText($('page-state'), error.message);
  }
  reading = false;
  if (state) show();
}

let pageTimer = null;
function readPageSoon(wait = 400) {
  clearTimeout(pageTimer);
  pageTimer = setTimeout(readPage, wait);
}
$('page-read').addEventListener('click', readPage);
setInterval(() => {
  const first = page === null && state?.daemon.running;
  if (document.visibilityState === 'visible' && (first || $('page-follow').checked)) readPage();
}, 5000);
document.addEventListener('acted', () => readPageSoon());

// ---- sound ----

let audio = null;
function beep(frequency, at, length) {
  const tone = audio.createOscillator();
  const volume = audio.createGain();
  tone.frequency.value = frequency;
  volume.gain.setValueAtTime(0.06, audio.currentTime + at);
  volume.gain.linearRampToValueAtTime(0, audio.currentTime + at + length);
  tone.connect(volume).connect(audio.destination);
  tone.start(audio.currentTime + at);
  tone.stop(audio.currentTime + at + length);
}
let beat = 0;
setInterval(() => {
  const sound = audio && state ? alarmSound(state) : '';
  beat += 1;
  if (sound === 'fault' || (sound === 'remind' && beat % 6 === 0)) {
    beep(880, 0, 0.18);
    beep(660, 0.22, 0.18);
  }
}, 1000);
$('sound').addEventListener('click', (event) => {
  if (audio) {
    audio.close();
    audio = null;
  } else {
    audio = new AudioContext();
  }
  event.target.setAttribute('aria-pressed', String(audio !== null));
  event.target.textContent = audio ? 'Sound on' : 'Sound off';
});

// ---- the stream ----

function show() {
  showVerdict(state);
  showFacts();
  showDaemonGone();
  showChoices();
  showPicture(state, page);
  showHeat(state, page);
  showChips(state);
  showFaults(state);
}

let heard = 0;  // when
function listen() {
  const stream = new EventSource('/api/events');
  stream.addEventListener('lab', () => {
    clearLines();
    page = null;
    readPageSoon(100);
  });
  stream.addEventListener('line', (event) => {
    const line = addLine(JSON.parse(event.data), state?.speed ?? 1);
    if (['event', 'startup', 'led'].includes(line.tag)) readPageSoon();
  });
  stream.addEventListener('state', (event) => {
    heard = performance.now();
    state = JSON.parse(event.data);
    show();
  });
  stream.addEventListener('error', () => {
    showGone(
        'The lab is gone. Start it again with scripts/lab; this page finds it when it has the same address.');
    facts.daemon('unknown', 'bad');
    if (stream.readyState === EventSource.CLOSED) setTimeout(listen, 2000);
  });
}
setInterval(() => {
  if (heard > 0 && performance.now() - heard > 4000) {
    showGone('The lab does not answer.');
    facts.daemon('unknown', 'bad');
  }
}, 1000);

clearLines();
loadCommands().then(listen);
