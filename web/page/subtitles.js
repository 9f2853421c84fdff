// Subtitles as text: what a viewer would read of them, and SubRip as WebVTT.

const CLOCK = /(?:(\d+):)?(\d{1,2}):(\d{1,2})(?:[,.](\d{1,3}))?/.source; // hours, minutes, seconds and their fraction
const TIMING = new RegExp(`^\\s*${CLOCK}\\s*-->\\s*${CLOCK}`);
const NUMBER = /^\s*\d+\s*$/;
const LINE_END = /\r\n|\n|\r/;

// Lines of subtitle formats that nobody reads: numbers, times, headers, settings.
const UNREAD = [
    NUMBER, TIMING, /^WEBVTT/, /^NOTE\b/, /^STYLE\b/, /^\[[^\]]*\]$/, /^\{[^}]*\}$/,
    /^(?:Format|Style|Comment|Title|ScriptType|PlayRes[XY]|WrapStyle|Original Script|Collisions|Timer)\s*:/,
    /^(?:ScaledBorderAndShadow|YCbCr Matrix)/, /^[;!]/,
];

/**
 * The first lines that a viewer would read, without markup.
 * @param {string} text the beginning of a text, subtitles or not
 * @param {number} most lines
 * @returns {string[]}
 */
export function firstLines(text, most) {
    const lines = [];
    for (const line of text.split(LINE_END)) {
        if (UNREAD.some((pattern) => pattern.test(line)))
            continue;
        const shown = line
            .replace(/^Dialogue:(?:[^,]*,){9}/, '')
            .replace(/<[^<>]*>|\{[^{}]*\}|^\[\d+:\d+[.:]?\d*\]/g, '')
            .replace(/\\[Nnh]|\|/g, ' ')
            .trim();
        if (shown !== '' && lines.push(shown) === most)
            break;
    }
    return lines;
}

/**
 * @param {string} name of a file
 * @param {string} text its beginning
 * @returns {boolean} whether it is SubRip, by its name and the times in it
 */
export const isSubRip = (name, text) => /\.srt$/i.test(name) && text.split(LINE_END).some((line) => TIMING.test(line));

/** SubRip to WebVTT, cut anywhere. A cue that is written in the way of SubRip's many writers is set right. */
export class SubRipToVtt {
    #rest = '';
    /** @type {{timing: string, id: string, lines: string[]} | null} */
    #cue = null;
    /** @type {string[]} */
    #loose = [];
    #begun = false;
    /** how many cues there were so far */
    cues = 0;

    /**
     * @param {string} text the next piece
     * @returns {string} WebVTT that is ready
     */
    write(text) {
        const whole = this.#rest + text;
        // A carriage return at the end may be half of a line end.
        const lines = whole.split(/\r\n|\n|\r(?!$)/);
        this.#rest = /** @type {string} */ (lines.pop());
        return this.#take(lines);
    }

    /** @returns {string} the rest */
    finish() {
        const output = this.#take(this.#rest.split(LINE_END)) + this.#endCue();
        return this.#begun ? output : `WEBVTT\n${output}`;
    }

    /** @param {string[]} lines */
    #take(lines) {
        let output = '';
        for (let line of lines) {
            if (!this.#begun) {
                this.#begun = true;
                output += 'WEBVTT\n';
                line = line.replace(/^\uFEFF/, '');
            }
            const timing = TIMING.exec(line);
            if (timing === null) {
                (this.#cue?.lines ?? this.#loose).push(line);
                continue;
            }
            // The number before the times belongs to them, with or without an empty line before it.
            const before = this.#cue?.lines ?? this.#loose;
            while (before.length > 0 && before[before.length - 1].trim() === '')
                before.pop();
            const id = before.length > 0 && NUMBER.test(before[before.length - 1])
                ? /** @type {string} */ (before.pop()).trim() : '';
            output += this.#endCue();
            const [, h1, m1, s1, f1, h2, m2, s2, f2] = timing;
            this.#cue = { timing: `${clock(h1, m1, s1, f1)} --> ${clock(h2, m2, s2, f2)}`, id, lines: [] };
        }
        return output;
    }

    #endCue() {
        this.#loose = []; // what stands before the first times has no time
        const cue = this.#cue;
        this.#cue = null;
        if (cue === null)
            return '';
        ++this.cues;
        const position = settings(cue.lines.join('\n'));
        // An empty line would end the cue, and the rest of its text would be lost.
        const text = cue.lines.map(cueText).filter((line) => line.trim() !== '');
        const lines = [...(cue.id === '' ? [] : [cue.id]), cue.timing + position, ...text];
        return `\n${lines.map((line) => `${line}\n`).join('')}`;
    }
}

/**
 * @param {string | undefined} hours @param {string} minutes @param {string} seconds @param {string} [fraction]
 * @returns {string} 00:00:00.000, whatever was carried over into seconds and minutes
 */
function clock(hours, minutes, seconds, fraction = '') {
    const total = Number(hours ?? 0) * 3600 + Number(minutes) * 60 + Number(seconds);
    const two = (/** @type {number} */ number) => String(number).padStart(2, '0');
    return `${two(Math.floor(total / 3600))}:${two(Math.floor(total / 60) % 60)}:${two(total % 60)}.` +
        fraction.padEnd(3, '0');
}

/** @param {string} text of a cue, where {\an8} says at which of nine places it stands, as on a number pad */
function settings(text) {
    const place = Number(/\{\\an([1-9])\}/.exec(text)?.[1] ?? 2);
    const line = ['', ' line:50%', ' line:0'][Math.floor((place - 1) / 3)];
    return line + [' align:left', '', ' align:right'][(place - 1) % 3];
}

/** @param {string} line of a cue: i, b and u stay, other markup goes, the rest is text */
function cueText(line) {
    return line
        .replace(/\{\\[^{}]*\}/g, '')
        .split(/(<\/?[a-z][^<>]*>)/i)
        .map((part, i) => i % 2 === 0 ? escaped(part) : keptTag(part))
        .join('');
}

/** @param {string} tag */
const keptTag = (tag) => /^<\/?[ibu]\s*>$/i.test(tag) ? tag.toLowerCase().replace(/\s/g, '') : '';

/** @param {string} text */
const escaped = (text) => text
    .replace(/&(?!(?:amp|lt|gt|lrm|rlm|nbsp|#\d+|#x[\da-f]+);)/gi, '&amp;')
    .replace(/</g, '&lt;')
    .replace(/>/g, '&gt;')
    .replace(/\0/g, '\uFFFD');
