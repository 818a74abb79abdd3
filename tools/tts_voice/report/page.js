'use strict';
const $ = id => document.getElementById(id);
const data = JSON.parse($('data').textContent);
let sounds = null; // megabytes: read when the first clip is played

// ---- what the data says ----

const places = ['first', 'inside', 'last'];
const groups = [...places, 'phrases', 'English', 'greetings', 'pauses'];
const toneNames = ['', 'Tone 1', 'Tone 2', 'Tone 3', 'Tone 4', 'Neutral'];

const clips = data.clips.map(([file, group, say, ms, db, hz, tone, fits, track], i) => (
  {i, file, name: file.slice(file.indexOf('/') + 1), say, ms, db, hz, tone, fits, track, group: groups.indexOf(group)}));
const num = (v, digits = 0) => v.toLocaleString('en', {minimumFractionDigits: digits, maximumFractionDigits: digits});
const share = v => v > 0 && v < .0005 ? '< 0.1 %' : num(100 * v, v < .1 ? 2 : 1) + ' %';
const counted = (n, one, more = one + 's') => num(n) + ' ' + (n === 1 ? one : more);
const semitones = hz => 12 * Math.log2(hz / data.high_hz);
function quantile(sorted, q) {
  const at = q * (sorted.length - 1), low = Math.floor(at);
  return sorted.length ? sorted[low] + (at - low) * ((sorted[low + 1] ?? sorted[low]) - sorted[low]) : NaN;
}
const sortedBy = (list, of) => list.map(of).sort((a, b) => a - b);

// ---- building blocks ----

function make(tag, attributes = {}, ...inside) {
  const svg = ['svg', 'path', 'text', 'circle', 'title'].includes(tag);
  const e = svg ? document.createElementNS('http://www.w3.org/2000/svg', tag) : document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) e.addEventListener(name.slice(2), value); else e.setAttribute(name, value);
  }
  e.append(...inside);
  return e;
}
const playButton = (clip, text) => make('button', {type: 'button', onclick: () => play(clip), title: 'Play ' + clip.file}, text ?? clip.name);
const heads = names => make('thead', {}, make('tr', {}, ...names.map((n, i) => make('th', {scope: 'col', ...(i ? {class: 'n'} : {})}, n))));

// ---- head ----

{
  const c = data.check, t = data.text, toned = clips.filter(x => x.tone >= 1 && x.tone <= 4);
  $('origin').textContent = `${c.root}, seen by tts-voice ${data.version}`;
  document.title = 'Voice report: ' + c.root.replace(/\/+$/, '').replace(/.*\//, '');
  const tile = (name, value, kind = '') => $('tiles').append(make('div', {}, make('dt', {}, name), make('dd', kind ? {class: kind} : {}, value)));
  tile('clips', num(clips.length));
  tile('of sound', num(clips.reduce((s, x) => s + x.ms, 0) / 60000, 1) + ' min');
  tile('on disk', num(c.clip_bytes / 1e6, 1) + ' MB');
  tile('in memory', num((c.lexicon_bytes + c.greeting_bytes) / 1e6, 1) + ' MB');
  if (!t.lost) tile('of running text spoken', share(t.share), t.missing.length ? 'warn' : '');
  if (!t.lost) tile('characters, English words', num(t.lexicon) + ', ' + num(t.words));
  if (toned.length) tile('tones with their contour', share(toned.filter(x => x.fits).length / toned.length));
  tile('errors, warnings', num(c.errors) + ', ' + num(c.warnings), c.errors ? 'bad' : c.warnings ? 'warn' : '');
}

// ---- findings ----

{
  const kinds = new Map();
  for (const f of data.check.findings) kinds.set(f.code, [...(kinds.get(f.code) ?? []), f]);
  for (const [code, list] of kinds) {
    const f = list[0];
    $('findings').append(make('details', f.level === 'error' ? {open: ''} : {},
      make('summary', {}, make('b', {class: f.level === 'error' ? 'bad' : 'warn'}, f.level), ' ', make('code', {}, code), ` (${num(list.length)})`),
      make('ul', {}, ...list.map(x => make('li', {}, make('code', {}, x.file + (x.line ? ':' + x.line : '')), ': ' + x.what))),
      make('dl', {class: 'pair'}, make('dt', {}, 'heard'), make('dd', {}, f.heard), make('dt', {}, 'mend'), make('dd', {}, f.mend))));
  }
  if (!kinds.size) $('findings').append(make('p', {}, 'Nothing: every text finds its readings, every reading its clips, and no clip stands out.'));
}

// ---- running text ----

{
  const t = data.text, here = $('text');
  if (t.lost) {
    here.append(make('p', {class: 'bad'}, 'Not measured: ' + t.lost));
  } else {
    here.append(make('p', {}, make('b', {}, share(t.share)), ` of the characters of running text are spoken wherever they stand: ${num(t.characters - t.missing.length)} of the ${num(t.characters)} characters of a frequency list.`));
    if (t.missing.length) {
      here.append(make('div', {class: 'scroll', tabindex: 0, role: 'region', 'aria-label': 'Missing characters'}, make('table', {},
        make('caption', {}, `${counted(t.missing.length, 'character')} missing, the commonest first` + (t.missing.length > 300 ? '; the first 300' : '')),
        make('thead', {}, make('tr', {}, make('th', {scope: 'col'}, 'character'), make('th', {scope: 'col', class: 'n'}, 'of running text'), make('th', {scope: 'col'}, 'why'))),
        make('tbody', {}, ...t.missing.slice(0, 300).map(([c, s, why]) => make('tr', {},
          make('th', {scope: 'row', class: 'han', lang: 'zh'}, c), make('td', {class: 'n'}, share(s)), make('td', {}, why)))))));
    }
  }
}

// ---- plots: drawn at the width they have, again when it changes ----

const drawings = [];
function drawn(holder, height, draw) {
  drawings.push(() => {
    const width = Math.max(80, holder.clientWidth);
    const svg = make('svg', {viewBox: `0 0 ${width} ${height}`, height, role: 'img'});
    draw(svg, width, height);
    holder.querySelector('svg')?.remove();
    holder.append(svg);
  });
}
function drawAll() { for (const draw of drawings) draw(); }

// ---- tones ----

const steps = 24; // of the time axis of a contour
const shape = track => Array.from({length: steps + 1}, (_, k) => quantile(track.map(semitones), k / steps));
const families = new Map(); // "3 1" -> a tone's clips in one place, and their curves
for (const clip of clips) {
  if (!clip.tone) continue;
  const key = clip.tone + ' ' + clip.group;
  if (!families.has(key)) families.set(key, {clips: [], shapes: []});
  families.get(key).clips.push(clip);
}
for (const f of families.values()) {
  f.shapes = f.clips.filter(c => c.track.length > 1 && data.high_hz > 0).map(c => shape(c.track));
  const across = q => Array.from({length: steps + 1}, (_, k) => quantile(sortedBy(f.shapes, s => s[k]), q));
  [f.low, f.middle, f.high] = [.1, .5, .9].map(across);
}
const bounds = [...families.values()].filter(f => f.shapes.length).flatMap(f => [...f.low, ...f.high]);
const floor = Math.min(-12, Math.floor(Math.min(...bounds) - 1)), top_ = Math.max(3, Math.ceil(Math.max(...bounds) + 1));

function drawContours(svg, width, height, family, lines) {
  const x = k => 2 + k / steps * (width - 4), y = st => (top_ - Math.max(floor, Math.min(top_, st))) / (top_ - floor) * (height - 4) + 2;
  const path = points => points.map((p, k) => (k ? 'L' : 'M') + x(k).toFixed(1) + ' ' + y(p).toFixed(1)).join('');
  for (let st = Math.ceil(floor / 6) * 6; st < top_; st += 6) {
    svg.append(make('path', {class: 'grid', d: `M0 ${y(st)}H${width}`}), make('text', {x: 3, y: y(st) - 2}, st ? String(st).replace('-', '−') : '0'));
  }
  if (family?.shapes.length) {
    const back = [...family.low].map((p, k) => `L${x(k).toFixed(1)} ${y(p).toFixed(1)}`).reverse().join('');
    svg.append(make('path', {class: 'band', d: path(family.high) + back + 'Z'}), make('path', {class: 'middle', d: path(family.middle)}));
  }
  for (const [track, kind] of lines) if (track.length > 1) svg.append(make('path', {class: kind, d: path(shape(track))}));
}

if (data.high_hz > 0) {
  $('tones-intro').textContent = `The first tone lies at ${num(data.high_hz)} Hz, the line 0; the others are semitones below it. Each panel has the median contour of a tone in one place of the sentence, from the start of the voiced part to its end, and between the edges of the band 80 % of the clips; red are those that miss the contour of their tone.`;
  for (let tone = 1; tone <= 5; ++tone) for (let place = 0; place < 3; ++place) {
    const family = families.get(tone + ' ' + place);
    const holder = make('figure');
    if (family) {
      const good = family.clips.filter(c => c.fits).length, missing = family.clips.filter(c => !c.fits);
      holder.append(make('figcaption', {}, make('b', {}, toneNames[tone] + ', ' + places[place]), make('br'),
        (tone < 5 ? `${num(good)} of ${num(family.clips.length)}` : counted(family.clips.length, 'clip')) + `, ${num(quantile(sortedBy(family.clips, c => c.ms), .5))}\u00a0ms`));
      drawn(holder, 110, (svg, w, h) => {
        svg.setAttribute('aria-label', `Pitch of ${toneNames[tone].toLowerCase()}, ${places[place]}: from ${num(family.middle[0], 1)} to ${num(family.middle[steps], 1)} semitones`);
        drawContours(svg, w, h, family, missing.map(c => [c.track, 'miss']));
      });
    }
    $('tones').append(holder);
  }
  const missing = clips.filter(c => c.tone >= 1 && c.tone <= 4 && !c.fits);
  $('misses').append(make('h3', {}, 'Without the contour of their tone'),
    make('p', {class: 'clips'}, ...(missing.length ? missing.map(c => playButton(c)) : ['None.'])));
} else {
  $('tones-intro').textContent = 'There is no first tone to judge the others by.';
}

// ---- all clips ----

// `grain` is the least spread that counts, of the logarithm where `log` is set.
const measures = [
  {key: 'ms', title: 'Duration', unit: 'ms', of: c => c.ms, log: true, grain: .05, digits: 0},
  {key: 'db', title: 'Loudness', unit: 'dBFS', of: c => c.db, log: false, grain: .5, digits: 1, skip: c => c.db < -60 && 'silent'},
  {key: 'hz', title: 'Pitch', unit: 'Hz', of: c => c.hz, log: true, grain: .03, digits: 0, skip: c => !c.hz && 'none'},
];
for (const m of measures) m.scale = m.log ? v => Math.log(Math.max(v, 1)) : v => v;
// Round values between two others, some four of them.
function ticksOf(least, most, log) {
  if (log && most > 8 * least) return [1, 3, 10, 30, 100, 300, 1000, 3000, 10000, 30000];
  const rough = (most - least) / 4, ten = 10 ** Math.floor(Math.log10(rough || 1));
  const step = ten * [1, 2, 5, 10].find(k => k * ten >= rough);
  return Array.from({length: 7}, (_, k) => (Math.ceil(least / step) + k) * step);
}
const members = groups.map((_, g) => clips.filter(c => c.group === g));
let chosen = null;

// Far from the other clips of its tone and place, in robust standard deviations.
function outliersOf(m) {
  const kin = new Map(), far = [];
  for (const c of clips) {
    if (c.group === 6 || m.skip?.(c)) continue;
    const key = c.group + ' ' + c.tone;
    kin.set(key, [...(kin.get(key) ?? []), c]);
  }
  for (const list of kin.values()) {
    if (list.length < 10) continue;
    const value = c => m.scale(m.of(c)), middle = quantile(sortedBy(list, value), .5), off = c => Math.abs(value(c) - middle);
    const spread = Math.max(m.grain, 1.48 * quantile(sortedBy(list, off), .5));
    for (const c of list) if (off(c) > 5 * spread) far.push([off(c) / spread, c]);
  }
  return far.sort((a, b) => b[0] - a[0]).map(f => f[1]);
}

for (const m of measures) {
  const holder = make('figure'), far = outliersOf(m), shown = 12;
  const say = make('span', {class: 'faint'});
  $('plots').append(make('h3', {}, `${m.title}, ${m.unit} `, say), holder);
  if (far.length) {
    $('plots').append(make('p', {class: 'clips'}, make('span', {class: 'faint'}, `${counted(far.length, 'clip lies', 'clips lie')} far from the others of the same tone and place` + (far.length > shown ? ', first the farthest: ' : ': ')),
      ...far.slice(0, shown).map(c => playButton(c, `${c.name} ${num(m.of(c), m.digits).replace('-', '−')}`))));
  }
  const values = sortedBy(clips.filter(c => !m.skip?.(c)), m.of);
  if (!values.length) {
    holder.append('None.');
    continue;
  }
  const skipped = clips.find(c => m.skip?.(c)); // a lane of their own for clips without a value
  const least = values[0], most = values[values.length - 1];
  drawn(holder, 190, (svg, width, height) => {
    const left = 40, bottom = skipped ? 40 : 22, column = (width - left) / groups.length;
    const span = m.scale(most) - m.scale(least) || 1;
    const y = v => 10 + (m.scale(most) - m.scale(v)) / span * (height - bottom - 20);
    const lane = height - 28, place = c => (m.skip?.(c) ? lane : y(m.of(c)));
    if (skipped) svg.append(make('text', {x: left - 5, y: lane + 4, 'text-anchor': 'end'}, m.skip(skipped)));
    svg.setAttribute('aria-label', `${m.title} of ${counted(clips.length, 'clip')}; the table below has the figures`);
    for (const t of ticksOf(least, most, m.log)) {
      if (t < least || t > most) continue;
      svg.append(make('path', {class: 'grid', d: `M${left} ${y(t)}H${width}`}), make('text', {x: left - 5, y: y(t) + 4, 'text-anchor': 'end'}, num(t).replace('-', '−')));
    }
    const spots = [];
    let d = '', ticks = '';
    members.forEach((list, g) => {
      const start = left + g * column;
      const label = column < 58 ? ['first', 'inside', 'last', 'phrase', 'Engl.', 'greet.', 'pause'][g] : groups[g];
      svg.append(make('text', {x: start + column / 2, y: height - 6, 'text-anchor': 'middle'}, label));
      list.forEach((c, k) => {
        const spot = [start + column * (.08 + .84 * (k + .5) / list.length), place(c), c];
        spots.push(spot);
        d += `M${spot[0].toFixed(1)} ${spot[1].toFixed(1)}h0`;
      });
      const heard = list.filter(c => !m.skip?.(c));
      if (heard.length) ticks += `M${start + column * .05} ${y(quantile(sortedBy(heard, m.of), .5)).toFixed(1)}h${column * .9}`;
    });
    const cursor = make('circle', {class: 'cursor', r: 5, visibility: 'hidden'});
    svg.append(make('path', {class: 'dots', d, 'stroke-width': clips.length > 2000 ? 2.4 : 4, 'data-measure': m.key}), make('path', {class: 'tick', d: ticks}), cursor);
    const nearest = event => {
      const box = svg.getBoundingClientRect(), px = event.clientX - box.left, py = event.clientY - box.top;
      let best = null, least = 400;
      for (const [sx, sy, c] of spots) {
        const far2 = (sx - px) ** 2 + (sy - py) ** 2;
        if (far2 < least) [best, least] = [[sx, sy, c], far2];
      }
      return best;
    };
    svg.addEventListener('pointermove', event => {
      const near = nearest(event);
      cursor.setAttribute('visibility', near ? 'visible' : 'hidden');
      svg.style.cursor = near ? 'pointer' : '';
      say.textContent = near ? `${near[2].name}: ${m.skip?.(near[2]) || num(m.of(near[2]), m.digits)}` : '';
      if (near) { cursor.setAttribute('cx', near[0]); cursor.setAttribute('cy', near[1]); }
    });
    svg.addEventListener('pointerleave', () => { cursor.setAttribute('visibility', 'hidden'); say.textContent = ''; });
    svg.addEventListener('click', event => { const near = nearest(event); if (near) play(near[2]); });
  });
}

$('figures').append(
  make('caption', {}, '5 % of the clips lie below the first of three figures, half below the second, 95 % below the third; clips without pitch are left out of its column'),
  heads(['place', 'clips', ...measures.map(m => `${m.title.toLowerCase()}, ${m.unit}`)]),
  make('tbody', {}, ...members.map((list, g) => make('tr', {'data-group': groups[g]}, make('th', {scope: 'row'}, groups[g]), make('td', {class: 'n'}, num(list.length)),
    ...measures.map(m => {
      const values = sortedBy(list.filter(c => !m.skip?.(c)), m.of);
      return make('td', {class: 'n'}, values.length ? [.05, .5, .95].map(q => num(quantile(values, q), m.digits).replace('-', '−')).join(' · ') : '–');
    })))));

// ---- the player ----

function play(clip) {
  sounds ??= JSON.parse($('sounds').textContent);
  chosen = clip;
  const facts = `${num(clip.ms)} ms, ${num(clip.db, 1).replace('-', '−')} dBFS` + (clip.hz ? `, ${num(clip.hz)} Hz` : '');
  $('now').replaceChildren(make('b', {}, clip.name), ' ', make('span', {lang: 'zh'}, clip.say.startsWith(clip.name) ? clip.say.slice(clip.name.length) : clip.say), make('br'), make('span', {class: 'faint'}, facts));
  $('own').replaceChildren();
  const family = families.get(clip.tone + ' ' + clip.group);
  if (family && clip.track.length > 1 && data.high_hz > 0) {
    const svg = make('svg', {viewBox: '0 0 144 60', height: 60, role: 'img', 'aria-label': 'Its pitch, over that of its tone'});
    drawContours(svg, 144, 60, family, [[clip.track, 'own']]);
    $('own').append(svg);
  }
  $('audio').src = 'data:audio/mpeg;base64,' + sounds[clip.i];
  $('audio').play().catch(() => {}); // where playing at once is not allowed, the button remains
}

function list() {
  const wanted = $('search').value.trim().toLowerCase(), most = 200;
  const found = clips.filter(c => !wanted || c.file.toLowerCase().includes(wanted) || c.say.toLowerCase().includes(wanted));
  const at = c => (c.name === wanted ? 0 : c.name.startsWith(wanted) ? 1 : 2); // the best first
  if (wanted) found.sort((a, b) => at(a) - at(b) || a.name.length - b.name.length);
  $('list').replaceChildren(
    make('caption', {}, counted(found.length, 'clip') + (found.length > most ? `, the first ${most} of them here` : '')),
    make('thead', {}, make('tr', {}, make('th', {scope: 'col'}, 'clip'), make('th', {scope: 'col'}, 'says'), ...['ms', 'dBFS', 'Hz'].map(n => make('th', {scope: 'col', class: 'n'}, n)))),
    make('tbody', {}, ...found.slice(0, most).map(c => make('tr', {}, make('th', {scope: 'row'}, playButton(c, '▶ ' + c.name)), make('td', {lang: 'zh'}, c.say),
      make('td', {class: 'n'}, num(c.ms)), make('td', {class: 'n'}, num(c.db, 1).replace('-', '−')), make('td', {class: 'n'}, c.hz ? num(c.hz) : '–')))));
}
$('search').addEventListener('input', list);

list();
drawAll();
let width = document.body.clientWidth;
new ResizeObserver(() => {
  if (document.body.clientWidth === width) return; // not for the height
  width = document.body.clientWidth;
  drawAll();
}).observe(document.body);
