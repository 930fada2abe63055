// The controls around the scene: buttons, slider, choices and keys, each in step with what is shown.

import {formatTime} from './frameClock.js';
import {SPEEDS} from './player.js';

const TOGGLES = ['helpers', 'wireframe', 'tracks', 'grid'];
const BIG_STEP = 10;

const byId = (id) => document.getElementById(id);

/// Ties the page's controls to `replay`; to be called once, before it starts.
export function bindControls(replay) {
    describeTake(replay);
    bindTransport(replay);
    bindCameras(replay);
    bindToggles(replay);
    bindVehicles(replay);
    bindCharts(replay);
    bindKeys(replay);
    // A button that was clicked shall not take the space bar; one that was reached by keyboard shall.
    document.addEventListener('click', (event) => {
        if (event.detail > 0) event.target.closest('button')?.blur();
    });
}

function describeTake({take, clock}) {
    const {first, last} = clock;
    byId('title').textContent = document.title;
    const rate = String(Math.round(clock.perSecond * 1000) / 1000);
    const length = formatTime(clock.secondsOf(last - first + 1)).replace(/\d$/, '');
    byId('facts').textContent =
        last > first
            ? `${(last - first + 1).toLocaleString('en')} frames \u00b7 ${rate} per second \u00b7 ${length}`
            : 'Nothing was recorded: one frame';
    byId('message-count').textContent = String(take.messages.length);
    byId('messages-section').hidden = take.messages.length === 0;
}

function bindTransport({player, clock}) {
    const [scrub, frame, play, speed] = ['scrub', 'frame', 'play', 'speed'].map(byId);
    Object.assign(scrub, {min: clock.first, max: clock.last});
    Object.assign(frame, {min: clock.first, max: clock.last});
    byId('last').textContent = String(clock.last);
    speed.append(...SPEEDS.map((value) => new Option(`${value}\u00d7`, String(value))));
    scrub.addEventListener('input', () => player.seek(scrub.valueAsNumber));
    frame.addEventListener('change', () => player.seek(frame.valueAsNumber));
    speed.addEventListener('change', () => player.setSpeed(Number(speed.value)));
    onClick('play', () => player.toggle());
    onClick('back', () => player.step(-1));
    onClick('forward', () => player.step(1));
    onClick('to-start', () => player.seek(clock.first));
    onClick('to-end', () => player.seek(clock.last));
    onClick('loop', () => player.setLoop(!player.loop));
    onClick('smooth', () => player.setSmooth(!player.smooth));
    const still = !player.canPlay;
    for (const id of ['play', 'back', 'forward', 'to-start', 'to-end', 'scrub']) byId(id).disabled = still;
    const show = () => {
        scrub.value = String(player.frame);
        scrub.style.setProperty(
            '--done',
            String(clock.last > clock.first ? (player.frame - clock.first) / (clock.last - clock.first) : 0),
        );
        const time = formatTime(clock.secondsOf(player.frame));
        scrub.setAttribute('aria-valuetext', `frame ${player.frame}, ${time}`);
        if (document.activeElement !== frame || frame.valueAsNumber !== player.frame)
            frame.value = String(player.frame);
        byId('time').textContent = time;
        speed.value = String(player.speed);
        document.body.classList.toggle('playing', player.playing);
        play.setAttribute('aria-label', player.playing ? 'Pause' : 'Play');
        setPressed('loop', player.loop);
        setPressed('smooth', player.smooth);
    };
    player.onChange(show);
    show();
}

function bindCameras(replay) {
    const bar = byId('cameras');
    const follow = byId('follow');
    follow.addEventListener('change', () => replay.setFollow(follow.checked));
    replay.onCamera = () => {
        for (const button of bar.children) {
            button.setAttribute('aria-pressed', String(button.dataset.camera === replay.views.name));
        }
        byId('follow-field').hidden = replay.views.name !== 'Orbit';
        follow.checked = replay.views.followCar;
    };
}

function fillCameras(replay) {
    byId('cameras').replaceChildren(
        ...replay.views.choices().map(({name, label}, index) => {
            const button = document.createElement('button');
            button.type = 'button';
            button.dataset.camera = name;
            button.append(label);
            if (index < 9) {
                const key = document.createElement('kbd');
                key.textContent = String(index + 1);
                key.setAttribute('aria-hidden', 'true');
                button.append(key);
            }
            button.addEventListener('click', () => replay.setCamera(name));
            return button;
        }),
    );
    replay.onCamera();
}

function bindToggles(replay) {
    for (const name of TOGGLES) onClick(name, () => replay.setToggle(name, !replay.toggles[name]));
    byId('tracks').hidden = replay.tracks.every(({mesh}) => mesh === null);
    replay.onToggle = () => TOGGLES.forEach((name) => setPressed(name, replay.toggles[name]));
    onClick('keys', () => byId('help').showModal());
}

function bindVehicles(replay) {
    const {vehicles, notices} = replay.take;
    const choice = byId('vehicle');
    choice.append(...vehicles.map(({name}, index) => new Option(name, String(index))));
    byId('vehicle-field').hidden = vehicles.length < 2;
    choice.addEventListener('change', () => replay.setVehicle(Number(choice.value)));
    replay.onVehicle = () => {
        choice.value = String(replay.vehicle);
        const sentences = [...notices];
        if (sentences.length === 0 && replay.charts.count === 0) sentences.push('This take has no curves.');
        byId('notice').textContent = sentences.join(' ');
        byId('notice').hidden = sentences.length === 0;
        fillCameras(replay);
        replay.onWindow();
    };
}

function bindCharts(replay) {
    const {charts, clock} = replay;
    onClick('zoom-in', () => charts.zoom(0.5));
    onClick('zoom-out', () => charts.zoom(2));
    onClick('zoom-all', () => charts.showAll());
    replay.onWindow = () => {
        const [low, high] = charts.window.map(Math.round);
        const all = low === clock.first && high === clock.last;
        byId('window').textContent = charts.count > 0 ? `Frames ${low} to ${high}` : '';
        byId('zoom-all').disabled = all || charts.count === 0;
        byId('zoom-out').disabled = all || charts.count === 0;
        byId('zoom-in').disabled = charts.count === 0;
    };
}

function bindKeys(replay) {
    const actions = keyActions(replay);
    document.addEventListener('keydown', (event) => {
        if (event.ctrlKey || event.metaKey || event.altKey || byId('help').open) return;
        if (hasOwnUse(event.target, event.key)) return;
        const action = actions[event.key.length === 1 ? event.key.toLowerCase() : event.key];
        if (!action) return;
        event.preventDefault();
        action(event.shiftKey);
    });
}

function keyActions(replay) {
    const {player, clock} = replay;
    const actions = {
        ' ': () => player.toggle(),
        ArrowLeft: (shift) => player.step(shift ? -BIG_STEP : -1),
        ArrowRight: (shift) => player.step(shift ? BIG_STEP : 1),
        Home: () => player.seek(clock.first),
        End: () => player.seek(clock.last),
        ',': () => player.changeSpeed(-1),
        '.': () => player.changeSpeed(1),
        l: () => player.setLoop(!player.loop),
        b: () => player.setSmooth(!player.smooth),
        f: () => replay.setFollow(!replay.views.followCar),
        r: () => replay.resetOrbit(),
        h: () => replay.setToggle('helpers', !replay.toggles.helpers),
        w: () => replay.setToggle('wireframe', !replay.toggles.wireframe),
        t: () => replay.setToggle('tracks', !replay.toggles.tracks),
        g: () => replay.setToggle('grid', !replay.toggles.grid),
        '?': () => byId('help').showModal(),
    };
    for (let digit = 1; digit <= 9; digit += 1) {
        actions[digit] = () => {
            const choice = replay.views.choices()[digit - 1];
            if (choice) replay.setCamera(choice.name);
        };
    }
    return actions;
}

/// True where the focused element understands the key itself: a number field its digits, a list its arrows, a button
/// the space bar.
export function hasOwnUse(target, key) {
    const tag = target.tagName;
    if (tag === 'SELECT') return true;
    if (tag === 'BUTTON') return key === ' ' || key === 'Enter';
    if (tag !== 'INPUT') return false;
    if (target.type === 'number') return key !== ' ';
    return target.type === 'checkbox' && key === ' ';
}

function onClick(id, action) {
    byId(id).addEventListener('click', action);
}

function setPressed(id, pressed) {
    byId(id).setAttribute('aria-pressed', String(pressed));
}
