// Keeps the page's files, so that it works without a network after the first visit. The build fills in what they are.
const VERSION = 'BUILD_VERSION';
/** @type {string[]} */
const FILES = ['BUILD_FILES'];

const scope = /** @type {ServiceWorkerGlobalScope} */ (/** @type {unknown} */ (self));

scope.addEventListener('install', (event) => {
    const fetching = FILES.map((file) => new Request(file, { cache: 'reload' }));
    event.waitUntil(caches.open(VERSION).then((cache) => cache.addAll(fetching)));
});

scope.addEventListener('activate', (event) => {
    event.waitUntil((async () => {
        for (const name of await caches.keys()) {
            if (name.startsWith('zucharset-') && name !== VERSION)
                await caches.delete(name);
        }
        await scope.clients.claim();
    })());
});

scope.addEventListener('fetch', (event) => {
    if (event.request.method !== 'GET' || new URL(event.request.url).origin !== location.origin)
        return;
    event.respondWith((async () => {
        const cache = await caches.open(VERSION);
        return await cache.match(event.request, { ignoreSearch: true }) ?? fetch(event.request);
    })());
});
