// What a take says beside its glTF: frame rate, vehicles, elements, curves and messages.

import {readCurves} from './curves.js';
import {TakeError} from './takeError.js';

const EXTENSION = 'OND_vehicle_take';
const KNOWN_VERSION = 1;
/// Frames per second of a scene that does not say: the glTF itself knows seconds only.
const USUAL_FRAME_RATE = [25, 1];

const SHOWN_PARTS = /^(CarBodyMesh|SteeringWheelMesh|WheelMesh_(FL|FR|BL|BR))$/;

/// True for the elements of a vehicle which an audience sees; all others are handles for the animator.
export function isShownPart(identifier) {
    return SHOWN_PARTS.test(identifier);
}

/// Reads the take of a glTF document `json` with its chunk `binary`. `duration`: seconds of its animation, which say
/// where a scene without a take ends.
/// Returns {known, rate: [numerator, denominator], first, last, origin, vehicles, elements, messages, notices}:
///  - origin: the frame at second 0 of the animation
///  - known: whether the document tells more than any glTF does
///  - vehicles: [{name, curves: Curves | null}]
///  - elements: [{node, identifier, vehicle, fieldOfView, mesh, shown, wireframe}]; identifier and vehicle are null for
///    what belongs to no vehicle, fieldOfView (degrees, horizontal) is null unless a camera, mesh without a surface
///  - messages: [{frame, vehicle, caption, text, count}] by frame
///  - notices: sentences about what is missing in the page, for the reader
/// Throws a TakeError if the take contradicts itself so that it cannot be played.
export function readTake(json, binary, duration) {
    const record = json.extensions?.[EXTENSION];
    if (record === undefined || record === null) {
        return plainTake(duration, 'This scene was not recorded as a take, so it has no curves and no messages.');
    }
    if (record.version !== KNOWN_VERSION) {
        return plainTake(
            duration,
            `This take has the layout ${record.version}; this page knows ${KNOWN_VERSION}. ` +
                'It is played without curves and messages.',
        );
    }
    const notices = [];
    const vehicles = (record.vehicles ?? []).map((vehicle, index) => {
        return {
            name: String(vehicle.name ?? `vehicle ${index + 1}`),
            curves: readCurvesOrTell(vehicle, json, binary, notices),
        };
    });
    const [first, last] = readFrames(record.frames);
    return {
        known: true,
        rate: readRate(record.frameRate),
        first,
        last,
        origin: readOrigin(record.origin),
        vehicles,
        elements: (record.elements ?? []).map((element) => readElement(element, json, vehicles.length)),
        messages: readMessages(record.messages, vehicles.length),
        notices,
    };
}

function plainTake(duration, notice) {
    const last = Math.max(0, Math.round((duration * USUAL_FRAME_RATE[0]) / USUAL_FRAME_RATE[1]));
    return {
        known: false,
        rate: USUAL_FRAME_RATE,
        first: 0,
        last,
        origin: 0,
        vehicles: [],
        elements: [],
        messages: [],
        notices: [notice],
    };
}

function readRate(rate) {
    if (!Array.isArray(rate) || rate.length !== 2 || !rate.every((part) => Number.isFinite(part) && part > 0)) {
        throw new TakeError('The take does not say how many frames it has per second.');
    }
    return rate;
}

function readFrames(frames) {
    if (!Array.isArray(frames) || frames.length !== 2 || !frames.every(Number.isInteger) || frames[0] > frames[1]) {
        throw new TakeError('The take does not say its first and its last frame.');
    }
    return frames;
}

function readOrigin(origin = 0) {
    if (!Number.isInteger(origin)) throw new TakeError('The take does not say where its animation begins.');
    return origin;
}

// A take whose curves are damaged still plays.
function readCurvesOrTell(vehicle, json, binary, notices) {
    if (!vehicle.curves) return null;
    try {
        return readCurves(vehicle.curves, json, binary);
    } catch (error) {
        if (!(error instanceof TakeError)) throw error;
        notices.push(error.message);
        return null;
    }
}

function readElement(element, json, vehicleCount) {
    if (!Number.isInteger(element.node) || !json.nodes?.[element.node]) {
        throw new TakeError(`The take speaks of a node ${element.node} that its scene does not have.`);
    }
    const vehicle = Number.isInteger(element.vehicle) ? element.vehicle : null;
    if (vehicle !== null && !(vehicle >= 0 && vehicle < vehicleCount)) {
        throw new TakeError(`The take speaks of a vehicle ${vehicle} that it does not have.`);
    }
    const mesh = Number.isInteger(element.mesh) && json.meshes?.[element.mesh] ? element.mesh : null;
    return {
        node: element.node,
        identifier: vehicle === null ? null : String(element.identifier ?? ''),
        vehicle,
        fieldOfView: Number.isFinite(element.fieldOfView) ? element.fieldOfView : null,
        mesh,
        shown: element.shown !== false,
        wireframe: element.wireframe === true,
    };
}

function readMessages(messages, vehicleCount) {
    return (messages ?? [])
        .filter((message) => Number.isFinite(message?.frame))
        .map((message) => {
            return {
                frame: message.frame,
                vehicle: message.vehicle >= 0 && message.vehicle < vehicleCount ? message.vehicle : null,
                caption: String(message.caption ?? ''),
                text: String(message.text ?? ''),
                count: Number.isInteger(message.count) ? message.count : 1,
            };
        })
        .sort((one, other) => one.frame - other.frame);
}
