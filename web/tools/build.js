// Puts together what web.sh built: the package, ready to be packed, and the page, one folder for any static host.
//   node tools/build.js MODULE FOLDER
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { cp, mkdir, readFile, readdir, rm, stat, writeFile } from 'node:fs/promises';
import { dirname, join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

const web = dirname(dirname(fileURLToPath(import.meta.url)));
const root = dirname(web);
const [module, folder] = process.argv.slice(2);

/** @param {string} start @returns {Promise<string[]>} the files in a folder, in a fixed order */
async function filesIn(start) {
    const names = await readdir(start, { recursive: true });
    const kinds = await Promise.all(names.map((name) => stat(join(start, name))));
    return names.filter((_, i) => kinds[i].isFile()).sort();
}

/** @returns {Promise<string>} the version, which stands in one place */
async function version() {
    const found = /project\(zucharset VERSION ([\d.]+)/.exec(await readFile(join(root, 'CMakeLists.txt'), 'utf8'));
    if (found === null)
        throw new Error('CMakeLists.txt does not tell the version');
    return found[1];
}

/** @param {string} place */
async function buildPackage(place) {
    await rm(place, { recursive: true, force: true });
    await mkdir(place, { recursive: true });
    await cp(join(web, 'src'), join(place, 'src'), { recursive: true });
    await cp(module, join(place, 'zucharset.wasm'));
    await cp(join(web, 'README.md'), join(place, 'README.md'));
    for (const name of ['LICENSE', 'NOTICE'])
        await cp(join(root, name), join(place, name));
    const compiler = join(web, 'node_modules/typescript/bin/tsc');
    execFileSync(process.execPath, [compiler, '-p', join(web, 'tsconfig.types.json'), '--outDir', join(place, 'types')],
        { stdio: 'inherit' });
    const facts = JSON.parse(await readFile(join(web, 'package.json'), 'utf8'));
    const made = { ...facts, version: await version() };
    delete made.scripts;
    delete made.devDependencies;
    await writeFile(join(place, 'package.json'), `${JSON.stringify(made, null, 2)}\n`);
}

/** @param {string} place @param {string} library */
async function buildPage(place, library) {
    await rm(place, { recursive: true, force: true });
    await cp(join(web, 'page'), place, { recursive: true });
    await cp(join(library, 'src'), join(place, 'zucharset/src'), { recursive: true });
    await rm(join(place, 'zucharset/src/node.js'));
    await cp(join(library, 'zucharset.wasm'), join(place, 'zucharset/zucharset.wasm'));
    await mkdir(join(place, 'vendor'));
    await cp(join(web, 'node_modules/fflate/esm/browser.js'), join(place, 'vendor/fflate.js'));
    await cp(join(web, 'node_modules/fflate/esm/browser.d.ts'), join(place, 'vendor/fflate.d.ts'));
    await cp(join(web, 'node_modules/fflate/LICENSE'), join(place, 'vendor/fflate-LICENSE.txt'));
    for (const name of ['LICENSE', 'NOTICE'])
        await cp(join(root, name), join(place, `${name}.txt`));

    const worker = join(place, 'service-worker.js');
    const files = (await filesIn(place)).filter((name) => name !== 'service-worker.js' && !/\.(txt|d\.ts)$/.test(name));
    const hash = createHash('sha256');
    for (const name of files)
        hash.update(name).update(await readFile(join(place, name)));
    const script = (await readFile(worker, 'utf8'))
        .replace('BUILD_VERSION', `zucharset-${hash.digest('hex').slice(0, 16)}`)
        .replace("'BUILD_FILES'", ['./', ...files].map((name) => `\n    '${name}',`).join(''));
    await writeFile(worker, script);
}

const library = join(folder, 'package');
await buildPackage(library);
await buildPage(join(folder, 'page'), library);
console.log(`Package: ${relative(process.cwd(), library)}; page: ${relative(process.cwd(), join(folder, 'page'))}`);
