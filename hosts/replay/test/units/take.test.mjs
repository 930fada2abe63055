import assert from 'node:assert/strict';
import {test} from 'node:test';
import {readGlb} from '../../src/glb.js';
import {isShownPart, readTake} from '../../src/take.js';
import {TakeError} from '../../src/takeError.js';
import {DEFAULTS, curveColumns, makeTake, poseAt} from '../support/makeTake.mjs';

function take(options, edit) {
    const {json, binary} = readGlb(makeTake({count: 60, ...options}, edit));
    return readTake(json, binary, 2.4);
}

const record = (json) => json.extensions.OND_vehicle_take;

test('frame rate, frames, vehicles and elements are read', () => {
    const read = take({vehicles: ['red', 'blue'], rate: [30000, 1001]});
    assert.deepEqual([read.known, read.rate, read.first, read.last], [true, [30000, 1001], 10, 69]);
    assert.deepEqual(
        read.vehicles.map(({name}) => name),
        ['red', 'blue'],
    );
    const camera = read.elements.find(({identifier, vehicle}) => identifier === 'DriverCam' && vehicle === 1);
    assert.equal(camera.fieldOfView, 90);
    const handle = read.elements.find(({identifier}) => identifier === 'TargetMesh');
    assert.equal(handle.shown, false);
    assert.ok(handle.mesh > 0);
    const ground = read.elements.find(({vehicle}) => vehicle === null);
    assert.deepEqual([ground.identifier, ground.mesh, ground.fieldOfView], [null, 0, null]);
    assert.deepEqual(read.notices, []);
});

test('each curve comes back with every bit', () => {
    const {curves} = take().vehicles[0];
    const poses = Array.from({length: 60}, (_, row) => poseAt(10 + row, 0, DEFAULTS));
    const columns = curveColumns(poses);
    assert.equal(curves.columns.length, 7 + 9 + 4 + 12);
    for (const {name, kind, value} of columns) {
        const {values} = curves.find(kind, name);
        assert.deepEqual(
            Array.from(values),
            Array.from({length: 60}, (_, row) => value(row)),
            `${kind} ${name}`,
        );
    }
    assert.deepEqual(
        [9, 10, 69, 70].map((frame) => curves.rowOf(frame)),
        [null, 0, 59, null],
    );
});

test('messages come in the order of their frames', () => {
    assert.deepEqual(
        take().messages.map(({frame, count}) => [frame, count]),
        [
            [15, 1],
            [41, 3],
            [94, 1],
        ],
    );
});

test('a scene without a take plays at a usual rate, and says so', () => {
    const read = take({withExtension: false});
    assert.deepEqual([read.known, read.rate, read.first, read.last], [false, [25, 1], 0, 60]);
    assert.match(read.notices[0], /not recorded as a take/);
});

test('a take of a later layout plays as a scene, and says so', () => {
    const read = take({}, (json) => {
        record(json).version = 2;
    });
    assert.equal(read.known, false);
    assert.match(read.notices[0], /layout 2; this page knows 1/);
});

test('a vehicle without curves has none', () => {
    assert.equal(take({withCurves: false}).vehicles[0].curves, null);
});

test('damaged curves leave the rest to be played, and are told', () => {
    const spoilers = [
        (curves) => {
            curves.count = 61;
        },
        (curves) => {
            curves.values = 9999;
        },
        (curves) => {
            curves.first = 'x';
        },
        (curves) => {
            delete curves.columns;
        },
        (curves) => {
            curves.columns[0] = {};
        },
    ];
    for (const spoil of spoilers) {
        const read = take({}, (json) => spoil(record(json).vehicles[0].curves));
        assert.equal(read.vehicles[0].curves, null);
        assert.equal(read.notices.length, 1);
        assert.match(read.notices[0], /curves of this take/);
        assert.equal(read.last, 69);
    }
});

test('a take that contradicts itself is told', () => {
    const spoilers = [
        [
            (made) => {
                made.frameRate = [25, 0];
            },
            /frames it has per second/,
        ],
        [
            (made) => {
                made.frames = [5, 4];
            },
            /first and its last/,
        ],
        [
            (made) => {
                made.elements[0].node = 999;
            },
            /node 999/,
        ],
        [
            (made) => {
                made.elements[2].vehicle = 3;
            },
            /vehicle 3/,
        ],
    ];
    for (const [spoil, message] of spoilers) {
        assert.throws(
            () => take({}, (json) => spoil(record(json))),
            (error) => error instanceof TakeError && message.test(error.message),
            String(message),
        );
    }
});

test('an audience sees body, wheels and steering wheel only', () => {
    for (const name of ['CarBodyMesh', 'SteeringWheelMesh', 'WheelMesh_FL', 'WheelMesh_BR'])
        assert.ok(isShownPart(name), name);
    for (const name of [
        'CarBodyBaseMesh',
        'WheelCenterMesh_FL',
        'WheelMesh',
        'TargetMesh',
        'WheelRelocatorMesh_FL',
        '',
    ]) {
        assert.ok(!isShownPart(name), name);
    }
});

test('the frame at which the animation begins', () => {
    assert.equal(take().origin, 0);
    assert.equal(take({}, (json) => (record(json).origin = -25)).origin, -25);
    assert.throws(() => take({}, (json) => (record(json).origin = 'early')), TakeError);
});
