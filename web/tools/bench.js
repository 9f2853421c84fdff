// Measures the package against TextDecoder and three packages of npm, in one run, and prints the tables of docs/web.md.
//   ./web.sh bench
import chardet from 'chardet';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import iconv from 'iconv-lite';
import jschardet from 'jschardet';
import { launch, serve } from '../test/support/chromium.js';
import { built, importPackage, numberedModule, root } from '../test/support/package.js';

const LENGTH = 65536;
const ROUNDS = 30;
// Master text, what iconv and TextDecoder call the encoding, what iconv-lite does.
const TEXTS = [
    ['chinese_simplified', 'GBK', 'gbk', 'gbk'], ['chinese_traditional', 'BIG5', 'big5', 'big5'],
    ['korean', 'CP949', 'euc-kr', 'cp949'], ['russian', 'CP1251', 'windows-1251', 'win1251'],
    ['arabic', 'CP1256', 'windows-1256', 'win1256'], ['german', 'CP1252', 'windows-1252', 'win1252'],
    ['korean', 'UTF-8', 'utf-8', 'utf8'], ['russian', 'UTF-16LE', 'utf-16le', 'utf16-le'],
];

/** @param {string} name @param {string} encoding @returns {Buffer} about 64 KB of whole texts */
function textOf(name, encoding) {
    const input = readFileSync(join(root, `samples/text/${name}.txt`));
    const once = execFileSync('iconv', ['-f', 'UTF-8', '-t', encoding], { input });
    return Buffer.concat(Array(Math.floor(LENGTH / once.length)).fill(once));
}

/**
 * The best time of each of some actions, which take turns so that all meet the same machine.
 * @param {(() => unknown)[]} actions @param {number} rounds
 * @returns {number[]} milliseconds
 */
function best(actions, rounds) {
    const times = actions.map(() => Infinity);
    for (let round = 0; round < rounds; ++round) {
        for (const [i, action] of actions.entries()) {
            for (let again = 0; again < 4; ++again) { // the first finds the caches full of another's
                const start = performance.now();
                action();
                times[i] = Math.min(times[i], performance.now() - start);
            }
        }
    }
    return times;
}

/** @param {string[]} heads @param {(string | number)[][]} rows */
function print(heads, rows) {
    const line = (/** @type {(string | number)[]} */ cells) => `| ${cells.map((cell) =>
        typeof cell === 'number' ? cell.toFixed(cell < 0.1 ? 3 : 2) : cell).join(' | ')} |`;
    console.log([line(heads), `|---|${heads.slice(1).map(() => '---:|').join('')}`, ...rows.map(line)].join('\n'));
}

const zucharset = await importPackage();
const loads = [];
for (let i = 0; i < 20; ++i) {
    const wasm = numberedModule(i);
    const start = performance.now();
    await zucharset.load({ wasm });
    loads.push(performance.now() - start);
}
const charset = await zucharset.load();
console.log(`Node ${process.versions.node}: loading ${Math.min(...loads).toFixed(0)} ms. Milliseconds for 64 KB:\n`);
print(['Encoding', 'detect', 'chardet', 'jschardet', 'to UTF-8', 'iconv-lite', 'to a string', 'iconv-lite',
    'TextDecoder', 'detect, to a string'],
    TEXTS.map(([name, encoding, label, theirs]) => {
        const bytes = textOf(name, encoding);
        const decoder = new TextDecoder(label);
        const times = best([
            () => charset.detect(bytes),
            () => charset.convert(bytes, { from: label }).bytes,
            () => Buffer.from(iconv.decode(bytes, theirs)),
            () => charset.convert(bytes, { from: label }).text,
            () => iconv.decode(bytes, theirs),
            () => decoder.decode(bytes),
            () => charset.convert(bytes).text,
        ], ROUNDS);
        const slow = best([() => chardet.detect(bytes), () => jschardet.detect(bytes)], 2);
        return [encoding, times[0], ...slow, ...times.slice(1)];
    }));

const server = await serve(join(built, 'page'));
const browser = await launch();
const page = await browser.newPage();
await page.goto(`${server.url}LICENSE.txt`);
const rows = [];
let loaded = 0;
for (const [name, encoding, label] of TEXTS) {
    /** @type {{times: number[], loading: number}} */
    const { times, loading } = await page.evaluate(async (base64, decoderLabel, rounds, measure, module) => {
        const { load } = await import(new URL('zucharset/src/index.js', location.href).href);
        const bytes = Uint8Array.from(atob(base64), (character) => character.charCodeAt(0));
        const wasm = Uint8Array.from(module);
        const start = performance.now();
        const own = await load({ wasm });
        const took = performance.now() - start;
        const decoder = new TextDecoder(decoderLabel);
        const measured = (0, eval)(`(${measure})`)([
            () => own.detect(bytes),
            () => own.convert(bytes, { from: decoderLabel }).text,
            () => decoder.decode(bytes),
            () => own.convert(bytes).text,
        ], rounds);
        return { times: measured, loading: took };
    }, textOf(name, encoding).toString('base64'), label, ROUNDS, best.toString(), [...numberedModule(rows.length)]);
    rows.push([encoding, ...times]);
    loaded = loaded === 0 ? loading : Math.min(loaded, loading);
}
const version = (await browser.version()).replace('/', ' ');
console.log(`\n${version}: loading ${loaded.toFixed(0)} ms. Milliseconds for 64 KB:\n`);
print(['Encoding', 'detect', 'convert', 'TextDecoder', 'detect and convert'], rows);
await browser.close();
await server.stop();
