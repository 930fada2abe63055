// Opens the take in the page and ties scene, charts and controls to the one player.

import {GLTFLoader} from 'three/addons/loaders/GLTFLoader.js';
import {Vector3} from 'three';
import {decodeBase64} from './base64.js';
import {Cast} from './cast.js';
import {Charts} from './charts.js';
import {bindControls} from './controls.js';
import {FrameClock} from './frameClock.js';
import {readGlb} from './glb.js';
import {MessageList} from './messageList.js';
import {Player} from './player.js';
import {Poser} from './poser.js';
import {Readouts} from './readouts.js';
import {Stage} from './stage.js';
import {isShownPart, readTake} from './take.js';
import {TakeError} from './takeError.js';
import {TyreTracks} from './tyreTracks.js';
import {Views} from './views.js';

/// Longest time in seconds that one picture may pass: a page that was in the background goes on where it was.
const LONGEST_TICK = 0.5;

const byId = (id) => document.getElementById(id);

/// The take of this page, opened: everything that shows something, and what the reader can do to it.
class Replay {
    #needsPicture = true;
    #centre = new Vector3();
    #lastTick = null;
    #waiting = [];

    /// Throws a TakeError, or what three.js throws where a browser cannot draw in 3D.
    constructor(gltf, take, extraMeshes) {
        const clip = gltf.animations.find(({name}) => name === 'take') ?? gltf.animations[0] ?? null;
        this.gltf = gltf;
        this.take = take;
        this.clock = new FrameClock(take.rate, take.first, take.last, take.origin);
        this.player = new Player(this.clock);
        this.poser = new Poser(clip, gltf.scene);
        this.poser.pose(this.clock.keyTimeOf(take.first));
        this.cast = new Cast(gltf, take, this.poser.movedObjects(), extraMeshes);
        this.stage = new Stage(byId('picture'), this.cast.carLength, wantedQuality());
        this.stage.scene.add(gltf.scene);
        for (const mesh of this.cast.ground) this.stage.drawGridOn(mesh.material);
        if (this.cast.ground.length === 0) this.stage.addPlane();
        this.views = new Views(byId('picture'), this.cast, () => this.invalidate());
        this.tracks = take.vehicles.map(({curves}) => new TyreTracks(curves, this.cast.carLength));
        for (const {mesh} of this.tracks) if (mesh) this.stage.scene.add(mesh);
        const seek = (frame) => this.seek(frame);
        this.charts = new Charts(byId('charts'), this.clock, seek, () => this.onWindow?.());
        this.readouts = new Readouts(byId('readouts'));
        this.messages = new MessageList(byId('messages'), byId('marks'), take, seek);
        this.toggles = {helpers: false, wireframe: false, tracks: true, grid: true};
        this.#followScheme();
        this.player.onChange(() => this.#showFrame());
        new ResizeObserver(() => this.#resize()).observe(byId('stage'));
        this.#resize();
    }

    #followScheme() {
        const dark = window.matchMedia('(prefers-color-scheme: dark)');
        const apply = () => {
            this.stage.setScheme(dark.matches ? 'dark' : 'light');
            this.charts.recolour();
            this.invalidate();
        };
        dark.addEventListener('change', apply);
        apply();
    }

    #resize() {
        const {clientWidth, clientHeight} = byId('stage');
        if (clientWidth === 0 || clientHeight === 0) return;
        this.stage.resize(clientWidth, clientHeight);
        this.views.aspect = clientWidth / clientHeight;
        this.invalidate();
    }

    #showFrame() {
        const {frame} = this.player;
        this.charts.showFrame(frame);
        this.readouts.showFrame(frame);
        this.messages.showFrame(frame);
        for (const tracks of this.tracks) tracks.showUntil(frame);
        this.invalidate();
    }

    /// Begins to draw, and goes on as long as the page is open.
    start() {
        this.setVehicle(0);
        this.setCamera(this.views.choices()[0].name);
        this.player.seek(this.clock.first);
        const tick = (now) => {
            const elapsed = this.#lastTick === null ? 0 : (now - this.#lastTick) / 1000;
            this.#lastTick = now;
            this.player.tick(Math.min(LONGEST_TICK, elapsed));
            if (this.#needsPicture) this.#draw();
            window.requestAnimationFrame(tick);
        };
        window.requestAnimationFrame(tick);
    }

    #draw() {
        this.#needsPicture = false;
        this.pose();
        const camera = this.views.current(this.#centre);
        this.stage.draw(camera, this.#centre);
        for (const resolve of this.#waiting.splice(0)) resolve();
    }

    /// Brings the scene to where the player is; drawing does the same.
    pose() {
        this.poser.pose(this.clock.keyTimeOf(this.player.position));
        this.gltf.scene.updateMatrixWorld(true);
    }

    /// Something has changed: the next chance to draw is to be taken.
    invalidate() {
        this.#needsPicture = true;
    }

    /// Resolves when all that was asked for so far is in the picture.
    drawn() {
        this.invalidate();
        return new Promise((resolve) => this.#waiting.push(resolve));
    }

    seek(frame) {
        this.player.seek(frame);
    }

    /// True if the selected vehicle has a camera of this name ("Orbit" is always there).
    setCamera(name) {
        if (!this.views.choose(name)) return false;
        this.cast.setEye(this.views.vehicle.cameras.find((camera) => camera.name === name)?.object ?? null);
        this.onCamera?.();
        this.invalidate();
        return true;
    }

    setFollow(follows) {
        this.views.followCar = follows;
        this.onCamera?.();
    }

    resetOrbit() {
        this.setCamera('Orbit');
        this.pose();
        this.views.resetOrbit();
        this.invalidate();
    }

    setVehicle(index) {
        const vehicle = this.take.vehicles[index] ?? null;
        this.vehicle = index;
        this.pose();
        this.views.setVehicle(index);
        this.charts.show(vehicle?.curves ?? null);
        this.readouts.show(vehicle?.curves ?? null);
        this.#showFrame();
        this.setCamera(this.views.name);
        this.onVehicle?.();
    }

    /// `name`: 'helpers', 'wireframe', 'tracks' or 'grid'.
    setToggle(name, on) {
        this.toggles[name] = on;
        if (name === 'helpers') this.cast.showHelpers(on);
        else if (name === 'wireframe') this.cast.setWireframe(on);
        else if (name === 'grid') this.stage.setGrid(on);
        else for (const {mesh} of this.tracks) if (mesh) mesh.visible = on;
        this.onToggle?.();
        this.invalidate();
    }
}

// The address of the page may end in #quality=high or #quality=plain; otherwise the browser's renderer decides.
function wantedQuality() {
    const wanted = new URLSearchParams(window.location.hash.slice(1)).get('quality');
    return wanted === 'high' || wanted === 'plain' ? wanted : null;
}

async function openTake() {
    const text = byId('take').textContent;
    byId('take').remove();
    if (text.startsWith('@')) throw new TakeError('This is the empty page: no take was put into it.');
    const bytes = decodeBase64(text);
    const {json, binary} = readGlb(bytes);
    const gltf = await parseScene(bytes);
    const duration = Math.max(0, ...gltf.animations.map((clip) => clip.duration));
    const take = readTake(json, binary, duration);
    const replay = new Replay(gltf, take, await loadHiddenHelpers(gltf, take));
    byId('loading').hidden = true;
    bindControls(replay);
    replay.start();
    await replay.drawn();
    return replay;
}

async function parseScene(bytes) {
    try {
        return await new GLTFLoader().parseAsync(
            bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.byteLength),
            '',
        );
    } catch (error) {
        throw new TakeError(`The scene in this page cannot be read: ${error.message}`);
    }
}

async function loadHiddenHelpers(gltf, take) {
    const meshes = new Map();
    for (const {vehicle, identifier, mesh, shown} of take.elements) {
        if (vehicle === null || mesh === null || shown || isShownPart(identifier) || meshes.has(mesh)) continue;
        meshes.set(mesh, await gltf.parser.getDependency('mesh', mesh));
    }
    return meshes;
}

function tellFailure(error) {
    const told = error instanceof TakeError || /WebGL/i.test(error.message);
    byId('failure-text').textContent = told ? error.message : `Something unexpected went wrong: ${error.message}`;
    byId('failure').hidden = false;
    byId('loading').hidden = true;
}

/// What other scripts, such as tests, can do: everything else follows once `ready` has resolved.
window.replay = {
    ready: openTake().then(
        (replay) => {
            const {player, clock, views, cast} = replay;
            Object.assign(window.replay, {
                seek: (frame) => replay.seek(frame),
                frame: () => player.frame,
                frames: () => [clock.first, clock.last],
                play: () => player.play(),
                pause: () => player.pause(),
                playing: () => player.playing,
                setSpeed: (speed) => player.setSpeed(speed),
                setLoop: (loop) => player.setLoop(loop),
                cameras: () => views.choices().map(({name}) => name),
                camera: () => views.name,
                setCamera: (name) => replay.setCamera(name),
                setFollow: (follows) => replay.setFollow(follows),
                setVehicle: (index) => replay.setVehicle(index),
                set: (name, on) => replay.setToggle(name, on),
                drawn: () => replay.drawn(),
                /// World position of an element of the selected vehicle, or of the eye ('eye'), in the last picture.
                placeOf: (identifier) => {
                    const object = identifier === 'eye' ? views.camera : views.vehicle.parts.get(identifier);
                    return object ? new Vector3().setFromMatrixPosition(object.matrixWorld).toArray() : null;
                },
                visibleHelpers: () => cast.helpers.filter((helper) => helper.layers.test(views.camera.layers)).length,
                pictures: () => replay.stage.renderer.info.render.frame,
                quality: () => replay.stage.quality,
                triangles: () => replay.stage.renderer.info.render.triangles,
            });
        },
        (error) => {
            tellFailure(error);
            throw error;
        },
    ),
};
// The page has told the reader already.
window.replay.ready.catch(() => {});
window.addEventListener('error', (event) => tellFailure(event.error ?? new Error(event.message)));
