// The charts beside the scene: each shows a group of curves with a cursor at the shown frame; pressing or dragging in
// one moves the shown frame, all share the part of the take that they show.

import uPlot from 'uplot';
import {chartGroups, readingsAt, windowAround, zoomWindow} from './chartGroups.js';

const PALETTE_SIZE = 8;
const LEAST_HEIGHT = 54;
const AXIS_HEIGHT = 24;
const AXIS_WIDTH = 42;
/// Left and right of the charts in their container, together, as in the style sheet.
const PADDING = 16;

export class Charts {
    #plots = [];
    #frame = 0;
    #curves = null;

    /// `container`: an element to fill; `clock`: the take's FrameClock; `onSeek(frame)`: the reader chose a frame;
    /// `onWindow()`: another part of the take is shown.
    constructor(container, clock, onSeek, onWindow) {
        this.container = container;
        this.clock = clock;
        this.onSeek = onSeek;
        this.onWindow = onWindow;
        this.window = [clock.first, clock.last];
        new ResizeObserver(() => this.#fit()).observe(container);
    }

    get count() {
        return this.#plots.length;
    }

    /// Shows `curves` of a vehicle; null clears.
    show(curves) {
        for (const {plot} of this.#plots) plot.destroy();
        this.container.replaceChildren();
        this.#curves = curves;
        const groups = curves && curves.count > 1 ? chartGroups(curves) : [];
        const frames = Float64Array.from({length: curves?.count ?? 0}, (_, row) => curves.first + row);
        this.#plots = groups.map((group, index) => this.#makePlot(group, frames, index === groups.length - 1));
        this.#fit();
        this.showFrame(this.#frame);
    }

    #makePlot(group, frames, isLast) {
        const figure = document.createElement('figure');
        figure.className = 'chart';
        figure.dataset.chart = group.id;
        const {caption, readings} = makeCaption(group);
        const body = document.createElement('div');
        body.className = 'plot';
        figure.append(caption, body);
        this.container.append(figure);
        const cursor = document.createElement('div');
        cursor.className = 'cursor';
        const entry = {group, figure, body, cursor, readings, isLast, plot: null, shown: null};
        const data = [frames, ...group.series.map((series) => series.values)];
        entry.plot = new uPlot(this.#options(entry), data, body);
        entry.plot.over.append(cursor);
        this.#listen(entry.plot);
        return entry;
    }

    #options(entry) {
        const {group, isLast} = entry;
        const stroke = () => style('--muted');
        const grid = {stroke: () => style('--grid'), width: 1};
        const font = '11px system-ui, sans-serif';
        return {
            width: 300,
            height: LEAST_HEIGHT,
            pxAlign: 0,
            padding: [6, 8, isLast ? 0 : 4, 0],
            legend: {show: false},
            cursor: {show: false},
            scales: {x: {time: false, range: () => this.window}, y: {range: () => group.range}},
            series: [{}, ...group.series.map((series, index) => seriesOptions(group, series, index))],
            axes: [
                {
                    stroke,
                    grid,
                    font,
                    ticks: {show: false},
                    size: isLast ? AXIS_HEIGHT : 0,
                    gap: 4,
                    space: 64,
                    incrs: [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000, 50000, 100000],
                    values: (_, splits) => splits.map((split) => (isLast ? String(split) : '')),
                },
                {stroke, grid, font, ticks: {show: false}, size: AXIS_WIDTH, gap: 6, space: 15, ...laneAxis(group)},
            ],
            hooks: {draw: [() => this.#placeCursor(entry)]},
        };
    }

    #listen(plot) {
        const {over} = plot;
        const seek = (event) => {
            const {left} = over.getBoundingClientRect();
            this.onSeek(Math.round(plot.posToVal(event.clientX - left, 'x')));
        };
        over.addEventListener('pointerdown', (event) => {
            if (event.button !== 0) return;
            over.setPointerCapture(event.pointerId);
            seek(event);
        });
        over.addEventListener('pointermove', (event) => {
            if (over.hasPointerCapture(event.pointerId)) seek(event);
        });
        over.addEventListener(
            'wheel',
            (event) => {
                if (!event.ctrlKey && !event.metaKey) return;
                event.preventDefault();
                const {left} = over.getBoundingClientRect();
                this.zoom(Math.exp(event.deltaY * 0.002), plot.posToVal(event.clientX - left, 'x'));
            },
            {passive: false},
        );
    }

    /// Shows `factor` times as many frames, about `frame`.
    zoom(factor, frame = this.#frame) {
        this.#setWindow(zoomWindow(this.window, factor, frame, this.clock.first, this.clock.last));
    }

    showAll() {
        this.#setWindow([this.clock.first, this.clock.last]);
    }

    #setWindow(window) {
        if (window[0] === this.window[0] && window[1] === this.window[1]) return;
        this.window = window;
        for (const {plot} of this.#plots) plot.setScale('x', {min: window[0], max: window[1]});
        this.onWindow();
    }

    /// Moves the cursors to `frame` and tells the values there.
    showFrame(frame) {
        this.#frame = frame;
        this.#setWindow(windowAround(frame, this.window, this.clock.first, this.clock.last));
        const row = this.#curves?.rowOf(frame) ?? null;
        for (const entry of this.#plots) {
            this.#placeCursor(entry);
            if (entry.shown === row) continue;
            entry.shown = row;
            const texts = row === null ? null : readingsAt(entry.group, row);
            for (const [index, reading] of entry.readings.entries()) reading.textContent = texts?.[index] ?? '\u2013';
        }
    }

    #placeCursor({plot, cursor}) {
        if (!plot) return;
        cursor.style.transform = `translateX(${plot.valToPos(this.#frame, 'x')}px)`;
    }

    /// Draws anew in the colours of the page's present scheme.
    recolour() {
        for (const {plot} of this.#plots) plot.redraw(false);
    }

    // The charts share the container's height evenly; where that is too little, it scrolls.
    #fit() {
        if (this.#plots.length === 0) return;
        const width = this.container.clientWidth - PADDING;
        const captions = this.#plots.reduce((sum, {figure, body}) => sum + figure.offsetHeight - body.offsetHeight, 0);
        const free = this.container.clientHeight - captions - AXIS_HEIGHT;
        const height = Math.max(LEAST_HEIGHT, Math.floor(free / this.#plots.length));
        for (const {plot, isLast} of this.#plots) plot.setSize({width, height: height + (isLast ? AXIS_HEIGHT : 0)});
    }
}

function makeCaption(group) {
    const caption = document.createElement('figcaption');
    const title = document.createElement('span');
    title.className = 'chart-title';
    title.textContent = group.unit ? `${group.title} (${group.unit})` : group.title;
    const keys = document.createElement('span');
    keys.className = 'keys';
    const readings = (group.lanes ? [] : group.series).map((series) => {
        const key = document.createElement('span');
        key.className = `key colour-${series.colour % PALETTE_SIZE}`;
        key.title = series.title;
        const reading = document.createElement('output');
        key.append(...(group.series.length > 1 ? [`${series.label} `] : []), reading);
        keys.append(key);
        return reading;
    });
    if (group.lanes) {
        readings.push(document.createElement('output'));
        keys.append(readings[0]);
    }
    caption.append(title, keys);
    return {caption, readings};
}

function seriesOptions(group, series, index) {
    const colour = `--series-${series.colour % PALETTE_SIZE}`;
    const stroke = () => style(colour);
    const usual = {stroke, width: 1.5, points: {show: false}};
    if (!group.lanes) return usual;
    return {
        ...usual,
        paths: uPlot.paths.stepped({align: 1}),
        fill: () => `${style(colour)}66`,
        fillTo: () => group.lanes[index],
    };
}

// A chart of states has no numbers at its side but the name of each lane.
function laneAxis(group) {
    if (!group.lanes) return {};
    const middles = group.lanes.map((lane) => lane + 0.5);
    return {
        splits: () => [...middles].reverse(),
        values: () => group.series.map((series) => series.label).reverse(),
        filter: (_, splits) => splits,
        grid: {show: false},
    };
}

/// A colour of the page's present scheme.
function style(name) {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}
