// Why a text was judged as it was: how likely its readings are, the bytes that decided, and the scores.
import { languageName, text } from './i18n.js';

/** @import { Detection, Explanation, Reading } from './zucharset/src/index.js' */

const SHOWN_SCORES = 8;

/** @param {string} name @param {string | Node} content @param {string} [className] */
function element(name, content, className = '') {
    const made = document.createElement(name);
    made.className = className;
    made.append(content);
    return made;
}

/** @param {number} share from 0 to 1 @param {boolean} strong @param {number | null} [goal] where a line is drawn */
function bar(share, strong, goal = null) {
    const made = element('span', '', strong ? 'bar-row strong' : 'bar-row');
    const filled = element('span', '', 'bar-fill');
    filled.style.inlineSize = `${Math.round(Math.min(Math.max(share, 0), 1) * 100)}%`;
    made.append(filled);
    if (goal !== null) {
        const line = element('span', '', 'bar-goal');
        line.style.insetInlineStart = `${Math.round(goal * 100)}%`;
        made.append(line);
    }
    return made;
}

/**
 * @param {string} title @param {string} help @param {string[]} heads @param {(string | Node)[][]} rows
 * @returns {HTMLElement}
 */
function table(title, help, heads, rows) {
    const part = element('section', element('h3', title), 'why-part');
    part.append(element('p', help, 'fine'));
    const made = document.createElement('table');
    made.createCaption().append(element('span', title, 'hidden'));
    const head = made.createTHead().insertRow();
    for (const [i, name] of heads.entries()) {
        const cell = /** @type {HTMLTableCellElement} */ (element('th', name));
        cell.scope = 'col';
        if (i === heads.length - 1)
            cell.colSpan = rows[0].length - i; // a bar and its figure are one thing
        head.append(cell);
    }
    const body = made.createTBody();
    for (const cells of rows) {
        const row = body.insertRow();
        for (const [i, content] of cells.entries()) {
            const cell = element(i === 0 ? 'th' : 'td', content);
            if (i === 0)
                cell.setAttribute('scope', 'row');
            row.append(cell);
        }
    }
    const scroller = element('div', made, 'scroller');
    scroller.tabIndex = 0;
    scroller.setAttribute('role', 'region');
    scroller.setAttribute('aria-label', title);
    part.append(scroller);
    return part;
}

/** @param {number} cost @param {string} language of the page @returns {string} "1 : 250" */
function odds(cost, language) {
    if (cost === 0)
        return text('first');
    const times = Math.exp(cost);
    if (times > 1e6)
        return text('timesMany');
    return text('times', { count: times.toLocaleString(language, { maximumSignificantDigits: 2 }) });
}

/** @param {Detection} detection @param {string} language of the page @returns {string} */
function inSentences(detection, language) {
    const name = languageName(detection.language);
    const by = detection.decidedBy[0].toUpperCase() + detection.decidedBy.slice(1);
    const reason = by === 'Reading' && name === '' ? text('byReadingAny') : text(`by${by}`, { language: name });
    if (!Number.isFinite(detection.margin) || detection.readings.length < 2)
        return reason;
    const times = Math.exp(detection.margin);
    const margin = times > 1e6 ? text('marginMany')
        : text('margin', { count: times.toLocaleString(language, { maximumSignificantDigits: 2 }) });
    return `${reason} ${margin}`;
}

/**
 * @param {Detection} detection that the page shows
 * @param {Explanation} facts
 * @param {(encoding: string) => string} nameOf
 * @param {string} language of the page
 * @returns {HTMLElement[]}
 */
export function whyPanel(detection, facts, nameOf, language) {
    const parts = [element('p', inSentences(detection, language))];
    /** @param {Reading} reading */
    const title = (reading) => {
        const name = languageName(reading.language);
        return name === '' ? nameOf(reading.encoding)
            : text('encodingIn', { language: name, encoding: nameOf(reading.encoding) });
    };
    const { readings } = facts.detection;
    if (readings.length > 1) {
        // Costs of hundreds are common; their logarithm keeps near rivals apart and far ones on the chart.
        const scale = Math.log1p(readings[readings.length - 1].cost);
        parts.push(table(text('costs'), text('costsHelp'), [text('reading'), text('likelihood')],
            readings.slice(0, SHOWN_SCORES).map((reading, i) => [
                title(reading), bar(1 - 0.95 * Math.log1p(reading.cost) / Math.max(scale, 1), i === 0),
                odds(reading.cost, language),
            ])));
    }
    if (facts.differences.length > 0) {
        parts.push(table(text('bytesTitle'), text('bytesHelp'),
            [text('byte'), title(readings[0]), title(readings[1]), text('often'), text('inWords')],
            facts.differences.map(({ byte, first, second, count, words }) => [
                byte.toString(16).toUpperCase().padStart(2, '0'), element('bdi', first), element('bdi', second),
                count.toLocaleString(language), words.toLocaleString(language),
            ])));
    }
    const scores = [...facts.scores].sort((a, b) => b.score - a.score).slice(0, SHOWN_SCORES);
    const most = Math.max(facts.scoreNeeded * 1.25, ...scores.map(({ score }) => score));
    parts.push(table(text('scores'), text('scoresHelp', { needed: facts.scoreNeeded }),
        [text('kind'), text('score')], scores.map(({ name, score, won }) => [
            name, bar(score / most, won, facts.scoreNeeded / most),
            won ? `${score} · ${text('won')}` : String(score),
        ])));
    return parts;
}
