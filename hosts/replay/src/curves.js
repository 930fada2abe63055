// The curves of a recording: one row of doubles per frame, row-major, little-endian.

import {copyBufferView} from './glb.js';
import {TakeError} from './takeError.js';

/// What a recording showed, column by column.
export class Curves {
    /// `first`: the frame of the first row. `columns`: [{name, kind, values: Float64Array}], all of one length.
    constructor(first, columns) {
        this.first = first;
        this.columns = columns;
        this.count = columns.length > 0 ? columns[0].values.length : 0;
    }

    /// The row of `frame`; null outside the recording.
    rowOf(frame) {
        const row = frame - this.first;
        return row >= 0 && row < this.count ? row : null;
    }

    /// The column of this kind and name; null without one.
    find(kind, name) {
        return this.columns.find((column) => column.kind === kind && column.name === name) ?? null;
    }

    ofKind(kind) {
        return this.columns.filter((column) => column.kind === kind);
    }
}

/// Reads the record `described` ({first, count, columns, values}) of a vehicle. Throws a TakeError.
export function readCurves(described, json, binary) {
    const {first, count, columns} = described;
    const sound =
        Number.isInteger(first) &&
        Number.isInteger(count) &&
        count >= 0 &&
        Array.isArray(columns) &&
        columns.every((column) => typeof column?.name === 'string' && typeof column?.kind === 'string');
    if (!sound) throw new TakeError('The curves of this take are not described properly.');
    const bytes = copyBufferView(json, binary, described.values, 'The curves of this take cannot be read');
    const wanted = count * columns.length * 8;
    if (bytes.length < wanted) {
        throw new TakeError(`The curves of this take are incomplete: ${bytes.length} of ${wanted} bytes are there.`);
    }
    return new Curves(
        first,
        columns.map(({name, kind}, index) => {
            return {name, kind, values: takeColumn(bytes, count, columns.length, index)};
        }),
    );
}

function takeColumn(bytes, count, width, index) {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    const values = new Float64Array(count);
    for (let row = 0; row < count; row += 1) values[row] = view.getFloat64((row * width + index) * 8, true);
    return values;
}
