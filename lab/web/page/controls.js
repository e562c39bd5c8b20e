// SPDX-License-Identifier: Apache-2.0
// What can be broken beside the enclosure's own parts: the bus, the message switch, the peers, the
// daemon; and the command line for everything there is.
import {$, act, button, commands, el, offered, setAttribute, setText} from '/dom.js';

const ACTIONS = [
  ['nak', 'not acknowledged'], ['timeout', 'times out'], ['stuck', 'bus stuck'],
  ['value:0xFF', 'data 0xFF'], ['value:0x00', 'data 0x00'], ['xor:0x80', 'top bit turned'],
  ['frozen', 'frozen reading'], ['torn', 'torn reading'], ['delay:200', '200 ms late']
];
const SWITCH = [
  ['plain', 'well'], ['delay 500', 'half a second late'], ['split 20', 'split after 20 bytes'],
  ['glue 3', 'three at a time'], ['die 30', 'dies after 30 bytes'],
  ['flood 20/s 5', 'flooded, 20 a second']
];

const option = ([value, text]) => el('option', {value}, text);
const select = (label, options, attributes = {}) =>
    el('select', {'aria-label': label, ...attributes}, ...options.map(option));
const group = (title, ...list) => [el('h3', {}, title), el('div', {class: 'tools'}, ...list)];
// A choice that is done at once, and shows how things stand.
const choices = {};
function choice(label, command, options) {
  choices[command] =
      select(label, options, {onchange: (event) => act(`${command} ${event.target.value}`)});
  return el('label', {}, label, choices[command]);
}

const device = select('Device', [['any', 'any device']]);
const direction =
    select('Direction', [['', 'read or write'], ['read', 'read'], ['write', 'write']]);
const register =
    el('input', {size: 7, placeholder: 'register', 'aria-label': 'Register, empty for any'});
const action = select('What happens', ACTIONS);
const heal = el('input', {
  type: 'number',
  min: 0,
  placeholder: 'heals after s',
  'aria-label': 'Heals after so many seconds, empty for never'
});
const rules = el('ul', {class: 'rules', 'aria-label': 'Fault rules'});
const words = () => ['fault add', device.value, direction.value,
                     register.value.trim() && `reg=${register.value.trim()}`,
                     Number(heal.value) > 0 && `heal=${heal.value}`, `act=${action.value}`]
                        .filter(Boolean)
                        .join(' ');

function build() {
  $('faults').append(
      ...group(
          'Bus', device, direction, register, action, heal,
          button('Add fault', words, {id: 'add-fault'})),
      rules,
      ...group(
          'Message switch', button('Stop reading', 'switch stop'),
          button('Read again', 'switch go'), button('Drop the daemon', 'switch close'),
          button('Take it again', 'switch open'), choice('Delivers', 'switch', SWITCH)),
      ...group(
          'Start-up process',
          choice(
              'Answers', 'startup',
              [['answer', 'OK'], ['error', 'rejected'], ['silent', 'not at all']]),
          choice(
              'Shutdown', 'shutdown',
              [['ignore', 'noted only'], ['perform', 'performed'], ['refuse', 'refused']])),
      ...(offered('daemon') ? group(
                                  'Daemon', button('Start', 'daemon start'),
                                  button('Stop', 'daemon stop'), button('Kill', 'daemon kill')) :
                              []));
  $('commands').replaceChildren(...commands.map((line) => el('option', {value: line})));
}

// The list is made anew only when there are other rules: a button must stay under the finger.
function showRules(faults) {
  const key = faults.map((fault) => fault.number).join();
  if (rules.dataset.key !== key) {
    rules.dataset.key = key;
    rules.replaceChildren(...faults.map(
        (fault) =>
            el('li', {}, el('code', {}, fault.rule), el('span', {class: 'quiet'}),
               button(
                   'Remove', `fault remove ${fault.number}`,
                   {'aria-label': `Remove fault ${fault.number}`}))));
  }
  faults.forEach(
      (fault, n) => setText(
          rules.children[n].querySelector('span'),
          `${fault.fired} times${fault.over ? ', over' : ''}`));
}

function showChoice(command, value) {
  const select = choices[command];
  if (document.activeElement !== select && select.value !== value) select.value = value;
}

// A delivery that was typed may be none of those offered.
function showDelivery({switchPlain, delivery}) {
  const select = choices['switch'];
  if (switchPlain) showChoice('switch', 'plain');
  setAttribute(select, 'title', delivery);
}

export function showFaults(state) {
  if ($('faults').childElementCount === 0) build();
  const names = ['any', ...state.chips.map((chip) => chip.name)].join();
  if (device.dataset.key !== names) {
    device.dataset.key = names;
    device.replaceChildren(
        ...names.split(',').map((name) => option([name, name === 'any' ? 'any device' : name])));
  }
  showChoice('startup', state.peers.startupAnswer);
  showChoice('shutdown', state.peers.shutdownWay);
  showDelivery(state.peers);
  showRules(state.bus.faults);
}

$('command').addEventListener('submit', async (event) => {
  event.preventDefault();
  const line = $('line').value.trim();
  if (line !== '' && await act(line)) $('line').value = '';
});
