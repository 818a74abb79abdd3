// Opens the page of tts-voice report in a browser.
// Usage: report_test.js PAGE VOICE SCREENSHOT_DIR SHARE_OF_TEXT BARE_PAGE ODD_PAGE
// VOICE lacks the clip hao3_2; BARE_PAGE is of a directory without a voice, ODD_PAGE of one clip
// with markup for a name.
'use strict';
const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const {pathToFileURL} = require('node:url');
const {chromium} = require('playwright-core');
const [page_file, voice, screenshots, share, bare_file, odd_file] = process.argv.slice(2);
const clipsIn = directory =>
    fs.readdirSync(path.join(voice, directory)).filter(name => name !== 'greetings.ini').length;
const clips = clipsIn('pinyinRaw') + clipsIn('engRaw') + clipsIn('greetingRaw');

async function open(browser, file, width, colorScheme) {
  const url = pathToFileURL(path.resolve(file)).href;
  const page = await browser.newPage({viewport: {width, height: 800}, colorScheme});
  const troubles = [];
  page.on('console', message => troubles.push(message.text()));
  page.on('pageerror', error => troubles.push(error.stack));
  page.on('request', request => {
    if (request.url() !== url && !request.url().startsWith('data:')) troubles.push(request.url());
  });
  await page.goto(url);
  return [page, troubles];
}

async function look(browser, name, width, colorScheme) {
  const [page, troubles] = await open(browser, page_file, width, colorScheme);
  for (const measure of ['ms', 'db', 'hz']) {
    const points = await page.locator(`path[data-measure=${measure}]`).getAttribute('d');
    assert.equal(points.split('M').length - 1, clips, `points of the plot of ${measure}`);
    assert(!points.includes('NaN'), measure);
  }
  const text = await page.locator('#text').innerText();
  assert(text.includes(share + ' of the characters of running text'), `not ${share}: ${text}`);
  assert.match(text, /好\s+0\.37 %\s+pinyinRaw\/hao3_2 cannot be played/);
  const findings = await page.locator('#findings').innerText();
  assert.match(findings, /error phone-without-clip \(1\)\s+yinsu\.txt:\d+: .*hao3_2/);

  await page.fill('#search', '妈');
  await page.locator('#list button').first().click();
  const lasts = await page.waitForFunction(
      () => document.getElementById('audio').duration, null, {timeout: 10000});
  const seconds = fs.statSync(path.join(voice, 'pinyinRaw', 'ma1')).size / 32000;
  assert(
      Math.abs(await lasts.jsonValue() - seconds) < 0.001, `ma1 lasts ${seconds} s, not ${lasts}`);
  await page.waitForFunction(() => document.getElementById('audio').ended, null, {timeout: 10000});

  const shown = await page.evaluate(() => document.documentElement.scrollWidth);
  assert(shown <= width, `${name}: wider than the window`);
  await page.screenshot({path: path.join(screenshots, `report-${name}.png`), fullPage: true});
  assert.deepEqual(troubles, [], name);
}

(async () => {
  const executablePath = process.env.CHROMIUM;
  const browser = await chromium.launch({executablePath, args: ['--no-sandbox']});
  try {
    await look(browser, 'light', 1100, 'light');
    await look(browser, 'dark', 1100, 'dark');
    await look(browser, 'narrow', 400, 'light');
    const [bare, troubles] = await open(browser, bare_file, 800, 'light');
    assert.match(await bare.locator('#findings').innerText(), /error directory-missing \(3\)/);
    assert.deepEqual(troubles, [], 'page without clips');
    const [odd, odd_troubles] = await open(browser, odd_file, 800, 'light');
    odd.on('dialog', dialog => odd_troubles.push(dialog.message()));
    await odd.locator('#list button').click();
    assert.match(await odd.locator('#now').innerText(), /^'"><img src=x onerror="alert\(1\)">好/);
    assert.equal(await odd.locator('img').count() + await odd.locator('script').count(), 3);
    assert.deepEqual(odd_troubles, [], 'page of odd names');
  } finally {
    await browser.close();
  }
})().catch(error => {
  console.error(error);
  process.exitCode = 1;
});
