// Puts the nodes of a scene where an animation has them at any time.

/// Poses the objects below a root after the tracks of a clip. Each track looks its time up by halving, starting from
/// where it was last; posing allocates nothing.
export class Poser {
    #tracks = [];

    /// `clip`: an AnimationClip whose tracks name objects below `root`; null poses nothing.
    constructor(clip, root) {
        if (!clip) return;
        const objects = new Map();
        root.traverse((object) => objects.set(object.name || object.uuid, object));
        for (const track of clip.tracks) {
            const dot = track.name.lastIndexOf('.');
            const object = objects.get(track.name.slice(0, dot));
            const property = object?.[track.name.slice(dot + 1)];
            if (typeof property?.fromArray !== 'function') continue;
            const buffer = new Float32Array(track.getValueSize());
            this.#tracks.push({object, property, buffer, interpolant: track.createInterpolant(buffer)});
        }
    }

    /// Objects that the clip moves.
    movedObjects() {
        return new Set(this.#tracks.map((track) => track.object));
    }

    /// Poses at `time` seconds; before the first and after the last key of a track its end holds.
    pose(time) {
        for (const {property, buffer, interpolant} of this.#tracks) {
            interpolant.evaluate(time);
            property.fromArray(buffer);
        }
    }
}
