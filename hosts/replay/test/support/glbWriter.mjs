// Writes small binary glTF files.

/// Collects the parts of a glTF document and joins them to a GLB.
export class GlbWriter {
    #chunks = [];
    #length = 0;

    constructor() {
        this.json = {
            asset: {version: '2.0'},
            scene: 0,
            scenes: [{nodes: []}],
            nodes: [],
            meshes: [],
            materials: [],
            cameras: [],
            animations: [],
            accessors: [],
            bufferViews: [],
            buffers: [{byteLength: 0}],
        };
    }

    /// Index of a new buffer view with the bytes of a typed array.
    view(array) {
        const bytes = new Uint8Array(array.buffer, array.byteOffset, array.byteLength);
        this.json.bufferViews.push({buffer: 0, byteOffset: this.#length, byteLength: bytes.length});
        const padded = new Uint8Array(Math.ceil(bytes.length / 8) * 8);
        padded.set(bytes);
        this.#chunks.push(padded);
        this.#length += padded.length;
        return this.json.bufferViews.length - 1;
    }

    accessor(array, type, bounds = false) {
        const width = {SCALAR: 1, VEC3: 3, VEC4: 4}[type];
        const accessor = {
            bufferView: this.view(array),
            type,
            count: array.length / width,
            componentType: array instanceof Uint32Array ? 5125 : 5126,
        };
        if (bounds) {
            const column = (i) => array.filter((_, index) => index % width === i);
            accessor.min = Array.from({length: width}, (_, i) => column(i).reduce((a, b) => Math.min(a, b)));
            accessor.max = Array.from({length: width}, (_, i) => column(i).reduce((a, b) => Math.max(a, b)));
        }
        this.json.accessors.push(accessor);
        return this.json.accessors.length - 1;
    }

    /// Index of a new mesh of {positions, indices} with normals of its corners.
    mesh({positions, indices}, colour, normals = true) {
        const flat = Float32Array.from(positions.flat());
        const attributes = {POSITION: this.accessor(flat, 'VEC3', true)};
        if (normals) attributes.NORMAL = this.accessor(smoothNormals(flat, indices), 'VEC3');
        this.json.materials.push({
            doubleSided: true,
            pbrMetallicRoughness: {baseColorFactor: [...colour, 1], metallicFactor: 0, roughnessFactor: 0.6},
        });
        this.json.meshes.push({
            primitives: [
                {
                    attributes,
                    indices: this.accessor(Uint32Array.from(indices), 'SCALAR'),
                    material: this.json.materials.length - 1,
                },
            ],
        });
        return this.json.meshes.length - 1;
    }

    /// Index of a new node below `parent` (null: of the scene).
    node(name, parent, properties = {}) {
        this.json.nodes.push({name, ...properties});
        const index = this.json.nodes.length - 1;
        if (parent === null) this.json.scenes[0].nodes.push(index);
        else (this.json.nodes[parent].children ??= []).push(index);
        return index;
    }

    /// The bytes of the file.
    finish() {
        const json = Object.fromEntries(
            Object.entries(this.json).filter(([, value]) => !Array.isArray(value) || value.length > 0),
        );
        json.buffers = [{byteLength: this.#length}];
        const text = Buffer.from(JSON.stringify(json), 'utf8');
        const padded = Buffer.concat([text, Buffer.alloc((4 - (text.length % 4)) % 4, 0x20)]);
        const header = Buffer.alloc(20);
        const total = 20 + padded.length + 8 + this.#length;
        [0x46546c67, 2, total, padded.length, 0x4e4f534a].forEach((word, index) =>
            header.writeUInt32LE(word, index * 4),
        );
        const binaryHeader = Buffer.alloc(8);
        binaryHeader.writeUInt32LE(this.#length, 0);
        binaryHeader.writeUInt32LE(0x004e4942, 4);
        return new Uint8Array(Buffer.concat([header, padded, binaryHeader, ...this.#chunks]));
    }
}

function smoothNormals(positions, indices) {
    const normals = new Float32Array(positions.length);
    for (let i = 0; i < indices.length; i += 3) {
        const [a, b, c] = indices.slice(i, i + 3).map((index) => positions.subarray(index * 3, index * 3 + 3));
        const [ux, uy, uz] = [b[0] - a[0], b[1] - a[1], b[2] - a[2]];
        const [vx, vy, vz] = [c[0] - a[0], c[1] - a[1], c[2] - a[2]];
        const normal = [uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx];
        for (const index of indices.slice(i, i + 3))
            normal.forEach((value, axis) => {
                normals[index * 3 + axis] += value;
            });
    }
    for (let i = 0; i < normals.length; i += 3) {
        const length = Math.hypot(normals[i], normals[i + 1], normals[i + 2]) || 1;
        for (let axis = 0; axis < 3; axis += 1) normals[i + axis] /= length;
    }
    return normals;
}
