/** What the module answers, as JavaScript objects. Not part of the package's interface. */

/**
 * @import { Module } from './module.js'
 * @import { Detection, Encoding, LossKind, Losses } from './index.js'
 */

/** @type {WeakMap<Module, {list: Encoding[], byId: Map<number, Encoding>}>} */
const tables = new WeakMap();

/** @param {string | null} name @returns {string | null} the name if this machine's TextDecoder takes it */
function labelOf(name) {
    try {
        return name === null ? null : new TextDecoder(name).encoding;
    } catch {
        return null;
    }
}

/** @param {Module} module @returns {{list: Encoding[], byId: Map<number, Encoding>}} the encodings, made once */
export function tableOf(module) {
    let table = tables.get(module);
    if (table === undefined) {
        const { constants } = module;
        const first = module.call.zutext_encodings(module.scratch) >>> 0;
        const rows = module.readArray('encoding', first, module.word(module.scratch));
        const list = rows.map((row) => ({
            encoding: row.webName ?? row.name.toLowerCase(),
            codeType: row.id,
            name: row.name,
            aliases: row.aliases.split(' ').filter((/** @type {string} */ alias) => alias !== ''),
            description: row.description,
            label: labelOf(row.webName),
            convertible: (row.traits & constants.CONVERTIBLE) !== 0,
            recognised: (row.traits & constants.RECOGNISED) !== 0,
            caveat: row.caveat,
        }));
        table = { list, byId: new Map(list.map((encoding) => [encoding.codeType, encoding])) };
        tables.set(module, table);
    }
    return table;
}

const NAT = 100; // margins and costs come in hundredths
const NOTHING_TO_COMPARE = 0x7FFFFFFF;

/** @param {Module} module @param {number} address of a zutext_verdict @returns {Detection} */
export function detection(module, address) {
    const { byId } = tableOf(module);
    const verdict = module.read('verdict', address);
    const encoding = byId.get(verdict.encoding);
    const readings = module.readArray(
        'reading', address + module.offset('verdict', 'readings'), verdict.readingCount);
    return {
        kind: module.nameOf('KIND_', verdict.kind),
        encoding: encoding?.encoding ?? null,
        codeType: verdict.encoding,
        label: encoding?.label ?? null,
        language: verdict.language,
        sure: verdict.sure !== 0,
        readings: readings.map((reading) => ({
            encoding: byId.get(reading.encoding)?.encoding ?? '',
            codeType: reading.encoding,
            label: byId.get(reading.encoding)?.label ?? null,
            language: reading.language,
            cost: reading.cost / NAT,
        })),
        decidedBy: module.nameOf('BY_', verdict.decidedBy),
        margin: verdict.margin === NOTHING_TO_COMPARE ? Infinity : verdict.margin / NAT,
        hint: module.nameOf('HINT_', verdict.hint),
        whole: verdict.whole !== 0,
        sample: { offset: verdict.sampleOffset, length: verdict.sampleLength },
        what: verdict.what,
    };
}

/** @param {Module} module @param {number} address of a zutext_account @returns {Losses} */
export function account(module, address) {
    const facts = module.read('account', address);
    const places = module.readArray('place', address + module.offset('account', 'places'), facts.placeCount);
    const kindOf = (/** @type {number} */ kind) => /** @type {LossKind} */ (module.nameOf('LOSS_', kind));
    const kinds = /** @type {Record<LossKind, number>} */ (Object.fromEntries(
        facts.losses.map((/** @type {number} */ count, /** @type {number} */ kind) => [kindOf(kind), count])));
    return {
        lost: facts.textLost !== 0,
        count: Object.values(kinds).reduce((sum, count) => sum + count, 0) - kinds.mended,
        kinds,
        places: places.map((place) => ({
            offset: place.offset,
            kind: kindOf(place.kind),
            bytes: place.bytes.subarray(0, place.length),
        })),
        complete: facts.complete !== 0,
        changed: facts.changed !== 0,
        wrongByteOrder: facts.wrongByteOrder !== 0,
        inputBytes: facts.inputBytes,
        outputBytes: facts.outputBytes,
    };
}
