// The page's texts in the reader's language. A language is one file in texts/ and one row here.

export const LANGUAGES = { en: 'English', de: 'Deutsch', zh: '中文' };

/** @type {Record<string, any>} */
let texts = {};
let language = 'en';

/**
 * What the browser knows of a language. Making such an object takes long, and thousands of files ask for it.
 * @type {Map<string, any>}
 */
const made = new Map();

/** @template T @param {string} key @param {() => T} make @returns {T} */
function once(key, make) {
    if (!made.has(key))
        made.set(key, make());
    return made.get(key);
}

/** @returns {string} */
export const currentLanguage = () => language;

/** @returns {string} what was chosen before, or the first of the browser's languages that there is */
export function preferredLanguage() {
    const wanted = [localStorage.getItem('language'), ...navigator.languages.map((name) => name.split('-')[0])];
    return wanted.find((name) => name !== null && Object.hasOwn(LANGUAGES, name)) ?? 'en';
}

/** @param {string} name of a language in LANGUAGES */
export async function useLanguage(name) {
    texts = await (await fetch(`texts/${name}.json`)).json();
    language = name;
    made.clear();
    document.documentElement.lang = name === 'zh' ? 'zh-Hans' : name;
    translate(document);
}

/**
 * @param {string} key
 * @param {Record<string, string | number>} [values] for {name} in the text; {count} also chooses among plural forms
 * @returns {string}
 */
export function text(key, values = {}) {
    let found = texts[key];
    if (typeof found === 'object')
        found = found[once('plural', () => new Intl.PluralRules(language)).select(Number(values.count))] ?? found.other;
    return String(found ?? key).replace(/\{(\w+)\}/g, (_, name) => {
        const value = values[name];
        return typeof value === 'number' ? once('number', () => new Intl.NumberFormat(language)).format(value)
            : String(value);
    });
}

/** Fills in the texts of a part of the page. @param {Document | DocumentFragment | Element} part */
export function translate(part) {
    for (const element of part.querySelectorAll('[data-text]'))
        element.textContent = text(/** @type {HTMLElement} */ (element).dataset.text ?? '');
    for (const element of part.querySelectorAll('[data-label]'))
        element.setAttribute('aria-label', text(/** @type {HTMLElement} */ (element).dataset.label ?? ''));
}

/** @param {string | null} code of a language @param {string} [otherwise] @returns {string} its name: "Russian" */
export function languageName(code, otherwise = '') {
    if (code === null)
        return otherwise;
    try {
        const names = once('languages', () => new Intl.DisplayNames(language, { type: 'language' }));
        return names.of(code) ?? otherwise;
    } catch {
        return otherwise;
    }
}

/** @param {number} bytes @returns {string} "12.5 kB" */
export function size(bytes) {
    const units = ['byte', 'kilobyte', 'megabyte', 'gigabyte'];
    let unit = 0;
    for (; bytes >= 1000 && unit < units.length - 1; ++unit)
        bytes /= 1000;
    const digits = bytes < 10 && unit > 0 ? 1 : 0;
    return once(`size ${unit} ${digits}`, () => new Intl.NumberFormat(language, {
        style: 'unit', unit: units[unit], unitDisplay: 'short', maximumFractionDigits: digits,
    })).format(bytes);
}
