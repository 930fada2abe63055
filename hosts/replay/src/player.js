// Which frame is shown and how it goes on: playing, pace, loop. Knows neither page nor scene.

export const SPEEDS = [0.25, 0.5, 1, 2, 4];

export class Player {
    #position;
    #listeners = [];

    /// `clock`: the FrameClock of the take.
    constructor(clock) {
        this.clock = clock;
        this.#position = clock.first;
        this.playing = false;
        this.speed = 1;
        this.loop = false;
        /// Whether playing also shows what lies between two frames.
        this.smooth = true;
    }

    /// `listener()` is called after each change.
    onChange(listener) {
        this.#listeners.push(listener);
    }

    /// The whole frame that is shown.
    get frame() {
        return Math.floor(this.#position);
    }

    /// The place in the animation that is shown, in frames; between two frames only while playing smoothly.
    get position() {
        if (!this.smooth) return this.frame;
        return Math.min(this.#position, this.clock.last);
    }

    get canPlay() {
        return this.clock.last > this.clock.first;
    }

    seek(frame) {
        if (!Number.isFinite(frame)) return;
        this.#position = this.clock.clamp(frame);
        this.#tell();
    }

    /// Moves by whole frames and stops playing.
    step(frames) {
        this.playing = false;
        this.seek(this.frame + frames);
    }

    /// From the last frame it begins anew.
    play() {
        if (!this.canPlay || this.playing) return;
        if (this.frame >= this.clock.last) this.#position = this.clock.first;
        this.playing = true;
        this.#tell();
    }

    pause() {
        if (!this.playing) return;
        this.playing = false;
        this.#position = this.frame;
        this.#tell();
    }

    toggle() {
        if (this.playing) this.pause();
        else this.play();
    }

    /// One of SPEEDS, `steps` further up or down.
    changeSpeed(steps) {
        const index = SPEEDS.indexOf(this.speed) + steps;
        this.setSpeed(SPEEDS[Math.min(SPEEDS.length - 1, Math.max(0, index))]);
    }

    setSpeed(speed) {
        if (!SPEEDS.includes(speed)) return;
        this.speed = speed;
        this.#tell();
    }

    setLoop(loop) {
        this.loop = loop;
        this.#tell();
    }

    setSmooth(smooth) {
        this.smooth = smooth;
        this.#tell();
    }

    /// Lets `elapsed` seconds pass.
    tick(elapsed) {
        if (!this.playing) return;
        this.#position = this.clock.advance(this.#position, elapsed, this.speed, this.loop);
        if (!this.loop && this.#position >= this.clock.last) {
            this.#position = this.clock.last;
            this.playing = false;
        }
        this.#tell();
    }

    #tell() {
        for (const listener of this.#listeners) listener();
    }
}
