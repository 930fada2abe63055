import assert from 'node:assert/strict';
import {test} from 'node:test';
import {FrameClock} from '../../src/frameClock.js';
import {Player, SPEEDS} from '../../src/player.js';

const player = (first = 10, last = 109) => new Player(new FrameClock([25, 1], first, last));

test('it begins on the first frame and does not move by itself', () => {
    const it = player();
    it.tick(3);
    assert.deepEqual([it.frame, it.position, it.playing], [10, 10, false]);
});

test('playing moves at its pace, between frames as well', () => {
    const it = player();
    it.play();
    it.setSpeed(0.5);
    it.tick(0.1);
    assert.deepEqual([it.frame, it.position], [11, 11.25]);
    it.setSmooth(false);
    assert.equal(it.position, 11);
});

test('pausing rests on the frame that was shown', () => {
    const it = player();
    it.play();
    it.tick(0.3);
    it.pause();
    assert.deepEqual([it.frame, it.position, it.playing], [17, 17, false]);
});

test('it stops on the last frame, and playing again begins anew', () => {
    const it = player();
    it.seek(108);
    it.play();
    it.tick(1);
    assert.deepEqual([it.frame, it.playing], [109, false]);
    it.toggle();
    assert.deepEqual([it.frame, it.playing], [10, true]);
});

test('in a loop it goes on, and never shows a place after the last frame', () => {
    const it = player();
    it.setLoop(true);
    it.seek(109);
    it.playing = true;
    it.tick(0.02);
    assert.deepEqual([it.frame, it.position], [109, 109]);
    it.tick(0.04);
    assert.deepEqual([it.frame, it.playing], [10, true]);
});

test('a step stops playing and stays within the recording', () => {
    const it = player();
    it.play();
    it.tick(0.1);
    it.step(1);
    assert.deepEqual([it.frame, it.playing], [13, false]);
    it.step(-10);
    assert.equal(it.frame, 10);
});

test('a single frame does not play', () => {
    const it = player(0, 0);
    it.toggle();
    assert.deepEqual([it.canPlay, it.playing, it.frame], [false, false, 0]);
});

test('speeds are those on offer', () => {
    const it = player();
    it.setSpeed(3);
    assert.equal(it.speed, 1);
    it.changeSpeed(1);
    assert.equal(it.speed, 2);
    it.changeSpeed(9);
    assert.equal(it.speed, SPEEDS.at(-1));
    it.changeSpeed(-9);
    assert.equal(it.speed, 0.25);
});

test('what is no number moves nothing, and every change is told', () => {
    const it = player();
    let told = 0;
    it.onChange(() => {
        told += 1;
    });
    it.seek(Number.NaN);
    assert.deepEqual([it.frame, told], [10, 0]);
    it.seek(20);
    it.play();
    it.tick(0.1);
    it.pause();
    assert.equal(told, 4);
});
