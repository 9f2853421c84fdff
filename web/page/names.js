// Names of what is saved.

/**
 * @typedef {object} SaveOptions
 * @property {boolean} vtt a .srt becomes WebVTT
 * @property {boolean} suffix `.utf8` in the name
 * @property {boolean} mark a byte order mark at the beginning
 */

/**
 * @param {string} name
 * @param {SaveOptions} options
 * @returns {string} film.srt as film.utf8.srt or film.utf8.vtt: players go by the ending
 */
export function savedName(name, { vtt, suffix }) {
    const dot = name.lastIndexOf('.');
    const [stem, ending] = dot > name.lastIndexOf('/') + 1 ? [name.slice(0, dot), name.slice(dot)] : [name, ''];
    return stem + (suffix ? '.utf8' : '') + (vtt && /^\.srt$/i.test(ending) ? '.vtt' : ending);
}

/**
 * @param {string[]} names
 * @returns {string[]} the same, but "film (2).srt" where a name comes again, in whichever case
 */
export function distinct(names) {
    const taken = new Set(names.map((name) => name.toLowerCase()));
    const seen = new Set();
    return names.map((name) => {
        let unique = name;
        const dot = name.lastIndexOf('.') > name.lastIndexOf('/') + 1 ? name.lastIndexOf('.') : name.length;
        for (let i = 2; seen.has(unique.toLowerCase()) || (unique !== name && taken.has(unique.toLowerCase())); ++i)
            unique = `${name.slice(0, dot)} (${i})${name.slice(dot)}`;
        seen.add(unique.toLowerCase());
        return unique;
    });
}
