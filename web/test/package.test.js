// The package in Node, from its tarball. Expected texts are the masters of samples/text, encoded by the C library's
// iconv, and what it makes of samples/subtitles.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFileSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { before, describe, test } from 'node:test';
import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';
import { gzipSync } from 'node:zlib';
import { importPackage, install, numberedModule, root, tarball } from './support/package.js';

/** @import { Charset } from '../src/index.js' */

/** @type {typeof import('../src/node.js')} */
let zucharset;
/** @type {Charset} */
let charset;

before(async () => {
    zucharset = await importPackage();
    charset = await zucharset.load();
});

/** @param {string} name of a master text */
const master = (name) => readFileSync(join(root, `samples/text/${name}.txt`));
/** @param {string} name of a sample */
const subtitle = (name) => readFileSync(join(root, `samples/subtitles/${name}.srt`));
/** @param {string} from @param {string} to @param {Uint8Array} input */
const iconv = (from, to, input) => execFileSync('iconv', ['-f', from, '-t', to], { input, maxBuffer: 1 << 26 });
/** @param {number} milliseconds */
const pause = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));

// What each sample is, and the name that iconv has for it.
const SUBTITLES = [
    ['gbk', 'gbk', 'zh', 'GBK'], ['big5', 'big5', 'zh', 'BIG5'], ['cp949', 'euc-kr', 'ko', 'CP949'],
    ['cp1251', 'windows-1251', 'ru', 'CP1251'], ['cp1256', 'windows-1256', 'ar', 'CP1256'],
    ['cp874', 'windows-874', 'th', 'CP874'], ['iso8859-7', 'iso-8859-7', 'el', 'ISO-8859-7'],
    ['utf8', 'utf-8', null, 'UTF-8'], ['utf16le', 'utf-16le', null, 'UTF-16LE'],
    ['utf16be', 'utf-16be', null, 'UTF-16BE'],
];

test('the tarball holds what is needed and no more', () => {
    const files = execFileSync('tar', ['-tzf', tarball], { encoding: 'utf8' }).trim().split('\n')
        .map((name) => name.replace('package/', '')).sort();
    const sources = readdirSync(join(root, 'web/src'));
    const types = sources.map((name) => `types/${name.replace(/\.js$/, '.d.ts')}`);
    assert.deepEqual(files, ['LICENSE', 'NOTICE', 'README.md', 'package.json', 'zucharset.wasm',
        ...sources.map((name) => `src/${name}`), ...types].sort());
});

test('the module is small and asks for nothing but memory and a log sink', () => {
    const bytes = readFileSync(join(root, 'build/wasm/zucharset.wasm'));
    const packed = gzipSync(bytes, { level: 9 }).length;
    assert.ok(packed <= 260000, `${packed} bytes compressed`);
    const imports = WebAssembly.Module.imports(new WebAssembly.Module(bytes));
    assert.deepEqual(imports.map(({ name }) => name), ['memory', 'log']);
});

test('the declarations fit how the package is used', () => {
    const folder = install();
    copyFileSync(join(root, 'web/test/usage.mts'), join(folder, 'usage.mts'));
    writeFileSync(join(folder, 'tsconfig.json'), JSON.stringify({
        compilerOptions: {
            strict: true, noEmit: true, target: 'es2022', module: 'nodenext', types: [],
            lib: ['es2023', 'esnext.disposable', 'dom', 'dom.asynciterable'],
        },
        include: ['usage.mts'],
    }));
    execFileSync(process.execPath, [join(root, 'web/node_modules/typescript/bin/tsc')],
        { cwd: folder, encoding: 'utf8' });
});

test('the digest over all detectors and converters is the native one', () => {
    const program = `
        import { WASI } from 'node:wasi';
        import { readFileSync } from 'node:fs';
        const wasi = new WASI({ version: 'preview1', returnOnExit: true });
        const imports = { wasi_snapshot_preview1: wasi.wasiImport };
        const { instance } = await WebAssembly.instantiate(readFileSync('build/wasm/digest.wasm'), imports);
        process.exitCode = wasi.start(instance);`;
    const flags = process.versions.node < '20' ? ['--experimental-wasi-unstable-preview1'] : [];
    execFileSync(process.execPath, [...flags, '--no-warnings', '--input-type=module', '-e', program], { cwd: root });
});

describe('detect and convert', () => {
    for (const [name, encoding, language, iconvName] of SUBTITLES) {
        test(/** @type {string} */ (name), () => {
            const bytes = subtitle(/** @type {string} */ (name));
            const expected = iconv(/** @type {string} */ (iconvName), 'UTF-8', bytes);
            const found = charset.detect(bytes);
            assert.deepEqual([found.kind, found.encoding, found.language, found.sure, found.whole],
                ['text', encoding, language, true, true]);
            const { bytes: utf8, text, detection, losses } = charset.convert(bytes);
            assert.deepEqual(Buffer.from(utf8), expected);
            assert.equal(text, new TextDecoder().decode(expected));
            assert.deepEqual(detection, found);
            assert.deepEqual([losses.lost, losses.count, losses.inputBytes, losses.outputBytes],
                [false, 0, bytes.length, expected.length]);
            assert.deepEqual(Buffer.from(charset.convert(bytes, { from: encoding ?? '' }).bytes), expected);
        });
    }

    test('what is no text to be converted says what it is', () => {
        const japanese = iconv('UTF-8', 'SHIFT_JIS', master('japanese'));
        const program = readFileSync(process.execPath).subarray(0, 4096);
        const { kind, encoding, label, language, sure } = charset.detect(japanese);
        assert.deepEqual([kind, encoding, label, language, sure],
            ['unsupported', 'shift_jis', 'shift_jis', 'ja', true]);
        assert.throws(() => charset.convert(japanese),
            (error) => error instanceof zucharset.CharsetError && error.code === 'unsupported' &&
                error.detection?.encoding === 'shift_jis' && /TextDecoder\('shift_jis'\)/.test(error.message));
        assert.equal(charset.detect(program).kind, 'binary');
        assert.match(charset.detect(program).what ?? '', /ELF/);
        assert.throws(() => charset.convert(program), { name: 'CharsetError', code: 'not-text' });
        assert.equal(charset.detect(new Uint8Array()).kind, 'empty');
        assert.equal(charset.detect(subtitle('ascii')).kind, 'ascii');
        assert.equal(charset.convert(new Uint8Array()).text, '');
    });

    test('losses tell where, how often and which bytes', () => {
        const { losses, text } = charset.convert(Uint8Array.of(0x61, 0x98, 0x62, 0x98), { from: 'cp1251' });
        assert.equal(losses.count, 2);
        assert.equal(losses.lost, true);
        assert.deepEqual(losses.places.map(({ offset, bytes }) => [offset, ...bytes]), [[1, 0x98], [3, 0x98]]);
        assert.equal(text.replaceAll('\uFFFD', ''), 'ab');
        assert.equal(charset.convert(Uint8Array.of(0xC4, 0xE3, 0xBA), { from: 'gbk' }).losses.kinds.cut, 1);
    });

    test('a byte order mark stays, goes or comes', () => {
        const bytes = subtitle('utf16le'); // begins with one
        const mark = Buffer.from([0xEF, 0xBB, 0xBF]);
        const starts = (/** @type {'keep' | 'add' | 'strip'} */ what, input = bytes) =>
            Buffer.from(charset.convert(input, { mark: what }).bytes.subarray(0, 3)).equals(mark);
        assert.deepEqual([starts('keep'), starts('add'), starts('strip')], [true, true, false]);
        assert.deepEqual([starts('keep', subtitle('gbk')), starts('add', subtitle('gbk'))], [false, true]);
        assert.notEqual(charset.convert(bytes).text[0], '\uFEFF');
    });

    test('a hint tips what is open, and the readings show what was near', () => {
        const word = Uint8Array.of(0xCC, 0xE0, 0xF0, 0xE8, 0xFF); // "Мария" in Windows-1251
        const plain = charset.detect(word);
        const hinted = charset.detect(word, { prefer: ['ru', 'windows-1251'] });
        assert.equal(hinted.encoding, 'windows-1251');
        assert.notEqual(hinted.hint, 'none');
        assert.ok(plain.readings.length > 1);
        assert.ok(plain.readings.every(({ cost }, i) => i === 0 ? cost === 0 : cost >= plain.readings[i - 1].cost));
        assert.notEqual(charset.detect(subtitle('cp1251'), { plain: true }).encoding, 'windows-1251');
    });

    test('explain and preview show the facts', () => {
        const bytes = subtitle('cp1251');
        const facts = charset.explain(bytes);
        assert.deepEqual(facts.detection, charset.detect(bytes));
        assert.deepEqual([facts.scores.length, facts.tests.length, facts.scoreNeeded], [15, 27, 66]);
        const decoder = new TextDecoder('windows-1251');
        for (const { byte, first } of facts.differences)
            assert.equal(first, decoder.decode(Uint8Array.of(byte)));
        const text = decoder.decode(bytes);
        const lines = charset.preview(bytes, 'windows-1251') ?? [];
        assert.equal(lines.length, 3);
        assert.ok(lines.every((line) => text.includes(line)), lines.join('|'));
        assert.equal(charset.preview(bytes, 'windows-1252')?.length, 3);
    });
});

test('names are those of the Encoding Standard and lead back to the encoding', () => {
    const encodings = charset.encodings();
    assert.equal(new Set(encodings.map(({ encoding }) => encoding)).size, encodings.length);
    for (const { encoding, codeType, label, convertible } of encodings) {
        if (label !== null)
            assert.equal(new TextDecoder(encoding).encoding, label);
        if (convertible) {
            assert.equal(charset.convert(new Uint8Array(4), { from: encoding }).detection.codeType, codeType);
            assert.equal(charset.convert(new Uint8Array(4), { from: codeType }).detection.encoding, encoding);
        }
    }
    assert.equal(encodings.filter(({ convertible }) => convertible).length, 31);
    assert.ok(charset.languages().some(({ code, name }) => code === 'ru' && name === 'Russian'));
});

test('every word for a kind is in the declarations', async () => {
    const { Module } = await import('../src/module.js');
    const module = await Module.instantiate(readFileSync(join(root, 'build/wasm/zucharset.wasm')), {});
    const source = readFileSync(join(root, 'web/src/index.js'), 'utf8');
    for (const prefix of ['KIND_', 'BY_', 'HINT_', 'LOSS_']) {
        const names = Object.keys(module.constants).filter((name) => name.startsWith(prefix) && name !== 'LOSS_KINDS');
        assert.ok(names.length >= 4);
        for (const name of names)
            assert.ok(source.includes(`'${module.nameOf(prefix, module.constants[name])}'`), name);
    }
});

describe('bad arguments', () => {
    const bytes = new Uint8Array(4);
    /** @type {[string, (charset: any) => unknown, ErrorConstructor, RegExp][]} */
    const cases = [
        ['a string', (z) => z.detect('text'), TypeError, /bytes is a string.*arrayBuffer/],
        ['nothing', (z) => z.convert(), TypeError, /must be a Uint8Array.*not undefined/],
        ['a Blob', (z) => z.convert(new Blob([])), TypeError, /convertAsync/],
        ['a misspelt option', (z) => z.detect(bytes, { prefers: 'ru' }), TypeError, /no option "prefers".*prefer,/],
        ['options that are none', (z) => z.detect(bytes, 'ru'), TypeError, /options must be an object/],
        ['a misspelt encoding', (z) => z.convert(bytes, { from: 'windws-1251' }), RangeError, /mean Windows-1251/],
        ['an encoding not converted', (z) => z.convert(bytes, { from: 'sjis' }), RangeError, /TextDecoder\('shift_jis/],
        ['an encoding that is none', (z) => z.open({ from: {} }), TypeError, /name such as 'gbk'/],
        ['a misspelt preference', (z) => z.detect(bytes, { prefer: 'ru,grek' }), RangeError, /"grek".*Greek/],
        ['a preference that is none', (z) => z.detect(bytes, { prefer: 7 }), TypeError, /'ru,windows-1251'/],
        ['a mark', (z) => z.convert(bytes, { mark: true }), TypeError, /'keep', 'add' or 'strip'/],
        ['a sample', (z) => z.detect(bytes, { sample: 0 }), RangeError, /whole number of bytes/],
        ['lines', (z) => z.preview(bytes, 'gbk', 9), RangeError, /1 to 8/],
        ['a signal', (z) => z.stream({ signal: true }), TypeError, /AbortSignal/],
        ['a closed converter', (z) => {
            const converter = z.open();
            converter.close();
            converter.write(bytes);
        }, TypeError, /closed.*open\(\)/],
        ['a finished converter', (z) => {
            const converter = z.open();
            converter.finish();
            converter.write(bytes);
        }, TypeError, /finish/],
    ];
    for (const [name, action, kind, message] of cases) {
        test(name, () => assert.throws(() => action(charset),
            (error) => error instanceof kind && message.test(error.message)));
    }

    test('of load', async () => {
        await assert.rejects(zucharset.load(/** @type {any} */ ({ log: 'console' })), TypeError);
        await assert.rejects(zucharset.load({ maximumMemory: 1 }), RangeError);
        await assert.rejects(zucharset.load({ wasm: join(root, 'nothing.wasm') }), /ENOENT/);
    });
});

describe('streams', () => {
    for (const [name, , , iconvName] of SUBTITLES) {
        test(`${name} cut anywhere`, async () => {
            const bytes = subtitle(/** @type {string} */ (name));
            const expected = iconv(/** @type {string} */ (iconvName), 'UTF-8', bytes);
            for (const length of [1, 2, 3, 7, 1000]) {
                const pieces = Array.from({ length: Math.ceil(bytes.length / length) },
                    (_, i) => bytes.subarray(i * length, (i + 1) * length));
                const stream = charset.stream();
                const output = new Response(new Blob(pieces).stream().pipeThrough(cutter(length)).pipeThrough(stream));
                assert.deepEqual(Buffer.from(await output.arrayBuffer()), expected, `pieces of ${length}`);
                assert.deepEqual(await stream.detection, charset.detect(bytes));
                assert.equal(stream.losses.count, 0);
            }
        });
    }

    /** @param {number} length @returns {TransformStream<Uint8Array, Uint8Array>} to pieces of this length */
    function cutter(length) {
        return new TransformStream({
            transform(piece, controller) {
                for (let at = 0; at < piece.length; at += length)
                    controller.enqueue(piece.subarray(at, at + length));
            },
        });
    }

    test('a failure ends the stream and rejects its detection', async () => {
        const japanese = iconv('UTF-8', 'SHIFT_JIS', master('japanese'));
        const stream = charset.stream();
        const output = new Response(new Blob([japanese]).stream().pipeThrough(stream));
        await assert.rejects(output.arrayBuffer(), { code: 'unsupported' });
        await assert.rejects(stream.detection, { code: 'unsupported' });
    });

    test('an AbortSignal ends a stream that waits', async () => {
        const stop = new AbortController();
        const stream = charset.stream({ from: 'gbk', signal: stop.signal });
        const writer = stream.writable.getWriter();
        const reader = stream.readable.getReader();
        void writer.write(subtitle('gbk')).catch(() => {});
        assert.ok((await reader.read()).value);
        const waiting = reader.read();
        stop.abort(new Error('enough'));
        await assert.rejects(waiting, /enough/);
        await assert.rejects(writer.write(new Uint8Array(1)), /enough/);
    });

    test('convertAsync takes every source, tells its progress and lets others work', async () => {
        const text = iconv('UTF-8', 'GBK', Buffer.concat(Array(300).fill(master('chinese_simplified'))));
        const expected = iconv('GBK', 'UTF-8', text);
        const iterable = async function* () {
            yield text.subarray(0, 1001);
            yield text.subarray(1001);
        };
        for (const source of [text, new Blob([text]), new Blob([text]).stream(), iterable()]) {
            /** @type {number[]} */
            const told = [];
            let turns = 0;
            const ticking = setInterval(() => ++turns);
            const result = await charset.convertAsync(/** @type {Blob} */ (source), {
                onProgress: (bytes) => told.push(bytes),
            });
            clearInterval(ticking);
            assert.deepEqual(Buffer.from(result.bytes), expected);
            assert.equal(told[told.length - 1], text.length);
            assert.ok(told.length > 1 && turns > 0, `${told.length} pieces, ${turns} turns`);
            assert.equal(result.detection.encoding, 'gbk');
        }
        await assert.rejects(charset.convertAsync(/** @type {any} */ (7)), TypeError);
    });

    test('an AbortSignal ends convertAsync, also one that waits for ever', async () => {
        const stop = new AbortController();
        let closed = false;
        const endless = {
            [Symbol.asyncIterator]: () => ({
                next: () => new Promise(() => {}),
                return: async () => {
                    closed = true;
                    return { done: true, value: undefined };
                },
            }),
        };
        const waiting = charset.convertAsync(/** @type {any} */ (endless), { signal: stop.signal });
        await pause(10);
        stop.abort();
        await assert.rejects(waiting, { name: 'AbortError' });
        assert.ok(closed);
        const late = charset.convertAsync(new Uint8Array(9), { signal: AbortSignal.abort() });
        await assert.rejects(late, { name: 'AbortError' });
    });
});

describe('memory', () => {
    // The module's memory is not part of the interface; what it takes shows in the process.
    const watched = async () => {
        const { Module } = await import('../src/module.js');
        const { Charset } = await import('../src/index.js');
        const module = await Module.instantiate(readFileSync(join(root, 'build/wasm/zucharset.wasm')), {});
        return { charset: new Charset(module), size: () => module.memory.buffer.byteLength };
    };

    test('10,000 calls take none', async () => {
        const { charset: own, size } = await watched();
        const bytes = subtitle('cp1251');
        const other = subtitle('gbk');
        const call = (/** @type {number} */ i) => {
            own.detect(bytes, { prefer: 'ru' });
            own.convert(i % 2 === 0 ? bytes : other);
            assert.throws(() => own.convert(bytes, { prefer: 'nonsense' }), RangeError);
            const converter = own.open();
            converter.write(bytes.subarray(0, 1 + i % bytes.length));
            converter.close(); // before its end
        };
        for (let i = 0; i < 20; ++i)
            call(i);
        const begun = size();
        for (let i = 0; i < 2500; ++i)
            call(i);
        assert.equal(size(), begun);
    });

    test('converters that nobody closed are freed', async () => {
        setFlagsFromString('--expose-gc');
        const collectGarbage = runInNewContext('gc');
        const { charset: own, size } = await watched();
        const bytes = Buffer.alloc(200000, iconv('UTF-8', 'GBK', master('chinese_simplified')));
        const forget = () => void own.open({ sample: 1 << 20 }).write(bytes);
        for (let round = 0; round < 2; ++round) {
            for (let i = 0; i < 20; ++i)
                forget();
            const begun = size();
            for (let tries = 0; tries < 20; ++tries) {
                collectGarbage();
                await pause(5);
            }
            if (round === 1)
                assert.equal(size(), begun);
            for (let i = 0; i < 20; ++i)
                forget();
            assert.equal(size(), begun, 'the memory of those forgotten is used again');
        }
    });

    test('what does not fit throws and leaves the module usable', async () => {
        const own = await zucharset.load({ maximumMemory: 16 << 20 });
        const large = Buffer.alloc(32 << 20, subtitle('cp1251'));
        for (let i = 0; i < 3; ++i) {
            assert.throws(() => own.explain(large), { name: 'CharsetError', code: 'memory' });
            /** @type {import('../src/index.js').Converter[]} */
            const hoard = [];
            assert.throws(() => {
                for (;;)
                    hoard.push(own.open());
            }, { name: 'CharsetError', code: 'memory' });
            assert.ok(hoard.length > 10);
            for (const converter of hoard)
                converter.close();
            assert.equal(own.convert(subtitle('gbk')).detection.encoding, 'gbk');
        }
        assert.equal(own.convert(large).losses.inputBytes, large.length); // goes through in pieces
    });
});

test('log lines reach the callback, which may use the module', async () => {
    /** @type {[number, string][]} */
    const lines = [];
    /** @type {Charset | null} */
    let own = null; // the first lines come while it loads
    own = await zucharset.load({
        log(level, line) {
            lines.push([level, line]);
            if (own !== null && lines.length < 100)
                own.detect(subtitle('gbk'));
        },
    });
    own.convert(subtitle('gbk'));
    await pause(1);
    assert.ok(lines.length > 2);
    for (const [level, line] of lines)
        assert.ok([2, 4, 6].includes(level) && /^\[\w+\.cpp:\d+\]/.test(line), line);
});

test('loading takes under 50 ms', async () => {
    const times = [];
    for (let i = 0; i < 10; ++i) {
        const wasm = numberedModule(i);
        const start = performance.now();
        await zucharset.load({ wasm });
        times.push(performance.now() - start);
        await pause(20);
    }
    assert.ok(Math.min(...times) < 50, times.map(Math.round).join(' '));
});
