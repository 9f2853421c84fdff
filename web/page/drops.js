// Files out of a drop, folders included.

/** @typedef {{file: File, path: string}} Dropped */

/**
 * @param {DataTransfer} transfer
 * @returns {Promise<Dropped[]>}
 */
export async function droppedFiles(transfer) {
    // Entries can only be asked for at once; what is in them takes time.
    const entries = [...transfer.items].map((item) => item.webkitGetAsEntry?.() ?? null);
    if (!entries.some((entry) => entry?.isDirectory))
        return [...transfer.files].map((file) => ({ file, path: file.name }));
    /** @type {Dropped[]} */
    const found = [];
    for (const entry of entries) {
        if (entry !== null)
            await walk(entry, found);
    }
    return found;
}

/** @param {FileSystemEntry} entry @param {Dropped[]} found */
async function walk(entry, found) {
    if (entry.isFile) {
        /** @type {File} */
        const file = await new Promise((done, failed) => /** @type {FileSystemFileEntry} */ (entry).file(done, failed));
        found.push({ file, path: entry.fullPath.replace(/^\//, '') });
        return;
    }
    const reader = /** @type {FileSystemDirectoryEntry} */ (entry).createReader();
    for (;;) {
        /** @type {FileSystemEntry[]} */
        const some = await new Promise((done, failed) => reader.readEntries(done, failed));
        if (some.length === 0)
            return;
        for (const inner of some)
            await walk(inner, found);
    }
}
