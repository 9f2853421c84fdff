// The page's side of worker.js: one call is one job there.

/**
 * The worker begins as a blob: a worker of its own address would not be under this page's content security policy.
 * @returns {Worker}
 */
function startWorker() {
    const script = `import ${JSON.stringify(new URL('worker.js', import.meta.url).href)};`;
    const address = URL.createObjectURL(new Blob([script], { type: 'text/javascript' }));
    return new Worker(address, { type: 'module' });
}

/** A job that was cancelled. */
export class Cancelled extends Error {}

/** @typedef {{done: (result: any) => void, failed: (error: Error) => void, progress?: (bytes: number) => void}} Job */

const worker = startWorker();
/** @type {Map<number, Job>} */
const jobs = new Map();
let lastId = 0;

worker.addEventListener('message', ({ data }) => {
    const job = jobs.get(data.id);
    if (job === undefined)
        return;
    if ('progress' in data) {
        job.progress?.(data.progress);
        return;
    }
    jobs.delete(data.id);
    if ('error' in data)
        job.failed(data.error === 'cancelled' ? new Cancelled() : new Error(data.error));
    else
        job.done(data.result);
});

// A worker that cannot start answers nothing, so its jobs must not wait for ever.
worker.addEventListener('error', (event) => {
    event.preventDefault();
    for (const job of jobs.values())
        job.failed(new Error(event.message || 'the page could not start its worker: reload it'));
    jobs.clear();
});

/**
 * @param {string} kind of job
 * @param {object} values what it needs
 * @param {(bytes: number) => void} [progress]
 * @returns {{result: Promise<any>, cancel: () => void}}
 */
export function request(kind, values, progress) {
    const id = ++lastId;
    const result = new Promise((done, failed) => {
        jobs.set(id, { done, failed, progress });
    });
    worker.postMessage({ id, kind, ...values });
    return { result, cancel: () => worker.postMessage({ id, kind: 'cancel' }) };
}
