// One file on the page: what it is, how it reads, and what can be done with it.
import { Cancelled, request } from './client.js';
import { currentLanguage, languageName, size, text, translate } from './i18n.js';
import { firstLines, isSubRip } from './subtitles.js';
import { whyPanel } from './why.js';

/**
 * @import { Choice, Entry, Found, Preview } from './worker.js'
 * @import { SaveOptions } from './names.js'
 * @typedef {'waiting' | 'reading' | 'sure' | 'look' | 'chosen' | 'failed' | 'cancelled'} State
 */

const CUES = 4;
const RIGHT_TO_LEFT = new Set(['ar', 'fa', 'he', 'ur', 'yi', 'ps', 'ug', 'dv']);

/** @param {string | null} language @returns {'rtl' | 'auto'} */
const directionOf = (language) => language !== null && RIGHT_TO_LEFT.has(language.split('-')[0]) ? 'rtl' : 'auto';

/**
 * Lines of a text as it reads, in its own direction.
 * @param {HTMLElement} place @param {string[]} lines @param {string | null} language
 */
function showLines(place, lines, language) {
    place.dir = directionOf(language);
    place.replaceChildren(...lines.map((line) => {
        const row = document.createElement('p');
        row.dir = directionOf(language);
        if (language !== null)
            row.lang = language;
        row.textContent = line;
        return row;
    }));
}

/** @param {string | null} language @param {string} encoding @returns {string} "Russian, Windows-1251" */
export function inWords(language, encoding) {
    const name = languageName(language);
    return name === '' ? encoding : text('encodingIn', { language: name, encoding });
}

/** @param {string} name @param {Blob} blob */
export function download(name, blob) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}

export class Card {
    /** @type {State} */
    state = 'waiting';
    /** @type {Found | null} */
    found = null;
    /** @type {string | null} an encoding that was chosen */
    from = null;
    /** @type {string} what went wrong, in the words of whoever found it */
    error = '';
    /** @type {() => void} */
    #cancel = () => {};
    #saving = false;

    /**
     * @param {File} file
     * @param {string} path
     * @param {{changed: (card: Card) => void, removed: (card: Card) => void, say: (news: string) => void,
     *   prefer: () => string, options: () => SaveOptions,
     *   encodings: () => import('./zucharset/src/index.js').Encoding[]}} page
     */
    constructor(file, path, page) {
        this.file = file;
        this.path = path;
        this.page = page;
        const template = /** @type {HTMLTemplateElement} */ (document.getElementById('card'));
        const part = /** @type {DocumentFragment} */ (template.content.cloneNode(true));
        /** @readonly */
        this.element = /** @type {HTMLLIElement} */ (part.firstElementChild);
        this.#listen('.cancel', () => this.#cancel());
        this.#listen('.save', () => void this.save());
        this.#listen('.others', () => void this.#toggle('others', () => this.#fillOthers()));
        this.#listen('.why', () => void this.#toggle('why', () => this.#fillWhy()));
        this.#listen('.again', () => void this.read());
        this.#listen('.remove', () => this.page.removed(this));
        this.retell();
    }

    /** @param {string} selector @param {() => void} action */
    #listen(selector, action) {
        this.#part(selector).addEventListener('click', action);
    }

    /** @param {string} selector @returns {HTMLElement} */
    #part(selector) {
        return /** @type {HTMLElement} */ (this.element.querySelector(selector));
    }

    /** @returns {Choice} */
    get choice() {
        return { from: this.from, prefer: this.page.prefer() };
    }

    /** @returns {Entry} what the worker saves: the reading that is shown, whatever it would judge now */
    get entry() {
        const found = /** @type {Found} */ (this.found);
        return {
            file: this.file, path: this.path, byBrowser: found.byBrowser, isSubRip: isSubRip(this.path, found.head),
            choice: { from: found.detection.encoding, prefer: '' },
        };
    }

    /** @returns {boolean} whether there is something to be saved */
    get readable() {
        return ['sure', 'look', 'chosen'].includes(this.state);
    }

    /** Reads the file and shows how it reads. */
    async read() {
        this.stop();
        this.#enter('reading');
        const progress = /** @type {HTMLProgressElement} */ (this.#part('.reading progress'));
        progress.value = 0;
        const job = request('read', { file: this.file, choice: this.choice }, (bytes) => {
            progress.value = bytes / Math.max(this.file.size, 1);
        });
        this.#cancel = job.cancel;
        try {
            this.found = await job.result;
            this.error = '';
            this.#enter(this.#stateFound());
        } catch (error) {
            this.found = null;
            this.error = error instanceof Cancelled ? '' : /** @type {Error} */ (error).message;
            this.#enter(error instanceof Cancelled ? 'cancelled' : 'failed');
        }
    }

    /** Gives up what is going on. */
    stop() {
        this.#cancel();
        this.#cancel = () => {};
    }

    /** @returns {State} */
    #stateFound() {
        const { detection, byBrowser } = /** @type {Found} */ (this.found);
        if (detection.kind === 'binary' || (detection.kind === 'unsupported' && !byBrowser))
            return 'failed';
        if (this.from !== null)
            return 'chosen';
        return detection.sure || detection.kind === 'empty' || detection.kind === 'ascii' ? 'sure' : 'look';
    }

    /** @param {State} state */
    #enter(state) {
        this.state = state;
        this.retell();
        this.#close('others');
        this.#close('why');
        this.page.changed(this);
    }

    /** Says everything anew, for a new state or another language of the page. */
    retell() {
        translate(this.element);
        const { found, state } = this;
        this.element.dataset.state = state;
        this.#part('.name').textContent = this.path;
        this.#part('.size').textContent = size(this.file.size);
        this.#part('.state').textContent = text(`state${state[0].toUpperCase()}${state.slice(1)}`);
        const working = state === 'reading' || state === 'waiting';
        this.#part('.reading').hidden = !working;
        this.#part('.card-buttons').hidden = working;
        this.#part('.save').hidden = !this.readable;
        this.#part('.again').hidden = state !== 'cancelled' && !(state === 'failed' && found === null);
        const judged = found !== null && found.detection.codeType !== 0 && found.detection.kind !== 'ascii';
        this.#part('.others').hidden = !judged || working;
        this.#part('.why').hidden = !judged || working;
        this.#part('.encoding').textContent = judged ? inWords(found.detection.language, found.name ?? '') : '';
        const notice = working ? '' : this.#notice();
        this.#part('.notice').textContent = notice;
        this.#part('.notice').hidden = notice === '';
        showLines(this.#part('.cues'), working || found === null ? [] : firstLines(found.head, CUES),
            found?.detection.language ?? null);
        this.#part('.cues').hidden = this.#part('.cues').childElementCount === 0;
        for (const button of this.element.querySelectorAll('.card-buttons button, .cancel')) {
            button.setAttribute('aria-label',
                text('ofFile', { action: button.textContent ?? '', name: this.path }));
        }
        this.#part('.reading progress').setAttribute('aria-label',
            text('ofFile', { action: text('stateReading'), name: this.path }));
    }

    /** @returns {string} what must be said of the file */
    #notice() {
        const { found, state } = this;
        if (found === null)
            return state === 'cancelled' ? text('cancelledNotice') : text('error', { message: this.error });
        const { detection, byBrowser, lost, atLeast, lostAt } = found;
        const parts = [];
        if (detection.kind === 'empty')
            parts.push(text('empty'));
        else if (detection.kind === 'ascii')
            parts.push(text('plainText'));
        else if (detection.kind === 'binary')
            parts.push(detection.what === null ? text('binaryUnknown') : text('binary', { what: detection.what }));
        else if (detection.kind === 'unsupported')
            parts.push(text(byBrowser ? 'byBrowser' : 'cannot', { encoding: found.name ?? '' }));
        if (state === 'look')
            parts.push(text('unsure'));
        if (lost > 0) {
            const where = lostAt === null ? '' : text(lost === 1 ? 'lostAt' : 'lostFrom', { offset: lostAt });
            parts.push(atLeast ? text('lostAll', { where }) : text('lost', { count: lost, where }));
        }
        return parts.join(' ');
    }

    /** Saves the text as UTF-8. */
    async save() {
        if (this.#saving)
            return;
        this.#saving = true;
        const button = this.#part('.save');
        button.textContent = text('saving');
        try {
            const options = this.page.options();
            const { name, blob } = await request('save', { entry: this.entry, options }).result;
            download(name, blob);
            const untimed = options.vtt && /\.srt$/i.test(name);
            this.page.say(`${text('newsSaved', { name })} ${untimed ? text('noCues', { name }) : ''}`);
        } catch (error) {
            this.page.say(text('error', { message: /** @type {Error} */ (error).message }));
        } finally {
            this.#saving = false;
            button.textContent = text('save');
        }
    }

    /** @param {'others' | 'why'} panel @param {() => Promise<void>} fill */
    async #toggle(panel, fill) {
        const element = this.#part(`.${panel}-panel`);
        if (!element.hidden) {
            this.#close(panel);
            return;
        }
        this.#part(`.${panel}`).setAttribute('aria-expanded', 'true');
        try {
            await fill();
        } catch (error) {
            element.textContent = text('error', { message: /** @type {Error} */ (error).message });
        }
        element.hidden = false;
    }

    /** @param {'others' | 'why'} panel */
    #close(panel) {
        this.#part(`.${panel}`).setAttribute('aria-expanded', 'false');
        this.#part(`.${panel}-panel`).hidden = true;
    }

    /** Opens the other readings, for a file that is not sure. */
    async openOthers() {
        if (this.#part('.others-panel').hidden && !this.#part('.others').hidden)
            await this.#toggle('others', () => this.#fillOthers());
    }

    /** @param {string | null} [also] an encoding to be shown besides */
    async #fillOthers(also = null) {
        /** @type {Preview[]} */
        const previews = await request('previews', { file: this.file, found: this.found, also }).result;
        const words = document.createElement('p');
        words.className = 'fine';
        words.textContent = text(previews.length > 1 ? 'otherWords' : 'noOthers');
        const list = document.createElement('ul');
        list.className = 'previews';
        list.append(...previews.map((preview) => this.#option(preview)));
        this.#part('.others-panel').replaceChildren(words, list, this.#anyEncoding());
    }

    /** @param {Preview} preview @returns {HTMLLIElement} */
    #option({ title, language, chosen, lines }) {
        const item = document.createElement('li');
        item.className = 'preview';
        const button = document.createElement('button');
        button.type = 'button';
        button.className = 'preview-button';
        button.setAttribute('aria-pressed', String(chosen));
        const heading = document.createElement('span');
        heading.className = 'preview-title';
        heading.textContent = inWords(language, title.name);
        const shown = document.createElement('span');
        shown.className = 'preview-lines';
        shown.append(...lines.map((line) => {
            const row = document.createElement('span');
            row.dir = directionOf(language);
            if (language !== null)
                row.lang = language;
            row.textContent = line.replace(/<[^<>]*>|\{[^{}]*\}/g, '');
            return row;
        }));
        const action = document.createElement('span');
        action.className = 'preview-action';
        action.textContent = text(chosen ? 'taken' : 'take');
        button.append(heading, shown, action);
        button.addEventListener('click', () => void this.take(title.encoding, title.name));
        item.append(button);
        return item;
    }

    /** @returns {HTMLElement} a choice among all encodings, and the way back to judging */
    #anyEncoding() {
        const row = document.createElement('div');
        row.className = 'any';
        const label = document.createElement('label');
        label.className = 'field';
        const select = document.createElement('select');
        const names = this.page.encodings().filter((encoding) => encoding.convertible || encoding.label !== null);
        select.append(new Option(text('anotherChoose'), ''), ...names.map(
            ({ name, description, encoding }) => new Option(`${name} – ${description}`, encoding)));
        select.addEventListener('change', () => void this.take(
            select.value, names.find(({ encoding }) => encoding === select.value)?.name ?? ''));
        label.append(`${text('another')} `, select);
        row.append(label);
        if (this.from !== null) {
            const judge = document.createElement('button');
            judge.type = 'button';
            judge.textContent = text('judge');
            judge.addEventListener('click', () => void this.take(null, ''));
            row.append(judge);
        }
        return row;
    }

    /** @param {string | null} encoding to read the file in; null: judge @param {string} name of it */
    async take(encoding, name) {
        if (encoding === '')
            return;
        this.from = encoding;
        await this.read();
        /** @type {HTMLElement} */ (this.#part('.others')).focus();
        if (encoding !== null)
            this.page.say(text('newsTaken', { name: this.path, encoding: name }));
    }

    async #fillWhy() {
        const facts = await request('explain', { file: this.file, found: this.found, choice: this.choice }).result;
        const names = new Map(this.page.encodings().map(({ encoding, name }) => [encoding, name]));
        const found = /** @type {Found} */ (this.found);
        this.#part('.why-panel').replaceChildren(
            ...whyPanel(found.detection, facts, (encoding) => names.get(encoding) ?? encoding, currentLanguage()));
    }
}
