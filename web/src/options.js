/** Arguments, checked, and as the module takes them. Not part of the package's interface. */
import { CharsetError } from './errors.js';

/** @import { Module } from './module.js' */

const MARKS = { keep: 0, add: 'ADD_MARK', strip: 'STRIP_MARK' };
const encoder = new TextEncoder();

/**
 * @param {unknown} bytes
 * @param {string} name of the argument
 * @returns {Uint8Array}
 */
export function asBytes(bytes, name = 'bytes') {
    if (bytes instanceof Uint8Array)
        return bytes;
    if (ArrayBuffer.isView(bytes))
        return new Uint8Array(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    if (bytes instanceof ArrayBuffer || Object.prototype.toString.call(bytes) === '[object SharedArrayBuffer]')
        return new Uint8Array(/** @type {ArrayBuffer} */ (bytes));
    if (typeof bytes === 'string') {
        throw new TypeError(`${name} is a string, which has no encoding any more: give the bytes it was made from, ` +
            'such as await file.arrayBuffer()');
    }
    if (typeof Blob !== 'undefined' && bytes instanceof Blob)
        throw new TypeError(`${name} is a Blob: give await blob.arrayBuffer(), or the Blob to convertAsync()`);
    throw new TypeError(`${name} must be a Uint8Array, an ArrayBuffer or a view of one, not ${describe(bytes)}`);
}

/** @param {unknown} value */
export function describe(value) {
    if (value === null || value === undefined || typeof value === 'number' || typeof value === 'boolean')
        return String(value);
    if (typeof value === 'string')
        return JSON.stringify(value);
    return typeof value === 'object' ? (value.constructor?.name ?? 'an object') : `a ${typeof value}`;
}

/**
 * @param {object | undefined} options
 * @param {string[]} known
 * @returns {Record<string, any>}
 */
export function checkedOptions(options, known) {
    if (options === undefined)
        return {};
    if (options === null || typeof options !== 'object' || ArrayBuffer.isView(options) || Array.isArray(options))
        throw new TypeError(`options must be an object such as {prefer: 'ru'}, not ${describe(options)}`);
    const stranger = Object.keys(options).find((name) => !known.includes(name));
    if (stranger !== undefined)
        throw new TypeError(`there is no option ${describe(stranger)}; the options are ${known.join(', ')}`);
    return options;
}

/**
 * @param {Module} module
 * @param {unknown} name an encoding's name, an alias or a code type
 * @param {boolean} [languagesToo] whether "did you mean" may name languages
 * @returns {{address: number, markOpen: boolean}} where the encoding's row stands
 */
export function findEncoding(module, name, languagesToo = false) {
    if (typeof name !== 'string' && typeof name !== 'number')
        throw new TypeError(`an encoding is a name such as 'gbk' or a code type such as 20, not ${describe(name)}`);
    const bytes = encoder.encode(String(name));
    return module.withBytes(bytes, (address) => {
        const markOpen = module.scratch;
        const found = module.call.zutext_find_encoding(address, bytes.length, markOpen) >>> 0;
        if (found !== 0)
            return { address: found, markOpen: module.word(markOpen) !== 0 };
        throw unknownName(module, String(name), address, bytes.length, languagesToo);
    });
}

/**
 * @param {Module} module @param {string} name @param {number} address @param {number} length
 * @param {boolean} languagesToo
 */
function unknownName(module, name, address, length, languagesToo) {
    module.call.zutext_near_names(address, length, languagesToo ? 1 : 0, module.scratch, 256);
    const near = module.changingString(module.scratch);
    const kinds = languagesToo ? 'encoding or language' : 'encoding';
    const lists = languagesToo ? 'encodings() and languages() list' : 'encodings() lists';
    const remedy = near === '' ? `${lists} what there is` : `did you mean ${near}?`;
    return new RangeError(`there is no ${kinds} ${describe(name)}: ${remedy}`);
}

/**
 * Runs something with zutext_options in the module's memory.
 * @template T
 * @param {Module} module
 * @param {Record<string, any>} options
 * @param {number} flags to be set besides
 * @param {(address: number) => T} action
 * @returns {T}
 */
export function withOptions(module, options, flags, action) {
    const { plain = false, mark = 'keep', sample } = options;
    if (!Object.hasOwn(MARKS, mark))
        throw new TypeError(`mark must be 'keep', 'add' or 'strip', not ${describe(mark)}`);
    if (sample !== undefined && !(Number.isInteger(sample) && sample >= 1 && sample <= 0xFFFFFFFF))
        throw new RangeError(`sample must be a whole number of bytes from 1 to 4294967295, not ${describe(sample)}`);
    const { constants } = module;
    flags |= (plain ? constants.PLAIN : 0) | (constants[MARKS[/** @type {'add'} */ (mark)]] ?? 0);
    let from = 0;
    if (options.from !== undefined) {
        const { address, markOpen } = findEncoding(module, options.from);
        const encoding = module.read('encoding', address);
        if ((encoding.traits & constants.CONVERTIBLE) === 0) {
            throw new RangeError(`${encoding.name} is known and not converted` +
                (encoding.webName === null ? '' : `; new TextDecoder('${encoding.webName}') can read it`));
        }
        from = encoding.id;
        flags |= markOpen ? constants.MARK_OPEN : 0;
    }
    const prefer = encoder.encode(`${preferred(module, options.prefer)}\0`);
    const { size } = module.structures.options;
    const block = module.allocate(size + prefer.length);
    try {
        module.u8.fill(0, block, block + size);
        module.u8.set(prefer, block + size);
        module.view.setInt32(block + module.offset('options', 'from'), from, true);
        module.view.setUint32(block + module.offset('options', 'flags'), flags, true);
        module.view.setUint32(block + module.offset('options', 'sample'), sample ?? 0, true);
        module.view.setUint32(block + module.offset('options', 'prefer'), prefer.length > 1 ? block + size : 0, true);
        return action(block);
    } finally {
        module.call.free(block);
    }
}

/** @param {Module} module @param {unknown} prefer @returns {string} "ru,windows-1251" */
function preferred(module, prefer) {
    if (prefer === undefined)
        return '';
    const names = typeof prefer === 'string' ? prefer.split(',') : prefer;
    if (!Array.isArray(names) || names.some((name) => typeof name !== 'string'))
        throw new TypeError(`prefer must be names such as 'ru,windows-1251' or ['ru'], not ${describe(prefer)}`);
    return names.map((name) => name.trim()).filter((name) => name !== '').join(',');
}

/**
 * @param {Module} module
 * @param {number} result of a function of zutext.h
 * @param {Record<string, any>} options of the call
 * @param {() => import('./index.js').Detection | null} [detection]
 */
export function throwFor(module, result, options, detection = () => null) {
    const { constants } = module;
    const text = module.string(module.call.zutext_error_text(result)) ?? '';
    switch (result) {
        case 0:
            return;
        case constants.ERROR_MEMORY:
            throw new CharsetError('memory', `${text}: give the text in smaller pieces, or raise maximumMemory`);
        case constants.ERROR_REFUSED:
            throw new CharsetError('refused', `${text}: load({log}) shows its reason`);
        case constants.ERROR_NOT_TEXT: {
            const found = detection();
            throw new CharsetError('not-text', `these bytes are no text${found?.what ? `: ${found.what}` : ''}; ` +
                'from or plain converts them all the same', found);
        }
        case constants.ERROR_UNSUPPORTED: {
            const found = detection();
            throw new CharsetError('unsupported', `the text is ${found?.encoding}, which is not converted` +
                (found?.label ? `; new TextDecoder('${found.label}') can read it` : ''), found);
        }
        case constants.ERROR_NAME:
            throw unknownPreference(module, options.prefer);
        default:
            throw new TypeError(`${text}: was the converter used after finish() or a failure?`);
    }
}

/** @param {Module} module @param {unknown} prefer */
function unknownPreference(module, prefer) {
    for (const name of preferred(module, prefer).split(',')) {
        const verdict = module.scratch;
        const result = withOptions(module, { prefer: name }, 0,
            (options) => module.call.zutext_detect(0, 0, options, verdict));
        if (result === module.constants.ERROR_NAME) {
            const bytes = encoder.encode(name);
            return module.withBytes(bytes, (address) => unknownName(module, name, address, bytes.length, true));
        }
    }
    return new RangeError(`prefer is not understood: ${describe(prefer)}`);
}
