import assert from 'node:assert/strict';
import {test} from 'node:test';
import {decodeBase64} from '../../src/base64.js';
import {TakeError} from '../../src/takeError.js';

const bytesOf = (length) => Uint8Array.from({length}, (_, i) => (i * 167 + 91) % 256);

test('bytes of every remainder come back', () => {
    for (let length = 0; length < 70; length += 1) {
        const bytes = bytesOf(length);
        assert.deepEqual(decodeBase64(Buffer.from(bytes).toString('base64')), bytes);
    }
});

test('every byte value comes back', () => {
    const bytes = Uint8Array.from({length: 256}, (_, i) => 255 - i);
    assert.deepEqual(decodeBase64(Buffer.from(bytes).toString('base64')), bytes);
});

test('white space is skipped and padding may be missing', () => {
    assert.deepEqual(decodeBase64('\n AQ\tID\r\nBA '), Uint8Array.of(1, 2, 3, 4));
});

test('a wrong character is told with its place', () => {
    assert.throws(
        () => decodeBase64('AQID!A=='),
        (error) => error instanceof TakeError && /character 5 of 8/.test(error.message),
    );
    assert.throws(() => decodeBase64('AQ\u20acD'), /character 3 of 4/);
    assert.throws(() => decodeBase64('AQ==AQ=='), /character 5 of 8/);
});

test('a text that breaks off inside a byte is told', () => {
    assert.throws(() => decodeBase64('AQIDB'), /breaks off/);
});
