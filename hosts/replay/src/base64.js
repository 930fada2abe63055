// Base64 to bytes. Written out because a take has tens of megabytes: the browser's own decoder goes through a string of
// the decoded bytes, which doubles the memory, and says nothing about where a broken text breaks.

import {TakeError} from './takeError.js';

const PADDING = 64;
const BLANK = 65;
const WRONG = 255;

const SEXTETS = (() => {
    const table = new Uint8Array(256).fill(WRONG);
    const letters = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
    for (let i = 0; i < letters.length; i += 1) table[letters.charCodeAt(i)] = i;
    for (const blank of ' \t\r\n') table[blank.charCodeAt(0)] = BLANK;
    table['='.charCodeAt(0)] = PADDING;
    return table;
})();

/// The bytes of a base64 text; white space is skipped, padding may be missing.
/// Throws a TakeError with the position of the first character that is not base64, or if the text breaks off inside
/// a byte.
export function decodeBase64(text) {
    const bytes = new Uint8Array(Math.floor((text.length * 3) / 4));
    let length = 0;
    let pending = 0;
    let bits = 0;
    let ended = false;
    for (let i = 0; i < text.length; i += 1) {
        const code = text.charCodeAt(i);
        const sextet = code < 256 ? SEXTETS[code] : WRONG;
        if (sextet === BLANK) continue;
        if (sextet === PADDING) {
            ended = true;
            continue;
        }
        if (sextet === WRONG || ended) {
            throw new TakeError(`The data in this page is damaged at character ${i + 1} of ${text.length}.`);
        }
        pending = ((pending << 6) | sextet) & 0xffff;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes[length] = (pending >> bits) & 0xff;
            length += 1;
        }
    }
    if (bits === 6) throw new TakeError('The data in this page is incomplete: it breaks off inside a byte.');
    return bytes.subarray(0, length);
}
