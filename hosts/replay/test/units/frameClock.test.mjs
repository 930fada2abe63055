import assert from 'node:assert/strict';
import {test} from 'node:test';
import {FrameClock, formatTime} from '../../src/frameClock.js';

test('the time of a whole frame is the very number of its key', () => {
    for (const rate of [
        [25, 1],
        [24, 1],
        [30000, 1001],
        [60, 1],
    ]) {
        const clock = new FrameClock(rate, 0, 20000);
        const keys = Float32Array.from({length: 20001}, (_, frame) => (frame * rate[1]) / rate[0]);
        for (let frame = 0; frame <= 20000; frame += 1) assert.equal(clock.keyTimeOf(frame), keys[frame]);
    }
});

test('seconds follow from frames without adding up', () => {
    const clock = new FrameClock([30000, 1001], 0, 10);
    assert.equal(clock.secondsOf(30000), 1001);
    assert.equal(clock.secondsOf(-30), -1.001);
});

test('frames stay whole and within the recording', () => {
    const clock = new FrameClock([25, 1], 10, 109);
    assert.deepEqual(
        [-5, 9.6, 10.4, 57.5, 109, 200].map((frame) => clock.clamp(frame)),
        [10, 10, 10, 58, 109, 109],
    );
});

test('playing stops on the last frame', () => {
    const clock = new FrameClock([25, 1], 10, 109);
    assert.equal(clock.advance(10, 1, 1, false), 35);
    assert.equal(clock.advance(10, 1, 0.25, false), 16.25);
    assert.equal(clock.advance(100, 1, 4, false), 109);
});

test('playing in a loop shows the last frame for its time and begins anew', () => {
    const clock = new FrameClock([25, 1], 10, 109);
    assert.equal(clock.advance(109, 0.02, 1, true), 109.5);
    assert.equal(clock.advance(109, 0.04, 1, true), 10);
    assert.equal(clock.advance(109, 0.08, 1, true), 11);
    assert.equal(clock.advance(10, (100 / 25) * 3, 1, true), 10);
});

test('time reads as minutes, seconds and thousandths', () => {
    const cases = [
        [0, '0:00.000'],
        [2.4, '0:02.400'],
        [59.9996, '1:00.000'],
        [287.48, '4:47.480'],
        [3661.5, '61:01.500'],
        [-1.25, '-0:01.250'],
        [-0.0001, '0:00.000'],
    ];
    for (const [seconds, text] of cases) assert.equal(formatTime(seconds), text);
});

test('an animation that begins at a frame of its own', () => {
    const clock = new FrameClock([25, 1], -50, 100, -50);
    assert.equal(clock.keyTimeOf(-50), 0);
    assert.equal(clock.keyTimeOf(0), 2);
    assert.equal(clock.secondsOf(0), 0, 'the timeline keeps its own zero');
});
