// The built page in a browser: pages made from small takes, used as a reader would.
// REPLAY_PAGE: a built template (otherwise one is built here); REPLAY_SHOTS: folder for pictures of the page.

import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import {after, before, test} from 'node:test';
import {fileURLToPath, pathToFileURL} from 'node:url';
import {CHROMIUM, hasChromium, launch} from '../support/browser.mjs';
import {fillPage} from '../support/fillPage.mjs';
import {DEFAULTS, curveColumns, makeTake, poseAt} from '../support/makeTake.mjs';

const ROOT = path.join(path.dirname(fileURLToPath(import.meta.url)), '../..');
const SHOTS = process.env.REPLAY_SHOTS || path.join(ROOT, 'test/shots');
const DESKTOP = {width: 1280, height: 720};
const TITLE = 'Figure of eight & <more>';

if (!hasChromium) console.log(`SKIPPED: no Chromium at ${CHROMIUM}; name one in the variable CHROMIUM`);
const browserTest = (name, body) =>
    test(name, {skip: hasChromium ? false : `no Chromium at ${CHROMIUM}`, timeout: 50000}, body);

let folder;
let browser;
let template;

before(async () => {
    if (!hasChromium) return;
    folder = mkdtempSync(path.join(os.tmpdir(), 'replay-'));
    mkdirSync(SHOTS, {recursive: true});
    const built = process.env.REPLAY_PAGE || path.join(folder, 'replay.html');
    if (!process.env.REPLAY_PAGE) execFileSync(process.execPath, [path.join(ROOT, 'build.mjs'), built]);
    template = readFileSync(built, 'utf8');
    browser = await launch();
});

after(async () => {
    await browser?.close();
    if (folder) rmSync(folder, {recursive: true});
});

/// Opens the page of `content` (a GLB, or the text in its place) and notes what it complains of and asks for.
async function open(content, {viewport = {width: 880, height: 480}, colorScheme = 'light', title = TITLE} = {}) {
    const file = path.join(folder, `page-${Math.random().toString(36).slice(2)}.html`);
    writeFileSync(file, fillPage(template, content, title));
    const context = await browser.newContext({viewport, colorScheme, reducedMotion: 'reduce'});
    const page = await context.newPage();
    const complaints = [];
    const requests = [];
    const address = pathToFileURL(file).href;
    page.on('pageerror', (error) => complaints.push(error.message));
    page.on('console', (message) => {
        // The software renderer remarks on its own slowness.
        if (['error', 'warning'].includes(message.type()) && !/GL Driver Message/.test(message.text()))
            complaints.push(message.text());
    });
    page.on('request', (request) => {
        if (request.url() !== address && !/^(data|blob):/.test(request.url())) requests.push(request.url());
    });
    await page.goto(address);
    return {page, complaints, requests, close: () => context.close()};
}

async function openTake(content, options) {
    const opened = await open(content, options);
    await opened.page.evaluate(() => window.replay.ready);
    return opened;
}

const frameOf = (page) => page.evaluate(() => window.replay.frame());
const seek = (page, frame) => page.evaluate((at) => window.replay.seek(at), frame);

/// World position of an element once `frame` is in the picture.
function placeAt(page, frame, identifier) {
    return page.evaluate(
        async ([at, name]) => {
            window.replay.seek(at);
            await window.replay.drawn();
            return window.replay.placeOf(name);
        },
        [frame, identifier],
    );
}

function carPlace(frame, vehicle = 0, settings = DEFAULTS) {
    const {x, y, z} = poseAt(frame, vehicle, settings);
    return [x, y, z].map(Math.fround);
}

/// Pixels of the picture, [red, green, blue] at each of `places` ([0..1, 0..1]).
function coloursAt(page, places) {
    return page.evaluate(async (wanted) => {
        await window.replay.drawn();
        const picture = document.getElementById('picture');
        const copy = Object.assign(document.createElement('canvas'), {width: picture.width, height: picture.height});
        const context = copy.getContext('2d', {willReadFrequently: true});
        context.drawImage(picture, 0, 0);
        return wanted.map(([x, y]) => [
            ...context.getImageData(x * copy.width, y * copy.height, 1, 1).data.slice(0, 3),
        ]);
    }, places);
}

/// How many of the picture's pixels (of a grid of 70 x 40) are green ground in the shadow.
async function shadowPixels(page) {
    const places = Array.from({length: 70 * 40}, (_, i) => [((i % 70) + 0.5) / 70, (Math.floor(i / 70) + 0.5) / 40]);
    const ground = (await coloursAt(page, places))
        .filter(([red, green, blue]) => green > red && green > blue)
        .map(brightness);
    const usual = ground.sort((one, other) => one - other)[Math.floor(ground.length / 2)];
    return ground.filter((value) => value < 0.75 * usual).length;
}

const brightness = (colour) => colour.reduce((sum, part) => sum + part, 0) / 3;

function near(actual, expected, tolerance, what) {
    const apart = Math.max(...expected.map((value, i) => Math.abs(value - actual[i])));
    assert.ok(apart <= tolerance, `${what ?? 'place'}: ${actual} instead of ${expected}`);
}

browserTest('a page opens with its take, quietly and without a network', async () => {
    const {page, complaints, requests, close} = await openTake(makeTake(), {viewport: DESKTOP});
    assert.equal(await page.title(), TITLE);
    assert.equal(await page.textContent('h1'), TITLE);
    assert.equal(await page.textContent('#facts'), '100 frames \u00b7 25 per second \u00b7 0:04.00');
    assert.deepEqual(await page.evaluate(() => window.replay.frames()), [10, 109]);
    assert.deepEqual(await page.evaluate(() => window.replay.cameras()), [
        'FollowCam',
        'DriverCam',
        'TopViewCam',
        'Orbit',
    ]);
    assert.equal(await page.evaluate(() => window.replay.camera()), 'FollowCam');
    const fits = await page.evaluate(() => {
        const bottom = Math.max(
            ...[...document.querySelectorAll('.chart')].map((chart) => chart.getBoundingClientRect().bottom),
        );
        const room = document.getElementById('charts').getBoundingClientRect().bottom;
        return {
            charts: document.querySelectorAll('.chart').length,
            shown: bottom <= room + 1,
            still: document.documentElement.scrollHeight <= window.innerHeight,
        };
    });
    assert.deepEqual(fits, {charts: 5, shown: true, still: true});
    await seek(page, 60);
    const [sky, car, ground] = await coloursAt(page, [
        [0.9, 0.05],
        [0.5, 0.7],
        [0.1, 0.7],
    ]);
    assert.ok(sky[2] > sky[0] && sky[2] > 150, `the sky is blue: ${sky}`);
    assert.ok(car[0] > 1.6 * car[2], `the car is painted: ${car}`);
    assert.ok(ground[1] > ground[0] && ground[1] > ground[2], `the ground is green: ${ground}`);
    await page.screenshot({path: path.join(SHOTS, 'desktop-light.png')});
    assert.deepEqual([complaints, requests], [[], []]);
    await close();
});

browserTest('each frame shows what was recorded at it, in any order', async () => {
    const settings = {...DEFAULTS, rate: [30000, 1001]};
    const {page, complaints, close} = await openTake(makeTake(settings));
    for (const frame of [10, 109, 57, 11, 58, 10]) {
        assert.deepEqual(await placeAt(page, frame, 'CarBodyMesh'), carPlace(frame, 0, settings));
    }
    await seek(page, 5000);
    assert.equal(await frameOf(page), 109);
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('buttons, keys, slider and frame field move the frame', async () => {
    const {page, close} = await openTake(makeTake({withGround: false}));
    const steps = [
        ['#forward', 51],
        ['#forward', 52],
        ['#back', 51],
        ['#to-end', 109],
        ['#forward', 109],
        ['#to-start', 10],
        ['#back', 10],
    ];
    await seek(page, 50);
    for (const [button, frame] of steps) {
        await page.click(button);
        assert.equal(await frameOf(page), frame, button);
    }
    const keys = [
        ['ArrowRight', 11],
        ['Shift+ArrowRight', 21],
        ['ArrowLeft', 20],
        ['Shift+ArrowLeft', 10],
        ['End', 109],
        ['Home', 10],
    ];
    for (const [key, frame] of keys) {
        await page.keyboard.press(key);
        assert.equal(await frameOf(page), frame, key);
    }
    await page.focus('#scrub');
    await page.keyboard.press('ArrowRight');
    assert.equal(await frameOf(page), 11, 'one frame, not two, by the slider under the keys');
    const slider = await page.locator('#scrub').boundingBox();
    await page.mouse.click(slider.x + slider.width / 2, slider.y + slider.height / 2);
    assert.ok(Math.abs((await frameOf(page)) - 59.5) <= 1);
    await page.fill('#frame', '77');
    await page.keyboard.press('Enter');
    assert.equal(await frameOf(page), 77);
    assert.equal(await page.textContent('#time'), '0:03.080');
    assert.equal(await page.inputValue('#scrub'), '77');
    assert.equal(await page.getAttribute('#scrub', 'aria-valuetext'), 'frame 77, 0:03.080');
    await close();
});

browserTest('playing runs to the end, or round and round', async () => {
    const {page, close} = await openTake(makeTake({withGround: false}), {viewport: {width: 640, height: 420}});
    await page.selectOption('#speed', '4');
    await page.keyboard.press('Tab');
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press(' ');
    assert.equal(await page.getAttribute('#play', 'aria-label'), 'Pause');
    await page.waitForFunction(() => window.replay.frame() > 30);
    await page.waitForFunction(() => !window.replay.playing());
    assert.equal(await frameOf(page), 109);
    assert.equal(await page.getAttribute('#play', 'aria-label'), 'Play');
    await page.keyboard.press('l');
    await seek(page, 100);
    await page.click('#play');
    await page.waitForFunction(() => window.replay.frame() < 60);
    await page.keyboard.press(' ');
    assert.equal(await page.evaluate(() => window.replay.playing()), false);
    const rested = await frameOf(page);
    const place = await page.evaluate(() => window.replay.drawn().then(() => window.replay.placeOf('CarBodyMesh')));
    assert.deepEqual(place, carPlace(rested), 'a pause rests on a whole frame');
    await close();
});

browserTest('nothing is drawn while nothing changes', async () => {
    const {page, close} = await openTake(makeTake({withGround: false}), {viewport: {width: 640, height: 420}});
    const drawn = await page.evaluate(async () => {
        const passes = async (count) => {
            for (let i = 0; i < count; i += 1)
                await new Promise((resolve) => {
                    requestAnimationFrame(resolve);
                });
            return window.replay.pictures();
        };
        const before = await passes(10);
        const after = await passes(10);
        window.replay.seek(40);
        return [after - before, (await passes(3)) - after > 0];
    });
    assert.deepEqual(drawn, [0, true]);
    await close();
});

browserTest('cameras look from where the rig has them, and the orbit camera goes along', async () => {
    const {page, complaints, close} = await openTake(makeTake());
    const offsets = {FollowCam: [0, 2.3, 7.5], DriverCam: [-0.35, 1.15, 0.1], TopViewCam: [0, 9, 0]};
    const {x, y, z, yaw} = poseAt(70, 0, DEFAULTS);
    const world = ([right, up, back]) => [
        x + right * Math.cos(yaw) + back * Math.sin(yaw),
        y + up,
        z - right * Math.sin(yaw) + back * Math.cos(yaw),
    ];
    for (const [index, name] of Object.keys(offsets).entries()) {
        await page.keyboard.press(String(index + 1));
        assert.equal(await page.getAttribute(`[data-camera=${name}]`, 'aria-pressed'), 'true');
        near(await placeAt(page, 70, 'eye'), world(offsets[name]), 1e-4, name);
        await page.screenshot({path: path.join(SHOTS, `camera-${name}.png`)});
    }
    await page.click('[data-camera=Orbit]');
    const apart = async (frame) => {
        const eye = await placeAt(page, frame, 'eye');
        return eye.map((value, i) => value - carPlace(frame)[i]);
    };
    const offset = await apart(70);
    near(await apart(20), offset, 1e-3, 'beside the car');
    await page.keyboard.press('f');
    assert.equal(await page.isChecked('#follow'), false);
    const eye = await placeAt(page, 20, 'eye');
    near(await placeAt(page, 90, 'eye'), eye, 1e-9, 'where it was');
    await page.keyboard.press('r');
    near(await apart(90), [0, 0, 0], 12, 'back at the car');
    const stage = await page.locator('#picture').boundingBox();
    await page.mouse.move(stage.x + stage.width / 2, stage.y + stage.height / 2);
    const seen = await placeAt(page, 90, 'eye');
    await page.mouse.down();
    await page.mouse.move(stage.x + stage.width / 2 + 120, stage.y + stage.height / 2 - 30, {steps: 3});
    await page.mouse.up();
    const moved = await placeAt(page, 90, 'eye');
    assert.ok(Math.hypot(...moved.map((value, i) => value - seen[i])) > 0.5, 'dragging turns the camera');
    assert.equal(await page.evaluate(() => window.replay.setCamera('NoSuchCam')), false);
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('helpers, wireframe, traces and grid can be shown and hidden', async () => {
    const {page, complaints, close} = await openTake(makeTake());
    const look = () =>
        page.evaluate(async () => {
            await window.replay.drawn();
            return [window.replay.visibleHelpers(), window.replay.triangles()];
        });
    const [hidden, before] = await look();
    assert.equal(hidden, 0);
    await page.keyboard.press('h');
    const [shown, triangles] = await look();
    assert.equal(shown, 2 + 3, 'two handles that the recording hid, and three cameras');
    assert.ok(triangles > before);
    await page.screenshot({path: path.join(SHOTS, 'helpers.png')});
    await page.click('#helpers');
    assert.equal((await look())[0], 0);
    await seek(page, 109);
    const [, withTraces] = await look();
    await page.keyboard.press('t');
    const [, without] = await look();
    assert.ok(withTraces > without + 100, 'traces of four wheels over a hundred frames');
    await seek(page, 12);
    const [, atStart] = await look();
    await page.keyboard.press('t');
    assert.equal((await look())[1], atStart + 2 * 4 * 2, 'after two frames four traces of two pieces');
    const place = [[0.5, 0.7]];
    await seek(page, 60);
    const [filled] = await coloursAt(page, place);
    await page.keyboard.press('w');
    assert.equal(await page.getAttribute('#wireframe', 'aria-pressed'), 'true');
    await page.screenshot({path: path.join(SHOTS, 'wireframe.png')});
    await page.keyboard.press('w');
    assert.deepEqual((await coloursAt(page, place))[0], filled);
    const row = Array.from({length: 60}, (_, i) => [0.02, 0.45 + i * 0.009]);
    const gridded = await coloursAt(page, row);
    await page.keyboard.press('g');
    assert.notDeepEqual(await coloursAt(page, row), gridded);
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('charts tell the values at the frame and can be scrubbed', async () => {
    const {page, complaints, close} = await openTake(makeTake(), {viewport: DESKTOP});
    const poses = Array.from({length: 100}, (_, row) => poseAt(10 + row, 0, DEFAULTS));
    const value = (kind, name, frame) =>
        curveColumns(poses)
            .find((one) => one.kind === kind && one.name === name)
            .value(frame - 10);
    await seek(page, 63);
    const readings = (id) =>
        page.$$eval(`[data-chart=${id}] output`, (outputs) => outputs.map((output) => output.textContent));
    assert.deepEqual(await readings('speed'), [value('output', 'Velocity', 63).toFixed(1)]);
    assert.deepEqual(
        await readings('suspension'),
        ['FL', 'FR', 'BL', 'BR'].map((corner) => (value('suspension', corner, 63) * 100).toFixed(1)),
    );
    assert.deepEqual(await readings('air'), ['none']);
    assert.equal((await readings('inputs')).length, 3);
    assert.equal(await page.textContent('[data-chart=speed] .chart-title'), 'Speed (km/h)');
    const plots = await page.locator('.chart .u-over').all();
    const share = async (plot) => {
        const [outer, cursor] = [await plot.boundingBox(), await plot.locator('.cursor').boundingBox()];
        return (cursor.x + cursor.width / 2 - outer.x) / outer.width;
    };
    for (const plot of plots) near([await share(plot)], [(63 - 10) / 99], 0.004, 'cursor');
    const box = await plots[1].boundingBox();
    const at = (frame) => box.x + (box.width * (frame - 10)) / 99;
    await page.mouse.click(at(30), box.y + box.height / 2);
    assert.equal(await frameOf(page), 30);
    await page.mouse.move(at(30), box.y + 10);
    await page.mouse.down();
    await page.mouse.move(at(80), box.y + 10, {steps: 4});
    assert.equal(await frameOf(page), 80);
    await page.mouse.move(at(300), box.y + 10);
    assert.equal(await frameOf(page), 109, 'beyond the chart');
    await page.mouse.up();
    await page.mouse.move(at(50), box.y + 10);
    assert.equal(await frameOf(page), 109, 'not without a pressed button');
    await seek(page, 60);
    await page.click('#zoom-in');
    assert.equal(await page.textContent('#window'), 'Frames 35 to 85');
    await page.waitForFunction(() => document.querySelectorAll('.cursor').length === 5);
    near([await share(plots[0])], [(60 - 35.25) / 49.5], 0.02, 'cursor in the part');
    await seek(page, 100);
    assert.equal(await page.textContent('#window'), 'Frames 60 to 109', 'the part goes along with the frame');
    await page.screenshot({path: path.join(SHOTS, 'zoomed.png')});
    await page.click('#zoom-all');
    assert.equal(await page.textContent('#window'), 'Frames 10 to 109');
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('messages are texts to jump from', async () => {
    const {page, close} = await openTake(makeTake(), {viewport: DESKTOP});
    assert.deepEqual(await page.$$eval('.message-text', (texts) => texts.map((text) => text.textContent)), [
        'The run began.',
        'The wheel FL left the ground at <b>speed</b>.',
        'The ground ends ahead of the car.',
    ]);
    assert.equal(await page.locator('.message b').count(), 0);
    assert.equal(await page.textContent('.message-count'), '\u00d73');
    await page.click('.message.warning');
    assert.equal(await frameOf(page), 41);
    assert.deepEqual(
        await page.$$eval('#messages li', (items) => items.map((item) => item.getAttribute('aria-current'))),
        [null, 'true', null],
    );
    assert.equal(await page.locator('#marks i').count(), 3);
    await close();
});

browserTest('with several vehicles the reader chooses one, on a plane where there is no ground', async () => {
    const settings = {...DEFAULTS, vehicles: ['red', 'blue'], withGround: false};
    const {page, complaints, close} = await openTake(makeTake(settings), {colorScheme: 'dark', viewport: DESKTOP});
    await seek(page, 40);
    await page.evaluate(() => window.replay.setCamera('TopViewCam'));
    assert.deepEqual(await placeAt(page, 40, 'CarBodyMesh'), carPlace(40, 0));
    await page.selectOption('#vehicle', 'blue');
    assert.equal(await page.evaluate(() => window.replay.camera()), 'TopViewCam');
    assert.deepEqual(await placeAt(page, 40, 'CarBodyMesh'), carPlace(40, 1));
    const [x, , z] = carPlace(40, 1);
    const eye = await placeAt(page, 40, 'eye');
    near([eye[0], eye[2]], [x, z], 1e-4, 'above the blue car');
    const poses = Array.from({length: 100}, (_, row) => poseAt(10 + row, 1, settings));
    assert.equal(await page.textContent('[data-chart=speed] output'), (poses[30].speed * 3.6).toFixed(1));
    const [car, plane] = await coloursAt(page, [
        [0.5, 0.5],
        [0.06, 0.9],
    ]);
    assert.ok(car[2] > 1.5 * car[0], `blue paint: ${car}`);
    assert.ok(brightness(plane) > 20 && brightness(plane) < 160, `a plane below: ${plane}`);
    await page.evaluate(() => window.replay.setCamera('Orbit'));
    await page.evaluate(() => window.replay.drawn());
    await page.screenshot({path: path.join(SHOTS, 'two-dark.png')});
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('page and scene follow the colour scheme, also while open', async () => {
    const {page, complaints, close} = await openTake(makeTake());
    const look = async () => {
        const [sky] = await coloursAt(page, [[0.5, 0.05]]);
        const back = await page.evaluate(() =>
            getComputedStyle(document.body).backgroundColor.match(/\d+/g).map(Number),
        );
        return [brightness(sky), brightness(back)];
    };
    const light = await look();
    await page.emulateMedia({colorScheme: 'dark'});
    await page.waitForFunction(() => getComputedStyle(document.body).backgroundColor === 'rgb(15, 18, 22)');
    const dark = await look();
    assert.ok(light.every((value) => value > 150) && dark.every((value) => value < 90), `${light} to ${dark}`);
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('a narrow window shows everything below each other', async () => {
    const {page, complaints, close} = await openTake(makeTake(), {viewport: {width: 390, height: 844}});
    const box = async (selector) => page.locator(selector).first().boundingBox();
    assert.ok(
        await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth),
        'no sideways scrolling',
    );
    const [stage, play] = [await box('#stage'), await box('#play')];
    assert.ok(stage.width === 390 && stage.height >= 240);
    assert.ok(play.y + play.height <= 844, 'playing is in reach without scrolling');
    await page.screenshot({path: path.join(SHOTS, 'narrow.png')});
    await page.locator('.message').last().scrollIntoViewIfNeeded();
    const plots = await page.locator('.plot .u-over').all();
    assert.equal(plots.length, 5);
    const chart = await plots[4].boundingBox();
    assert.ok(chart.width > 250 && chart.height >= 25);
    await page.locator('.message').last().click();
    assert.equal(await frameOf(page), 94);
    await page.screenshot({path: path.join(SHOTS, 'narrow-below.png')});
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('a keyboard reaches and names every control', async () => {
    const {page, close} = await openTake(makeTake({vehicles: ['red', 'blue'], withGround: false}));
    const unnamed = await page.$$eval('button, select, input', (controls) =>
        controls
            .filter(
                (control) =>
                    !(control.getAttribute('aria-label') || control.textContent.trim() || control.labels?.length),
            )
            .map((control) => control.outerHTML),
    );
    assert.deepEqual(unnamed, []);
    const reached = new Set();
    for (let i = 0; i < 40; i += 1) {
        await page.keyboard.press('Tab');
        reached.add(
            await page.evaluate(() => document.activeElement.id || document.activeElement.dataset?.camera || ''),
        );
    }
    for (const id of ['vehicle', 'helpers', 'TopViewCam', 'scrub', 'play', 'frame', 'speed', 'loop', 'zoom-in'])
        assert.ok(reached.has(id), id);
    await page.focus('#helpers');
    await page.keyboard.press(' ');
    assert.equal(await page.getAttribute('#helpers', 'aria-pressed'), 'true');
    assert.equal(await page.evaluate(() => window.replay.playing()), false, "the space bar was the button's");
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press('?');
    assert.ok(await page.isVisible('#help'));
    await page.screenshot({path: path.join(SHOTS, 'keys.png')});
    await page.keyboard.press('Escape');
    assert.ok(!(await page.isVisible('#help')));
    await close();
});

browserTest('a scene without a take, and a take without curves, still play', async () => {
    const settings = {...DEFAULTS, first: 0, withExtension: false, withNormals: false};
    const plain = await openTake(makeTake(settings));
    assert.match(await plain.page.textContent('#notice'), /no curves/);
    assert.deepEqual(await plain.page.evaluate(() => window.replay.frames()), [0, 99]);
    assert.deepEqual(await plain.page.evaluate(() => window.replay.cameras()), ['Orbit']);
    assert.deepEqual(await placeAt(plain.page, 33, 'CarBodyMesh'), carPlace(33, 0, settings));
    assert.ok((await shadowPixels(plain.page)) > 20, 'the car throws a shadow on flat faces, too');
    await plain.page.screenshot({path: path.join(SHOTS, 'plain.png')});
    assert.deepEqual(plain.complaints, []);
    await plain.close();
    const mute = await openTake(makeTake({withCurves: false, messages: []}));
    assert.equal(await mute.page.textContent('#notice'), 'This take has no curves.');
    assert.ok(!(await mute.page.isVisible('#readouts')));
    assert.ok(!(await mute.page.isVisible('#messages-section')));
    assert.deepEqual(await placeAt(mute.page, 33, 'CarBodyMesh'), carPlace(33));
    assert.deepEqual(mute.complaints, []);
    await mute.close();
});

browserTest('a scene without any recording shows its one frame', async () => {
    const {page, complaints, close} = await openTake(makeTake({first: 0, count: 1, withCurves: false}));
    assert.match(await page.textContent('#facts'), /Nothing was recorded/);
    assert.ok(await page.isDisabled('#play'));
    assert.deepEqual(await placeAt(page, 0, 'CarBodyMesh'), carPlace(0));
    assert.deepEqual(complaints, []);
    await close();
});

browserTest('damaged data is told in words', async () => {
    const whole = Buffer.from(makeTake()).toString('base64');
    const cases = [
        [`${whole.slice(0, 5000)}\u00e4${whole.slice(5001)}`, /damaged at character 5001/],
        [whole.slice(0, 20000), /incomplete: 15000 of \d+ bytes/],
        ['', /not a binary glTF/],
        ['@TAKE@', /no take was put into it/],
        [
            makeTake({}, (json) => {
                json.extensions.OND_vehicle_take.frames = [9, 3];
            }),
            /first and its last frame/,
        ],
        [
            makeTake({}, (json) => {
                json.accessors[0].bufferView = 99999;
            }),
            /cannot be read/,
        ],
    ];
    for (const [content, message] of cases) {
        const {page, close} = await open(content);
        await page.waitForSelector('#failure:not([hidden])');
        assert.match(await page.textContent('#failure-text'), message);
        if (message.test('no take was put into it')) await page.screenshot({path: path.join(SHOTS, 'failure.png')});
        await close();
    }
    const curves = await openTake(
        makeTake({}, (json) => {
            json.extensions.OND_vehicle_take.vehicles[0].curves.count = 1000;
        }),
    );
    assert.match(await curves.page.textContent('#notice'), /curves of this take are incomplete/);
    assert.deepEqual(await placeAt(curves.page, 33, 'CarBodyMesh'), carPlace(33));
    await curves.close();
});

browserTest('the page forbids connections and foreign scripts', async () => {
    const {page, close} = await openTake(makeTake({withGround: false}));
    const outcome = await page.evaluate(async () => {
        const refused = [];
        document.addEventListener('securitypolicyviolation', (event) => refused.push(event.effectiveDirective));
        await fetch('http://127.0.0.1:9/').catch(() => {});
        const script = document.createElement('script');
        script.textContent = 'window.intruded = true;';
        document.body.append(script);
        await new Promise((resolve) => {
            setTimeout(resolve, 0);
        });
        return {refused, intruded: window.intruded === true};
    });
    assert.deepEqual(outcome.refused.sort(), ['connect-src', 'script-src-elem']);
    assert.equal(outcome.intruded, false);
    await close();
});

browserTest("the template has its markers once, its libraries' licences and no address to fetch from", () => {
    assert.equal(
        template
            .split('\n')
            .filter((line) => line === '<script id="take" type="application/octet-stream">@TAKE@</script>').length,
        1,
    );
    assert.equal(template.split('@TAKE@').length, 2);
    assert.equal(template.split('@TITLE@').length, 2);
    for (const holder of [/three\.js authors/i, /Leon Sorokin/, /Permission is hereby granted/])
        assert.match(template, holder);
    assert.doesNotMatch(template, /<(script|link|img)[^>]+(src|href)="?(https?:)?\/\//);
    assert.ok(template.length < 1.2e6, `${template.length} characters`);
});
