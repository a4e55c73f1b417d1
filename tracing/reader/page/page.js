// Shows traces: the tree of calls, the timeline beside it, the search, and what explains the selected call.
'use strict';

const at = id => document.getElementById(id);

function element(tag, className, ...content) {
  const made = Object.assign(document.createElement(tag), {className});
  made.append(...content);
  return made;
}

const clamp = (value, least, most) => Math.max(least, Math.min(value, most));

const units = [['s', 1e9], ['ms', 1e6], ['µs', 1e3], ['ns', 1]];
const unitOf = time => units.find(([, size]) => time >= size) ?? units.at(-1);

function durationText(time) {
  const [unit, size] = unitOf(time);
  const number = time / size;
  return `${number < 100 ? Number(number.toPrecision(3)) : Math.round(number)} ${unit}`;
}

// With enough digits to distinguish moments that are one step apart.
function momentText(time, step = 1) {
  const [unit, size] = unitOf(time);
  return `${(time / size).toFixed(Math.max(0, Math.ceil(Math.log10(size / step))))} ${unit}`;
}

// Marks the calls that failed, because not everybody can see the colour.
const marks = {null: '✗', raised: '!', open: '…'};

// ---- What happened ----

// Every process, thread and event, in the order of the fully open tree. Each knows its parent, and in `after` the index
// that follows its last descendant.
const nodes = [];
const root = {depth: -1, children: 0};
// The nodes of threads. Each has its events in lanes, one for each depth, and its misses and matches.
const threads = [];
const period = {from: Infinity, to: 0};
let misses = [];

function addNode(depth, node) {
  let parent = nodes.at(-1) ?? root;
  while (parent.depth >= depth) parent = parent.parent;
  nodes.push(Object.assign(node, {depth, parent, index: nodes.length, position: ++parent.children, children: 0}));
  return node;
}

function addProcess(trace, process) {
  const isForked = process !== trace.process;
  const name = `${trace.program} (process ${process}${isForked ? ', forked' : ''})`;
  const facts = {Command: trace.command, Folder: trace.folder,
    'Started by': `process ${isForked ? trace.process : trace.parent}`};
  addNode(0, {kind: 'process', name, line: name, facts, isOpen: true});
}

function addThread({id, name, events}, start) {
  const line = `thread ${id} ${name}`.trimEnd();
  const thread = addNode(1, {kind: 'thread', name: line, line, isOpen: true, lanes: [], misses: [], matches: [],
    facts: {In: nodes.at(-1).line}});
  threads.push(thread);
  for (const {depth, begin, duration, ...event} of events) {
    addNode(depth + 2, Object.assign(event, {thread, begin: start + begin, end: start + begin + duration}));
    (thread.lanes[depth] ??= []).push(event);
    if (event.sentence) thread.misses.push(event);
    period.from = Math.min(period.from, event.begin);
    period.to = Math.max(period.to, event.end);
  }
}

function read(traces) {
  for (const trace of traces) {
    for (const process of new Set([trace.process, ...trace.threads.map(thread => thread.process)])) {
      addProcess(trace, process);
      for (const thread of trace.threads)
        if (thread.process === process && thread.events.length) addThread(thread, trace.start);
    }
    at('notes').append(...trace.notes.map(note => element('li', '', `${trace.program}: ${note}`)));
  }
  if (period.from >= period.to) Object.assign(period, {from: 0, to: 1000});
  for (const node of [...nodes].reverse()) {
    node.after ??= node.index + 1;
    node.parent.after ??= node.after;
  }
  misses = nodes.filter(node => node.sentence);
  // A small trace is fully open at first.
  if (nodes.length < 100) for (const node of nodes) node.isOpen = true;
}

// ---- The tree ----

const style = getComputedStyle(document.documentElement);
const rowHeight = parseInt(style.getPropertyValue('--row-height'));
const tree = at('tree');
let rows = [];  // the nodes whose parents are all open
let chosen = null;

function listRows() {
  rows = [];
  for (let i = 0; i < nodes.length; i = nodes[i].isOpen ? i + 1 : nodes[i].after) {
    nodes[i].row = rows.length;
    rows.push(nodes[i]);
  }
  at('rows').style.height = `${rows.length * rowHeight}px`;
  drawRows();
}

const tookText = ({state, begin, end}) => (state === 'open' ? '≥ ' : '') + durationText(end - begin);

function rowOf(node) {
  const twist = !node.children ? '' : node.isOpen ? '▾' : '▸';
  const row = element('div', `row kind-${node.kind}`, element('span', 'twist', twist));
  if (marks[node.state]) row.append(element('b', 'mark', marks[node.state]));
  row.append(element('span', 'label', element('span', 'name', node.name), node.line.slice(node.name.length),
      element('span', 'sentence', node.sentence ? `  ${node.sentence}` : '')));
  if (node.thread) row.append(element('span', 'time', tookText(node)));
  row.classList.toggle('found', Boolean(node.isFound));
  const attributes = {
    id: `node-${node.index}`, style: `top: ${node.row * rowHeight}px; padding-left: ${6 + node.depth * 14}px`,
    role: 'treeitem', 'aria-level': node.depth + 1, 'aria-posinset': node.position,
    'aria-setsize': node.parent.children, 'aria-selected': node === chosen,
  };
  if (node.children) attributes['aria-expanded'] = Boolean(node.isOpen);
  for (const [name, value] of Object.entries(attributes)) row.setAttribute(name, value);
  return row;
}

// Only the rows that are in sight exist.
function drawRows() {
  const first = Math.floor(tree.scrollTop / rowHeight);
  const last = Math.ceil((tree.scrollTop + tree.clientHeight) / rowHeight);
  at('rows').replaceChildren(...rows.slice(first, last).map(rowOf));
  tree.setAttribute('aria-activedescendant', chosen && at(`node-${chosen.index}`) ? `node-${chosen.index}` : '');
}

function setOpen(node, isOpen) {
  node.isOpen = isOpen;
  if (!isOpen && chosen && chosen.index > node.index && chosen.index < node.after) select(node);
  listRows();
}

function select(node) {
  chosen = node;
  for (let outer = node.parent; outer !== root; outer = outer.parent) outer.isOpen = true;
  listRows();
  const top = node.row * rowHeight;
  if (top < tree.scrollTop || top + rowHeight > tree.scrollTop + tree.clientHeight) {
    tree.scrollTop = top - tree.clientHeight / 2;
    drawRows();
  }
  showDetails(node);
  showMatches();
  bringIntoView(node);
}

function showDetails(node) {
  const facts = node.thread ? {
    Took: tookText(node), Began: `${momentText(node.begin)} after the start`,
    In: `${node.thread.line} of ${node.thread.parent.line}`,
  } : node.facts;
  const list = element('dl', '');
  for (const [name, value] of Object.entries(facts)) list.append(element('dt', '', name), element('dd', '', value));
  at('details').replaceChildren(element('h2', '', node.line), list);
  if (node.sentence) list.before(element('p', '', element('b', 'mark', marks[node.state]), ` ${node.sentence}`));
}

const treeKeys = {
  ArrowDown: ({row}) => select(rows[Math.min(row + 1, rows.length - 1)]),
  ArrowUp: ({row}) => select(rows[Math.max(row - 1, 0)]),
  Home: () => select(rows[0]),
  End: () => select(rows.at(-1)),
  ArrowRight: node => {
    if (node.children && node.isOpen) select(nodes[node.index + 1]);
    else setOpen(node, true);
  },
  ArrowLeft: node => {
    if (node.children && node.isOpen) setOpen(node, false);
    else if (node.parent !== root) select(node.parent);
  },
  Enter: node => fit(node),
};

const nodeOfRow = event => rows[Math.floor((event.clientY - at('rows').getBoundingClientRect().top) / rowHeight)];

tree.addEventListener('scroll', drawRows);
tree.addEventListener('click', event => {
  const node = nodeOfRow(event);
  if (!node) return;
  if (event.target.closest('.twist') && node.children) setOpen(node, !node.isOpen);
  else select(node);
});
tree.addEventListener('dblclick', event => nodeOfRow(event) && fit(nodeOfRow(event)));

// ---- The timeline ----

const axisHeight = 22;
const titleHeight = 30;  // with the marks below the title
const laneHeight = 20;
const shortestView = 20;  // nanoseconds
const chart = at('chart');
const pen = chart.getContext('2d');
const view = {from: 0, to: 1, top: 0, width: 1, height: 1};
// From the style, by name.
const colours = {page: '', pane: '', text: '', faint: '', accent: '', bad: '', native: '', neighbour: '', scan: '',
  lock: '', 'on-bar': ''};
let hatching = null;
let isDrawAsked = false;

const xOf = time => (time - view.from) / (view.to - view.from) * view.width;
const timeAt = x => view.from + x / view.width * (view.to - view.from);

// The first event at `index` or later that ends after `time`. Events of one lane follow each other.
function firstAfter(events, time, index = 0) {
  let last = events.length;
  while (index < last) {
    const middle = (index + last) >> 1;
    if (events[middle].end > time) last = middle;
    else index = middle + 1;
  }
  return index;
}

// Where an event is drawn, as far as it is in view.
function edgesOf(event, width) {
  const left = Math.max(xOf(event.begin), -1);
  return [left, Math.max(left + width, Math.min(xOf(event.end), view.width + 1))];
}

// Skips events that would share a pixel with the one before, so that a lane with more of them takes no longer to draw.
function drawLane(events, y) {
  let i = firstAfter(events, view.from);
  while (i < events.length && events[i].begin <= view.to) {
    const [left, right] = edgesOf(events[i], 1);
    drawBar(events[i], left, right, y);
    i = firstAfter(events, timeAt(right - 0.5), i + 1);
  }
}

function drawBar(event, left, right, y) {
  pen.fillStyle = colours[event.kind];
  pen.fillRect(left, y, right - left, laneHeight - 2);
  if (event.sentence) {
    pen.fillStyle = hatching;
    pen.fillRect(left, y + 14, right - left, laneHeight - 16);
  }
  if (event === chosen || event.sentence) {
    pen.strokeStyle = event === chosen ? colours.accent : colours.bad;
    pen.lineWidth = event === chosen ? 3 : 1;
    pen.strokeRect(left + 0.5, y + 0.5, right - left - 1, laneHeight - 3);
  }
  const room = Math.floor((right - left - 6) / 6.5);  // characters
  if (room < 3) return;
  let text = `${event.sentence ? `${marks[event.state]} ` : ''}${event.line}`;
  // The class says less than the argument.
  if (text.length > room) text = text.replace(/\w+(\.|::)/, '');
  if (text.length > room) text = `${text.slice(0, room - 1)}…`;
  pen.fillStyle = colours['on-bar'];
  pen.fillText(text, left + 3, y + 8, right - left - 4);
}

// A triangle for each miss, and a line for each match: they are visible however narrow the event is.
function drawMarks(events, width, y, colour) {
  pen.fillStyle = colour;
  let drawn = -Infinity;
  for (const event of events) {
    const x = xOf(event.begin);
    if (x < drawn + 1 || x < -width || x > view.width + width) continue;
    pen.beginPath();
    pen.moveTo(x - width / 2, y);
    pen.lineTo(x + width / 2, y);
    pen.lineTo(x + 1, y + 10);
    pen.lineTo(x - 1, y + 10);
    pen.fill();
    drawn = x;
  }
}

function drawThread(thread, y) {
  pen.fillStyle = colours.pane;
  pen.fillRect(0, y, view.width, 19);
  pen.fillStyle = colours.faint;
  pen.fillText(`${thread.line} of ${thread.parent.line}`, 6, y + 10);
  drawMarks(thread.matches, 2, y + 19, colours.text);
  drawMarks(thread.misses, 10, y + 19, colours.bad);
  thread.lanes.forEach((events, depth) => {
    const top = y + titleHeight + depth * laneHeight;
    if (top < view.height && top + laneHeight > axisHeight) drawLane(events, top);
  });
  if (chosen?.thread === thread && chosen.end >= view.from && chosen.begin <= view.to)
    drawBar(chosen, ...edgesOf(chosen, 3), laneTop(chosen) - view.top);
}

function drawAxis() {
  const atLeast = (view.to - view.from) / view.width * 110;
  const power = 10 ** Math.floor(Math.log10(atLeast));
  const step = [1, 2, 5, 10].find(factor => factor * power >= atLeast) * power;
  pen.fillStyle = colours.page;
  pen.fillRect(0, 0, view.width, axisHeight);
  pen.fillStyle = colours.faint;
  for (let time = Math.ceil(view.from / step) * step; time <= view.to; time += step) {
    const x = Math.round(xOf(time));
    pen.fillRect(x, 0, 1, axisHeight);
    pen.fillText(momentText(time, step), x + 4, axisHeight / 2);
  }
  at('range').textContent = `${momentText(view.from, step / 10)} – ${momentText(view.to, step / 10)}, ` +
      durationText(view.to - view.from);
}

function draw() {
  isDrawAsked = false;
  pen.setTransform(devicePixelRatio, 0, 0, devicePixelRatio, 0, 0);
  pen.fillStyle = colours.page;
  pen.fillRect(0, 0, view.width, view.height);
  for (const thread of threads) {
    const y = thread.top - view.top;
    if (y < view.height && y + thread.height > 0) drawThread(thread, y);
  }
  drawAxis();
}

function askToDraw() {
  if (isDrawAsked) return;
  isDrawAsked = true;
  requestAnimationFrame(draw);
}

function layOut() {
  view.width = Math.max(chart.clientWidth, 1);
  view.height = Math.max(chart.clientHeight, 1);
  chart.width = view.width * devicePixelRatio;
  chart.height = view.height * devicePixelRatio;
  Object.assign(pen, {font: '12px system-ui, sans-serif', textBaseline: 'middle'});
  let y = axisHeight;
  for (const thread of threads) {
    thread.top = y;
    thread.height = titleHeight + thread.lanes.length * laneHeight + 6;
    y += thread.height;
  }
  view.bottom = y;
  lift(view.top);
  drawRows();
}

const laneTop = event => event.thread.top + titleHeight + (event.depth - 2) * laneHeight;

function lift(top) {
  view.top = clamp(top, 0, Math.max(view.bottom - view.height, 0));
  askToDraw();
}

function show(from, to) {
  const span = Math.min(Math.max(to - from, shortestView), period.to - period.from);
  view.from = clamp(from, period.from, period.to - span);
  view.to = view.from + span;
  askToDraw();
}

// What the keys and buttons zoom to: the selected event where it is in view, else the middle.
function centreOfZoom() {
  const middle = chosen?.thread && (chosen.begin + chosen.end) / 2;
  return middle >= view.from && middle <= view.to ? middle : (view.from + view.to) / 2;
}

function zoom(factor, centre = centreOfZoom()) {
  show(centre - (centre - view.from) * factor, centre + (view.to - centre) * factor);
}

function move(part) {
  const distance = part * (view.to - view.from);
  show(view.from + distance, view.to + distance);
}

// Moves the view only when the event is out of it.
function bringIntoView(node) {
  askToDraw();
  if (!node.thread) return;
  if (node.end < view.from || node.begin > view.to) {
    const half = (view.to - view.from) / 2;
    show(node.begin - half, node.begin + half);
  }
  const y = laneTop(node) - view.top;
  if (y < axisHeight || y + laneHeight > view.height) lift(laneTop(node) - view.height / 2);
}

function fit(node) {
  const margin = node.thread ? (node.end - node.begin) / 8 : 0;
  show((node.begin ?? period.from) - margin, (node.end ?? period.to) + margin);
}

function eventAt({offsetX: x, offsetY: y}) {
  const thread = threads.find(({top, height}) => y + view.top >= top && y + view.top < top + height);
  const events = y > axisHeight && thread?.lanes[Math.floor((y + view.top - thread.top - titleHeight) / laneHeight)];
  const event = events && events[firstAfter(events, timeAt(x - 3))];
  return event && event.begin <= timeAt(x + 3) ? event : null;
}

let drag = null;
chart.addEventListener('pointerdown', event => {
  chart.setPointerCapture(event.pointerId);
  drag = {x: event.offsetX, y: event.offsetY, from: view.from, to: view.to, top: view.top, isMove: false};
});
chart.addEventListener('pointermove', event => {
  if (!drag) {
    const under = eventAt(event);
    chart.title = under ? `${under.line}\n${under.sentence}` : '';
    return;
  }
  drag.isMove ||= Math.hypot(event.offsetX - drag.x, event.offsetY - drag.y) > 4;
  if (!drag.isMove) return;
  const distance = (drag.x - event.offsetX) / view.width * (drag.to - drag.from);
  show(drag.from + distance, drag.to + distance);
  lift(drag.top + drag.y - event.offsetY);
});
chart.addEventListener('pointerup', event => {
  const under = !drag?.isMove && eventAt(event);
  drag = null;
  if (under) select(under);
});
chart.addEventListener('pointercancel', () => { drag = null; });
chart.addEventListener('dblclick', event => {
  const under = eventAt(event);
  if (under) fit(under);
});
chart.addEventListener('wheel', event => {
  event.preventDefault();
  const pixels = event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? 1 : 30;
  if (event.shiftKey) move((event.deltaX || event.deltaY) * pixels / view.width);
  else if (event.deltaX) move(event.deltaX * pixels / view.width);
  else zoom(1.0015 ** (event.deltaY * pixels), timeAt(event.offsetX));
}, {passive: false});

const chartKeys = {
  ArrowLeft: () => move(-0.1),
  ArrowRight: () => move(0.1),
  ArrowUp: () => lift(view.top - 2 * laneHeight),
  ArrowDown: () => lift(view.top + 2 * laneHeight),
};

// ---- The search ----

let matches = [];

function search() {
  const wanted = at('query').value.toLowerCase();
  for (const node of nodes) {
    node.searched ??= `${node.line} ${node.sentence ?? ''}`.toLowerCase();
    node.isFound = wanted !== '' && node.searched.includes(wanted);
  }
  matches = nodes.filter(node => node.isFound);
  for (const thread of threads) thread.matches = [];
  for (const node of matches) node.thread?.matches.push(node);
  showMatches();
  drawRows();
  askToDraw();
}

function showMatches() {
  const place = matches.indexOf(chosen) + 1;
  at('matches').textContent =
      at('query').value === '' ? '' : place ? `${place} of ${matches.length}` : `${matches.length || 'no'} found`;
}

// Goes from the selected node to the next one of a list, or the one before, and around its ends.
function goTo(list, isForward) {
  const here = chosen?.index ?? -1;
  const next = isForward ? list.find(node => node.index > here) ?? list[0] :
    list.findLast(node => node.index < here) ?? list.at(-1);
  if (next) select(next);
}

at('query').addEventListener('input', search);
at('next').addEventListener('click', () => goTo(matches, true));
at('previous').addEventListener('click', () => goTo(matches, false));

// ---- The rest of the page ----

const pageKeys = {
  '+': () => zoom(1 / 1.5),
  '=': () => zoom(1 / 1.5),
  '-': () => zoom(1.5),
  0: () => show(period.from, period.to),
  m: () => goTo(misses, true),
  M: () => goTo(misses, false),
  '/': () => at('query').focus(),
};
const keysOf = new Map([
  [at('query'), {Enter: (_, event) => goTo(matches, !event.shiftKey)}],
  [tree, {...pageKeys, ...treeKeys}],
  [chart, {...pageKeys, ...chartKeys}],
]);

document.addEventListener('keydown', event => {
  if (event.ctrlKey || event.metaKey || event.altKey) return;
  const act = (keysOf.get(event.target) ?? pageKeys)[event.key];
  if (!act || nodes.length === 0) return;
  act(chosen ?? rows[0], event);
  event.preventDefault();
});
at('zoom-in').addEventListener('click', pageKeys['+']);
at('zoom-out').addEventListener('click', pageKeys['-']);
at('whole').addEventListener('click', pageKeys[0]);
at('next-miss').addEventListener('click', pageKeys.m);

function takeColours() {
  for (const name of Object.keys(colours)) colours[name] = style.getPropertyValue(`--${name}`);
  const tile = new OffscreenCanvas(8, 8).getContext('2d');
  tile.strokeStyle = colours.bad;
  tile.lineWidth = 1.5;
  for (const x of [-8, 0, 8]) tile.stroke(new Path2D(`M${x} 8L${x + 8} 0`));
  hatching = pen.createPattern(tile.canvas, 'repeat');
  askToDraw();
}

try {
  read(JSON.parse(at('data').textContent));
} catch (error) {
  document.body.textContent = `This browser cannot read the calls, perhaps because there are too many: ${error.message}`;
  throw error;
}
if (nodes.length) document.title += `: ${nodes[0].name}`;
at('next-miss').textContent = misses.length ? `Next miss (${misses.length})` : 'No misses';
at('next-miss').disabled = misses.length === 0;
at('details').textContent = nodes.length ? 'Select a call in the tree or in the timeline.' : 'Nothing was recorded.';
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', takeColours);
takeColours();
listRows();
layOut();
show(period.from, period.to);
for (const part of [at('timeline'), tree]) new ResizeObserver(layOut).observe(part);
