// Frames and seconds. Frames are whole numbers; seconds are derived from them and never added up.

export class FrameClock {
    /// `rate`: [numerator, denominator] in frames per second; `first` and `last`: the frames of the recording;
    /// `origin`: the frame at second 0 of the animation, which cannot have keys before that.
    constructor(rate, first, last, origin = 0) {
        [this.numerator, this.denominator] = rate;
        this.first = first;
        this.last = last;
        this.origin = origin;
    }

    /// Frames per second.
    get perSecond() {
        return this.numerator / this.denominator;
    }

    secondsOf(frame) {
        return (frame * this.denominator) / this.numerator;
    }

    /// The time in the animation's tracks at `frame`, which need not be whole. The tracks hold single precision:
    /// rounded in the same way, a whole frame meets its key exactly and shows it unmixed with its neighbours.
    keyTimeOf(frame) {
        return Math.fround(this.secondsOf(frame - this.origin));
    }

    /// The whole frame nearest to `frame` that the recording has.
    clamp(frame) {
        return Math.min(this.last, Math.max(this.first, Math.round(frame)));
    }

    /// Where playing arrives from `frame` (which need not be whole) after `elapsed` seconds at `speed` times the
    /// recorded pace: past the end it stays on the last frame, or goes round with `loop`.
    advance(frame, elapsed, speed, loop) {
        const next = frame + elapsed * speed * this.perSecond;
        const span = this.last - this.first + 1;
        if (loop && next >= this.last + 1) return this.first + ((next - this.first) % span);
        return loop ? next : Math.min(next, this.last);
    }
}

/// 83.04 -> "1:23.040"; a recording may begin before the zero of its timeline.
export function formatTime(seconds) {
    const milliseconds = Math.round(Math.abs(seconds) * 1000);
    const minutes = Math.floor(milliseconds / 60000);
    const rest = ((milliseconds % 60000) / 1000).toFixed(3).padStart(6, '0');
    return `${seconds < 0 && milliseconds > 0 ? '-' : ''}${minutes}:${rest}`;
}
