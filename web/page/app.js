// The page: takes files, keeps the list of cards, saves them all.
import { Card, download } from './card.js';
import { Cancelled, request } from './client.js';
import { droppedFiles } from './drops.js';
import { LANGUAGES, languageName, preferredLanguage, text, useLanguage } from './i18n.js';
import { bytesOfPaste } from './paste.js';

/**
 * @import { Dropped } from './drops.js'
 * @import { Encoding } from './zucharset/src/index.js'
 */

const OPEN_UP_TO = 20; // unsure files: with more of them, their other readings wait to be asked for
const CARDS_AT_ONCE = 20;
const NEWS_MS = 1500;

/** @type {Card[]} */
let cards = [];
/** @type {{encodings: Encoding[], languages: {code: string, name: string}[]}} */
let about = { encodings: [], languages: [] };

/** @template {HTMLElement} T @param {string} id @returns {T} */
const part = (id) => /** @type {T} */ (document.getElementById(id));
/** @param {string} id */
const input = (id) => /** @type {HTMLInputElement} */ (part(id));

/** @param {string} news for who does not see the page */
function say(news) {
    part('news').textContent = news;
}

const page = {
    /** @param {Card} card */
    changed(card) {
        if (card.state === 'look' && cards.length <= OPEN_UP_TO)
            void card.openOthers();
        summarizeSoon();
    },
    /** @param {Card} card */
    removed(card) {
        card.stop();
        const next = card.element.nextElementSibling ?? card.element.previousElementSibling;
        cards = cards.filter((other) => other !== card);
        card.element.remove();
        /** @type {HTMLElement} */ (next?.querySelector('.remove') ?? part('choose')).focus();
        say(text('newsRemoved', { name: card.path }));
        summarizeSoon();
    },
    say,
    prefer: () => /** @type {HTMLSelectElement} */ (part('prefer')).value,
    options: () => ({ vtt: input('vtt').checked, suffix: input('suffix').checked, mark: input('mark').checked }),
    encodings: () => about.encodings,
};

/* ---- The list ---- */

/** @param {Dropped[]} files */
async function add(files) {
    // A few at a time, so that thousands of them do not keep the page waiting.
    for (let at = 0; at < files.length; at += CARDS_AT_ONCE) {
        const made = files.slice(at, at + CARDS_AT_ONCE).map(({ file, path }) => new Card(file, path, page));
        cards.push(...made);
        part('list').append(...made.map((card) => card.element));
        for (const card of made)
            void card.read();
        summarizeSoon();
        await new Promise((resolve) => setTimeout(resolve));
    }
}

let summarizing = false;

/** Many cards change at once; one look at all of them is enough. */
function summarizeSoon() {
    if (summarizing)
        return;
    summarizing = true;
    setTimeout(() => {
        summarizing = false;
        summarize();
    }, cards.length > OPEN_UP_TO ? 100 : 0);
}

let lastNews = 0;

function summarize() {
    const count = cards.length;
    const busy = cards.filter(({ state }) => state === 'waiting' || state === 'reading').length;
    const look = cards.filter(({ state }) => state === 'look').length;
    const failed = cards.filter(({ state }) => state === 'failed' || state === 'cancelled').length;
    const readable = cards.filter((card) => card.readable).length;
    part('work').hidden = count === 0;
    document.body.classList.toggle('working', count > 0);
    const parts = [
        readable - look > 0 ? text('partReady', { count: readable - look }) : '',
        look > 0 ? text('partLook', { count: look }) : '',
        failed > 0 ? text('partFailed', { count: failed }) : '',
    ].filter((words) => words !== '').join(', ');
    const summary = busy > 0 ? text('summaryReading', { count, done: count - busy })
        : look + failed === 0 ? text('summaryReady', { count }) : text('summaryMixed', { count, parts });
    part('summary').textContent = summary;
    /** @type {HTMLButtonElement} */ (part('save-all')).disabled = readable === 0 || busy > 0;
    part('filter').hidden = look + failed === 0 || count < 4;
    if (count > 0 && (busy === 0 || Date.now() - lastNews > NEWS_MS)) {
        lastNews = Date.now();
        say(busy > 0 ? summary : text('newsRead', { count, summary: parts }));
    }
}

/* ---- Ways in ---- */

/** @param {DataTransfer} transfer */
async function takeTransfer(transfer) {
    const words = transfer.getData('text/plain');
    const files = await droppedFiles(transfer);
    if (files.length > 0)
        await add(files);
    else
        await addText(words);
}

/** @param {string} words */
async function addText(words) {
    if (words === '')
        say(text('pasteEmpty'));
    else
        await add([{ file: new File([bytesOfPaste(words)], text('pasted')), path: text('pasted') }]);
}

function listenForFiles() {
    const drop = part('drop');
    let depth = 0;
    addEventListener('dragenter', (event) => {
        event.preventDefault();
        ++depth;
        drop.classList.add('over');
    });
    addEventListener('dragleave', () => {
        if (--depth <= 0)
            drop.classList.remove('over');
    });
    addEventListener('dragover', (event) => event.preventDefault());
    addEventListener('drop', (event) => {
        event.preventDefault();
        depth = 0;
        drop.classList.remove('over');
        if (event.dataTransfer !== null)
            void takeTransfer(event.dataTransfer);
    });
    addEventListener('paste', (event) => {
        if (event.clipboardData !== null)
            void takeTransfer(event.clipboardData);
    });
    part('choose').addEventListener('click', () => input('files').click());
    input('files').addEventListener('change', () => {
        const files = [...(input('files').files ?? [])];
        input('files').value = '';
        void add(files.map((file) => ({ file, path: file.webkitRelativePath || file.name })));
    });
    part('paste').addEventListener('click', async () => {
        try {
            await addText(await navigator.clipboard.readText());
        } catch {
            say(text('pasteHint')); // the browser keeps the clipboard to itself
            part('drop').querySelector('.drop-words')?.replaceChildren(text('pasteHint'));
        }
    });
}

/* ---- Ways out ---- */

/** @type {() => void} */
let stopSaving = () => {};

async function saveAll() {
    const entries = cards.filter((card) => card.readable).map((card) => card.entry);
    const total = Math.max(entries.reduce((sum, { file }) => sum + file.size, 0), 1);
    const progress = /** @type {HTMLProgressElement} */ (part('all-progress'));
    const job = request('zip', { entries, options: page.options() }, (bytes) => {
        progress.value = bytes / total;
    });
    stopSaving = job.cancel;
    progress.value = 0;
    showSaving(true);
    say(text('packing'));
    try {
        const { name, blob } = await job.result;
        download(name, blob);
        say(text('packed', { name }));
    } catch (error) {
        const message = error instanceof Cancelled ? text('stateCancelled')
            : text('error', { message: /** @type {Error} */ (error).message });
        say(message);
        part('summary').textContent = message;
    } finally {
        showSaving(false);
    }
}

/** @param {boolean} saving */
function showSaving(saving) {
    part('all-progress').hidden = !saving;
    part('stop-all').hidden = !saving;
    /** @type {HTMLButtonElement} */ (part('save-all')).disabled = saving;
}

function clear() {
    stopSaving();
    for (const card of cards)
        card.stop();
    cards = [];
    part('list').replaceChildren();
    summarize();
    part('choose').focus();
}

/* ---- Choices ---- */

function fillLanguages() {
    const select = /** @type {HTMLSelectElement} */ (part('prefer'));
    const chosen = select.value;
    const languages = about.languages
        .map(({ code, name }) => new Option(languageName(code, name), code))
        .sort((a, b) => a.text.localeCompare(b.text, document.documentElement.lang));
    select.replaceChildren(new Option(text('likelyAny'), ''), ...languages);
    select.value = chosen;
}

/** @param {string} language of the page */
async function speak(language) {
    await useLanguage(language);
    fillLanguages();
    for (const card of cards)
        card.retell();
    summarize();
}

function listenForChoices() {
    const languages = /** @type {HTMLSelectElement} */ (part('ui-language'));
    languages.append(...Object.entries(LANGUAGES).map(([code, name]) => {
        const option = new Option(name, code);
        option.lang = code;
        return option;
    }));
    languages.value = preferredLanguage();
    languages.addEventListener('change', () => {
        localStorage.setItem('language', languages.value);
        void speak(languages.value);
    });
    for (const name of ['vtt', 'suffix', 'mark']) {
        input(name).checked = localStorage.getItem(name) === 'yes';
        input(name).addEventListener('change', () => localStorage.setItem(name, input(name).checked ? 'yes' : 'no'));
    }
    part('prefer').addEventListener('change', () => {
        for (const card of cards) {
            if (card.from === null)
                void card.read();
        }
    });
    part('filter').addEventListener('change', (event) => {
        part('list').dataset.filter = /** @type {HTMLInputElement} */ (event.target).value;
    });
    part('save-all').addEventListener('click', () => void saveAll());
    part('stop-all').addEventListener('click', () => stopSaving());
    part('clear').addEventListener('click', clear);
}

listenForChoices();
listenForFiles();
await useLanguage(/** @type {HTMLSelectElement} */ (part('ui-language')).value);
document.body.classList.add('ready');
try {
    about = await request('about', {}).result;
    fillLanguages();
} catch (error) {
    part('summary').textContent = text('error', { message: /** @type {Error} */ (error).message });
    part('work').hidden = false;
}
if ('serviceWorker' in navigator)
    await navigator.serviceWorker.register('service-worker.js').catch(() => {}); // without it the page needs its host
