import assert from 'node:assert/strict';
import {test} from 'node:test';
import {AnimationClip, Object3D, QuaternionKeyframeTrack, VectorKeyframeTrack} from 'three';
import {FrameClock} from '../../src/frameClock.js';
import {Poser} from '../../src/poser.js';

const COUNT = 7188;
const clock = new FrameClock([30000, 1001], 0, COUNT - 1);
const times = Float32Array.from({length: COUNT}, (_, frame) => clock.secondsOf(frame));
const places = Float32Array.from({length: COUNT * 3}, (_, i) => Math.sin(i * 1.7) * 100);

function scene() {
    const root = new Object3D();
    const car = new Object3D();
    car.name = 'car';
    root.add(car);
    const turns = [0, 0, 0, 1, 0, 1, 0, 0];
    const clip = new AnimationClip('take', -1, [
        new VectorKeyframeTrack('car.position', times, places),
        new QuaternionKeyframeTrack('car.quaternion', [0, 2], turns),
        new VectorKeyframeTrack('stranger.position', [0], [1, 2, 3]),
    ]);
    return {car, poser: new Poser(clip, root)};
}

test('each frame shows its key to the bit, in whatever order frames are sought', () => {
    const {car, poser} = scene();
    const strides = [1, 2311, 7187];
    for (const stride of strides) {
        for (let i = 0; i < COUNT; i += 1) {
            const frame = (i * stride) % COUNT;
            poser.pose(clock.keyTimeOf(frame));
            assert.equal(car.position.x, places[frame * 3]);
            assert.equal(car.position.z, places[frame * 3 + 2]);
        }
    }
});

test('between two frames it shows what lies between', () => {
    const {car, poser} = scene();
    poser.pose(clock.keyTimeOf(10.5));
    assert.ok(Math.abs(car.position.y - (places[31] + places[34]) / 2) < 0.01);
    poser.pose(1);
    assert.ok(Math.abs(car.quaternion.y - Math.SQRT1_2) < 1e-6 && Math.abs(car.quaternion.w - Math.SQRT1_2) < 1e-6);
});

test('before and after its keys a track rests', () => {
    const {car, poser} = scene();
    poser.pose(-5);
    assert.equal(car.position.x, places[0]);
    poser.pose(1e6);
    assert.equal(car.position.x, places[(COUNT - 1) * 3]);
});

test('moved objects are known; without a clip there are none', () => {
    const {car, poser} = scene();
    assert.deepEqual([...poser.movedObjects()], [car]);
    const still = new Poser(null, car);
    still.pose(1);
    assert.equal(still.movedObjects().size, 0);
});
