/** Where bytes come from. Not part of the package's interface. */
import { asBytes, describe } from './options.js';

const PIECE = 1 << 20;
const TURN_MS = 8;

/** Resolves when what else waits in this thread has had its turn. A timer would wait longer. */
const nextTurn = () => new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => {
        port1.close();
        resolve(undefined);
    };
    port2.postMessage(null);
});

/**
 * @param {any} source bytes, a Blob, a ReadableStream or something that gives pieces
 * @returns {AsyncIterator<unknown>}
 */
export function piecesOf(source) {
    if (typeof Blob !== 'undefined' && source instanceof Blob)
        return slices(source.size, async (from, to) => new Uint8Array(await source.slice(from, to).arrayBuffer()));
    if (ArrayBuffer.isView(source) || source instanceof ArrayBuffer) {
        const bytes = ArrayBuffer.isView(source)
            ? new Uint8Array(source.buffer, source.byteOffset, source.byteLength) : new Uint8Array(source);
        return slices(bytes.length, async (from, to) => bytes.subarray(from, to));
    }
    if (typeof ReadableStream !== 'undefined' && source instanceof ReadableStream)
        return contents(source);
    if (source?.[Symbol.asyncIterator] !== undefined)
        return source[Symbol.asyncIterator]();
    throw new TypeError('source must be bytes, a Blob, a ReadableStream or an async iterable of bytes, ' +
        `not ${describe(source)}`);
}

/**
 * @param {number} size
 * @param {(from: number, to: number) => Promise<Uint8Array>} read
 */
async function* slices(size, read) {
    for (let at = 0; at < size; at += PIECE)
        yield await read(at, Math.min(at + PIECE, size));
}

/**
 * A stream's own iterator is not everywhere.
 * @param {ReadableStream<unknown>} stream
 * @returns {AsyncIterator<unknown>}
 */
function contents(stream) {
    const reader = stream.getReader();
    return {
        next: () => /** @type {Promise<IteratorResult<unknown>>} */ (reader.read()),
        return: async () => {
            await reader.cancel();
            return { done: true, value: undefined };
        },
    };
}

/**
 * The same pieces, with turns for others in between, until the signal ends the waiting for the next.
 * @param {AsyncIterator<unknown>} iterator
 * @param {AbortSignal | undefined} signal
 */
export async function* cancellable(iterator, signal) {
    /** @type {() => void} */
    let stop = () => {};
    const stopped = new Promise((_, reject) => {
        stop = () => reject(signal?.reason);
    });
    stopped.catch(() => {});
    signal?.addEventListener('abort', stop);
    let finished = false;
    let turn = performance.now();
    try {
        for (;;) {
            const { done, value } = await Promise.race([iterator.next(), stopped]);
            if (done) {
                finished = true;
                return;
            }
            const bytes = asBytes(value, 'a piece of the source');
            for (let at = 0; at < bytes.length; at += PIECE) {
                if (performance.now() - turn > TURN_MS) {
                    await nextTurn();
                    turn = performance.now();
                }
                signal?.throwIfAborted();
                yield bytes.subarray(at, at + PIECE);
            }
        }
    } finally {
        signal?.removeEventListener('abort', stop);
        if (!finished)
            Promise.resolve(iterator.return?.()).catch(() => {}); // a source that hangs must not keep the caller
    }
}
