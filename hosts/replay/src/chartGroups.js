// Which columns of a recording share a chart, and in which units a reader sees them.

const DEGREES_PER_RADIAN = 180 / Math.PI;
const CENTIMETRES_PER_METRE = 100;
/// Height between the lanes of a chart of states, in states.
const LANE = 1.5;
const CORNERS = ['FL', 'FR', 'BL', 'BR'];

const SHORT_NAMES = new Map([
    ['Gas Pedal (Forw/Backw)', 'Gas'],
    ['Steering Wheel (Right/Left)', 'Wheel'],
    ['ABS Brake', 'ABS'],
    ['Gravel Shake Amplitude', 'Gravel'],
    ['External Force', 'Force'],
]);

/// The charts of `curves`, from top to bottom; a chart without a column is left out. Each is
/// {id, title, unit, digits, range: [low, high], lanes, series: [{label, title, colour, values}]}:
///  - values: a number per row, in `unit`
///  - range: what the vertical axis shows, whatever part of the take is in view
///  - lanes: null, or the series lie above each other as steps, and series i stands from lanes[i] to lanes[i] + 1
///  - colour: which colour of the palette, from 0
export function chartGroups(curves) {
    return [
        speedChart(curves),
        steeringChart(curves),
        inputChart(curves),
        suspensionChart(curves),
        airChart(curves),
    ].filter((chart) => chart !== null);
}

function speedChart(curves) {
    const column = curves.find('output', 'Velocity');
    if (!column) return null;
    const series = [{label: 'Speed', title: 'Velocity', colour: 0, values: column.values}];
    return chart('speed', 'Speed', 'km/h', 1, zeroRange(series), series);
}

function steeringChart(curves) {
    const column = curves.find('output', 'Steering Angle');
    if (!column) return null;
    const values = column.values.map((radians) => radians * DEGREES_PER_RADIAN);
    const series = [{label: 'Angle', title: 'Steering Angle', colour: 1, values}];
    return chart('steering', 'Steering', '\u00b0', 1, evenRange(series, 1), series);
}

// Inputs nobody touched would only be lines at zero.
function inputChart(curves) {
    const used = curves.ofKind('input').filter((column) => column.values.some((value) => value !== 0));
    if (used.length === 0) return null;
    const series = used.map((column, index) => {
        return {
            label: SHORT_NAMES.get(column.name) ?? column.name,
            title: column.name,
            colour: index,
            values: column.values,
        };
    });
    const low = used.some((column) => column.values.some((value) => value < 0)) ? -1 : 0;
    const [least, most] = extent(series);
    return chart('inputs', 'Pedals and inputs', '', 2, padded(Math.min(low, least), Math.max(1, most)), series);
}

function suspensionChart(curves) {
    const columns = CORNERS.map((corner) => curves.find('suspension', corner));
    const series = columns.flatMap((column, index) => {
        if (!column) return [];
        const values = column.values.map((metres) => metres * CENTIMETRES_PER_METRE);
        return [{label: column.name, title: `Wheel ${column.name} above its rest`, colour: index, values}];
    });
    if (series.length === 0) return null;
    return chart('suspension', 'Suspension', 'cm', 1, zeroRange(series), series);
}

function airChart(curves) {
    const found = CORNERS.map((corner) => [corner, curves.find('output', `WheelMesh_${corner}`)]).filter(
        ([, column]) => column !== null,
    );
    if (found.length === 0) return null;
    const lanes = found.map((_, index) => (found.length - 1 - index) * LANE);
    const series = found.map(([corner, column], index) => {
        const values = column.values.map((state) => lanes[index] + (state > 0.5 ? 1 : 0));
        return {label: corner, title: `Wheel ${corner}`, colour: CORNERS.indexOf(corner), values};
    });
    return {...chart('air', 'Wheels in the air', '', 0, [-0.25, found.length * LANE], series), lanes};
}

function chart(id, title, unit, digits, range, series) {
    return {id, title, unit, digits, range, lanes: null, series};
}

/// What the chart says at `row`, a text per reading: of each series the number in the chart's unit, or for a chart of
/// states the one list of the series that are in it.
export function readingsAt(chart, row) {
    if (!chart.lanes) return chart.series.map(({values}) => numberText(values[row], chart.digits));
    const inState = chart.series.filter(({values}, index) => values[row] > chart.lanes[index] + 0.5);
    return [inState.map(({label}) => label).join(' ') || 'none'];
}

function numberText(value, digits) {
    const text = value.toFixed(digits);
    return /^-0\.?0*$/.test(text) ? text.slice(1) : text;
}

function extent(series) {
    let least = Infinity;
    let most = -Infinity;
    for (const {values} of series) {
        for (const value of values) {
            if (value < least) least = value;
            if (value > most) most = value;
        }
    }
    return least <= most ? [least, most] : [0, 0];
}

function zeroRange(series) {
    const [least, most] = extent(series);
    return padded(Math.min(0, least), Math.max(0, most));
}

function evenRange(series, atLeast) {
    const [least, most] = extent(series);
    const reach = Math.max(atLeast, -least, most);
    return padded(-reach, reach);
}

function padded(low, high) {
    const air = high > low ? (high - low) * 0.06 : 1;
    return [low < 0 ? low - air : low, high + air];
}

/// The window of `width` frames that shows `frame`, turning the page where the window [low, high] does not; the window
/// stays within [first, last]. Returns the given window where nothing is to be done.
export function windowAround(frame, window, first, last) {
    const [low, high] = window;
    if (frame >= low && frame <= high) return window;
    const width = high - low;
    const start = Math.max(first, Math.min(last - width, frame < low ? frame - width * 0.9 : frame - width * 0.1));
    return [start, start + width];
}

/// The window [low, high] made `factor` times as wide about `frame`; at least 10 frames wide and within [first, last].
export function zoomWindow(window, factor, frame, first, last) {
    const [low, high] = window;
    const width = Math.min(last - first, Math.max(Math.min(10, last - first), (high - low) * factor));
    const share = high > low ? (frame - low) / (high - low) : 0.5;
    const start = Math.max(first, Math.min(last - width, frame - width * share));
    return [start, start + width];
}
