// The parts of the page that need no browser.
import assert from 'node:assert/strict';
import { readFileSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { distinct, savedName } from '../page/names.js';
import { bytesOfPaste } from '../page/paste.js';
import { SubRipToVtt, firstLines } from '../page/subtitles.js';
import { root } from './support/package.js';

test('every language has the same texts, and the page uses each of them', () => {
    const page = join(root, 'web/page');
    const read = (/** @type {string} */ name) => JSON.parse(readFileSync(join(page, 'texts', name), 'utf8'));
    const english = read('en.json');
    const sources = readdirSync(page).filter((name) => /\.(js|html)$/.test(name))
        .map((name) => readFileSync(join(page, name), 'utf8')).join('\n');
    for (const key of Object.keys(english)) {
        const built = ['state', 'by'].some((prefix) => key.startsWith(prefix)); // put together from a state or a reason
        assert.ok(built || sources.includes(`'${key}'`) || sources.includes(`"${key}"`), `${key} is used`);
    }
    const gaps = (/** @type {unknown} */ text) => [...JSON.stringify(text).matchAll(/\{\w+\}/g)].map(String);
    for (const name of readdirSync(join(page, 'texts'))) {
        const texts = read(name);
        assert.deepEqual(Object.keys(texts), Object.keys(english), name);
        for (const [key, text] of Object.entries(texts)) {
            assert.deepEqual(new Set(gaps(text)), new Set(gaps(english[key])), `${name}: ${key}`);
            if (typeof text === 'object') {
                const wanted = new Intl.PluralRules(name.replace('.json', '')).resolvedOptions().pluralCategories;
                assert.deepEqual(Object.keys(text).sort(), [...wanted].sort(), `${name}: ${key}`);
            }
        }
    }
});

test('WebVTT comes out the same however the text is cut', () => {
    const srt = readFileSync(join(root, 'samples/subtitles/utf8.srt'), 'utf8');
    const convert = (/** @type {number} */ length) => {
        const vtt = new SubRipToVtt();
        let output = '';
        for (let at = 0; at < srt.length; at += length)
            output += vtt.write(srt.slice(at, at + length));
        return output + vtt.finish();
    };
    const whole = convert(srt.length);
    assert.match(whole, /^WEBVTT\n\n1\n00:00:/);
    assert.ok(!whole.includes('\r'));
    for (const length of [1, 2, 5, 100])
        assert.equal(convert(length), whole, `pieces of ${length}`);
});

test('the first lines are those that a viewer reads', () => {
    /** @type {[string, string[]][]} */
    const cases = [
        ['1\r\n00:00:01,000 --> 00:00:02,000\r\n<i>Hello,</i>\r\n{\\an8}there\r\n\r\n2\r\n', ['Hello,', 'there']],
        ['WEBVTT\n\nNOTE by me\n\n00:01.000 --> 00:02.000\n- Yes.\n', ['- Yes.']],
        ['[Script Info]\nTitle: x\n[Events]\nFormat: a\nDialogue: 0,0:00:01.00,0:00:02.00,D,,0,0,0,,One, two\\Nthree',
            ['One, two three']],
        ['{25}{50}First|second', ['First second']],
        ['[00:12.30]Sung', ['Sung']],
        ['Just text.\n\n42\nMore.', ['Just text.', 'More.']],
    ];
    for (const [text, lines] of cases)
        assert.deepEqual(firstLines(text, 4), lines);
});

test('names of what is saved', () => {
    const options = { vtt: false, suffix: false, mark: false };
    /** @type {[string, object, string][]} */
    const cases = [
        ['a.srt', {}, 'a.srt'], ['a.srt', { suffix: true }, 'a.utf8.srt'], ['a.SRT', { vtt: true }, 'a.vtt'],
        ['a.b.srt', { vtt: true, suffix: true }, 'a.b.utf8.vtt'], ['a.txt', { vtt: true }, 'a.txt'],
        ['x.y/readme', { suffix: true }, 'x.y/readme.utf8'], ['.srt', { suffix: true }, '.srt.utf8'],
    ];
    for (const [name, change, wanted] of cases)
        assert.equal(savedName(name, { ...options, ...change }), wanted);
    assert.deepEqual(distinct(['a.srt', 'A.srt', 'a (2).srt', 'a.srt', 'b/a.srt']),
        ['a.srt', 'A (3).srt', 'a (2).srt', 'a (4).srt', 'b/a.srt']);
});

test('pasted text goes back to the bytes it was shown from', () => {
    assert.deepEqual([...bytesOfPaste('Ïðè\u0081')], [0xCF, 0xF0, 0xE8, 0x81]);
    assert.deepEqual(bytesOfPaste('Привет'), new TextEncoder().encode('Привет'));
});
