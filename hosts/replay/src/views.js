// From where the scene is seen: the cameras of a vehicle's rig, or an own one that circles the car.

import {MathUtils, PerspectiveCamera, Vector3} from 'three';
import {OrbitControls} from 'three/addons/controls/OrbitControls.js';

export const ORBIT = 'Orbit';
/// Degrees, horizontal, at 16:9.
const ORBIT_FIELD_OF_VIEW = 50;
/// Nearest visible distance, in car lengths and as a share of the way to the car: a driver's camera sits inside the
/// car, and one further off spends its depth resolution better on the ground far behind the car.
const NEAR = 0.015;
const NEAR_SHARE = 0.04;

/// Degrees of the vertical field of view that shows `horizontal` degrees in a picture `aspect` times as wide as high.
export function verticalFieldOfView(horizontal, aspect) {
    return MathUtils.radToDeg(2 * Math.atan(Math.tan(MathUtils.degToRad(horizontal) / 2) / aspect));
}

export class Views {
    #carPlace = new Vector3();
    #carMove = new Vector3();

    /// `canvas` takes the orbit camera's mouse and touch; `onMove()` is called when the reader moved it.
    constructor(canvas, cast, onMove) {
        this.cast = cast;
        this.camera = new PerspectiveCamera(45, 16 / 9, cast.carLength * NEAR, 1000);
        this.orbit = new OrbitControls(new PerspectiveCamera(), canvas);
        this.orbit.minDistance = cast.carLength * 0.3;
        this.orbit.maxDistance = cast.carLength * 400;
        this.orbit.addEventListener('change', onMove);
        this.followCar = true;
        this.aspect = 16 / 9;
        this.name = ORBIT;
        this.setVehicle(0);
    }

    /// Names of what can be chosen, in the order of the keys 1, 2, ...; the orbit camera is the fourth, or the last.
    choices() {
        const cameras = this.vehicle.cameras.map(({name, label}) => ({name, label}));
        const own = {name: ORBIT, label: 'Orbit'};
        return cameras.length >= 3 ? [...cameras.slice(0, 3), own, ...cameras.slice(3)] : [...cameras, own];
    }

    setVehicle(index) {
        this.vehicle = this.cast.vehicles[index] ?? {name: '', parts: new Map(), cameras: []};
        if (!this.choices().some(({name}) => name === this.name)) this.name = ORBIT;
        this.resetOrbit();
    }

    /// True if there is such a camera.
    choose(name) {
        if (!this.choices().some((choice) => choice.name === name)) return false;
        this.name = name;
        this.orbit.enabled = name === ORBIT;
        return true;
    }

    /// World position of the car.
    carPlace(out) {
        const body = this.vehicle.parts.get('CarBodyMesh');
        return body ? body.getWorldPosition(out) : out.set(0, 0, 0);
    }

    /// Puts the orbit camera ahead of the car and to its side.
    resetOrbit() {
        const {carLength} = this.cast;
        const body = this.vehicle.parts.get('CarBodyMesh');
        this.carPlace(this.#carPlace);
        const offset = new Vector3(-1.15, 0.7, -1.45).multiplyScalar(carLength);
        if (body) {
            const heading = new Vector3(0, 0, -1).transformDirection(body.matrixWorld);
            offset.applyAxisAngle(new Vector3(0, 1, 0), Math.atan2(-heading.x, -heading.z));
        }
        this.orbit.target.copy(this.#carPlace).y += carLength * 0.15;
        this.orbit.object.position.copy(this.#carPlace).add(offset);
        this.orbit.update();
    }

    /// The camera to draw with; the scene's matrices must be up to date. `centre` receives the car's position.
    current(centre) {
        this.carPlace(centre);
        this.#carMove.subVectors(centre, this.#carPlace);
        this.#carPlace.copy(centre);
        if (this.followCar && this.#carMove.lengthSq() > 0) {
            this.orbit.object.position.add(this.#carMove);
            this.orbit.target.add(this.#carMove);
        }
        const source = this.vehicle.cameras.find(({name}) => name === this.name);
        const pose = source ? source.object : this.orbit.object;
        if (!source) this.orbit.object.updateMatrixWorld();
        pose.matrixWorld.decompose(this.camera.position, this.camera.quaternion, this.camera.scale);
        this.camera.scale.set(1, 1, 1);
        this.camera.aspect = this.aspect;
        this.camera.near = Math.max(this.cast.carLength * NEAR, NEAR_SHARE * this.camera.position.distanceTo(centre));
        // The orbit camera keeps the car in a narrow picture; the rig's cameras keep the width that they were given.
        const horizontal = source ? source.fieldOfView : ORBIT_FIELD_OF_VIEW;
        this.camera.fov = verticalFieldOfView(horizontal, source ? this.aspect : 16 / 9);
        return this.camera;
    }
}
