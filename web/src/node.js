/**
 * The package as Node takes it: the module is read from its file.
 * @module zucharset
 */
import { readFile } from 'node:fs/promises';
import { load as loadFrom } from './index.js';

export * from './index.js';

/**
 * Loads the WebAssembly module.
 * @param {import('./index.js').LoadOptions} [options]
 * @returns {Promise<import('./index.js').Charset>}
 */
export async function load(options = {}) {
    const { wasm = new URL('../zucharset.wasm', import.meta.url) } = options ?? {};
    const isFile = wasm instanceof URL ? wasm.protocol === 'file:'
        : typeof wasm === 'string' && !/^\w+:\/\//.test(wasm);
    return loadFrom({ ...options, wasm: isFile ? await readFile(/** @type {URL | string} */ (wasm)) : wasm });
}
