// The package as a user has it: from its tarball, in a folder of its own.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

export const root = dirname(dirname(dirname(dirname(fileURLToPath(import.meta.url)))));
export const built = join(root, 'build/web');
export const tarball = join(built, readdirSync(built).find((name) => name.endsWith('.tgz')) ?? 'run web.sh first');

/** Installs the tarball; removed at the end of the process. @returns {string} the folder it is installed in */
export function install() {
    const folder = mkdtempSync(join(tmpdir(), 'zucharset-'));
    process.once('exit', () => rmSync(folder, { recursive: true, force: true }));
    writeFileSync(join(folder, 'package.json'), '{"private": true, "type": "module"}');
    execFileSync('npm', ['install', '--silent', '--offline', '--no-audit', '--no-fund', tarball], { cwd: folder });
    return folder;
}

/**
 * Engines keep what they compiled: only a module that is new to them shows how long loading takes.
 * @param {number} number
 * @returns {Uint8Array<ArrayBuffer>} the module with a section that only says this number
 */
export function numberedModule(number) {
    const module = readFileSync(join(root, 'build/wasm/zucharset.wasm'));
    return Uint8Array.from([...module, 0, 6, 1, 'n'.charCodeAt(0), ...new Uint8Array(Uint32Array.of(number).buffer)]);
}

/** @returns {Promise<typeof import('../../src/node.js')>} */
export async function importPackage() {
    return import(pathToFileURL(join(install(), 'node_modules/zucharset/src/node.js')).href);
}
