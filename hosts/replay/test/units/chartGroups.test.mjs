import assert from 'node:assert/strict';
import {test} from 'node:test';
import {chartGroups, readingsAt, windowAround, zoomWindow} from '../../src/chartGroups.js';
import {Curves} from '../../src/curves.js';
import {DEFAULTS, curveColumns, poseAt} from '../support/makeTake.mjs';

const poses = Array.from({length: 100}, (_, row) => poseAt(10 + row, 0, DEFAULTS));
const columns = curveColumns(poses).map(({name, kind, value}) => {
    return {name, kind, values: Float64Array.from({length: 100}, (_, row) => value(row))};
});
const charts = chartGroups(new Curves(10, columns));
const byId = (id) => charts.find((chart) => chart.id === id);

test('the charts stand in their order, with titles and units', () => {
    assert.deepEqual(
        charts.map(({id, unit}) => [id, unit]),
        [
            ['speed', 'km/h'],
            ['steering', '\u00b0'],
            ['inputs', ''],
            ['suspension', 'cm'],
            ['air', ''],
        ],
    );
});

test('inputs that nobody touched are left out', () => {
    assert.deepEqual(
        byId('inputs').series.map(({title}) => title),
        ['Gas Pedal (Forw/Backw)', 'Steering Wheel (Right/Left)', 'ABS Brake'],
    );
});

test('angles read in degrees, suspension in centimetres', () => {
    const row = 27;
    const angle = columns.find(({name}) => name === 'Steering Angle').values[row];
    assert.equal(readingsAt(byId('steering'), row)[0], ((angle * 180) / Math.PI).toFixed(1));
    const rise = columns.find(({name, kind}) => kind === 'suspension' && name === 'BL').values[row];
    assert.equal(readingsAt(byId('suspension'), row)[2], (rise * 100).toFixed(1));
});

test('a reading of nothing bears no sign', () => {
    const still = chartGroups(
        new Curves(0, [{name: 'Velocity', kind: 'output', values: Float64Array.of(-0.01, 0, -0.06)}]),
    )[0];
    assert.deepEqual(
        [0, 1, 2].map((row) => readingsAt(still, row)[0]),
        ['0.0', '0.0', '-0.1'],
    );
});

test('wheels in the air lie in lanes of their own, the front left on top', () => {
    const {series, lanes, range} = byId('air');
    assert.deepEqual(lanes, [4.5, 3, 1.5, 0]);
    assert.deepEqual([series[0].values[0], series[0].values[31], series[3].values[31]], [4.5, 5.5, 1]);
    assert.ok(range[0] < 0 && range[1] > 5.5);
    assert.deepEqual(
        [readingsAt(byId('air'), 0), readingsAt(byId('air'), 31), readingsAt(byId('air'), 40)],
        [['none'], ['FL FR BL BR'], ['BR']],
    );
});

test('the vertical axes hold every value and the zero', () => {
    for (const {id, range, series} of charts) {
        const values = series.flatMap((one) => Array.from(one.values));
        assert.ok(range[0] <= Math.min(0, ...values) && range[1] >= Math.max(0, ...values), id);
    }
});

test('without columns there are no charts', () => {
    assert.deepEqual(chartGroups(new Curves(0, [])), []);
    const flat = [{name: 'Velocity', kind: 'output', values: new Float64Array(3)}];
    const [only] = chartGroups(new Curves(0, flat));
    assert.ok(only.range[1] > only.range[0]);
});

test('the shown window turns its page only where the frame is outside', () => {
    const window = [100, 200];
    assert.equal(windowAround(100, window, 0, 1000), window);
    assert.deepEqual(windowAround(201, window, 0, 1000), [191, 291]);
    assert.deepEqual(windowAround(99, window, 0, 1000), [9, 109]);
    assert.deepEqual(windowAround(999, window, 0, 1000), [900, 1000]);
    assert.deepEqual(windowAround(3, window, 0, 1000), [0, 100]);
});

test('zooming keeps the frame in its place and stays within the take', () => {
    assert.deepEqual(zoomWindow([0, 1000], 0.5, 400, 0, 1000), [200, 700]);
    assert.deepEqual(zoomWindow([200, 700], 2, 400, 0, 1000), [0, 1000]);
    assert.deepEqual(zoomWindow([0, 1000], 0.001, 1000, 0, 1000), [990, 1000]);
    assert.deepEqual(zoomWindow([0, 4], 0.5, 2, 0, 4), [0, 4]);
});
