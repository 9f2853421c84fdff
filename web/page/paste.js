// Text from the clipboard as the bytes that somebody saw it made of.

/** @type {Map<string, number> | undefined} */
let western;

/**
 * Garbled text is mostly bytes of another encoding shown as Windows-1252. Where a text can be that, it is taken back to
 * those bytes; all other text is taken as it is.
 * @param {string} text
 * @returns {Uint8Array<ArrayBuffer>}
 */
export function bytesOfPaste(text) {
    western ??= new Map(Array.from(
        new TextDecoder('windows-1252').decode(Uint8Array.from({ length: 256 }, (_, byte) => byte)),
        (character, byte) => [character, byte]));
    const bytes = new Uint8Array(text.length);
    for (let i = 0; i < text.length; ++i) {
        const byte = western.get(text[i]);
        if (byte === undefined)
            return /** @type {Uint8Array<ArrayBuffer>} */ (new TextEncoder().encode(text));
        bytes[i] = byte;
    }
    return bytes;
}
