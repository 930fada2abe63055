// What surrounds the vehicle: messages, traces of the tyres, cameras, keys, and the filling of the page.

import assert from 'node:assert/strict';
import {test} from 'node:test';
import {hasOwnUse} from '../../src/controls.js';
import {Curves} from '../../src/curves.js';
import {kindOfMessage, latestMessage} from '../../src/messageList.js';
import {ribbonPieces} from '../../src/tyreTracks.js';
import {verticalFieldOfView} from '../../src/views.js';
import {escapeHtml, fillPage} from '../support/fillPage.mjs';

test('the latest message is the last one said by a frame', () => {
    const messages = [{frame: 5}, {frame: 5}, {frame: 9}];
    assert.deepEqual(
        [4, 5, 8, 9, 100].map((frame) => latestMessage(messages, frame)),
        [-1, 1, 1, 2, 2],
    );
    assert.equal(latestMessage([], 3), -1);
});

test('the caption tells the kind of a message', () => {
    assert.deepEqual(['Warning', 'ERROR', 'Info', ''].map(kindOfMessage), ['warning', 'error', 'note', 'note']);
});

// One wheel that goes along -z by 1 per row from z = 3, at x = 2, y = 0.5.
function wheelCurves(inAir, z = inAir.map((_, row) => 3 - row)) {
    const column = (kind, values) => ({
        name: kind === 'output' ? 'WheelMesh_FL' : 'FL',
        kind,
        values: Float64Array.from(values),
    });
    return new Curves(0, [
        column('output', inAir),
        column(
            'contact_x',
            inAir.map(() => 2),
        ),
        column(
            'contact_y',
            inAir.map(() => 0.5),
        ),
        column('contact_z', z),
    ]);
}

test('a trace joins the contacts from frame to frame, on the ground and as wide as a tyre', () => {
    const {positions, ends} = ribbonPieces(wheelCurves([0, 0, 0]), 4);
    assert.deepEqual(Array.from(ends), [0, 1, 2]);
    const [leftX, height, startZ, rightX] = positions;
    assert.ok(Math.abs(Math.abs(rightX - leftX) - 0.14) < 1e-6);
    assert.ok(Math.abs((rightX + leftX) / 2 - 2) < 1e-6);
    assert.ok(height > 0.5 && height < 0.55);
    assert.deepEqual([startZ, positions[8]], [3, 2]);
});

test('a wheel in the air leaves no trace', () => {
    assert.deepEqual(Array.from(ribbonPieces(wheelCurves([0, 0, 1, 1, 0, 0]), 4).ends), [0, 1, 1, 1, 1, 2]);
});

test('a car that was put elsewhere, or stands, leaves no trace', () => {
    assert.deepEqual(Array.from(ribbonPieces(wheelCurves([0, 0, 0, 0], [0, -1, -500, -500]), 4).ends), [0, 1, 1, 1]);
});

test('without contacts there are no traces', () => {
    assert.equal(ribbonPieces(new Curves(0, [{name: 'FL', kind: 'contact_x', values: new Float64Array(3)}]), 4), null);
});

test('a horizontal field of view keeps its width in every picture', () => {
    assert.ok(Math.abs(verticalFieldOfView(90, 1) - 90) < 1e-9);
    const tangent = (degrees) => Math.tan((degrees * Math.PI) / 360);
    for (const aspect of [0.5, 16 / 9, 3]) {
        assert.ok(Math.abs(tangent(verticalFieldOfView(45, aspect)) * aspect - tangent(45)) < 1e-12);
    }
});

test('an element keeps the keys that it understands itself', () => {
    const input = (type) => ({tagName: 'INPUT', type});
    const kept = [
        [{tagName: 'SELECT'}, 'ArrowLeft'],
        [{tagName: 'BUTTON'}, ' '],
        [input('number'), '1'],
        [input('number'), 'End'],
        [input('checkbox'), ' '],
    ];
    const given = [
        [{tagName: 'BODY'}, ' '],
        [{tagName: 'BUTTON'}, 'ArrowLeft'],
        [input('range'), 'ArrowLeft'],
        [input('range'), ' '],
        [input('checkbox'), 'h'],
        [input('number'), ' '],
    ];
    for (const [target, key] of kept) assert.ok(hasOwnUse(target, key), `${target.tagName} ${target.type} ${key}`);
    for (const [target, key] of given) assert.ok(!hasOwnUse(target, key), `${target.tagName} ${target.type} ${key}`);
});

test('a title is text, whatever it holds', () => {
    assert.equal(escapeHtml(`<b> & "it's" $&`), '&lt;b&gt; &amp; &quot;it&#39;s&quot; $&amp;');
    assert.equal(
        fillPage('<title>@TITLE@</title>[@TAKE@]', Uint8Array.of(1, 2, 3), "a $' b"),
        '<title>a $&#39; b</title>[AQID]',
    );
});
