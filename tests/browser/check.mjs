// usage: node check.mjs BROWSER DIRECTORY
// Opens each page of DIRECTORY (*.html) in the browser, from disk, as a reader does, and checks what a
// report promises. Then it spoils a page in one way after the other, and each check must notice.
import { execFileSync } from 'node:child_process';
import { readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { basename, join } from 'node:path';
import { pathToFileURL } from 'node:url';
import puppeteer from 'puppeteer-core';

const axeSource = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const [executablePath, directory] = process.argv.slice(2);

function expect(condition, complaint) {
  if (!condition) throw new Error(complaint);
}

// Opens a page of its own for each check, so that none sees what another has done.
async function open(browser, file, { scripts = true, width = 1280, height = 800, dark = false } = {}) {
  const page = await browser.newPage();
  const seen = { requests: [], complaints: [] };
  page.on('request', (request) => seen.requests.push(request.url().slice(0, 100)));
  page.on('pageerror', (error) => seen.complaints.push(String(error)));
  page.on('dialog', (dialog) => { seen.complaints.push('a dialog'); dialog.dismiss(); });
  page.on('console', (message) => seen.complaints.push(message.text()));
  await page.setJavaScriptEnabled(scripts);
  await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: dark ? 'dark' : 'light' }]);
  await page.setViewport({ width, height });
  await page.goto(pathToFileURL(file).href, { waitUntil: 'load' });
  return { page, seen };
}

const checks = {
  async 'nothing is fetched, and the console is empty'(browser, file) {
    const { page, seen } = await open(browser, file);
    await page.evaluate(() => document.querySelectorAll('details').forEach((e) => { e.open = true; }));
    await new Promise((resolve) => setTimeout(resolve, 100));
    expect(seen.requests.length === 1, `fetched: ${seen.requests.slice(1)}`);
    expect(seen.complaints.length === 0, `console: ${seen.complaints}`);
    expect(!(await page.title()).includes('owned'), 'a text was executed');
    const policy = await page.$eval('meta[http-equiv]', (e) => e.content).catch(() => '');
    expect(policy.startsWith("default-src 'none'"), 'there is no policy');
    await page.close();
  },

  async 'the first failure is in sight'(browser, file) {
    const { page } = await open(browser, file);
    const place = await page.evaluate(() => {
      const failure = document.querySelector('table.matrix .failed, table.matrix .notrun');
      const box = failure && failure.getBoundingClientRect();
      return box && { bottom: box.bottom, right: box.right, width: box.width };
    });
    const failures = await page.$$eval('section.failure', (e) => e.length);
    expect(place || failures === 0, 'the matrix shows no failure');
    expect(!place || (place.width > 0 && place.bottom <= 800 && place.right <= 1280),
      `it is at ${JSON.stringify(place)}`);
    await page.close();
  },

  async 'links lead where they say'(browser, file) {
    const { page } = await open(browser, file);
    const wrong = await page.evaluate(() => Array.from(document.querySelectorAll('a')).filter((link) => {
      const target = document.getElementById(link.getAttribute('href').slice(1));
      if (link.getAttribute('href')[0] !== '#' || !target) return true;
      if (!target.matches('section.failure')) return false;
      const row = link.closest('table.matrix tr');
      const name = row ? row.querySelector('.name').textContent : link.textContent;
      return !target.querySelector('h3').textContent.startsWith(name.slice(0, 8));
    }).map((link) => link.outerHTML.slice(0, 200)));
    expect(wrong.length === 0, `wrong: ${wrong}`);
    const link = await page.$('table.matrix a');
    if (link) {
      await link.focus();
      await page.keyboard.press('Enter');
      await page.waitForFunction(() => {
        const target = document.querySelector('section:target');
        const top = target ? target.getBoundingClientRect().top : -1;
        return top >= -1 && top < innerHeight; // the last section need not be at the top
      }, { timeout: 5000 }).catch(() => { throw new Error('the link does not lead to its section'); });
    }
    await page.close();
  },

  async 'the filter works with the keyboard'(browser, file) {
    const { page } = await open(browser, file);
    const visible = (selector) => page.evaluate((wanted) => Array.from(document.querySelectorAll(wanted))
      .filter((item) => item.checkVisibility()).length, selector);
    const rows = await visible('table.matrix tbody tr');
    const names = await page.evaluate(() => Array.from(document.querySelectorAll('table.matrix tbody th'))
      .map((item) => item.textContent.toUpperCase()));
    for (let step = 0; step < 20; ++step) {
      await page.keyboard.press('Tab');
      if (await page.evaluate(() => document.activeElement.id === 'pattern')) break;
    }
    expect(await page.evaluate(() => document.activeElement.id === 'pattern'), 'no way leads to it');
    const typed = names[names.length - 1].split(' ')[0].slice(0, 9);
    await page.keyboard.type(typed);
    const expected = names.filter((name) => name.includes(typed)).length;
    const telling = `${expected} of ${names.length} scripts`;
    const says = (text) => page.waitForFunction((wanted) => {
      const told = document.querySelector('#filter output').textContent;
      return wanted === '' ? told === '' : told.startsWith(wanted);
    }, { timeout: 10000 }, text).catch(() => { throw new Error(`it does not say '${text}'`); });
    await says(telling);
    const found = await visible('table.matrix tbody tr');
    expect(found === expected && found > 0, `${found} rows are there, not ${expected}`);
    await page.keyboard.press('Escape');
    await says('');
    expect(await visible('table.matrix tbody tr') === rows, 'not all rows come back');
    await page.keyboard.type('no such name');
    await says(`0 of ${names.length} scripts, 0 of `);
    expect(await visible('section.failure, table.matrix tbody tr') === 0, 'something stays');
    await page.close();
  },

  async 'it is readable with scripts switched off'(browser, file) {
    const { page } = await open(browser, file, { scripts: false });
    expect(await page.$('#pattern, input') === null, 'there is a box that cannot work');
    const hidden = await page.evaluate(() => Array.from(document.querySelectorAll('section, table, pre, svg'))
      .filter((item) => !item.closest('details') && !item.checkVisibility()).length);
    expect(hidden === 0, `${hidden} parts are hidden`);
    const summary = await page.$('#others summary');
    if (summary) {
      await summary.focus();
      await page.keyboard.press('Enter');
      expect(await page.$eval('#others', (item) => item.open), 'the folded scripts do not open');
    }
    await page.close();
  },

  async 'a phone need not scroll sideways'(browser, file) {
    const { page } = await open(browser, file, { width: 360, height: 740 });
    const width = await page.evaluate(() => document.documentElement.scrollWidth);
    expect(width <= 360, `the page is ${width} wide`);
    await page.close();
  },

  async 'all sections are in print'(browser, file) {
    const { page } = await open(browser, file);
    const heading = 'To run it again';
    const sections = await page.$$eval('h4',
      (items, wanted) => items.filter((item) => item.textContent === wanted).length, heading);
    const titles = await page.$$eval('h2', (items) => items.map((item) => item.textContent));
    await page.pdf({ path: `${file}.pdf`, format: 'A4' });
    await page.close();
    const squeezed = (words) => words.replace(/\s/g, '');
    const text = squeezed(execFileSync('pdftotext', [`${file}.pdf`, '-'], { maxBuffer: 1 << 28 }).toString());
    const printed = text.split(squeezed(heading)).length - 1;
    expect(printed === sections, `${printed} failures of ${sections}`);
    const missing = titles.filter((title) => !text.includes(squeezed(title)));
    expect(missing.length === 0, `missing: ${missing}`);
  },

  async 'axe finds nothing, in light'(browser, file) { await findWithAxe(browser, file, false); },
  async 'axe finds nothing, in dark'(browser, file) { await findWithAxe(browser, file, true); },
};

async function findWithAxe(browser, file, dark) {
  const { page } = await open(browser, file, { dark });
  await page.evaluate(() => document.querySelectorAll('details').forEach((e) => { e.open = true; }));
  await page.evaluate(axeSource);
  const violations = await page.evaluate(async () => (await window.axe.run(document,
    { resultTypes: ['violations'] })).violations.map(
    (found) => `${found.id}: ${found.nodes.slice(0, 3).map(
      (node) => `${node.html.slice(0, 150)} (${node.any.map((reason) => reason.message)})`).join(' | ')}`));
  expect(violations.length === 0, violations.join('\n'));
  await page.close();
}

// Too slow, and no different, for a page with thousands of rows.
const notForLargePages = ['axe finds nothing, in light', 'axe finds nothing, in dark', 'all sections are in print'];
const large = 1000 * 1000;

// Each spoils a page so that a check must fail. Whatever is added needs a page without its policy.
const withoutPolicy = (page) => page.replace(/<meta http-equiv="Content-Security-Policy"[^>]*>/, '');
const styled = (page, rules) => withoutPolicy(page).replace('</style>', `${rules}</style>`);
const spoiled = [
  ['nothing is fetched, and the console is empty',
    (page) => page.replace('<main>', '<main><img alt="" src="http://127.0.0.1:9/x"/>')],
  ['nothing is fetched, and the console is empty',
    (page) => withoutPolicy(page).replace('<main>', '<main><script>throw 1</script>')],
  ['nothing is fetched, and the console is empty', (page) => withoutPolicy(page)],
  ['the first failure is in sight', (page) => styled(page, 'header { height: 800px; }')],
  ['links lead where they say', (page) => page.replace('id="f2"', 'id="g2"')],
  ['links lead where they say', (page) => page.replace('href="#f1"', 'href="#f3"')],
  ['the filter works with the keyboard', (page) => page.replace('div id="filter"', 'div id="other"')],
  ['the filter works with the keyboard', (page) => withoutPolicy(page).replace('item.hidden = !', 'item.hidden = ')],
  ['it is readable with scripts switched off', (page) => page.replace('id="filter">', 'id="filter"><input/>')],
  ['it is readable with scripts switched off', (page) => styled(page, 'section.failure { display: none; }')],
  ['a phone need not scroll sideways', (page) => styled(page, 'h1 { width: 400px; }')],
  ['all sections are in print', (page) => styled(page, '@media print { section.failure { display: none; } }')],
  ['axe finds nothing, in light', (page) => styled(page, ':root { --pale: #aaaaaa; }')],
  ['axe finds nothing, in dark', (page) => styled(page,
    '@media (prefers-color-scheme: dark) { :root { --pale: #444444; } }')],
  ['axe finds nothing, in light', (page) => page.replace('<html lang="en">', '<html>')],
];

async function outcomeOf(check, browser, file) {
  try {
    await checks[check](browser, file);
    return '';
  } catch (error) {
    return error.message || String(error);
  }
}

async function checkPages(browser, files) {
  let failures = 0;
  for (const file of files) {
    const isLarge = readFileSync(file).length > large;
    for (const check of Object.keys(checks)) {
      if (isLarge && notForLargePages.includes(check)) continue;
      const complaint = await outcomeOf(check, browser, file);
      if (complaint === '') continue;
      console.error(`${basename(file)}: not so: ${check}: ${complaint}`);
      ++failures;
    }
  }
  return failures;
}

async function checkTheChecks(browser, file) {
  let failures = 0;
  const page = readFileSync(file, 'utf8');
  for (const [check, spoil] of spoiled) {
    const copy = join(directory, 'spoiled.html');
    writeFileSync(copy, spoil(page));
    if (spoil(page) !== page && await outcomeOf(check, browser, copy) !== '') continue;
    console.error(`not noticed in a spoiled page: ${check}: ${spoil}`);
    ++failures;
  }
  return failures;
}

const files = readdirSync(directory).filter((name) => name.endsWith('.html') && name !== 'spoiled.html')
  .sort().map((name) => join(directory, name));
expect(files.length > 0, `no pages in ${directory}`);
const isRoot = process.getuid() === 0;
const browser = await puppeteer.launch({
  executablePath,
  headless: true,
  pipe: true,
  userDataDir: join(directory, 'profile'),
  args: isRoot ? ['--no-sandbox'] : [], // the browser's sandbox does not work for root
});
let failures = 0;
try {
  failures = await checkPages(browser, files);
  const rich = files.find((name) => basename(name) === 'rich.html');
  if (failures === 0 && rich) failures = await checkTheChecks(browser, rich);
} finally {
  await browser.close();
}
const isSpoiled = files.some((name) => basename(name) === 'rich.html');
if (failures === 0) {
  console.log(`pages: ${files.length}, checks: ${Object.keys(checks).length}, ` +
    `spoiled pages, all noticed: ${isSpoiled ? spoiled.length : 0}`);
}
process.exit(failures === 0 ? 0 : 1);
