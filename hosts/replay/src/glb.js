// The container of a binary glTF: a header of 12 bytes, one JSON chunk, at most one chunk of binary data.

import {TakeError} from './takeError.js';

const MAGIC = 0x46546c67; // "glTF"
const JSON_CHUNK = 0x4e4f534a;
const BINARY_CHUNK = 0x004e4942;

/// Splits `bytes` into its JSON document and its binary chunk: {json, binary}, where `binary` is a Uint8Array on the
/// same memory (empty without such a chunk; its start is aligned to 4 bytes only). Throws a TakeError.
export function readGlb(bytes) {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    if (bytes.byteLength < 12 || view.getUint32(0, true) !== MAGIC) {
        throw new TakeError('The data in this page is not a binary glTF file.');
    }
    const version = view.getUint32(4, true);
    if (version !== 2)
        throw new TakeError(`The data in this page is glTF version ${version}; this page reads version 2.`);
    const length = view.getUint32(8, true);
    if (length > bytes.byteLength) {
        throw new TakeError(`The data in this page is incomplete: ${bytes.byteLength} of ${length} bytes are there.`);
    }
    let json = null;
    let binary = new Uint8Array(0);
    for (let at = 12; at + 8 <= length; ) {
        const size = view.getUint32(at, true);
        const kind = view.getUint32(at + 4, true);
        if (at + 8 + size > length)
            throw new TakeError('The data in this page is incomplete: a part of it breaks off.');
        const chunk = bytes.subarray(at + 8, at + 8 + size);
        if (json === null) {
            if (kind !== JSON_CHUNK) throw new TakeError('The data in this page does not begin with its description.');
            json = parseJson(chunk);
        } else if (kind === BINARY_CHUNK && binary.length === 0) {
            binary = chunk;
        }
        at += 8 + size + ((4 - (size % 4)) % 4);
    }
    if (json === null) throw new TakeError('The data in this page has no description of the scene.');
    return {json, binary};
}

/// The bytes of the buffer view `index` of the binary chunk, as an own copy that starts at an aligned address.
/// `what` names the view in the TakeError that a wrong index or range throws.
export function copyBufferView(json, binary, index, what) {
    const view = Number.isInteger(index) ? json.bufferViews?.[index] : undefined;
    if (!view || (view.buffer ?? 0) !== 0) throw new TakeError(`${what}: there is no buffer view ${index}.`);
    const start = view.byteOffset ?? 0;
    const end = start + view.byteLength;
    if (!(start >= 0 && end >= start && end <= binary.length)) {
        throw new TakeError(`${what}: the buffer view ${index} reaches beyond the data.`);
    }
    return binary.slice(start, end);
}

function parseJson(chunk) {
    try {
        const json = JSON.parse(new TextDecoder('utf-8', {fatal: true}).decode(chunk));
        if (json !== null && typeof json === 'object' && !Array.isArray(json)) return json;
    } catch {
        // Falls through: text that is not UTF-8 and text that is not JSON are one error for the reader.
    }
    throw new TakeError('The description of the scene in this page cannot be read.');
}
