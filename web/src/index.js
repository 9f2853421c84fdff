/**
 * Tells the encoding of subtitles and other text, and turns it into UTF-8.
 *
 * ```js
 * import { load } from 'zucharset';
 * const charset = await load();
 * const { text, detection, losses } = charset.convert(new Uint8Array(await file.arrayBuffer()));
 * ```
 * @module zucharset
 */
import { Converter, joined } from './converter.js';
import { CharsetError } from './errors.js';
import { Module, PIECE } from './module.js';
import { asBytes, checkedOptions, describe, findEncoding, throwFor, withOptions } from './options.js';
import { detection, tableOf } from './results.js';
import { cancellable, piecesOf } from './sources.js';
import { ConversionStream } from './stream.js';

export { CharsetError, ConversionStream, Converter };

/**
 * Bytes, in whichever form. They are read during the call only.
 * @typedef {ArrayBufferView | ArrayBufferLike} Bytes
 */

/**
 * How to judge.
 * @typedef {object} DetectOptions
 * @property {string | string[]} [prefer] encodings and languages that are likelier than others: `'ru,windows-1251'`. A
 *   hint, not a veto: what the text shows clearly weighs more
 * @property {number} [sample] how many bytes to judge by, from a little before the first that is not ASCII; 1 MiB
 * @property {boolean} [plain] libzucharset's own answer, as a player with it would show the text
 */

/**
 * How to judge and convert.
 * @typedef {object} OwnConvertOptions
 * @property {string | number} [from] the encoding, by a name or a code type, where it is known; else it is judged
 * @property {'keep' | 'add' | 'strip'} [mark] what becomes of a byte order mark; 'keep' where nothing is said
 * @typedef {DetectOptions & OwnConvertOptions} ConvertOptions
 */

/**
 * One way to read a text.
 * @typedef {object} Reading
 * @property {string} encoding its name in the Encoding Standard, or the library's in lower case where that has none
 * @property {number} codeType the library's number for it; from 100 on it is not converted
 * @property {string | null} label what `TextDecoder` takes for it, null where it knows no such encoding
 * @property {string | null} language code of the language that the text reads as: 'ru'
 * @property {number} cost how much less likely it is than the first reading, as the natural logarithm
 */

/**
 * What a text is.
 * @typedef {object} Detection
 * @property {'empty' | 'ascii' | 'text' | 'unsupported' | 'binary'} kind 'unsupported' is text in an encoding that is
 *   recognised and not converted
 * @property {string | null} encoding its name in the Encoding Standard, or the library's in lower case where that has
 *   none; null when empty or no text
 * @property {number} codeType the library's number for the encoding, 0 for none; from 100 on it is not converted
 * @property {string | null} label what `TextDecoder` takes for the encoding, null where it knows no such encoding
 * @property {string | null} language code of the language; null when unknown, or where the form alone decided
 * @property {boolean} sure false: the reading may be wrong, the other readings are worth a look
 * @property {Reading[]} readings all readings that came into question, the likeliest first; empty where the form alone
 *   decided
 * @property {'nothing' | 'user' | 'mark' | 'form' | 'vote' | 'reading' | 'library'} decidedBy what the answer rests on
 * @property {number} margin distance to the next reading that gives another text, as the natural logarithm; 4 is sure,
 *   Infinity where there is nothing to compare
 * @property {'none' | 'agreed' | 'decided' | 'undefined' | 'outweighed'} hint what became of `prefer`
 * @property {boolean} whole whether all of the text was judged, not only a sample
 * @property {{offset: number, length: number}} sample the bytes it was judged by
 * @property {string | null} what of a 'binary' what it is: 'an MPEG program stream'
 */

/**
 * Where something was lost.
 * @typedef {object} Place
 * @property {number} offset in the input, in bytes
 * @property {LossKind} kind
 * @property {Uint8Array} bytes
 */

/**
 * Kinds of loss: `replaced` became U+FFFD, `dropped` bytes were left out, `malformed` was no well-formed UTF-8,
 * `surrogate` was half of a pair, `misread` was a code that only GB18030 has, `cut` is a character that the end of the
 * text cuts off. `mended` is none: a surrogate pair in UTF-8 became the character that was meant.
 * @typedef {'replaced' | 'dropped' | 'malformed' | 'surrogate' | 'misread' | 'cut' | 'mended'} LossKind
 */

/**
 * What a conversion lost.
 * @typedef {object} Losses
 * @property {boolean} lost whether any of the text is gone
 * @property {number} count of all losses, what was mended not among them
 * @property {Record<LossKind, number>} kinds how often, by kind
 * @property {Place[]} places the first three of each kind
 * @property {boolean} complete whether all were counted; else the counts are lower bounds
 * @property {boolean} changed whether the output differs from the input at all
 * @property {boolean} wrongByteOrder whether the text starts with the mark of the other byte order
 * @property {number} inputBytes
 * @property {number} outputBytes
 */

/**
 * An encoding.
 * @typedef {object} Encoding
 * @property {string} encoding its name in the Encoding Standard, or the library's in lower case where that has none
 * @property {number} codeType the library's number for it; from 100 on it is not converted
 * @property {string} name as people write it: 'Windows-1251'
 * @property {string[]} aliases
 * @property {string} description what it is for: 'Cyrillic'
 * @property {string | null} label what `TextDecoder` takes for it, null where it knows no such encoding
 * @property {boolean} convertible whether it can be converted
 * @property {boolean} recognised whether detect() can answer with it; others must be named
 * @property {string | null} caveat what the library's table lacks, null where it is complete
 */

/**
 * The facts behind an answer.
 * @typedef {object} Explanation
 * @property {Detection} detection
 * @property {number} examined how many bytes
 * @property {boolean} voteNamed whether an estimator won, so that the tests did not count
 * @property {number} scoreNeeded to win
 * @property {{name: string, score: number, encoding: string | null, won: boolean}[]} scores of the estimators of
 *   libzucharset's vote
 * @property {{encoding: string, name: string, accepted: boolean, refused: number, byte: number, decided: boolean}[]}
 *   tests of libzucharset's cascade: refused is the offset of the first unknown byte, -1 where there is none
 * @property {{byte: number, count: number, words: number, first: string, second: string}[]} differences bytes that the
 *   first two readings read differently, the most frequent first
 */

/**
 * @typedef {object} LoadOptions
 * @property {URL | string | BufferSource | WebAssembly.Module | Response | Promise<Response>} [wasm] where
 *   zucharset.wasm is, if not beside the package
 * @property {(level: number, line: string) => void} [log] takes libzucharset's log lines: level 2 refusals, 4 notices,
 *   6 every step. Called when the call that logged is over
 * @property {number} [maximumMemory] how many bytes the module may use, at least 2 MiB; 4 GiB
 */

/** A converted text. */
export class Conversion {
    /** @type {Module} */
    #module;
    /** @type {string | undefined} */
    #text;

    /**
     * @ignore
     * @param {Module} module @param {Uint8Array<ArrayBuffer>} bytes @param {Detection} found @param {Losses} losses
     */
    constructor(module, bytes, found, losses) {
        this.#module = module;
        /** @readonly the text in UTF-8 */
        this.bytes = bytes;
        /** @readonly what it was */
        this.detection = found;
        /** @readonly what was lost, and where */
        this.losses = losses;
    }

    /** The text as a string, without a byte order mark. */
    get text() {
        if (this.#text === undefined) {
            const { bytes } = this;
            const marked = bytes[0] === 0xEF && bytes[1] === 0xBB && bytes[2] === 0xBF;
            this.#text = this.#module.widened(marked ? bytes.subarray(3) : bytes);
        }
        return this.#text;
    }
}

const JUDGING = ['prefer', 'sample', 'plain'];
const CONVERTING = [...JUDGING, 'from', 'mark'];

/** The loaded library. One is enough for a page or a program; it keeps nothing between calls. */
export class Charset {
    /** @readonly @type {Module} */
    #module;

    /** @param {Module} module */
    constructor(module) {
        this.#module = module;
    }

    /**
     * Tells the encoding of a whole text.
     * @param {Bytes} bytes
     * @param {DetectOptions} [options]
     * @returns {Detection}
     */
    detect(bytes, options) {
        const module = this.#module;
        const text = asBytes(bytes);
        const judging = checkedOptions(options, JUDGING);
        const converter = new Converter(module, judging, module.constants.JUDGE_ONLY);
        try {
            for (let at = 0; at < text.length && converter.detection === null; at += PIECE)
                converter.write(text.subarray(at, at + PIECE));
            if (converter.detection === null)
                converter.finish();
        } catch (error) {
            // That a text cannot be converted is an answer here.
            if (!(error instanceof CharsetError) || error.detection === null)
                throw error;
        } finally {
            converter.close();
        }
        return /** @type {Detection} */ (converter.detection);
    }

    /**
     * Converts a whole text to UTF-8.
     * @param {Bytes} bytes
     * @param {ConvertOptions} [options]
     * @returns {Conversion}
     * @throws {CharsetError} when it is no text, or in an encoding that is not converted
     */
    convert(bytes, options) {
        const text = asBytes(bytes);
        const converter = this.open(options);
        try {
            return conversionOf(this.#module, [converter.write(text), converter.finish()], converter);
        } finally {
            converter.close();
        }
    }

    /**
     * Converts what is too long to keep a page waiting, or arrives over time. Other work goes on between its pieces.
     * @param {Bytes | Blob | ReadableStream<Uint8Array> | AsyncIterable<Uint8Array>} source
     * @param {ConvertOptions & {signal?: AbortSignal, onProgress?: (bytes: number) => void}} [options] an AbortSignal
     *   cancels: the promise is rejected with its reason; onProgress is told how many bytes were taken so far
     * @returns {Promise<Conversion>}
     */
    async convertAsync(source, options) {
        const { signal, onProgress, ...converting } = checkedOptions(options, [...CONVERTING, 'signal', 'onProgress']);
        checkSignal(signal);
        const converter = this.open(converting);
        try {
            /** @type {Uint8Array<ArrayBuffer>[]} */
            const pieces = [];
            let taken = 0;
            for await (const bytes of cancellable(piecesOf(source), signal)) {
                pieces.push(converter.write(bytes));
                taken += bytes.length;
                onProgress?.(taken);
            }
            pieces.push(converter.finish());
            return conversionOf(this.#module, pieces, converter);
        } finally {
            converter.close();
        }
    }

    /**
     * A TransformStream from bytes of any encoding, cut anywhere, to UTF-8:
     * `response.body.pipeThrough(charset.stream()).pipeThrough(new TextDecoderStream())`.
     * @param {ConvertOptions & {signal?: AbortSignal}} [options]
     * @returns {ConversionStream}
     */
    stream(options) {
        const { signal, ...converting } = checkedOptions(options, [...CONVERTING, 'signal']);
        checkSignal(signal);
        return new ConversionStream(this.open(converting), signal);
    }

    /**
     * Begins a conversion piece by piece, for whom streams do not suit. Close it, or write `using`.
     * @param {ConvertOptions} [options]
     * @returns {Converter}
     */
    open(options) {
        return new Converter(this.#module, checkedOptions(options, CONVERTING));
    }

    /**
     * The facts behind an answer. Slower than detect().
     * @param {Bytes} bytes
     * @param {ConvertOptions} [options]
     * @returns {Explanation}
     */
    explain(bytes, options) {
        const module = this.#module;
        const text = asBytes(bytes);
        const judging = checkedOptions(options, CONVERTING);
        const { constants, scratch } = module;
        const result = module.withBytes(text, (address) => withOptions(module, judging, 0, (block) =>
            module.call.zutext_explain(address, text.length, block, scratch)));
        throwFor(module, result, judging);
        const { byId } = tableOf(module);
        const facts = module.read('explanation', scratch);
        const at = (/** @type {string} */ member) => scratch + module.offset('explanation', member);
        return {
            detection: detection(module, at('verdict')),
            examined: facts.examined,
            voteNamed: facts.voteNamed !== 0,
            scoreNeeded: constants.SCORE_NEEDED,
            scores: module.readArray('score', at('scores'), constants.SCORES).map((score) => ({
                name: score.name,
                score: score.score,
                encoding: byId.get(score.encoding)?.encoding ?? null,
                won: score.won !== 0,
            })),
            tests: module.readArray('test', at('tests'), constants.TESTS).map((test) => ({
                encoding: byId.get(test.encoding)?.encoding ?? '',
                name: byId.get(test.encoding)?.name ?? '',
                accepted: test.accepted !== 0,
                refused: test.refused,
                byte: test.byte,
                decided: test.decided !== 0,
            })),
            differences: module.readArray('difference', at('differences'), facts.differenceCount),
        };
    }

    /**
     * The lines of a text that tell most about its encoding, as they read in one encoding. Which lines these are
     * depends on the bytes alone, so that previews in several encodings can stand side by side.
     * @param {Bytes} bytes
     * @param {string | number} encoding also some that are not converted
     * @param {number} [lines] at most, 1 to 8; 3
     * @returns {string[] | null} null where the encoding cannot be shown
     */
    preview(bytes, encoding, lines = 3) {
        const module = this.#module;
        const text = asBytes(bytes);
        if (!Number.isInteger(lines) || lines < 1 || lines > 8)
            throw new RangeError(`lines must be a whole number from 1 to 8, not ${describe(lines)}`);
        const { id } = module.read('encoding', findEncoding(module, encoding).address);
        const room = 4096;
        const result = module.withBytes(text, (address) =>
            module.call.zutext_preview(address, text.length, id, lines, module.scratch, room));
        if (result === module.constants.ERROR_UNSUPPORTED)
            return null;
        throwFor(module, result, {});
        const shown = module.changingString(module.scratch);
        return shown === '' ? [] : shown.split('\n');
    }

    /** @returns {Encoding[]} all encodings that the library knows */
    encodings() {
        return tableOf(this.#module).list.map((encoding) => ({ ...encoding, aliases: [...encoding.aliases] }));
    }

    /** @returns {{code: string, name: string}[]} the languages that readings are told by, with English names */
    languages() {
        const module = this.#module;
        const first = module.call.zutext_languages(module.scratch) >>> 0;
        return module.readArray('language', first, module.word(module.scratch));
    }
}

/**
 * Loads the WebAssembly module.
 * @param {LoadOptions} [options]
 * @returns {Promise<Charset>}
 */
export async function load(options) {
    const { wasm = new URL('../zucharset.wasm', import.meta.url), log, maximumMemory } =
        checkedOptions(options, ['wasm', 'log', 'maximumMemory']);
    if (log !== undefined && typeof log !== 'function')
        throw new TypeError(`log must be a function (level, line) => …, not ${describe(log)}`);
    if (maximumMemory !== undefined && !(maximumMemory >= 2 << 20))
        throw new RangeError(`maximumMemory must be at least 2097152 bytes, not ${describe(maximumMemory)}`);
    const source = wasm instanceof URL || typeof wasm === 'string' ? fetch(wasm) : wasm;
    return new Charset(await Module.instantiate(source, { log, maximumMemory }));
}

/** @param {any} signal */
function checkSignal(signal) {
    if (signal !== undefined && !(signal instanceof AbortSignal))
        throw new TypeError(`signal must be an AbortSignal, not ${describe(signal)}`);
    signal?.throwIfAborted();
}

/** @param {Module} module @param {Uint8Array<ArrayBuffer>[]} pieces @param {Converter} converter */
function conversionOf(module, pieces, converter) {
    const found = /** @type {Detection} */ (converter.detection);
    return new Conversion(module, joined(pieces), found, converter.losses);
}

