'use strict';
const $ = id => document.getElementById(id);
const data = JSON.parse($('data').textContent);

const places = ['first', 'inside', 'last'];  // the groups of syllables
// All groups, in the order of the columns, with names for narrow columns.
const shortGroupNames = {
  first: 'first',
  inside: 'inside',
  last: 'last',
  phrases: 'phrase',
  English: 'Engl.',
  greetings: 'greet.',
  pauses: 'pause'
};
const groups = Object.keys(shortGroupNames);
const toneNames = ['', 'Tone 1', 'Tone 2', 'Tone 3', 'Tone 4', 'Neutral'];

const clips = data.clips.map((row, index) => {
  const [file, group, says, ms, db, hz, tone, fits, track] = row;
  const name = file.slice(file.indexOf('/') + 1);
  return {index, file, name, group, says, ms, db, hz, tone, fits, track};
});
const clipsOfGroup = group => clips.filter(clip => clip.group === group);
const isToned = clip => clip.tone >= 1 && clip.tone <= 4;  // so its contour can be judged

// ---- numbers ----

function num(value, digits = 0) {
  const options = {minimumFractionDigits: digits, maximumFractionDigits: digits};
  return value.toLocaleString('en', options).replace('-', '−');
}
function percent(share) {
  if (share > 0 && share < .0005) return '< 0.1 %';
  return num(100 * share, share < .1 ? 2 : 1) + ' %';
}
function counted(count, one, more = one + 's') {
  return num(count) + ' ' + (count === 1 ? one : more);
}
const sortedBy = (list, value) => list.map(value).sort((a, b) => a - b);
function quantile(sorted, share) {
  if (!sorted.length) return NaN;
  const at = share * (sorted.length - 1), below = Math.floor(at);
  const low = sorted[below], high = sorted[below + 1] ?? low;
  return low + (at - below) * (high - low);
}

// ---- elements ----

function make(tag, attributes = {}, ...children) {
  const isSvg = ['svg', 'path', 'text', 'circle'].includes(tag);
  const element = isSvg ? document.createElementNS('http://www.w3.org/2000/svg', tag) :
                          document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name === 'onclick') {
      element.addEventListener('click', value);
    } else {
      element.setAttribute(name, value);
    }
  }
  element.append(...children);
  return element;
}
function playButton(clip, text = clip.name) {
  const title = 'Play ' + clip.file;
  return make('button', {type: 'button', onclick: () => play(clip), title}, text);
}
const numberCell = text => make('td', {class: 'n'}, text);
const rowHead = (...children) => make('th', {scope: 'row'}, ...children);
const textHead = name => make('th', {scope: 'col'}, name);
const numberHead = name => make('th', {scope: 'col', class: 'n'}, name);
function table(caption, heads, rows) {
  const head = make('thead', {}, make('tr', {}, ...heads));
  return [make('caption', {}, caption), head, make('tbody', {}, ...rows)];
}

// Drawings have the width of their holder, and are drawn again when it changes.
const drawings = [];
function addDrawing(holder, height, draw) {
  drawings.push(() => {
    const width = Math.max(80, holder.clientWidth);
    const svg = make('svg', {viewBox: `0 0 ${width} ${height}`, height, role: 'img'});
    draw(svg, width, height);
    holder.querySelector('svg')?.remove();
    holder.append(svg);
  });
}
function drawAll() {
  for (const draw of drawings) draw();
}

// ---- head ----

function showTile(name, value, kind) {
  const shown = make('dd', kind ? {class: kind} : {}, value);
  $('tiles').append(make('div', {}, make('dt', {}, name), shown));
}

function showHead() {
  const {check, text} = data;
  $('origin').textContent = `${check.root}, seen by tts-voice ${data.version}`;
  document.title = 'Voice report: ' + check.root.replace(/\/+$/, '').replace(/.*\//, '');
  showTile('clips', num(clips.length));
  showTile('of sound', num(clips.reduce((sum, clip) => sum + clip.ms, 0) / 60000, 1) + ' min');
  showTile('on disk', num(check.clip_bytes / 1e6, 1) + ' MB');
  showTile('in memory', num((check.lexicon_bytes + check.greeting_bytes) / 1e6, 1) + ' MB');
  if (!text.lost) {
    showTile('of running text spoken', percent(text.share), text.missing.length ? 'warn' : '');
    showTile('characters, English words', num(text.lexicon) + ', ' + num(text.words));
  }
  const toned = clips.filter(isToned), good = toned.filter(clip => clip.fits);
  if (toned.length) showTile('tones with their contour', percent(good.length / toned.length));
  const worst = check.errors ? 'bad' : check.warnings ? 'warn' : '';
  showTile('errors, warnings', num(check.errors) + ', ' + num(check.warnings), worst);
}

// ---- findings ----

function detailsOf(code, findings) {
  const {level, effect, fix} = findings[0];  // the same for all of a code
  const isError = level === 'error';
  const rows = findings.map(finding => {
    const where = finding.file + (finding.line ? ':' + finding.line : '');
    return make('li', {}, make('code', {}, where), ': ' + finding.what);
  });
  const title = make('b', {class: isError ? 'bad' : 'warn'}, level);
  const count = ` (${num(findings.length)})`;
  return make(
      'details', isError ? {open: ''} : {},
      make('summary', {}, title, ' ', make('code', {}, code), count), make('ul', {}, ...rows),
      make(
          'dl', {class: 'pair'}, make('dt', {}, 'effect'), make('dd', {}, effect),
          make('dt', {}, 'fix'), make('dd', {}, fix)));
}

function showFindings() {
  const byCode = new Map();
  for (const finding of data.check.findings) {
    byCode.set(finding.code, [...(byCode.get(finding.code) ?? []), finding]);
  }
  for (const [code, findings] of byCode) $('findings').append(detailsOf(code, findings));
  if (byCode.size) return;
  const praise =
      'Nothing: every text finds its readings, every reading its clips, and no clip stands out.';
  $('findings').append(make('p', {}, praise));
}

// ---- running text ----

function tableOfMissing(missing) {
  const most = 300;
  const rows = missing.slice(0, most).map(([character, share, why]) => {
    const head = make('th', {scope: 'row', class: 'han', lang: 'zh'}, character);
    return make('tr', {}, head, numberCell(percent(share)), make('td', {}, why));
  });
  const caption = counted(missing.length, 'character') + ' missing, the commonest first' +
      (missing.length > most ? `; the first ${most}` : '');
  const heads = [textHead('character'), numberHead('of running text'), textHead('why')];
  return make('table', {}, ...table(caption, heads, rows));
}

function showRunningText() {
  const {lost, share, characters, missing} = data.text;
  if (lost) {
    $('text').append(make('p', {class: 'bad'}, 'Not measured: ' + lost));
    return;
  }
  const spoken = ' of the characters of running text are spoken in every place: ' +
      `${num(characters - missing.length)} of the ${
                     num(characters)} characters of a frequency list.`;
  $('text').append(make('p', {}, make('b', {}, percent(share)), spoken));
  if (!missing.length) return;
  const label = 'Missing characters';
  const region = {class: 'scroll', tabindex: 0, role: 'region', 'aria-label': label};
  $('text').append(make('div', region, tableOfMissing(missing)));
}

// ---- tones ----

// A family has the clips of a tone in one place and, at each step of the time axis, the quantiles
// of their pitch in semitones over the first tone.
const steps = 24;
const families = new Map();
const familyKey = (tone, place) => tone + ' ' + place;
const everyStep = value => Array.from({length: steps + 1}, (_, step) => value(step));
function contourOf(clip) {
  const semitones = clip.track.map(hz => 12 * Math.log2(hz / data.high_hz));
  return everyStep(step => quantile(semitones, step / steps));
}
const canDraw = clip => clip.track.length > 1 && data.high_hz > 0;

function collectFamilies() {
  for (const clip of clips.filter(clip => clip.tone)) {
    const key = familyKey(clip.tone, clip.group);
    if (!families.has(key)) families.set(key, {clips: []});
    families.get(key).clips.push(clip);
  }
  for (const family of families.values()) {
    const contours = family.clips.filter(canDraw).map(contourOf);
    const across = share =>
        everyStep(step => quantile(sortedBy(contours, contour => contour[step]), share));
    family.isDrawn = contours.length > 0;
    [family.low, family.middle, family.high] = [.1, .5, .9].map(across);
  }
}
collectFamilies();
const bounds = [...families.values()].filter(f => f.isDrawn).flatMap(f => [...f.low, ...f.high]);
const lowestSemitone = Math.min(-12, Math.floor(Math.min(...bounds) - 1));
const highestSemitone = Math.max(3, Math.ceil(Math.max(...bounds) + 1));

// The band of a family, and contours of single clips over it: `lines` has pairs of a clip and the
// class of its line.
function drawContours(svg, width, height, family, lines) {
  const margin = 2, range = highestSemitone - lowestSemitone;
  const x = step => margin + step / steps * (width - 2 * margin);
  const y = semitones => {
    const shown = Math.max(lowestSemitone, Math.min(highestSemitone, semitones));
    return (highestSemitone - shown) / range * (height - 2 * margin) + margin;
  };
  const points = contour => contour.map((s, k) => x(k).toFixed(1) + ' ' + y(s).toFixed(1));
  const path = contour => 'M' + points(contour).join('L');
  for (let line = Math.ceil(lowestSemitone / 6) * 6; line < highestSemitone; line += 6) {
    svg.append(make('path', {class: 'grid', d: `M0 ${y(line)}H${width}`}));
    svg.append(make('text', {x: 3, y: y(line) - 2}, num(line)));
  }
  if (family?.isDrawn) {
    const band = path(family.high) + 'L' + points(family.low).reverse().join('L') + 'Z';
    svg.append(make('path', {class: 'band', d: band}));
    svg.append(make('path', {class: 'middle', d: path(family.middle)}));
  }
  for (const [clip, kind] of lines.filter(([clip]) => canDraw(clip))) {
    svg.append(make('path', {class: kind, d: path(contourOf(clip))}));
  }
}

function figureOfFamily(tone, place) {
  const figure = make('figure'), family = families.get(familyKey(tone, place));
  if (!family) return figure;
  const good = family.clips.filter(clip => clip.fits), title = `${toneNames[tone]}, ${place}`;
  const count = tone < 5 ? `${num(good.length)} of ${num(family.clips.length)}` :
                           counted(family.clips.length, 'clip');
  const ms = num(quantile(sortedBy(family.clips, clip => clip.ms), .5));
  const caption = [make('b', {}, title), make('br'), `${count}, ${ms}\u00a0ms`];
  figure.append(make('figcaption', {}, ...caption));
  const misses = family.clips.filter(clip => !clip.fits).map(clip => [clip, 'miss']);
  const [from, to] = [family.middle[0], family.middle[steps]].map(value => num(value, 1));
  addDrawing(figure, 110, (svg, width, height) => {
    const label = `Pitch of ${title.toLowerCase()}: from ${from} to ${to} semitones`;
    svg.setAttribute('aria-label', label);
    drawContours(svg, width, height, family, misses);
  });
  return figure;
}

function showTones() {
  if (!(data.high_hz > 0)) {
    $('tones-intro').textContent = 'There is no first tone to judge the others by.';
    return;
  }
  $('tones-intro').textContent =
      `The first tone is at ${num(data.high_hz)} Hz, the line 0; the others are semitones below ` +
      'it. Each panel has the median contour of a tone in one place of the sentence, from the ' +
      'start of the voiced part to its end, and between the edges of the band 80 % of the clips; ' +
      'red are those that miss the contour of their tone.';
  for (let tone = 1; tone <= 5; ++tone) {
    $('tones').append(...places.map(place => figureOfFamily(tone, place)));
  }
  const missing = clips.filter(clip => isToned(clip) && !clip.fits);
  const buttons = missing.length ? missing.map(clip => playButton(clip)) : ['None.'];
  $('misses').append(make('h3', {}, 'Without the contour of their tone'));
  $('misses').append(make('p', {class: 'clips'}, ...buttons));
}

// ---- all clips ----

// `grain` is the least spread that counts, of the logarithm where `log` is set.
const measures = [
  {key: 'ms', title: 'Duration', unit: 'ms', digits: 0, log: true, grain: .05},
  {key: 'db', title: 'Loudness', unit: 'dBFS', digits: 1, log: false, grain: .5},
  {key: 'hz', title: 'Pitch', unit: 'Hz', digits: 0, log: true, grain: .03}
];
// Why a clip has no value; empty when it has one.
const lacks = {
  ms: () => '',
  db: clip => clip.db < -60 ? 'silent' : '',
  hz: clip => clip.hz ? '' : 'none'
};
for (const m of measures) {
  m.of = clip => clip[m.key];
  m.lack = lacks[m.key];
  m.scale = m.log ? value => Math.log(Math.max(value, 1)) : value => value;
  m.sorted = list => sortedBy(list.filter(clip => !m.lack(clip)), m.of);
  m.text = clip => m.lack(clip) || num(m.of(clip), m.digits);
}

// The clips far from the others of their tone and place, by robust standard deviations, the
// farthest first.
function outliersOf(measure) {
  const leastMembers = 10, mostSpreads = 5, spreadOfDeviation = 1.48;
  const similar = new Map(), outliers = [];
  for (const clip of clips) {
    if (clip.group === 'pauses' || measure.lack(clip)) continue;
    const key = familyKey(clip.tone, clip.group);
    similar.set(key, [...(similar.get(key) ?? []), clip]);
  }
  for (const list of similar.values()) {
    if (list.length < leastMembers) continue;
    const value = clip => measure.scale(measure.of(clip));
    const middle = quantile(sortedBy(list, value), .5);
    const deviation = clip => Math.abs(value(clip) - middle);
    const usual = spreadOfDeviation * quantile(sortedBy(list, deviation), .5);
    const spread = Math.max(measure.grain, usual);
    for (const clip of list) {
      const spreads = deviation(clip) / spread;
      if (spreads > mostSpreads) outliers.push([spreads, clip]);
    }
  }
  return outliers.sort((a, b) => b[0] - a[0]).map(([, clip]) => clip);
}

// Some four round values between two others.
function ticksBetween(least, most, log) {
  const inside = value => value >= least && value <= most;
  if (log && most > 8 * least) {
    return [1, 3, 10, 30, 100, 300, 1000, 3000, 10000, 30000].filter(inside);
  }
  const rough = (most - least) / 4, ten = 10 ** Math.floor(Math.log10(rough || 1));
  const step = ten * [1, 2, 5, 10].find(factor => factor * ten >= rough);
  const first = Math.ceil(least / step);
  return Array.from({length: 7}, (_, k) => (first + k) * step).filter(inside);
}

// A point for each clip, one column for each group. Clips without a value have a lane at the
// bottom. Returns the points.
function drawPlot(measure, svg, width, height) {
  const lacking = clips.find(measure.lack), all = measure.sorted(clips);
  const least = all[0], most = all[all.length - 1];
  const left = 40, bottom = lacking ? 40 : 22, column = (width - left) / groups.length;
  const lane = height - 28, span = measure.scale(most) - measure.scale(least) || 1;
  const y = value => {
    const share = (measure.scale(most) - measure.scale(value)) / span;
    return 10 + share * (height - bottom - 20);
  };
  const label = (at, text) => make('text', {x: left - 5, y: at + 4, 'text-anchor': 'end'}, text);
  if (lacking) svg.append(label(lane, measure.lack(lacking)));
  for (const tick of ticksBetween(least, most, measure.log)) {
    svg.append(make('path', {class: 'grid', d: `M${left} ${y(tick)}H${width}`}));
    svg.append(label(y(tick), num(tick)));
  }
  const points = [];
  let medians = '';
  groups.forEach((group, g) => {
    const start = left + g * column, list = clipsOfGroup(group), sorted = measure.sorted(list);
    const title = {x: start + column / 2, y: height - 6, 'text-anchor': 'middle'};
    svg.append(make('text', title, column < 58 ? shortGroupNames[group] : group));
    list.forEach((clip, k) => {
      const x = start + column * (.08 + .84 * (k + .5) / list.length);
      points.push({x, y: measure.lack(clip) ? lane : y(measure.of(clip)), clip});
    });
    if (!sorted.length) return;
    medians += `M${start + column * .05} ${y(quantile(sorted, .5)).toFixed(1)}h${column * .9}`;
  });
  const d = points.map(point => `M${point.x.toFixed(1)} ${point.y.toFixed(1)}h0`).join('');
  const size = clips.length > 2000 ? 2.4 : 4;
  svg.append(make('path', {class: 'dots', d, 'stroke-width': size, 'data-measure': measure.key}));
  svg.append(make('path', {class: 'tick', d: medians}));
  return points;
}

// Marks the point near the pointer, names it in `caption`, and plays it when it is pressed.
function followPointer(svg, points, measure, caption) {
  const reach = 20;  // pixels
  const cursor = make('circle', {class: 'cursor', r: 5, visibility: 'hidden'});
  svg.append(cursor);
  const pointAt = event => {
    const box = svg.getBoundingClientRect();
    const x = event.clientX - box.left, y = event.clientY - box.top;
    let nearest = null, least = reach ** 2;
    for (const point of points) {
      const distance = (point.x - x) ** 2 + (point.y - y) ** 2;
      if (distance < least) [nearest, least] = [point, distance];
    }
    return nearest;
  };
  const mark = point => {
    cursor.setAttribute('visibility', point ? 'visible' : 'hidden');
    svg.style.cursor = point ? 'pointer' : '';
    caption.textContent = point ? `${point.clip.name}: ${measure.text(point.clip)}` : '';
    if (!point) return;
    cursor.setAttribute('cx', point.x);
    cursor.setAttribute('cy', point.y);
  };
  svg.addEventListener('pointermove', event => mark(pointAt(event)));
  svg.addEventListener('pointerleave', () => mark(null));
  svg.addEventListener('click', event => {
    const point = pointAt(event);
    if (point) play(point.clip);
  });
}

function showPlot(measure) {
  const holder = make('figure'), caption = make('span', {class: 'faint'});
  $('plots').append(make('h3', {}, `${measure.title}, ${measure.unit} `, caption), holder);
  const outliers = outliersOf(measure), most = 12;
  if (outliers.length) {
    const intro = counted(outliers.length, 'clip is', 'clips are') +
        ' far from the others of the same tone and place' +
        (outliers.length > most ? ', first the farthest: ' : ': ');
    const buttons =
        outliers.slice(0, most).map(clip => playButton(clip, clip.name + ' ' + measure.text(clip)));
    const line = make('p', {class: 'clips'}, make('span', {class: 'faint'}, intro), ...buttons);
    $('plots').append(line);
  }
  if (!measure.sorted(clips).length) {
    holder.append('None.');
    return;
  }
  addDrawing(holder, 190, (svg, width, height) => {
    const label = `${measure.title} of ${counted(clips.length, 'clip')}`;
    svg.setAttribute('aria-label', label + '; the table below has the figures');
    followPointer(svg, drawPlot(measure, svg, width, height), measure, caption);
  });
}

function showFigures() {
  const titles = measures.map(measure => `${measure.title.toLowerCase()}, ${measure.unit}`);
  const figuresOf = (measure, list) => {
    const sorted = measure.sorted(list);
    if (!sorted.length) return '–';
    return [.05, .5, .95].map(q => num(quantile(sorted, q), measure.digits)).join(' · ');
  };
  const rows = groups.map(group => {
    const list = clipsOfGroup(group);
    const figures = measures.map(measure => numberCell(figuresOf(measure, list)));
    return make('tr', {}, rowHead(group), numberCell(num(list.length)), ...figures);
  });
  const caption = '5 % of the clips are below the first of three figures, half below the second, ' +
      '95 % below the third; clips without pitch are left out of its column';
  const heads = [textHead('place'), ...['clips', ...titles].map(numberHead)];
  $('figures').append(...table(caption, heads, rows));
}

// ---- the player ----

let sounds = null;  // megabytes: read when the first clip is played

function play(clip) {
  sounds ??= JSON.parse($('sounds').textContent);
  const repeated = clip.says.startsWith(clip.name) ? clip.name.length : 0;
  const says = make('span', {lang: 'zh'}, clip.says.slice(repeated));
  const figures =
      `${num(clip.ms)} ms, ${num(clip.db, 1)} dBFS` + (clip.hz ? `, ${num(clip.hz)} Hz` : '');
  $('now').replaceChildren(
      make('b', {}, clip.name), ' ', says, make('br'), make('span', {class: 'faint'}, figures));
  $('own').replaceChildren();
  const family = families.get(familyKey(clip.tone, clip.group));
  if (family && canDraw(clip)) {
    const width = 144, height = 60, label = 'Its pitch, over that of its tone';
    const box = {viewBox: `0 0 ${width} ${height}`, height, role: 'img', 'aria-label': label};
    const svg = make('svg', box);
    drawContours(svg, width, height, family, [[clip, 'own']]);
    $('own').append(svg);
  }
  $('audio').src = 'data:audio/mpeg;base64,' + sounds[clip.index];
  // Where the browser does not let it start by itself, the player's button remains.
  $('audio').play().catch(() => {});
}

function showClipList() {
  const most = 200, wanted = $('search').value.trim().toLowerCase();
  const found =
      clips.filter(clip => [clip.file, clip.says].some(t => t.toLowerCase().includes(wanted)));
  const rank = ({name}) => name === wanted ? 0 : name.startsWith(wanted) ? 1 : 2;
  if (wanted) found.sort((a, b) => rank(a) - rank(b) || a.name.length - b.name.length);
  const rows = found.slice(0, most).map(clip => {
    const cells = [num(clip.ms), num(clip.db, 1), clip.hz ? num(clip.hz) : '–'].map(numberCell);
    const says = make('td', {lang: 'zh'}, clip.says);
    return make('tr', {}, rowHead(playButton(clip, '▶ ' + clip.name)), says, ...cells);
  });
  const caption = counted(found.length, 'clip') +
      (found.length > most ? `, the first ${most} of them here` : '');
  const heads = [...['clip', 'says'].map(textHead), ...['ms', 'dBFS', 'Hz'].map(numberHead)];
  $('list').replaceChildren(...table(caption, heads, rows));
}

showHead();
showFindings();
showRunningText();
showTones();
for (const measure of measures) showPlot(measure);
showFigures();
$('search').addEventListener('input', showClipList);
showClipList();
drawAll();
let width = document.body.clientWidth;
new ResizeObserver(() => {
  if (document.body.clientWidth === width) return;  // only the height changed
  width = document.body.clientWidth;
  drawAll();
}).observe(document.body);
