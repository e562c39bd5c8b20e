// SPDX-License-Identifier: Apache-2.0
// The enclosure as a picture: drive slots with their LEDs, the LED strip, fans, supplies, alarm.
import {$, act, button, el, offered, setAttribute, setText, svg} from '/dom.js';

const narrow = matchMedia('(max-width: 40rem)');
const still = matchMedia('(prefers-reduced-motion: reduce)');
let chosenSlot = null;
let parts = null;   // what build() made
let latest = null;  // the newest state

// ---- drive slots and the LED strip ----

function bay(slot, x, y, width, height) {
  const middle = x + width / 2;
  const group = svg(
      'g', {
        class: 'bay',
        tabindex: 0,
        role: 'button',
        'data-slot': slot,
        onclick: () => choose(slot),
        onkeydown: (event) => {
          if (event.key === 'Enter' || event.key === ' ') {
            event.preventDefault();
            choose(slot);
          }
        },
      },
      svg('rect', {class: 'tray', x: x + 2, y, width: width - 4, height, rx: 4}), svg('rect', {
        class: 'grip',
        x: middle - 4,
        y: y + height * 0.34,
        width: 8,
        height: height * 0.4,
        rx: 4
      }),
      svg('rect', {class: 'busy', x: middle - 4, y: y + height * 0.74, width: 8, height: 0, rx: 4}),
      svg('circle', {class: 'led', cx: middle, cy: y + 20, r: 7}),
      svg('text', {x: middle, y: y + height - 9}, String(slot)));
  return group;
}

function ledOf(name, x, y) {
  return svg(
      'g', {class: 'fascia', 'data-led': name}, svg('circle', {class: 'led', cx: x, cy: y, r: 8}),
      svg('text', {x: x + 15, y: y + 5}, name));
}

function buildFront(chassis) {
  const count = chassis.slots.length;
  const rows = narrow.matches && count > 8 ? 2 : 1;
  const columns = Math.ceil(count / rows);
  const width = rows === 2 ? 480 : 960;
  const height = rows === 2 ? 120 : 170;
  const pitch = (width - 30) / columns;
  const total = 15 + rows * (height + 8) + 42;
  const picture =
      svg('svg', {viewBox: `0 0 ${width} ${total}`, role: 'group', 'aria-label': 'Drive slots'},
          svg('rect', {class: 'shell', x: 1, y: 1, width: width - 2, height: total - 2, rx: 10}));
  const bays = chassis.slots.map((_, slot) => {
    const row = Math.floor(slot / columns);
    return bay(slot, 15 + (slot % columns) * pitch, 15 + row * (height + 8), pitch, height);
  });
  const names = ['fault', ...chassis.leds.map((led) => led.name)];
  const leds = names.map(
      (name, n) => ledOf(name, 30 + n * (width - 40) / Math.max(4, names.length), total - 24));
  picture.append(...bays, ...leds);
  $('front').replaceChildren(picture);
  return {bays, leds};
}

function choose(slot) {
  chosenSlot = slot;
  buildSlotTools();
  parts.bays.forEach((group, n) => group.classList.toggle('chosen', n === slot));
}

function buildSlotTools() {
  const tools = $('slot-tools');
  if (chosenSlot === null) {
    tools.replaceChildren(el('span', {class: 'quiet'}, 'Choose a drive slot to work on it.'));
    return;
  }
  const slot = latest.chassis.slots[chosenSlot];
  const list = [el('span', {class: 'what'}, `Slot ${chosenSlot}`)];
  if (slot.faultLed !== null && offered('ses')) {
    list.push(
        button('Fault LED on', `ses drive ${chosenSlot} fault on`),
        button('Fault LED off', `ses drive ${chosenSlot} fault off`));
  }
  if (slot.present !== null) {
    list.push(
        button('Take drive out', `drive ${chosenSlot} absent`),
        button('Put drive in', `drive ${chosenSlot} present`));
  }
  if (latest.plant) {
    const heat = el('input', {
      type: 'range',
      min: 0,
      max: 100,
      value: latest.plant.heat[chosenSlot],
      onchange: (event) => act(`heat ${chosenSlot} ${event.target.value}`)
    });
    list.push(el('label', {}, 'Activity', heat));
  }
  tools.replaceChildren(...list);
}

function updateFront(state) {
  const {slots, leds} = state.chassis;
  parts.bays.forEach((group, n) => {
    const {present, faultLed} = slots[n];
    const absent = present === false;
    group.classList.toggle('absent', absent);
    group.querySelector('.led').classList.toggle('fault', faultLed === true);
    setAttribute(
        group, 'aria-label',
        `Slot ${n}${absent ? ', no drive' : ''}, fault LED ${faultLed ? 'lit' : 'off'}`);
    const busy = group.querySelector('.busy');
    const grip = group.querySelector('.grip');
    const part = state.plant && !absent ? state.plant.heat[n] / 100 : 0;
    const full = Number(grip.getAttribute('height'));
    setAttribute(busy, 'height', String(full * part));
    setAttribute(busy, 'y', String(Number(grip.getAttribute('y')) + full * (1 - part)));
  });
  parts.leds.forEach((group, n) => {
    const name = n === 0 ? 'fault' : leds[n - 1].name;
    const lit = n === 0 ? state.peers.compositeLed : leds[n - 1].lit;
    const led = group.querySelector('.led');
    led.classList.toggle(name.endsWith('-ok') ? 'good' : 'fault', lit);
    setAttribute(group, 'aria-label', `LED ${name} ${lit ? 'lit' : 'off'}`);
    setAttribute(group, 'role', 'img');
  });
}

// ---- fans ----

function fanPicture() {
  const blade = 'M0 0C-5 -12 -14 -20 -9 -32C1 -36 13 -28 12 -15C11 -8 5 -4 0 0Z';
  const blades =
      [0, 72, 144, 216, 288].map((angle) => svg('path', {d: blade, transform: `rotate(${angle})`}));
  return svg(
      'svg', {viewBox: '-44 -44 88 88', 'aria-hidden': 'true'},
      svg('circle', {class: 'fan-ring', r: 40}), svg('g', {class: 'fan-blades'}, ...blades),
      svg('circle', {class: 'fan-hub', r: 8}), svg('circle', {class: 'fan-empty', r: 36}));
}

function fanTile(number, plant) {
  const tile = {
    picture: fanPicture(),
    angle: 0,
    rpm: 0,
    value: el('div', {class: 'value'}),
    load: el('span', {class: 'quiet'}),
    bar: el('i'),
    note: el('div', {class: 'note'}),
    pull: button(
        'Pull', () => `fan ${number} ${latest.chassis.fans[number].present ? 'pull' : 'return'}`,
        {class: 'pull'}),
    lock: button(
        'Lock', () => `fan ${number} ${latest.chassis.fans[number].locked ? 'free' : 'lock'}`,
        {class: 'lock'}),
  };
  tile.node =
      el('div', {class: 'tile', id: `fan-${number}`, role: 'group', 'aria-label': `Fan ${number}`},
         el('div', {class: 'name'}, `Fan ${number}`, tile.load), tile.picture, tile.value,
         el('div', {class: 'bar'}, tile.bar), tile.note,
         el('div', {class: 'buttons'}, tile.pull, plant ? tile.lock : null));
  return tile;
}

function updateFan(tile, number, fan, told) {
  tile.rpm = fan.rpm;
  setText(tile.value, fan.present ? `${Math.round(fan.rpm)} RPM` : '—');
  setText(tile.load, `load ${Math.round(fan.load)} %`);
  tile.bar.style.width = `${fan.load}%`;
  const own = !fan.present ? 'pulled' :
      fan.locked           ? 'rotor locked' :
      fan.stalled          ? 'stands still' :
                             '';
  const failed = told && (told.fail || told.off || told.rpm === null);
  setText(tile.note, [own, failed ? 'reported failed' : ''].filter(Boolean).join(' · '));
  tile.node.classList.toggle('fault', Boolean(own || failed));
  tile.picture.querySelector('.fan-blades').style.display = fan.present ? '' : 'none';
  tile.picture.querySelector('.fan-hub').style.display = fan.present ? '' : 'none';
  tile.picture.querySelector('.fan-empty').style.display = fan.present ? 'none' : '';
  setText(tile.pull, fan.present ? 'Pull' : 'Put back');
  setAttribute(tile.pull, 'aria-label', `${fan.present ? 'Pull' : 'Put back'} fan ${number}`);
  setText(tile.lock, fan.locked ? 'Free' : 'Lock');
  setAttribute(
      tile.lock, 'aria-label', `${fan.locked ? 'Free' : 'Lock'} the rotor of fan ${number}`);
}

// Slower than life: a real fan would be a blur.
const TURNS_SHOWN = 1 / 60;
let lastFrame = 0;
function turnFans(now) {
  const seconds = Math.min(0.1, (now - lastFrame) / 1000);
  lastFrame = now;
  if (parts && !still.matches) {
    for (const tile of parts.fans) {
      if (tile.rpm > 0) {
        tile.angle = (tile.angle + tile.rpm / 60 * TURNS_SHOWN * 360 * seconds) % 360;
        tile.picture.querySelector('.fan-blades')
            .setAttribute('transform', `rotate(${tile.angle})`);
      }
    }
  }
  requestAnimationFrame(turnFans);
}
requestAnimationFrame(turnFans);

// ---- supplies, rails, alarm ----

function switchTile(id, name, buttons) {
  const tile = {
    lamp: el('span', {class: 'lamp'}),
    value: el('div', {class: 'value'}),
    note: el('div', {class: 'note'})
  };
  tile.node =
      el('div', {class: 'tile', id, role: 'group', 'aria-label': name},
         el('div', {class: 'name'}, name, tile.lamp), tile.value, tile.note,
         el('div', {class: 'buttons'}, ...buttons));
  return tile;
}

function updateTile(tile, value, fault, note = '') {
  setText(tile.value, value);
  setText(tile.note, note);
  tile.lamp.className = `lamp ${fault ? 'warn' : 'good'}`;
  tile.node.classList.toggle('fault', fault);
}

function buildPower(state) {
  const {chassis} = state;
  const power = {rails: []};
  const tiles = [];
  if (chassis.redundancy !== null) {
    power.supply = switchTile('supplies', 'Supplies', [
      button('Lose redundancy', 'psu lost'),
      button('Restore', 'psu good', {'aria-label': 'Restore redundancy'})
    ]);
    tiles.push(power.supply);
  }
  for (const rail of chassis.rails) {
    const tile = switchTile(`rail-${rail.name}`, `Rail ${rail.name} V`, [
      button('Lose', `rail ${rail.name} 0`, {'aria-label': `Lose rail ${rail.name}`}),
      button(
          'Restore', `rail ${rail.name} ${rail.nominal}`,
          {'aria-label': `Restore rail ${rail.name}`})
    ]);
    power.rails.push(tile);
    tiles.push(tile);
  }
  power.alarm = switchTile(
      'alarm', 'Alarm',
      offered('ses') ? [button('Mute', 'ses alarm 0 mute', {'aria-label': 'Mute the alarm'})] : []);
  tiles.push(power.alarm);
  $('power').replaceChildren(...tiles.map((tile) => tile.node));
  return power;
}

function railIsOff(rail) {
  return Math.abs(rail.volts - rail.nominal) > Math.abs(rail.nominal) * 0.1;
}

// Whether the alarm sounds: constantly, now and then, or not at all. A chassis without an alarm
// sounds with the composite fault.
export function alarmSound(state) {
  const text = state.chassis.alarm;
  if (text === '') return state.peers.compositeLed ? 'fault' : '';
  return /fault|critical|sounding/.test(text) ? 'fault' : /remind/.test(text) ? 'remind' : '';
}

function updatePower(state) {
  const {power} = parts;
  const {chassis} = state;
  if (power.supply) {
    updateTile(
        power.supply, chassis.redundancy ? 'redundant' : 'not redundant', !chassis.redundancy);
  }
  power.rails.forEach((tile, n) => {
    const rail = chassis.rails[n];
    updateTile(
        tile, `${rail.volts.toFixed(2)} V`, railIsOff(rail),
        railIsOff(rail) ? `should be ${rail.nominal} V` : '');
  });
  const sound = alarmSound(state);
  updateTile(
      power.alarm,
      sound === 'fault'      ? 'sounds' :
          sound === 'remind' ? 'reminds' :
                               'quiet',
      sound !== '', chassis.alarm || 'none fitted: sounds with the fault LED');
}

// ---- the whole ----

function build(state) {
  const {bays, leds} = buildFront(state.chassis);
  const fans = state.chassis.fans.map((_, n) => fanTile(n, state.plant !== null));
  $('fans').replaceChildren(...fans.map((tile) => tile.node));
  parts = {bays, leds, fans, power: buildPower(state), key: keyOf(state)};
  chosenSlot = null;
  buildSlotTools();
}

// What the picture is built for.
function keyOf(state) {
  const {chassis} = state;
  return [
    state.directory, chassis.name, chassis.fans.length, state.plant !== null, narrow.matches
  ].join();
}

// `page`: the status page read last, or null.
export function showPicture(state, page) {
  latest = state;
  if (parts === null || parts.key !== keyOf(state)) build(state);
  updateFront(state);
  state.chassis.fans.forEach((fan, n) => updateFan(parts.fans[n], n, fan, page?.status.fans[n]));
  updatePower(state);
}
