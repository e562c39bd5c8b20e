// SPDX-License-Identifier: Apache-2.0
// The top of the page: what is wrong, since when, what the daemon says and does about it, and the
// cure. What was clicked becomes a scenario.
import {$, act, button, el, post, setAttribute, setText} from '/dom.js';

// ---- the verdict ----

let shown = [];  // {key, what, since, said, node}
const keyOf = (finding) => finding.what.replace(/[-\d.]+(?= degrees)/, '') + finding.cure;

function build(finding) {
  const what = el('strong');
  const since = el('span', {class: 'quiet'});
  const said = el('span', {class: 'said'});
  const cure =
      finding.cure ? button('Heal', finding.cure, {'aria-label': `Heal: ${finding.cure}`}) : null;
  return {
    key: keyOf(finding),
    what,
    since,
    said,
    node: el('li', {}, el('div', {}, el('div', {}, what, ' ', since), said), cure),
  };
}

function update(view, finding, time) {
  setText(view.what, finding.what);
  setText(view.since, `for ${Math.max(0, time - finding.since).toFixed(0)} s`);
  setText(view.said, finding.said ? `the daemon: ${finding.said}` : '');
}

const sentence = (parts) =>
    parts.length > 1 ? `${parts.slice(0, -1).join(', ')} and ${parts.at(-1)}` : parts.join('');

export function showVerdict({verdict, time, daemon}) {
  const {findings, reactions} = verdict;
  const keys = findings.map(keyOf);
  // Made anew only when there are other findings: a button must stay under the finger.
  if (keys.join('|') !== shown.map((view) => view.key).join('|')) {
    shown = findings.map(
        (finding) => shown.find((view) => view.key === keyOf(finding)) ?? build(finding));
    $('findings').replaceChildren(...shown.map((view) => view.node));
  }
  findings.forEach((finding, n) => update(shown[n], finding, time));
  const count = findings.length;
  setText(
      $('verdict-head'),
      count === 0     ? (daemon.initialised ? 'All is well' : 'The daemon is starting') :
          count === 1 ? 'One thing is wrong' :
                        `${count} things are wrong`);
  setAttribute($('verdict'), 'data-wrong', String(count > 0));
  const text = sentence(reactions);
  setText($('reactions'), text ? `What the daemon does: ${text}.` : '');
  $('heal-all').hidden = !findings.some((finding) => finding.cure);
}

$('heal-all').addEventListener('click', () => act('heal'));

// ---- the record ----

const dialog = $('record');
let scenario = '';

$('record-show').addEventListener('click', async () => {
  try {
    scenario = `${await post('/api/command', 'record')}\n`;
    setText($('record-text'), scenario);
    setText($('record-state'), '');
    dialog.showModal();
  } catch (error) {
    setText($('answer'), error.message);
  }
});
$('record-copy').addEventListener('click', async () => {
  try {
    await navigator.clipboard.writeText(scenario);
    setText($('record-state'), 'copied');
  } catch {
    setText($('record-state'), 'the browser does not let the page copy; mark the text instead');
  }
});
$('record-save').addEventListener('click', () => {
  const url = URL.createObjectURL(new Blob([scenario], {type: 'application/toml'}));
  el('a', {href: url, download: 'recorded.toml'}).click();
  setTimeout(() => URL.revokeObjectURL(url), 1000);
  setText($('record-state'), 'recorded.toml; enclab run recorded.toml plays it');
});
$('record-close').addEventListener('click', () => dialog.close());
