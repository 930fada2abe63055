// Makes a small take: one or two cars that drive round in a figure of eight over gentle hills.

import {GlbWriter} from './glbWriter.mjs';
import {CAR_OUTLINE, box, extruded, ground, wheel} from './shapes.mjs';

const CORNERS = ['FL', 'FR', 'BL', 'BR'];
const WHEEL_RADIUS = 0.33;
const HALF_TRACK = 0.78;
const AXLES = {F: -1.3, B: 1.25};
const INPUTS = [
    'Gas Pedal (Forw/Backw)',
    'Steering Wheel (Right/Left)',
    'Booster',
    'ABS Brake',
    'Skidding',
    'Skid Brake',
    'Gravel Shake Amplitude',
    'Burnout',
    'External Force',
];

export const DEFAULTS = {
    rate: [25, 1],
    first: 10,
    count: 100,
    vehicles: ['car'],
    withGround: true,
    withCurves: true,
    withExtension: true,
    withNormals: true,
    hideHelpers: true,
    messages: null,
    height: (x, z) => 0.5 * Math.sin(x / 17) * Math.cos(z / 13),
    groundShape: null,
    groundColour: [0.19, 0.24, 0.15],
    bodyShape: null,
    wheelShape: null,
};

/// The bytes of a take. `options`: see DEFAULTS; `edit(json)` may spoil the document before it is written.
export function makeTake(options = {}, edit = () => {}) {
    const settings = {...DEFAULTS, ...options};
    const writer = new GlbWriter();
    const elements = [];
    if (settings.withGround) addGround(writer, elements, settings);
    const times = writer.accessor(keyTimes(settings), 'SCALAR', true);
    const animation = {name: 'take', samplers: [], channels: []};
    const vehicles = settings.vehicles.map((name, index) =>
        addVehicle(writer, elements, animation, times, name, index, settings),
    );
    writer.json.animations.push(animation);
    if (settings.withExtension) addRecord(writer, elements, vehicles, settings);
    edit(writer.json);
    return writer.finish();
}

/// Where the car of vehicle `index` stands at `frame`: {x, y, z, yaw, travelled}. Yaw about +y; forward is -z.
export function poseAt(frame, index, {rate, height}) {
    const seconds = (frame * rate[1]) / rate[0];
    const angle = seconds * 0.5 + index * 0.55;
    const place = (a) => [26 * Math.sin(a), 18 * Math.sin(2 * a)];
    const [x, z] = place(angle);
    const [aheadX, aheadZ] = place(angle + 1e-4);
    const yaw = Math.atan2(-(aheadX - x), -(aheadZ - z));
    const speed = Math.hypot(26 * Math.cos(angle), 36 * Math.cos(2 * angle)) * 0.5;
    return {x, y: height(x, z), z, yaw, speed, travelled: 15 * seconds};
}

function keyTimes({rate, first, count}) {
    return Float32Array.from({length: count}, (_, row) => ((first + row) * rate[1]) / rate[0]);
}

function addGround(writer, elements, {height, groundShape, groundColour, withNormals}) {
    const mesh = writer.mesh(groundShape ?? ground(160, 64, height), groundColour, withNormals);
    elements.push({node: writer.node('ground', null, {mesh}), surface: 'mesh', mesh, shown: true});
}

function addVehicle(writer, elements, animation, times, name, index, settings) {
    const add = (identifier, parent, node, element = {}) => {
        const at = writer.node(`${name}_${identifier}`, parent, node);
        elements.push({node: at, identifier, vehicle: index, shown: true, ...element});
        return at;
    };
    const colour = [
        [0.78, 0.23, 0.05],
        [0.06, 0.25, 0.62],
        [0.75, 0.62, 0.1],
    ][index % 3];
    const bodyMesh = writer.mesh(settings.bodyShape ?? flatShaded(extruded(CAR_OUTLINE, 1.72)), colour);
    const body = add('CarBodyMesh', null, {mesh: bodyMesh}, {surface: 'mesh', mesh: bodyMesh});
    const helper = (identifier, parent, shape, place) => {
        const mesh = writer.mesh(shape, [0.85, 0.75, 0.2]);
        const shown = !settings.hideHelpers;
        return add(identifier, parent, {...(shown ? {mesh} : {}), translation: place}, {surface: 'mesh', mesh, shown});
    };
    const chassis = helper('ChassisRelocatorMesh', body, box(0.12, 0.12, 0.12), [0, 1.7, 0]);
    helper('TargetMesh', null, box(0.3, 0.3, 0.3), [0, 1, -20]);
    addCameras(add, body, chassis);
    const wheels = addWheels(writer, add, body, settings.wheelShape);
    const poses = Array.from({length: settings.count}, (_, row) => poseAt(settings.first + row, index, settings));
    animate(
        writer,
        animation,
        times,
        body,
        'translation',
        poses.flatMap(({x, y, z}) => [x, y, z]),
        'VEC3',
    );
    animate(
        writer,
        animation,
        times,
        body,
        'rotation',
        poses.flatMap(({yaw}) => [0, Math.sin(yaw / 2), 0, Math.cos(yaw / 2)]),
        'VEC4',
    );
    for (const at of wheels) {
        const turns = poses.flatMap(({travelled}) => {
            const half = -travelled / WHEEL_RADIUS / 2;
            return [Math.sin(half), 0, 0, Math.cos(half)];
        });
        animate(writer, animation, times, at, 'rotation', turns, 'VEC4');
    }
    return {name, curves: settings.withCurves ? makeCurves(writer, poses, settings) : undefined};
}

function addCameras(add, body, chassis) {
    const tilt = (degrees) => [Math.sin((degrees * Math.PI) / 360), 0, 0, Math.cos((degrees * Math.PI) / 360)];
    add('FollowCam', chassis, {translation: [0, 0.6, 7.5], rotation: tilt(-9)}, {fieldOfView: 45, shown: false});
    add('DriverCam', chassis, {translation: [-0.35, -0.55, 0.1]}, {fieldOfView: 90, shown: false});
    add('TopViewCam', body, {translation: [0, 9, 0], rotation: tilt(-90)}, {fieldOfView: 80, shown: false});
}

function addWheels(writer, add, body, shape) {
    const mesh = writer.mesh(shape ?? flatShaded(wheel()), [0.05, 0.052, 0.058]);
    return CORNERS.map((corner) => {
        const place = [corner[1] === 'L' ? -HALF_TRACK : HALF_TRACK, WHEEL_RADIUS, AXLES[corner[0]]];
        const scale = [0.3, WHEEL_RADIUS, WHEEL_RADIUS];
        return add(`WheelMesh_${corner}`, body, {mesh, translation: place, scale}, {surface: 'mesh', mesh});
    });
}

function flatShaded({positions, indices}) {
    return {positions: indices.map((index) => positions[index]), indices: indices.map((_, index) => index)};
}

function animate(writer, animation, times, node, path, values, type) {
    animation.samplers.push({
        input: times,
        output: writer.accessor(Float32Array.from(values), type),
        interpolation: 'LINEAR',
    });
    animation.channels.push({sampler: animation.samplers.length - 1, target: {node, path}});
}

/// Columns of the curves with the value of each at a row; tests read the same numbers.
export function curveColumns(poses) {
    const at = (row, frontness, sideness) => {
        const {x, y, z, yaw} = poses[row];
        return [
            x + sideness * Math.cos(yaw) + frontness * Math.sin(yaw),
            y,
            z - sideness * Math.sin(yaw) + frontness * Math.cos(yaw),
        ];
    };
    const inAir = (row, corner) => (row % 50 > 30 && row % 50 < 30 + 6 + 2 * CORNERS.indexOf(corner) ? 1 : 0);
    const side = (corner) => (corner[1] === 'L' ? -HALF_TRACK : HALF_TRACK);
    const inputs = {
        'Gas Pedal (Forw/Backw)': (row) => 0.55 + 0.4 * Math.sin(row / 11),
        'Steering Wheel (Right/Left)': (row) => 0.8 * Math.sin(row / 17),
        'ABS Brake': (row) => (row % 60 > 45 ? 0.7 : 0),
    };
    return [
        {name: 'Velocity', kind: 'output', value: (row) => poses[row].speed * 3.6},
        {name: 'Velocity (Percent of Max)', kind: 'output', value: (row) => poses[row].speed / 60},
        {name: 'Steering Angle', kind: 'output', value: (row) => 0.4 * Math.sin(row / 17)},
        ...CORNERS.map((corner) => ({name: `WheelMesh_${corner}`, kind: 'output', value: (row) => inAir(row, corner)})),
        ...INPUTS.map((name) => ({name, kind: 'input', value: inputs[name] ?? (() => 0)})),
        ...CORNERS.map((corner, index) => ({
            name: corner,
            kind: 'suspension',
            value: (row) => 0.03 * Math.sin(row / (4 + index) + index) - inAir(row, corner) * 0.04,
        })),
        ...CORNERS.flatMap((corner) =>
            ['x', 'y', 'z'].map((axis, index) => {
                return {
                    name: corner,
                    kind: `contact_${axis}`,
                    value: (row) => at(row, AXLES[corner[0]], side(corner))[index],
                };
            }),
        ),
    ];
}

function makeCurves(writer, poses, {first, count}) {
    const columns = curveColumns(poses);
    const values = new Float64Array(count * columns.length);
    for (let row = 0; row < count; row += 1) {
        columns.forEach(({value}, index) => {
            values[row * columns.length + index] = value(row);
        });
    }
    return {first, count, columns: columns.map(({name, kind}) => ({name, kind})), values: writer.view(values)};
}

function addRecord(writer, elements, vehicles, {rate, first, count, messages}) {
    const last = first + count - 1;
    writer.json.extensionsUsed = ['OND_vehicle_take'];
    writer.json.extensions = {
        OND_vehicle_take: {
            version: 1,
            frameRate: rate,
            frames: [first, last],
            now: last,
            plugin: {type: 'quadrigcar', version: 250, stamp: 1},
            elements,
            vehicles,
            messages: messages ?? [
                {
                    frame: first + 31,
                    vehicle: 0,
                    caption: 'Warning',
                    text: 'The wheel FL left the ground at <b>speed</b>.',
                    count: 3,
                },
                {frame: first + 5, vehicle: 0, caption: 'Info', text: 'The run began.', count: 1},
                {frame: first + 84, vehicle: 0, caption: 'Error', text: 'The ground ends ahead of the car.', count: 1},
            ],
        },
    };
}
