import { PIECE } from './module.js';
import { asBytes, throwFor, withOptions } from './options.js';
import { account, detection } from './results.js';

/**
 * @import { Module } from './module.js'
 * @import { Bytes, Detection, Losses } from './index.js'
 */

/** @type {typeof Symbol.dispose} */
const dispose = Symbol.dispose ?? Symbol.for('Symbol.dispose'); // Node 18 has none

/** Frees what a converter held that nobody closed. */
const forgotten = new FinalizationRegistry((/** @type {{module: Module, stream: number}} */ { module, stream }) =>
    module.call.zutext_close(stream));

/** A conversion piece by piece. Made by open(); close it, or write `using converter = charset.open()`. */
export class Converter {
    /** @type {Module} */
    #module;
    /** @type {number} the zutext_stream, 0 once closed */
    #stream;
    /** @type {Record<string, any>} */
    #options;
    /** @type {Detection | null} */
    #detection = null;
    /** @type {Losses | null} as it stood at the end */
    #losses = null;

    /**
     * @ignore
     * @param {Module} module @param {Record<string, any>} options @param {number} [flags]
     */
    constructor(module, options, flags = 0) {
        this.#module = module;
        this.#options = options;
        const result = withOptions(module, options, flags, (block) =>
            module.call.zutext_open(block, module.scratch));
        throwFor(module, result, options);
        this.#stream = module.word(module.scratch);
        forgotten.register(this, { module, stream: this.#stream }, this);
    }

    /**
     * Takes the next piece of the text, cut anywhere.
     * @param {Bytes} bytes
     * @returns {Uint8Array<ArrayBuffer>} the UTF-8 that is ready, which may be none yet
     */
    write(bytes) {
        const text = asBytes(bytes);
        if (text.length <= PIECE)
            return this.#step(text);
        /** @type {Uint8Array<ArrayBuffer>[]} */
        const pieces = [];
        for (let at = 0; at < text.length; at += PIECE)
            pieces.push(this.#step(text.subarray(at, at + PIECE)));
        return joined(pieces);
    }

    /**
     * Ends the text.
     * @returns {Uint8Array<ArrayBuffer>} the rest of the UTF-8
     */
    finish() {
        return this.#step(null);
    }

    /** @param {Uint8Array | null} piece null: the end @returns {Uint8Array<ArrayBuffer>} */
    #step(piece) {
        const module = this.#module;
        const { call, inbox, scratch } = module;
        if (this.#stream === 0)
            throw new TypeError('the converter is closed: open() gives a new one');
        let result;
        if (piece === null) {
            result = call.zutext_finish(this.#stream, scratch);
        } else {
            module.refresh();
            module.u8.set(piece, inbox);
            result = call.zutext_write(this.#stream, inbox, piece.length, scratch);
        }
        throwFor(module, result, this.#options, () => this.detection);
        const { bytes, length } = module.read('output', scratch);
        return module.u8.slice(bytes, bytes + length);
    }

    /** @returns {Detection | null} what the text is; null until that stands */
    get detection() {
        if (this.#detection === null && this.#stream !== 0) {
            const verdict = this.#module.call.zutext_verdict_of(this.#stream) >>> 0;
            if (verdict !== 0)
                this.#detection = detection(this.#module, verdict);
        }
        return this.#detection;
    }

    /** @returns {Losses} what was lost so far */
    get losses() {
        if (this.#stream === 0)
            return /** @type {Losses} */ (this.#losses);
        return account(this.#module, this.#module.call.zutext_account_of(this.#stream) >>> 0);
    }

    /** Gives the memory back. What was found out stays to be read; closing again does nothing. */
    close() {
        if (this.#stream === 0)
            return;
        void this.detection; // reads it while it is there
        this.#losses = this.losses;
        this.#module.call.zutext_close(this.#stream);
        this.#stream = 0;
        forgotten.unregister(this);
    }

    [dispose]() {
        this.close();
    }
}

/** @param {Uint8Array<ArrayBuffer>[]} pieces @returns {Uint8Array<ArrayBuffer>} */
export function joined(pieces) {
    if (pieces.length === 1)
        return pieces[0];
    const whole = new Uint8Array(pieces.reduce((length, piece) => length + piece.length, 0));
    let at = 0;
    for (const piece of pieces) {
        whole.set(piece, at);
        at += piece.length;
    }
    return whole;
}
