// The page in a real browser, used as a person would. Expected bytes are those of the C library's iconv.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import {
    closeSync, existsSync, mkdirSync, mkdtempSync, openSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync,
    writeSync,
} from 'node:fs';
import { createServer } from 'node:http';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, beforeEach, describe, test } from 'node:test';
import { unzipSync } from 'fflate';
import { launch, serve } from './support/chromium.js';
import { root } from './support/package.js';

/** @import { Browser, ElementHandle, Page } from 'puppeteer-core' */

const axe = createRequire(import.meta.url).resolve('axe-core/axe.min.js');
const folder = mkdtempSync(join(tmpdir(), 'zucharset-page-'));
const saved = join(folder, 'saved');
const shots = process.env.SCREENSHOTS ?? join(root, 'build/web/screenshots');
mkdirSync(saved);
mkdirSync(shots, { recursive: true });

/** @type {Browser} */
let browser;
/** @type {{url: string, stop: () => Promise<void>}} */
let server;
/** @type {Page} */
let page;
/** @type {string[]} what the page complained of */
let complaints = [];

before(async () => {
    server = await serve(join(root, 'build/web/page'));
    browser = await launch();
});
after(async () => {
    await browser?.close();
    await server?.stop();
    rmSync(folder, { recursive: true, force: true });
});
beforeEach(async () => {
    await page?.browserContext().close();
    complaints = [];
    page = await open();
});

/** @returns {Promise<Page>} the page as at a first visit */
async function open() {
    const context = await browser.createBrowserContext({ downloadBehavior: { policy: 'allow', downloadPath: saved } });
    const made = await context.newPage();
    made.on('pageerror', (error) => complaints.push(String(error)));
    made.on('console', (message) => {
        if (['error', 'warn'].includes(message.type()))
            complaints.push(message.text());
    });
    await made.setViewport({ width: 1100, height: 850 });
    await made.emulateMediaFeatures([{ name: 'prefers-reduced-motion', value: 'reduce' }]);
    await made.goto(server.url);
    await made.waitForSelector('body.ready');
    return made;
}

const subtitle = (/** @type {string} */ name) => join(root, `samples/subtitles/${name}.srt`);
const iconv = (/** @type {string} */ from, /** @type {string} */ to, /** @type {Uint8Array} */ input) =>
    execFileSync('iconv', ['-f', from, '-t', to], { input, maxBuffer: 1 << 26 });
const master = (/** @type {string} */ name) => readFileSync(join(root, `samples/text/${name}.txt`));

/** @param {string} name @param {Uint8Array | string} bytes @returns {string} where the file is */
function file(name, bytes) {
    const path = join(folder, name);
    writeFileSync(path, bytes);
    return path;
}

/** Drops files on the page, as the system does. @param {string[]} files */
async function drop(files) {
    const session = await page.createCDPSession();
    const data = { items: [], files, dragOperationsMask: 1 };
    for (const type of /** @type {const} */ (['dragEnter', 'dragOver', 'drop']))
        await session.send('Input.dispatchDragEvent', { type, x: 400, y: 300, data });
    await session.detach();
}

/** @param {...string} files chosen by the button */
async function choose(...files) {
    const input = /** @type {ElementHandle<HTMLInputElement>} */ (await page.$('#files'));
    await input.uploadFile(...files);
}

/** @param {number} count of cards that have been read */
const settled = (count, timeout = 30000) => page.waitForFunction((wanted) =>
    document.querySelectorAll('.card:not([data-state="waiting"], [data-state="reading"])').length === wanted,
{ timeout }, count);

/** @param {string} name of a file @returns {Promise<ElementHandle<Element>>} */
async function card(name) {
    const found = await page.evaluateHandle((wanted) => [...document.querySelectorAll('.card')].find(
        (each) => each.querySelector('.name')?.textContent === wanted), name);
    return /** @type {ElementHandle<Element>} */ (found.asElement());
}

/** @param {string} name @param {string} selector @returns {Promise<string>} */
const words = async (name, selector) => (await card(name)).$eval(selector, (part) => part.textContent ?? '');

/** @param {string} name @param {string} selector */
async function click(name, selector) {
    const button = /** @type {ElementHandle<Element>} */ (await (await card(name)).$(selector));
    await button.click();
}

/** @param {string} name @returns {Promise<Buffer>} a saved file, once it is whole */
async function download(name) {
    const path = join(saved, name);
    for (let tries = 0; tries < 300; ++tries) {
        if (existsSync(path) && !readdirSync(saved).some((each) => each.endsWith('.crdownload'))) {
            const bytes = readFileSync(path);
            rmSync(path);
            return bytes;
        }
        await new Promise((resolve) => setTimeout(resolve, 100));
    }
    throw new Error(`${name} was not saved; there is ${readdirSync(saved).join(', ')}`);
}

async function checkAccessibility() {
    await page.evaluate(readFileSync(axe, 'utf8'));
    const violations = await page.evaluate(async () => {
        const { violations: found } = await /** @type {any} */ (globalThis).axe.run();
        return found.map((/** @type {any} */ { id, nodes }) => `${id}: ${nodes[0].html} ${nodes[0].failureSummary}`);
    });
    assert.deepEqual(violations, []);
}

/** The largest time between two turns of the page's own thread, while something goes on. */
async function watchTurns() {
    await page.evaluate(() => {
        const state = { last: performance.now(), most: 0 };
        /** @type {any} */ (globalThis).turns = state;
        setInterval(() => {
            const now = performance.now();
            state.most = Math.max(state.most, now - state.last);
            state.last = now;
        }, 10);
    });
    return () => page.evaluate(() => /** @type {any} */ (globalThis).turns.most);
}

test('drop files, read them, take another reading, save one and all', async () => {
    const japanese = file('japanese.txt', iconv('UTF-8', 'SHIFT_JIS', master('japanese')));
    await drop([subtitle('gbk'), subtitle('cp1251'), japanese]);
    await settled(3);
    assert.equal(await words('gbk.srt', '.encoding'), 'Chinese, GBK');
    assert.match(await words('gbk.srt', '.cues'), /重庆，凌晨四点十七分。/);
    assert.match(await words('gbk.srt', '.size'), /1\.4 kB/);
    assert.match(await words('gbk.srt', '.state'), /^Sure$/);
    assert.equal(await words('cp1251.srt', '.encoding'), 'Russian, Windows-1251');
    assert.equal(await words('japanese.txt', '.encoding'), 'Japanese, Shift_JIS');
    assert.match(await words('japanese.txt', '.notice'), /Shift_JIS.*Your browser does/);
    assert.ok(master('japanese').toString().includes((await words('japanese.txt', '.cues p')).slice(0, 20)));
    assert.equal(await page.$eval('#summary', (part) => part.textContent), '3 files, all readable');

    await page.screenshot({ path: join(shots, 'page.png') });

    await click('gbk.srt', '.save');
    assert.deepEqual(await download('gbk.srt'), iconv('GBK', 'UTF-8', readFileSync(subtitle('gbk'))));

    await click('cp1251.srt', '.others');
    await page.waitForSelector('.others-panel:not([hidden]) .preview');
    const previews = await (await card('cp1251.srt')).$$eval('.preview', (all) => all.map((each) => ({
        title: each.querySelector('.preview-title')?.textContent ?? '',
        lines: [...each.querySelectorAll('.preview-lines span')].map((line) => line.textContent ?? ''),
        taken: each.querySelector('button')?.getAttribute('aria-pressed'),
    })));
    assert.ok(previews.length > 2);
    const taken = previews.filter((preview) => preview.taken === 'true');
    assert.deepEqual(taken.map(({ title }) => title), ['Russian, Windows-1251']);
    const decoded = new TextDecoder('windows-1251').decode(readFileSync(subtitle('cp1251')));
    assert.ok(previews[0].lines.every((line) => decoded.includes(line)), previews[0].lines.join('|'));
    assert.equal(new Set(previews.map(({ lines }) => lines.length)).size, 1, 'the same lines side by side');

    // By the keyboard: any encoding, and what is saved then is that reading.
    await (await card('cp1251.srt')).$eval('.any select', (select) => /** @type {HTMLElement} */ (select).focus());
    await (await card('cp1251.srt')).$eval('.any select', (select) => {
        /** @type {HTMLSelectElement} */ (select).value = 'koi8-r';
        select.dispatchEvent(new Event('change', { bubbles: true }));
    });
    await page.waitForSelector('.card[data-state="chosen"]');
    assert.match(await words('cp1251.srt', '.encoding'), /KOI8-R/);
    await click('cp1251.srt', '.others');
    await page.waitForSelector('.others-panel:not([hidden]) .any button');
    await click('cp1251.srt', '.any button');
    await page.waitForFunction(() => document.querySelectorAll('.card[data-state="sure"]').length === 3);

    await page.click('.options summary');
    await page.click('#suffix');
    await page.click('#mark');
    await page.click('#save-all');
    const archive = unzipSync(await download('subtitles-utf8.zip'));
    const mark = Buffer.from([0xEF, 0xBB, 0xBF]);
    assert.deepEqual(Object.keys(archive).sort(), ['cp1251.utf8.srt', 'gbk.utf8.srt', 'japanese.utf8.txt']);
    assert.deepEqual(Buffer.from(archive['cp1251.utf8.srt']),
        Buffer.concat([mark, iconv('CP1251', 'UTF-8', readFileSync(subtitle('cp1251')))]));
    assert.deepEqual(Buffer.from(archive['japanese.utf8.txt']), Buffer.concat([mark, master('japanese')]));
    assert.deepEqual(complaints, []);
});

test('one file as WebVTT, which the browser itself reads', async () => {
    await choose(subtitle('cp1256'));
    await settled(1);
    await page.click('.options summary');
    await page.click('#vtt');
    await click('cp1256.srt', '.save');
    const vtt = (await download('cp1256.vtt')).toString();
    const cues = await cuesOf(vtt);
    const srt = iconv('CP1256', 'UTF-8', readFileSync(subtitle('cp1256'))).toString().split('\r\n\r\n');
    assert.equal(cues.length, 17);
    for (const [i, cue] of cues.entries()) {
        const [, , ...text] = srt[i].trim().split('\r\n');
        assert.equal(cue.text, text.join('\n').replace(/<.*?>/g, ''));
    }
    assert.deepEqual(complaints, []);
});

test('WebVTT of a disorderly SubRip', async () => {
    await page.click('.options summary').catch(() => {});
    await page.evaluate(() => localStorage.setItem('vtt', 'yes'));
    await page.reload();
    await page.waitForSelector('body.ready');
    await choose(file('odd.srt', [
        '\uFEFF1', '0:00:01,5 --> 00:00:02,75  X1:10 X2:20', '{\\an8}<font color="red">Tom & <I>Jerry</I></font>', '',
        'after an empty line', '2', '00:00:61,000 --> 00:01:02,000', 'a < b --> c', '', '3',
        '100:00:00,000 --> 100:00:01,000',
        '<b>12</b>', '{y:i}&amp;', '4', '00:00:05,000 --> 00:00:06,000', '',
    ].join('\r\n')));
    await settled(1);
    await click('odd.srt', '.save');
    assert.deepEqual(await cuesOf((await download('odd.vtt')).toString()), [
        { id: '1', start: 1.5, end: 2.75, line: 0, text: 'Tom & Jerry\nafter an empty line' },
        { id: '2', start: 61, end: 62, line: 'auto', text: 'a < b --> c' },
        { id: '4', start: 5, end: 6, line: 'auto', text: '' },
        { id: '3', start: 360000, end: 360001, line: 'auto', text: '12\n{y:i}&' },
    ].sort((a, b) => a.start - b.start));
});

/**
 * @param {string} vtt
 * @returns {Promise<{id: string, start: number, end: number, line: unknown, text: string | null}[]>} its cues as the
 *   browser's own parser has them
 */
async function cuesOf(vtt) {
    const plain = await page.browserContext().newPage();
    await plain.goto(`${server.url}LICENSE.txt`); // a page without a policy of its own
    const cues = await plain.evaluate(async (source) => {
        const video = document.createElement('video');
        const track = document.createElement('track');
        track.src = URL.createObjectURL(new Blob([source], { type: 'text/vtt' }));
        track.default = true;
        video.append(track);
        document.body.append(video);
        track.track.mode = 'showing';
        await new Promise((resolve, reject) => {
            track.onload = resolve;
            track.onerror = reject;
        });
        return [...track.track.cues ?? []].map((cue) => {
            const { id, startTime: start, endTime: end, line } = /** @type {VTTCue} */ (cue);
            return { id, start, end, line, text: /** @type {VTTCue} */ (cue).getCueAsHTML().textContent };
        });
    }, vtt);
    await plain.close();
    return cues;
}

test('why: the scores and the bytes that decided', async () => {
    await choose(subtitle('cp1251'));
    await settled(1);
    await click('cp1251.srt', '.why');
    await page.waitForSelector('.why-panel table');
    const tables = await page.$$eval('.why-part', (parts) => parts.map((part) => ({
        title: part.querySelector('h3')?.textContent,
        rows: part.querySelectorAll('tbody tr').length,
        first: [...part.querySelectorAll('tbody tr:first-child > *')].map((cell) => cell.textContent),
    })));
    assert.deepEqual(tables.map(({ title }) => title),
        ['How likely the readings are', 'The bytes that decided', 'Scores']);
    assert.equal(tables[0].first[0], 'Russian, Windows-1251');
    assert.ok(tables.every(({ rows }) => rows > 2));
    const [byte, character] = tables[1].first;
    assert.equal(new TextDecoder('windows-1251').decode(Uint8Array.of(parseInt(byte ?? '', 16))), character);
});

test('what cannot be read is told, and hints are followed', async () => {
    await choose(file('program.srt', readFileSync(process.execPath).subarray(0, 4096)), file('empty.srt', ''),
        file('cut.srt', readFileSync(subtitle('gbk')).subarray(0, -1)),
        file('lost.srt', Buffer.concat([readFileSync(subtitle('cp1251')), Buffer.of(0x98, 0x98)])));
    await settled(4);
    assert.match(await words('program.srt', '.notice'), /not a text.*ELF/);
    assert.match(await words('program.srt', '.state'), /Not readable/);
    assert.match(await words('empty.srt', '.notice'), /empty/);
    assert.match(await words('lost.srt', '.notice'), /2 characters could not be read, the first at byte 1,451/);
    assert.equal(await page.$eval('#summary', (part) => part.textContent), '4 files: 3 readable, 1 not readable');
    await page.click('#filter input[value="failed"]');
    assert.equal(await page.$$eval('.card', (all) => all.filter((each) => each.checkVisibility()).length), 1);
});

test('a short text that may be several things asks to be looked at', async () => {
    await choose(file('short.srt', Buffer.from('\xCC\xE0\xF0\xE8', 'latin1')));
    await settled(1);
    const state = await page.$eval('.card', (each) => /** @type {HTMLElement} */ (each).dataset.state);
    if (state === 'look')
        await page.waitForSelector('.others-panel:not([hidden]) .preview');
    await page.click('.options summary');
    await page.select('#prefer', 'ru');
    await page.waitForFunction(() => /Russian/.test(document.querySelector('.encoding')?.textContent ?? ''));
    await page.waitForFunction(() => document.querySelector('.cues')?.textContent === 'Мари');
});

test('pasted garbled text is read right', async () => {
    await page.evaluate(() => {
        const data = new DataTransfer();
        data.setData('text/plain', 'Ïðèâåò, êàê äåëà? Ìû íå âèäåëèñü óæå òðè ãîäà.');
        dispatchEvent(new ClipboardEvent('paste', { clipboardData: data }));
    });
    await settled(1);
    assert.match(await words('pasted.txt', '.cues'), /Привет, как дела\? Мы не виделись уже три года\./);
});

test('300 MB: progress, cancel, and the page goes on', { timeout: 120000 }, async () => {
    const path = join(folder, 'large.srt');
    const block = Buffer.alloc(1 << 20, iconv('UTF-8', 'CP1251', master('russian')));
    const out = openSync(path, 'w');
    for (let i = 0; i < 300; ++i)
        writeSync(out, block);
    closeSync(out);
    const longest = await watchTurns();
    await choose(path);
    await page.waitForFunction(() => {
        const progress = document.querySelector('.reading progress');
        return progress instanceof HTMLProgressElement && progress.value > 0.02 && progress.value < 1;
    });
    await click('large.srt', '.cancel');
    await page.waitForSelector('.card[data-state="cancelled"]');
    assert.match(await words('large.srt', '.notice'), /cancelled/);
    await click('large.srt', '.again');
    await settled(1, 90000);
    assert.equal(await words('large.srt', '.encoding'), 'Russian, Windows-1251');
    const start = performance.now();
    await click('large.srt', '.save');
    await page.waitForFunction(() => /Saved/.test(document.getElementById('news')?.textContent ?? ''),
        { timeout: 90000 });
    const took = performance.now() - start;
    const most = await longest();
    console.log(`300 MB converted in ${(took / 1000).toFixed(1)} s, longest turn of the page ${Math.round(most)} ms`);
    assert.ok(most < 1000, `the page stood still for ${most} ms`);
    for (let tries = 0; !existsSync(join(saved, 'large.srt')); ++tries) {
        assert.ok(tries < 300);
        await new Promise((resolve) => setTimeout(resolve, 100));
    }
    assert.equal(statSync(join(saved, 'large.srt')).size, 300 * iconv('CP1251', 'UTF-8', block).length);
    rmSync(join(saved, 'large.srt'));
    rmSync(path);
});

test('2,000 files do not freeze the page', { timeout: 120000 }, async () => {
    const many = join(folder, 'many');
    mkdirSync(many);
    const sources = ['gbk', 'cp1251', 'big5', 'cp1256', 'utf8'].map((name) => readFileSync(subtitle(name)));
    const paths = Array.from({ length: 2000 }, (_, i) => {
        const path = join(many, `film ${i}.srt`);
        writeFileSync(path, sources[i % sources.length]);
        return path;
    });
    const longest = await watchTurns();
    const start = performance.now();
    await choose(...paths);
    await settled(2000, 90000);
    await page.waitForFunction(() => document.getElementById('summary')?.textContent === '2,000 files, all readable');
    const read = performance.now() - start;
    await page.click('#save-all');
    const archive = unzipSync(await download('subtitles-utf8.zip'));
    assert.equal(Object.keys(archive).length, 2000);
    assert.deepEqual(Buffer.from(archive['film 1.srt']), iconv('CP1251', 'UTF-8', sources[1]));
    const most = await longest();
    console.log(`2,000 files read in ${(read / 1000).toFixed(1)} s, longest turn of the page ${Math.round(most)} ms`);
    assert.ok(most < 1000, `the page stood still for ${most} ms`);
});

test('docs/web.md tells where the tables differ from those of TextDecoder', async () => {
    const plain = await page.browserContext().newPage();
    await plain.goto(`${server.url}LICENSE.txt`); // a page without a policy of its own
    const rows = await plain.evaluate(async () => {
        const { load } = await import(new URL('zucharset/src/index.js', location.href).href);
        const charset = await load();
        const hex = (/** @type {string} */ text) => [...text].map(
            (character) => (character.codePointAt(0) ?? 0).toString(16).toUpperCase().padStart(4, '0')).join(' ');
        /** @param {import('../src/index.js').Encoding} encoding */
        const rowOf = ({ encoding, name, label }) => {
            // Every code on a line of its own: those of one byte, and in wide encodings those of two. The tab is there
            // for a lone first byte to take with it.
            const wide = ['gbk', 'big5', 'euc-kr'].includes(encoding);
            const codes = [];
            for (let first = 0x80; first < 0x100; ++first) {
                codes.push([first]);
                for (let second = 0x40; wide && first > 0x80 && first < 0xFF && second < 0xFF; ++second)
                    codes.push([first, second]);
            }
            const bytes = Uint8Array.from(codes.flatMap((code) => [...code, 0x09, 0x0A]));
            const ours = charset.convert(bytes, { from: encoding }).text.split(/\t?\n/);
            const theirs = new TextDecoder(label ?? '').decode(bytes).split(/\t?\n/);
            // No meaning: a replacement, nothing, a control character, or the second byte alone.
            const none = (/** @type {string} */ text, /** @type {number[]} */ code) =>
                /^[\x80-\x9F]?$|\uFFFD/.test(text) || text === String.fromCharCode(code[1]);
            /** @type {Record<string, [number[], string, string][]>} */
            const unlike = { lacks: [], exceeds: [], both: [] };
            for (const [i, code] of codes.entries()) {
                const [own, other] = [none(ours[i], code), none(theirs[i], code)];
                if (ours[i] !== theirs[i] && !(own && other))
                    unlike[own ? 'lacks' : other ? 'exceeds' : 'both'].push([code, ours[i], theirs[i]]);
            }
            const { lacks, exceeds, both } = unlike;
            const [example] = [...both, ...lacks, ...exceeds];
            if (example === undefined)
                return [];
            if (ours.length !== theirs.length)
                throw new Error(`${name}: lines were lost`);
            return [[name, lacks.length, exceeds.length, both.length, `${example[0].map(
                (/** @type {number} */ byte) => byte.toString(16).toUpperCase()).join(' ')}: ` +
                `${hex(example[1]) || 'nothing'} here, ${hex(example[2])} there`]];
        };
        return charset.encodings().filter((/** @type {any} */ { convertible, label, encoding }) =>
            convertible && label !== null && !encoding.startsWith('utf')).flatMap(rowOf);
    });
    await plain.close();
    const table = rows.map((/** @type {unknown[]} */ cells) => `| ${cells.join(' | ')} |`).join('\n');
    const text = readFileSync(join(root, 'docs/web.md'), 'utf8');
    assert.ok(text.includes(table), `docs/web.md has not this table:\n${table}`);
});

test('a converter is closed at the end of its using scope', async () => {
    const plain = await page.browserContext().newPage();
    await plain.goto(`${server.url}LICENSE.txt`);
    const outcome = await plain.evaluate(`(async () => {
        const { load } = await import(new URL('zucharset/src/index.js', location.href).href);
        const charset = await load();
        let kept;
        {
            using converter = charset.open();
            converter.write(Uint8Array.of(1));
            kept = converter;
        }
        try {
            kept.write(Uint8Array.of(1));
        } catch (error) {
            return error.message;
        }
    })()`);
    await plain.close();
    assert.match(String(outcome), /closed/);
});

describe('other conditions', () => {
    test('nothing can be sent elsewhere, from the page or its worker', async () => {
        let reached = 0;
        const other = createServer((_, response) => {
            ++reached;
            response.setHeader('Access-Control-Allow-Origin', '*').end('here');
        });
        await new Promise((resolve) => other.listen(0, '127.0.0.1', () => resolve(undefined)));
        const { port } = /** @type {import('node:net').AddressInfo} */ (other.address());
        const url = `http://127.0.0.1:${port}/`;
        const trial = async (/** @type {string} */ address) => fetch(address).then(() => 'reached', () => 'refused');
        assert.equal(await page.evaluate(trial, url), 'refused');
        const workers = page.workers();
        assert.equal(workers.length, 1);
        assert.equal(await workers[0].evaluate(trial, url), 'refused');
        assert.equal(await trial(url), 'reached'); // from here it could be
        assert.equal(reached, 1);
        other.close();
    });

    test('offline after the first visit', async () => {
        await page.evaluate(() => navigator.serviceWorker.ready);
        const second = await serve(join(root, 'build/web/page'));
        const visit = await page.browserContext().newPage();
        await visit.goto(second.url);
        await visit.evaluate(() => navigator.serviceWorker.ready);
        await second.stop();
        await visit.reload();
        await visit.waitForSelector('body.ready');
        const input = /** @type {ElementHandle<HTMLInputElement>} */ (await visit.$('#files'));
        await input.uploadFile(subtitle('gbk'));
        await visit.waitForSelector('.card[data-state="sure"]');
        await visit.close();
    });

    for (const language of ['en', 'de', 'zh']) {
        test(`in ${language}, without barriers, on a desk and in a hand, light and dark`, async () => {
            await page.select('#ui-language', language);
            await page.waitForFunction((wanted) => document.documentElement.lang.startsWith(wanted), {}, language);
            await checkAccessibility();
            await choose(subtitle('cp1251'), subtitle('cp1256'),
                file('japanese.srt', iconv('UTF-8', 'SHIFT_JIS', master('japanese'))),
                file('program.srt', readFileSync(process.execPath).subarray(0, 4096)));
            await settled(4);
            await click('cp1251.srt', '.why');
            await click('cp1256.srt', '.others');
            await page.waitForSelector('.why-panel:not([hidden]) table');
            await page.waitForSelector('.others-panel:not([hidden]) .preview');
            for (const [name, direction] of [['cp1256.srt', 'rtl'], ['cp1251.srt', 'ltr']]) {
                const seen = (await card(name)).$eval('.cues p', (line) => getComputedStyle(line).direction);
                assert.equal(await seen, direction);
            }
            for (const [size, width, height] of /** @type {const} */ ([['desk', 1100, 850], ['hand', 375, 760]])) {
                for (const value of ['light', 'dark']) {
                    await page.setViewport({ width, height });
                    await page.emulateMediaFeatures([
                        { name: 'prefers-color-scheme', value }, { name: 'prefers-reduced-motion', value: 'reduce' }]);
                    await checkAccessibility();
                    const overflow = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
                    assert.ok(overflow <= 0, `${size}: ${overflow} pixels too wide`);
                    await page.screenshot({ path: join(shots, `${language}-${size}-${value}.png`) });
                }
            }
            assert.deepEqual(complaints, []);
        });
    }

    test('by the keyboard alone', async () => {
        await choose(subtitle('gbk'));
        await settled(1);
        await page.focus('#choose');
        const reached = [];
        for (let i = 0; i < 12; ++i) {
            await page.keyboard.press('Tab');
            reached.push(await page.evaluate(() => document.activeElement?.id || document.activeElement?.className));
        }
        for (const wanted of ['paste', 'save-all', 'clear', 'save', 'others', 'why', 'remove'])
            assert.ok(reached.includes(wanted), `${wanted} among ${reached}`);
        await (await card('gbk.srt')).$eval('.remove', (button) => /** @type {HTMLElement} */ (button).focus());
        await page.keyboard.press('Enter');
        assert.equal(await page.$$eval('.card', (all) => all.length), 0);
        assert.equal(await page.evaluate(() => document.activeElement?.id), 'choose');
        assert.match(await page.$eval('#news', (part) => part.textContent ?? ''), /gbk\.srt was removed/);
    });
});
