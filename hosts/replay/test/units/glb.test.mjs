import assert from 'node:assert/strict';
import {test} from 'node:test';
import {copyBufferView, readGlb} from '../../src/glb.js';
import {TakeError} from '../../src/takeError.js';
import {GlbWriter} from '../support/glbWriter.mjs';

function smallGlb(name = 'x') {
    const writer = new GlbWriter();
    writer.view(Float64Array.of(1.5, -2.25));
    writer.view(Uint8Array.of(7, 8, 9));
    writer.node(name, null);
    return writer.finish();
}

test('a file comes apart into its description and its data', () => {
    const {json, binary} = readGlb(smallGlb('caf\u00e9'));
    assert.equal(json.nodes[0].name, 'caf\u00e9');
    assert.deepEqual(copyBufferView(json, binary, 1, 'it'), Uint8Array.of(7, 8, 9));
});

test('a copied view can be read as doubles wherever its data lies in the file', () => {
    for (const name of ['a', 'ab', 'abc', 'abcd', 'abcde', 'abcdefgh']) {
        const {json, binary} = readGlb(smallGlb(name));
        assert.deepEqual(new Float64Array(copyBufferView(json, binary, 0, 'it').buffer), Float64Array.of(1.5, -2.25));
    }
});

test('a file that begins inside a larger memory is read from its own beginning', () => {
    const file = smallGlb();
    const larger = new Uint8Array(file.length + 24);
    larger.set(file, 13);
    assert.equal(readGlb(larger.subarray(13)).json.nodes[0].name, 'x');
});

test('what is no such file, or not all of it, is told', () => {
    const file = smallGlb();
    const changed = (at, value) => Uint8Array.from(file, (byte, i) => (i === at ? value : byte));
    const cases = [
        [new Uint8Array(0), /not a binary glTF/],
        [file.subarray(0, 11), /not a binary glTF/],
        [changed(0, 0x20), /not a binary glTF/],
        [changed(4, 1), /version 1/],
        [file.subarray(0, file.length - 1), /incomplete/],
        [changed(16, 0), /does not begin/],
        [changed(20, 0x5b), /cannot be read/],
        [changed(15, 0x7f), /incomplete/],
    ];
    for (const [bytes, message] of cases) {
        assert.throws(
            () => readGlb(bytes),
            (error) => error instanceof TakeError && message.test(error.message),
            String(message),
        );
    }
});

test('a view outside the data is told with what it was for', () => {
    const {json, binary} = readGlb(smallGlb());
    for (const index of [2, -1, 0.5, null, undefined]) {
        assert.throws(() => copyBufferView(json, binary, index, 'The curves'), /The curves: there is no buffer view/);
    }
    json.bufferViews[0].byteLength = binary.length + 1;
    assert.throws(() => copyBufferView(json, binary, 0, 'The curves'), /The curves: .* beyond/);
});
