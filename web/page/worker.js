// Reads, converts and packs files apart from the page, so that the page answers whatever is going on.
import { load } from './zucharset/src/index.js';
import { Zip, ZipDeflate } from './vendor/fflate.js';
import { SubRipToVtt } from './subtitles.js';
import { distinct, savedName } from './names.js';

/**
 * @import { Charset, Detection, Encoding } from './zucharset/src/index.js'
 * @import { SaveOptions } from './names.js'
 */

/**
 * How a file is read: `from` an encoding that was chosen, or what is likely.
 * @typedef {{from: string | null, prefer: string}} Choice
 *
 * What was found out about a file. `byBrowser`: the library knows the encoding but does not convert it, and the
 * browser's own decoder reads it. `lost`: how many characters could not be read, `atLeast` so many. `head`: the
 * beginning of the text.
 * @typedef {{detection: Detection, name: string | null, byBrowser: boolean, lost: number, atLeast: boolean,
 *   lostAt: number | null, head: string}} Found
 *
 * @typedef {{title: Encoding, language: string | null, chosen: boolean, lines: string[]}} Preview
 * What is saved. `isSubRip`: it has times, so that it can become WebVTT.
 * @typedef {{path: string, file: File, choice: Choice, byBrowser: boolean, isSubRip: boolean}} Entry
 */

const SLICE = 1 << 20;
const HEAD = 16384;
const LARGE_PIECE = 8 << 20; // output is handed to the browser by pieces of this size
const PROGRESS_MS = 100;
const ZIP_LIMIT = 0xFFFFFFFF;

/** @type {Promise<Charset>} */
const loading = load();
/** @type {Map<number, AbortController>} */
const running = new Map();

/** @param {Charset} charset @param {string | number} encoding or code type @returns {Encoding} */
function encodingOf(charset, encoding) {
    const found = charset.encodings().find((row) => row.encoding === encoding || row.codeType === encoding);
    if (found === undefined)
        throw new RangeError(`no encoding ${encoding}`);
    return found;
}

/**
 * The pieces of a file, with news of how far it is.
 * @param {Blob} file @param {AbortSignal} signal @param {(bytes: number) => void} progress
 */
async function* slices(file, signal, progress) {
    let told = performance.now();
    const sliceAt = (/** @type {number} */ at) => file.slice(at, at + SLICE).arrayBuffer();
    let next = sliceAt(0);
    next.catch(() => {}); // whoever stops before its turn does not ask
    for (let at = 0; at < file.size; at += SLICE) {
        const bytes = new Uint8Array(await next);
        signal.throwIfAborted();
        next = sliceAt(at + SLICE); // while this one is worked on
        next.catch(() => {});
        yield bytes;
        if (performance.now() - told > PROGRESS_MS) {
            told = performance.now();
            progress(Math.min(at + SLICE, file.size));
        }
    }
}

/** What both ways of reading a file have in common: UTF-8 comes out piece by piece. */
class LibraryReader {
    /** @param {Charset} charset @param {Choice} choice @param {'keep' | 'add' | 'strip'} mark */
    constructor(charset, choice, mark) {
        const { from, prefer } = choice;
        this.converter = charset.open(from === null ? { prefer, mark } : { from, mark });
    }
    /** @param {Uint8Array} bytes */
    write(bytes) { return this.converter.write(bytes); }
    finish() { return this.converter.finish(); }
    close() { this.converter.close(); }
}

class BrowserReader {
    /** how many characters could not be read; where, a decoder does not tell */
    lost = 0;

    /** @param {string} label @param {'keep' | 'add' | 'strip'} mark */
    constructor(label, mark) {
        this.decoder = new TextDecoder(label, { ignoreBOM: mark === 'keep' });
        this.encoder = new TextEncoder();
        this.begin = mark === 'add' ? '\uFEFF' : '';
    }
    /** @param {Uint8Array} bytes */
    write(bytes) { return this.#give(this.decoder.decode(bytes, { stream: true })); }
    finish() { return this.#give(this.decoder.decode()); }
    /** @param {string} text */
    #give(text) {
        this.lost += text.split('\uFFFD').length - 1;
        const output = this.encoder.encode(this.begin + text);
        this.begin = '';
        return output;
    }
    close() {}
}

/** @param {Charset} charset @param {Choice} choice @param {boolean} byBrowser @param {'keep' | 'add' | 'strip'} mark */
function readerFor(charset, choice, byBrowser, mark) {
    if (!byBrowser)
        return new LibraryReader(charset, choice, mark);
    return new BrowserReader(encodingOf(charset, /** @type {string} */ (choice.from)).label ?? '', mark);
}

/** Takes the beginning of a text. */
class Head {
    text = '';
    #decoder = new TextDecoder();
    /** @param {Uint8Array} bytes */
    take(bytes) {
        if (this.text.length < HEAD)
            this.text += this.#decoder.decode(bytes.subarray(0, 4 * HEAD), { stream: true });
    }
}

/**
 * Reads a file to its end, for what it is, how it begins and what a conversion loses.
 * @param {Charset} charset
 * @param {{file: File, choice: Choice}} job @param {AbortSignal} signal @param {(bytes: number) => void} progress
 * @returns {Promise<Found>}
 */
async function read(charset, { file, choice }, signal, progress) {
    const chosen = choice.from === null ? null : encodingOf(charset, choice.from);
    if (chosen !== null && !chosen.convertible)
        return readByBrowser(charset, file, chosen, null, signal, progress);
    const reader = new LibraryReader(charset, choice, 'strip');
    const head = new Head();
    try {
        for await (const bytes of slices(file, signal, progress))
            head.take(reader.write(bytes));
        head.take(reader.finish());
    } catch (error) {
        const detection = reader.converter.detection;
        if (detection === null || detection.kind === 'text' || signal.aborted)
            throw error;
        if (detection.kind === 'unsupported' && detection.label !== null) {
            const encoding = encodingOf(charset, detection.codeType);
            return await readByBrowser(charset, file, encoding, detection, signal, progress);
        }
        return {
            detection, name: nameOf(charset, detection), byBrowser: false, lost: 0, atLeast: false, lostAt: null,
            head: '',
        };
    } finally {
        reader.close();
    }
    const detection = /** @type {Detection} */ (reader.converter.detection);
    const { count, complete, places } = reader.converter.losses;
    return {
        detection, name: nameOf(charset, detection), byBrowser: false, lost: count, atLeast: !complete,
        lostAt: places[0]?.offset ?? null, head: head.text,
    };
}

/** @param {Charset} charset @param {Detection} detection */
const nameOf = (charset, { codeType }) => codeType === 0 ? null : encodingOf(charset, codeType).name;

/**
 * @param {Charset} charset @param {File} file @param {Encoding} encoding @param {Detection | null} detection
 * @param {AbortSignal} signal @param {(bytes: number) => void} progress
 * @returns {Promise<Found>}
 */
async function readByBrowser(charset, file, encoding, detection, signal, progress) {
    if (encoding.label === null)
        throw new RangeError(`${encoding.name} is not converted, and this browser does not read it either`);
    const reader = new BrowserReader(encoding.label, 'strip');
    const head = new Head();
    for await (const bytes of slices(file, signal, progress))
        head.take(reader.write(bytes));
    head.take(reader.finish());
    detection ??= { ...charset.detect(new Uint8Array()), kind: 'unsupported', encoding: encoding.encoding,
        codeType: encoding.codeType, label: encoding.label, decidedBy: 'user', sure: true };
    return {
        detection, name: encoding.name, byBrowser: true, lost: reader.lost, atLeast: false, lostAt: null,
        head: head.text,
    };
}

/**
 * A file converted, in pieces.
 * @param {Charset} charset @param {Entry} entry @param {SaveOptions} options
 * @param {AbortSignal} signal @param {(bytes: number) => void} progress
 */
async function* converted(charset, { file, choice, byBrowser, isSubRip }, options, signal, progress) {
    const reader = readerFor(charset, choice, byBrowser, options.mark ? 'add' : 'strip');
    const vtt = options.vtt && isSubRip ? new SubRipToVtt() : null;
    const decoder = new TextDecoder('utf-8', { ignoreBOM: true });
    const encoder = new TextEncoder();
    const mark = vtt !== null && options.mark ? '\uFEFF' : '';
    try {
        if (mark !== '')
            yield encoder.encode(mark);
        for await (const bytes of slices(file, signal, progress)) {
            const output = reader.write(bytes);
            yield vtt === null ? output : encoder.encode(vtt.write(decoder.decode(output, { stream: true })));
        }
        const rest = reader.finish();
        yield vtt === null ? rest : encoder.encode(vtt.write(decoder.decode(rest)) + vtt.finish());
    } finally {
        reader.close();
    }
}

/** Collects output as a Blob, so that the browser can keep it where it has room. */
class Collector {
    /** @type {Blob[]} */
    #blobs = [];
    /** @type {Uint8Array<ArrayBuffer>[]} */
    #pieces = [];
    #waiting = 0;
    size = 0;

    /** @param {Uint8Array} bytes */
    take(bytes) {
        this.#pieces.push(/** @type {Uint8Array<ArrayBuffer>} */ (bytes));
        this.#waiting += bytes.length;
        this.size += bytes.length;
        if (this.#waiting > LARGE_PIECE)
            this.#bundle();
    }
    #bundle() {
        this.#blobs.push(new Blob(this.#pieces));
        this.#pieces = [];
        this.#waiting = 0;
    }
    /** @param {string} type */
    blob(type) {
        this.#bundle();
        return new Blob(this.#blobs, { type });
    }
}

/** @param {Entry} entry @param {string} name @param {SaveOptions} options */
const nameFor = ({ isSubRip }, name, options) => savedName(name, { ...options, vtt: options.vtt && isSubRip });

/**
 * @param {Charset} charset @param {{entry: Entry, options: SaveOptions}} job
 * @param {AbortSignal} signal @param {(bytes: number) => void} progress
 */
async function save(charset, { entry, options }, signal, progress) {
    const output = new Collector();
    for await (const piece of converted(charset, entry, options, signal, progress))
        output.take(piece);
    return { name: nameFor(entry, entry.file.name, options), blob: output.blob('application/octet-stream') };
}

/**
 * @param {Charset} charset @param {{entries: Entry[], options: SaveOptions}} job
 * @param {AbortSignal} signal @param {(bytes: number) => void} progress
 */
async function zip(charset, { entries, options }, signal, progress) {
    const output = new Collector();
    /** @type {Error | null} */
    let failure = null;
    const archive = new Zip((error, bytes) => {
        failure ??= error;
        if (error === null)
            output.take(bytes);
    });
    const names = distinct(entries.map((entry) => nameFor(entry, entry.path, options)));
    let before = 0;
    for (const [i, entry] of entries.entries()) {
        const packed = new ZipDeflate(names[i], { level: entry.file.size > LARGE_PIECE ? 1 : 6 });
        packed.mtime = new Date(entry.file.lastModified);
        archive.add(packed);
        const start = before;
        for await (const piece of converted(charset, entry, options, signal, (bytes) => progress(start + bytes)))
            packed.push(piece);
        packed.push(new Uint8Array(), true);
        before += entry.file.size;
        progress(before);
        if (failure !== null)
            throw failure;
        if (output.size > ZIP_LIMIT)
            throw new RangeError('more than 4 GB do not fit into one zip file: save fewer files at once');
    }
    archive.end();
    return { name: 'subtitles-utf8.zip', blob: output.blob('application/zip') };
}

/** @param {File} file @param {Detection} detection @returns {Promise<Uint8Array>} what the file was judged by */
async function sampleOf(file, { sample }) {
    const length = sample.length === 0 ? SLICE : sample.length;
    return new Uint8Array(await file.slice(sample.offset, sample.offset + length).arrayBuffer());
}

/**
 * The lines that tell most, in every reading that came into question, and in one more that is asked for.
 * @param {Charset} charset
 * @param {{file: File, found: Found, also: string | null}} job
 * @returns {Promise<Preview[]>}
 */
async function previews(charset, { file, found, also }) {
    const { detection } = found;
    const bytes = await sampleOf(file, detection);
    const wanted = detection.readings.map(({ codeType, language }) => ({ codeType, language }));
    for (const codeType of [detection.codeType, also === null ? 0 : encodingOf(charset, also).codeType]) {
        if (codeType !== 0 && !wanted.some((reading) => reading.codeType === codeType))
            wanted.unshift({ codeType, language: codeType === detection.codeType ? detection.language : null });
    }
    return wanted.flatMap(({ codeType, language }) => {
        const title = encodingOf(charset, codeType);
        const lines = charset.preview(bytes, title.codeType, 3) ?? browserPreview(bytes, title.label);
        return lines === null ? [] : [{ title, language, chosen: codeType === detection.codeType, lines }];
    });
}

/** @param {Uint8Array} bytes @param {string | null} label @returns {string[] | null} lines beyond ASCII, or null */
function browserPreview(bytes, label) {
    if (label === null)
        return null;
    const text = new TextDecoder(label).decode(bytes.subarray(0, HEAD));
    // eslint-disable-next-line no-control-regex -- what is not ASCII is what tells
    return text.split(/[\r\n]+/).filter((line) => /[^\x00-\x7F]/.test(line)).slice(0, 3);
}

/** @param {Charset} charset @param {{file: File, found: Found, choice: Choice}} job */
async function explain(charset, { file, found, choice }) {
    const options = choice.from === null ? { prefer: choice.prefer } : {};
    return charset.explain(await sampleOf(file, found.detection), options);
}

/** @param {Charset} charset */
async function about(charset) {
    return { encodings: charset.encodings(), languages: charset.languages() };
}

/** @typedef {(charset: Charset, job: any, signal: AbortSignal, progress: (bytes: number) => void) => any} Work */
/** @type {Record<string, Work>} */
const jobs = { read, save, zip, previews, explain, about };

/** Files are read one after another; what somebody waits for starts at once. @type {Promise<unknown>} */
let reading = Promise.resolve();

/** @param {{id: number, kind: string}} job */
async function work(job) {
    const { id, kind } = job;
    const stop = new AbortController();
    running.set(id, stop);
    try {
        const charset = await loading;
        const start = () => {
            stop.signal.throwIfAborted();
            return jobs[kind](charset, job, stop.signal, (bytes) => postMessage({ id, progress: bytes }));
        };
        let result;
        if (kind === 'read') {
            const turn = reading.then(start);
            reading = turn.catch(() => {});
            result = await turn;
        } else {
            result = await start();
        }
        postMessage({ id, result });
    } catch (error) {
        postMessage({ id, error: stop.signal.aborted ? 'cancelled' : String(/** @type {Error} */ (error).message) });
    } finally {
        running.delete(id);
    }
}

addEventListener('message', ({ data }) => {
    if (data.kind === 'cancel')
        running.get(data.id)?.abort();
    else
        void work(data);
});
