/**
 * What went wrong, in a word:
 * - `memory`: memory is short; the module stays usable
 * - `not-text`: the bytes are no text, see {@link CharsetError.detection}
 * - `unsupported`: text in an encoding that is recognised and not converted
 * - `refused`: the library refused; its line went to the `log` callback
 * @typedef {'memory' | 'not-text' | 'unsupported' | 'refused'} FailureCode
 */

/** A conversion that could not be made. Wrong arguments are a TypeError or a RangeError instead. */
export class CharsetError extends Error {
    /**
     * @param {FailureCode} code
     * @param {string} message
     * @param {import('./index.js').Detection | null} [detection]
     */
    constructor(code, message, detection = null) {
        super(message);
        this.name = 'CharsetError';
        /** @readonly @type {FailureCode} what went wrong */
        this.code = code;
        /** @readonly @type {import('./index.js').Detection | null} what the text was found to be, if that is known */
        this.detection = detection;
    }
}
