/**
 * The WebAssembly module as JavaScript sees it: its memory, its structures by name, its functions.
 * Not part of the package's interface.
 */

import { CharsetError } from './errors.js';

export const OUT_OF_MEMORY = 'memory is short: give the text in smaller pieces, or raise maximumMemory';

const PAGE = 65536;
const FIRST_PAGES = 32;
const MOST_PAGES = 65536;

/** Room for the bytes that go in with one call. */
export const PIECE = 65536;

/**
 * @typedef {{offset: number, kind: string}} Member
 * @typedef {{size: number, members: Record<string, Member>}} Structure
 */

/** @param {string} name @returns {string} `sample_offset` as `sampleOffset` */
const camelCase = (name) => name.replace(/_(.)/g, (_, letter) => letter.toUpperCase());

export class Module {
    /**
     * @param {BufferSource | WebAssembly.Module | Response | Promise<Response>} source
     * @param {{maximumMemory?: number, log?: (level: number, line: string) => void}} options
     */
    static async instantiate(source, options) {
        const maximum = Math.min(Math.floor((options.maximumMemory ?? MOST_PAGES * PAGE) / PAGE), MOST_PAGES);
        const memory = new WebAssembly.Memory({ initial: FIRST_PAGES, maximum });
        /** @type {{module?: Module}} */
        const made = {};
        /**
         * Lines are handed on when the call is over: a receiver may use the module again, or throw.
         * @type {(level: number, address: number, length: number) => void}
         */
        const log = (level, address, length) => {
            const line = made.module?.text(address, length).trimEnd() ?? '';
            queueMicrotask(() => options.log?.(level, line));
        };
        const instance = await instantiate(await source, { env: { memory }, host: { log } });
        const module = new Module(instance.exports, memory);
        made.module = module;
        module.call.zutext_web_log_level(options.log === undefined ? 0 : 6);
        module.call.zutext_prepare();
        return module;
    }

    /** @param {WebAssembly.Exports} functions @param {WebAssembly.Memory} memory */
    constructor(functions, memory) {
        /** @readonly the module's functions */
        this.call = /** @type {Record<string, (...values: number[]) => number>} */ (/** @type {unknown} */ (functions));
        this.memory = memory;
        this.decoder = new TextDecoder('utf-8', { ignoreBOM: true });
        this.wideDecoder = new TextDecoder('utf-16le', { ignoreBOM: true });
        /** @type {Map<number, string>} strings of the library, which never change, by address */
        this.strings = new Map();
        this.u8 = new Uint8Array(memory.buffer);
        this.view = new DataView(memory.buffer);
        /** @type {Record<string, Structure>} */
        this.structures = {};
        /** @type {Record<string, number>} constants of zutext.h without their prefix */
        this.constants = {};
        this.#readLayout();
        /** where the bytes of one call are put */
        this.inbox = this.allocate(PIECE);
        /** room for the units of so many bytes of UTF-8 */
        this.units = 0;
        /** where results of one call are put: any structure, a name with its neighbours, lines of a preview */
        this.scratch = this.allocate(Math.max(4096, ...Object.values(this.structures).map(({ size }) => size)));
    }

    #readLayout() {
        let row = this.call.zutext_web_layout();
        for (; this.word(row) !== 0; row += 12) {
            const name = this.string(this.word(row)) ?? '';
            const value = this.word(row + 4);
            const kind = String.fromCharCode(this.word(row + 8));
            if (kind === '=') {
                this.constants[name] = value | 0;
            } else if (kind === 'z') {
                this.structures[name] = { size: value, members: {} };
            } else {
                const [structure, member] = name.split('.');
                this.structures[structure].members[camelCase(member)] = { offset: value, kind };
            }
        }
    }

    /** Memory that grew is another buffer: to be called before every use of what a call of the module left. */
    refresh() {
        if (this.u8.buffer !== this.memory.buffer) {
            this.u8 = new Uint8Array(this.memory.buffer);
            this.view = new DataView(this.memory.buffer);
        }
    }

    /**
     * @param {number} size
     * @returns {number} the address of a block, to be given back with `call.free`
     */
    allocate(size) {
        const address = this.call.malloc(size) >>> 0;
        if (address === 0)
            throw new CharsetError('memory', OUT_OF_MEMORY);
        this.refresh();
        return address;
    }

    /** @param {number} address @returns {number} the unsigned word there */
    word(address) {
        this.refresh();
        return this.view.getUint32(address, true);
    }

    /** @param {number} address @param {number} length @returns {string} */
    text(address, length) {
        this.refresh();
        return this.decoder.decode(this.u8.subarray(address, address + length));
    }

    /**
     * @param {Uint8Array} utf8 well-formed
     * @returns {string} the same as a string, sooner than TextDecoder has it
     */
    widened(utf8) {
        if (this.units === 0)
            this.units = this.allocate(2 * (PIECE + 16));
        let result = '';
        for (let at = 0; at < utf8.length;) {
            let end = Math.min(at + PIECE - 16, utf8.length);
            while (end < utf8.length && (utf8[end] & 0xC0) === 0x80)
                --end; // whole characters
            this.refresh();
            this.u8.set(utf8.subarray(at, end), this.inbox);
            const count = this.call.zutext_web_widen(this.inbox, end - at, this.units);
            result += this.wideDecoder.decode(this.u8.subarray(this.units, this.units + 2 * count));
            at = end;
        }
        return result;
    }

    /** @param {number} address @returns {string} the string there, which ends with a 0 byte and may change */
    changingString(address) {
        this.refresh();
        return this.text(address, this.u8.indexOf(0, address) - address);
    }

    /** @param {number} address of a string that never changes, or 0 @returns {string | null} */
    string(address) {
        if (address === 0)
            return null;
        let text = this.strings.get(address);
        if (text === undefined) {
            text = this.changingString(address);
            this.strings.set(address, text);
        }
        return text;
    }

    /** @param {string} structure @param {string} member @returns {number} */
    offset(structure, member) {
        return this.structures[structure].members[member].offset;
    }

    /**
     * A structure as an object: numbers as numbers, strings as strings or null, inner structures left out.
     * @param {string} name @param {number} address
     * @returns {any}
     */
    read(name, address) {
        this.refresh();
        /** @type {Record<string, unknown>} */
        const result = {};
        for (const [member, { offset, kind }] of Object.entries(this.structures[name].members))
            result[member] = this.#readMember(kind, address + offset);
        return result;
    }

    /** @param {string} kind @param {number} at @returns {unknown} */
    #readMember(kind, at) {
        switch (kind) {
            case 'i':
                return this.view.getInt32(at, true);
            case 'u':
            case 'p':
                return this.view.getUint32(at, true);
            case 'I':
                return Number(this.view.getBigInt64(at, true));
            case 'U':
                return Number(this.view.getBigUint64(at, true));
            case 's':
                return this.string(this.view.getUint32(at, true));
            case 't':
                return this.changingString(at);
            case 'b':
                return this.u8.slice(at, at + 8);
            case 'A':
                return Array.from({ length: this.constants.LOSS_KINDS }, (_, kindOfLoss) =>
                    Number(this.view.getBigUint64(at + 8 * kindOfLoss, true)));
            default:
                return undefined;
        }
    }

    /** @param {string} name @param {number} address @param {number} count @returns {any[]} structures in a row */
    readArray(name, address, count) {
        return Array.from({ length: count }, (_, i) => this.read(name, address + i * this.structures[name].size));
    }

    /**
     * The word for a number: `nameOf('BY_', 5)` is `reading`, after ZUTEXT_BY_READING.
     * @param {string} prefix @param {number} value
     * @returns {any}
     */
    nameOf(prefix, value) {
        const found = Object.keys(this.constants).find(
            (name) => name.startsWith(prefix) && this.constants[name] === value);
        return found?.slice(prefix.length).toLowerCase().replaceAll('_', '-') ?? 'unknown';
    }

    /**
     * Runs something with a copy of bytes in the module's memory.
     * @template T
     * @param {Uint8Array} bytes
     * @param {(address: number) => T} action
     * @returns {T}
     */
    withBytes(bytes, action) {
        const inPlace = bytes.length < PIECE;
        const address = inPlace ? this.inbox : this.allocate(bytes.length + 1);
        try {
            this.u8.set(bytes, address);
            this.u8[address + bytes.length] = 0;
            return action(address);
        } finally {
            if (!inPlace)
                this.call.free(address);
        }
    }
}

/**
 * @param {BufferSource | WebAssembly.Module | Response} source
 * @param {WebAssembly.Imports} imports
 * @returns {Promise<WebAssembly.Instance>}
 */
async function instantiate(source, imports) {
    if (source instanceof WebAssembly.Module)
        return new WebAssembly.Instance(source, imports);
    if (typeof Response === 'undefined' || !(source instanceof Response))
        return (await WebAssembly.instantiate(/** @type {BufferSource} */ (source), imports)).instance;
    if (!source.ok)
        throw new Error(`zucharset.wasm could not be fetched from ${source.url}: status ${source.status}`);
    // Hosts that do not know the type of .wasm files are common, and only streaming insists on it.
    if (source.headers.get('content-type') === 'application/wasm')
        return (await WebAssembly.instantiateStreaming(source, imports)).instance;
    return (await WebAssembly.instantiate(await source.arrayBuffer(), imports)).instance;
}
