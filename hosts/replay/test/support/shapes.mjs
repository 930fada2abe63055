// Simple shapes for a take that the tests make: {positions: [[x, y, z], ...], indices}.

/// A plane outline [[z, y], ...], all of it visible from its first point, drawn out along x from -width/2 to
/// width/2, narrowed where it is high.
export function extruded(outline, width) {
    const positions = [];
    const indices = [];
    const top = Math.max(...outline.map(([, y]) => y));
    const place = (side, [z, y]) => [side * (width / 2) * (y > top * 0.62 ? 0.8 : 1), y, z];
    const quad = (...corners) => {
        const first = positions.length;
        positions.push(...corners);
        indices.push(first, first + 1, first + 2, first, first + 2, first + 3);
    };
    const fan = (side) => {
        const first = positions.length;
        positions.push(...outline.map((point) => place(side, point)));
        for (let i = 1; i + 1 < outline.length; i += 1) {
            indices.push(first, first + (side > 0 ? i : i + 1), first + (side > 0 ? i + 1 : i));
        }
    };
    outline.forEach((point, index) => {
        const next = outline[(index + 1) % outline.length];
        quad(place(-1, point), place(-1, next), place(1, next), place(1, point));
    });
    fan(-1);
    fan(1);
    return {positions, indices};
}

/// A wheel of radius 1 with its axle along x, with five flat spokes that show its turning.
export function wheel(halfWidth = 0.4, parts = 32) {
    const positions = [];
    const indices = [];
    const ring = (radius, x) => {
        const first = positions.length;
        for (let i = 0; i < parts; i += 1) {
            const angle = (2 * Math.PI * i) / parts;
            positions.push([x, radius * Math.cos(angle), radius * Math.sin(angle)]);
        }
        return first;
    };
    const join = (one, other) => {
        for (let i = 0; i < parts; i += 1) {
            const next = (i + 1) % parts;
            indices.push(one + i, other + i, other + next, one + i, other + next, one + next);
        }
    };
    join(ring(1, halfWidth), ring(1, -halfWidth));
    join(ring(0.62, halfWidth), ring(1, halfWidth));
    join(ring(1, -halfWidth), ring(0.62, -halfWidth));
    for (const side of [-1, 1]) {
        for (let spoke = 0; spoke < 5; spoke += 1) {
            const angle = (2 * Math.PI * spoke) / 5;
            const first = positions.length;
            for (const [along, across] of [
                [0, -0.09],
                [0.66, -0.13],
                [0.66, 0.13],
                [0, 0.09],
            ]) {
                positions.push([
                    side * halfWidth * 0.8,
                    along * Math.cos(angle) - across * Math.sin(angle),
                    along * Math.sin(angle) + across * Math.cos(angle),
                ]);
            }
            indices.push(first, first + 1, first + 2, first, first + 2, first + 3);
        }
    }
    return {positions, indices};
}

export function box(x, y, z) {
    const positions = [];
    for (const corner of [0, 1, 2, 3, 4, 5, 6, 7]) {
        positions.push([corner & 1 ? x : -x, corner & 2 ? y : -y, corner & 4 ? z : -z]);
    }
    const indices = [
        0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4, 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5,
    ];
    return {positions, indices};
}

/// Ground of `size` x `size` about the origin with heights `height(x, z)`.
export function ground(size, cells, height) {
    const positions = [];
    const indices = [];
    for (let row = 0; row <= cells; row += 1) {
        for (let column = 0; column <= cells; column += 1) {
            const [x, z] = [(column / cells - 0.5) * size, (row / cells - 0.5) * size];
            positions.push([x, height(x, z), z]);
        }
    }
    for (let row = 0; row < cells; row += 1) {
        for (let column = 0; column < cells; column += 1) {
            const first = row * (cells + 1) + column;
            const below = first + cells + 1;
            indices.push(first, below, first + 1, first + 1, below, below + 1);
        }
    }
    return {positions, indices};
}

/// The side of a car, 4.2 long and forward -z, over its wheels.
export const CAR_OUTLINE = [
    [0, 0.28],
    [-0.9, 0.28],
    [-0.95, 0.6],
    [-1.3, 0.76],
    [-1.65, 0.6],
    [-1.7, 0.3],
    [-2.08, 0.34],
    [-2.12, 0.62],
    [-1.95, 0.8],
    [-0.95, 0.95],
    [-0.35, 1.38],
    [0.15, 1.46],
    [0.95, 1.42],
    [1.7, 1.02],
    [2.02, 0.92],
    [2.08, 0.5],
    [2.0, 0.32],
    [1.65, 0.3],
    [1.6, 0.6],
    [1.25, 0.76],
    [0.9, 0.6],
    [0.85, 0.28],
];
