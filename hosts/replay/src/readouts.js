// The instruments over the picture: speed, steering, gas and which wheels touch the ground.

const CORNERS = ['FL', 'FR', 'BL', 'BR'];

export class Readouts {
    /// `root`: the element with the instruments; it is hidden without curves.
    constructor(root) {
        this.root = root;
        this.speed = root.querySelector('[data-read=speed]');
        this.bars = new Map([...root.querySelectorAll('[data-bar]')].map((bar) => [bar.dataset.bar, bar]));
        this.wheels = CORNERS.map((corner) => root.querySelector(`[data-wheel=${corner}]`));
        this.curves = null;
    }

    show(curves) {
        this.curves = curves;
        this.root.hidden = !curves;
        if (!curves) return;
        this.columns = {
            speed: curves.find('output', 'Velocity'),
            steering: curves.find('output', 'Steering Angle'),
            gas: curves.find('input', 'Gas Pedal (Forw/Backw)'),
            air: CORNERS.map((corner) => curves.find('output', `WheelMesh_${corner}`)),
        };
        // The angle's own greatest value fills the bar: what a car can steer is not in a take. Positive: to the right.
        this.fullSteering = (this.columns.steering?.values ?? []).reduce(
            (most, angle) => Math.max(most, Math.abs(angle)),
            0,
        );
    }

    showFrame(frame) {
        const row = this.curves?.rowOf(frame) ?? null;
        if (row === null) return;
        this.speed.textContent = Math.abs(this.columns.speed?.values[row] ?? 0).toFixed(0);
        this.#setBar('steering', (this.columns.steering?.values[row] ?? 0) / (this.fullSteering || 1));
        this.#setBar('gas', this.columns.gas?.values[row] ?? 0);
        for (const [index, wheel] of this.wheels.entries()) {
            wheel.classList.toggle('in-air', (this.columns.air[index]?.values[row] ?? 0) > 0.5);
        }
    }

    // A bar grows from its middle: to the right with what is above zero.
    #setBar(name, value) {
        const share = Math.max(-1, Math.min(1, value));
        this.bars.get(name).style.transform = `scaleX(${share})`;
    }
}
