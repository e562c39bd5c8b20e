// SPDX-License-Identifier: Apache-2.0
// Small helpers to build the page and to talk to the lab.

export const $ = (id) => document.getElementById(id);

function build(node, attributes, children) {
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith('on'))
      node.addEventListener(key.slice(2), value);
    else if (value !== null && value !== false)
      node.setAttribute(key, value === true ? '' : value);
  }
  node.append(...children.filter((child) => child !== null));
  return node;
}
export const el = (tag, attributes = {}, ...children) =>
    build(document.createElement(tag), attributes, children);
export const svg = (tag, attributes = {}, ...children) =>
    build(document.createElementNS('http://www.w3.org/2000/svg', tag), attributes, children);

// These touch the page only where something is different: screen readers and focus stay calm.
export function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
}
export function setAttribute(node, name, value) {
  if (node.getAttribute(name) !== value) node.setAttribute(name, value);
}

// The token leaves the address bar for the tab's own store: a reload finds it, a shared link has
// none.
const given = new URLSearchParams(location.search).get('token');
if (given) {
  sessionStorage.setItem('token', given);
  history.replaceState(null, '', location.pathname);
}
const token = sessionStorage.getItem('token') ?? '';

// Text of the answer; throws an Error with the lab's own line.
export async function post(path, body) {
  let response;
  try {
    response = await fetch(path, {method: 'POST', body, headers: {'X-Panel-Token': token}});
  } catch {
    throw new Error('the lab is gone');
  }
  const text = (await response.text()).trim();
  if (!response.ok) throw new Error(text);
  return text;
}
export const postJson = async (path) => JSON.parse(await post(path, ''));
export async function getJson(path) {
  const response = await fetch(path);
  if (!response.ok) throw new Error((await response.text()).trim());
  return response.json();
}

// Does a command line and shows what came of it.
export async function act(line) {
  const answer = $('answer');
  try {
    const text = await post('/api/command', line);
    answer.className = '';
    answer.textContent = `> ${line}\n${text}`;
    document.dispatchEvent(new Event('acted'));
    return true;
  } catch (error) {
    answer.className = 'wrong';
    answer.textContent = `> ${line}\n${error.message}`;
    return false;
  }
}

// The commands this lab has, as its help lists them.
export let commands = [];
export async function loadCommands() {
  commands = (await post('/api/command', 'help').catch(() => '')).split('\n');
}
export const offered = (name) => commands.some((line) => line.split(' ')[0] === name);

// A button for a command line; `line` may be a function that gives it at the moment of the click.
export function button(text, line, attributes = {}) {
  return el(
      'button', {
        type: 'button',
        onclick: () => act(typeof line === 'function' ? line() : line),
        title: typeof line === 'function' ? null : line,
        ...attributes,
      },
      text);
}
