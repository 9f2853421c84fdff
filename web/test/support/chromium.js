// A headless Chromium, and the page from a server of its own.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createServer } from 'node:net';
import puppeteer from 'puppeteer-core';

export async function launch() {
    return puppeteer.launch({
        executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
        headless: true,
        args: [
            ...(process.getuid?.() === 0 ? ['--no-sandbox'] : []), // root has no sandbox
            '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
            '--disable-component-update', '--disable-sync', '--disable-dev-shm-usage', '--lang=en-US',
        ],
    });
}

async function freePort() {
    const probe = createServer().listen(0, '127.0.0.1');
    await once(probe, 'listening');
    const { port } = /** @type {import('node:net').AddressInfo} */ (probe.address());
    probe.close();
    await once(probe, 'close');
    return port;
}

/**
 * Serves a folder as any static host does.
 * @param {string} folder
 * @returns {Promise<{url: string, stop: () => Promise<void>}>}
 */
export async function serve(folder) {
    const port = await freePort();
    const server = spawn('python3', ['-m', 'http.server', '--bind', '127.0.0.1', '--directory', folder, String(port)],
        { stdio: 'ignore' });
    const url = `http://127.0.0.1:${port}/`;
    for (let tries = 0; ; ++tries) {
        try {
            await fetch(url);
            break;
        } catch (error) {
            if (tries === 100 || server.exitCode !== null)
                throw error;
            await new Promise((resolve) => setTimeout(resolve, 50));
        }
    }
    return {
        url,
        stop: async () => {
            server.kill();
            await once(server, 'exit');
        },
    };
}
