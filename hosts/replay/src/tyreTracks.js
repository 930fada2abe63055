// The traces of the wheels: ribbons along the points where they touched the ground, grown up to the shown frame.

import {
    BufferAttribute,
    BufferGeometry,
    DoubleSide,
    Mesh,
    MeshBasicMaterial,
    NotEqualStencilFunc,
    ReplaceStencilOp,
} from 'three';

const CORNERS = ['FL', 'FR', 'BL', 'BR'];
/// In car lengths.
const WIDTH = 0.035;
const LIFT = 0.004;
/// A wheel that comes further than this from one frame to the next was put there, it did not drive.
const LONGEST_STEP = 5;

/// Which parts of the traces exist: {positions, ends}. `positions`: 4 corners (x, y, z) per ribbon piece, in the order
/// of their frames. `ends[row]`: how many pieces there are up to and including that row. A piece leads from the
/// contact of one row to that of the next, where the wheel is on the ground in both. Null without contacts.
export function ribbonPieces(curves, carLength) {
    const wheels = CORNERS.map((corner) => wheelColumns(curves, corner)).filter((wheel) => wheel !== null);
    if (wheels.length === 0 || curves.count < 2) return null;
    const positions = new Float32Array(wheels.length * (curves.count - 1) * 12);
    const ends = new Uint32Array(curves.count);
    let pieces = 0;
    for (let row = 1; row < curves.count; row += 1) {
        for (const wheel of wheels) pieces += writePiece(positions, pieces * 12, wheel, row, carLength);
        ends[row] = pieces;
    }
    return {positions: positions.subarray(0, pieces * 12), ends};
}

function wheelColumns(curves, corner) {
    const [x, y, z] = ['x', 'y', 'z'].map((axis) => curves.find(`contact_${axis}`, corner)?.values);
    const inAir = curves.find('output', `WheelMesh_${corner}`)?.values;
    return x && y && z && inAir ? {x, y, z, inAir} : null;
}

// Returns how many pieces it wrote, 0 or 1.
function writePiece(positions, at, {x, y, z, inAir}, row, carLength) {
    if (inAir[row - 1] > 0.5 || inAir[row] > 0.5) return 0;
    const alongX = x[row] - x[row - 1];
    const alongZ = z[row] - z[row - 1];
    const length = Math.hypot(alongX, alongZ);
    if (!(length > 0) || length > LONGEST_STEP * carLength) return 0;
    const sideX = (-alongZ / length) * (WIDTH / 2) * carLength;
    const sideZ = (alongX / length) * (WIDTH / 2) * carLength;
    for (const [index, end] of [row - 1, row].entries()) {
        const height = y[end] + LIFT * carLength;
        positions.set([x[end] - sideX, height, z[end] - sideZ, x[end] + sideX, height, z[end] + sideZ], at + index * 6);
    }
    return 1;
}

export class TyreTracks {
    /// `curves` of a vehicle; `carLength` in scene units. Without contacts `mesh` is null.
    constructor(curves, carLength) {
        const pieces = curves ? ribbonPieces(curves, carLength) : null;
        this.curves = curves;
        this.mesh = null;
        if (!pieces) return;
        this.ends = pieces.ends;
        const material = new MeshBasicMaterial({
            color: 0x0c0d0f,
            transparent: true,
            opacity: 0.42,
            depthWrite: false,
            side: DoubleSide,
            forceSinglePass: true,
            polygonOffset: true,
            polygonOffsetFactor: -4,
            polygonOffsetUnits: -8,
            // Where a trace crosses itself it darkens the ground once, not once per crossing.
            stencilWrite: true,
            stencilRef: 1,
            stencilFunc: NotEqualStencilFunc,
            stencilZPass: ReplaceStencilOp,
        });
        this.mesh = new Mesh(ribbonGeometry(pieces.positions), material);
        this.mesh.frustumCulled = false;
        this.mesh.renderOrder = 1;
    }

    /// Shows the traces up to `frame`.
    showUntil(frame) {
        if (!this.mesh) return;
        const row = Math.min(this.curves.count - 1, frame - this.curves.first);
        this.mesh.geometry.setDrawRange(0, row < 0 ? 0 : this.ends[row] * 6);
    }
}

function ribbonGeometry(positions) {
    const pieces = positions.length / 12;
    const corners = new Uint32Array(pieces * 6);
    for (let piece = 0; piece < pieces; piece += 1) {
        const first = piece * 4;
        corners.set([first, first + 1, first + 2, first + 2, first + 1, first + 3], piece * 6);
    }
    return new BufferGeometry()
        .setAttribute('position', new BufferAttribute(positions, 3))
        .setIndex(new BufferAttribute(corners, 1));
}
