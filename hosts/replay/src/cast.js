// Who is who in a loaded scene: the vehicles with their visible parts, handles and cameras, and the ground on which
// they drive.

import {
    Box3,
    BufferGeometry,
    DoubleSide,
    Float32BufferAttribute,
    LineBasicMaterial,
    LineSegments,
    MathUtils,
    Vector3,
} from 'three';
import {isShownPart} from './take.js';

const RIG_CAMERAS = [
    ['FollowCam', 'Follow'],
    ['DriverCam', 'Driver'],
    ['TopViewCam', 'Top'],
];
/// Ground meshes with more triangles throw no shadow: they would be drawn twice for shadows that only a hill makes.
const MOST_SHADOW_TRIANGLES = 20000;
/// Length of a car in scene units where the scene has none to measure.
const USUAL_CAR_LENGTH = 4;

export class Cast {
    /// `gltf`: what the loader made; `take`: what readTake made; `moved`: the objects which the animation moves.
    /// `extraMeshes`: mesh objects by mesh index, for elements that the scene keeps hidden.
    constructor(gltf, take, moved, extraMeshes) {
        this.root = gltf.scene;
        this.vehicles = take.vehicles.map((vehicle) => ({name: vehicle.name, parts: new Map(), cameras: []}));
        this.helpers = [];
        this.cameraLines = new Map();
        this.ground = [];
        this.materials = new Set();
        const nodes = nodeObjects(gltf);
        const roles = new Map();
        for (const element of take.elements) {
            const object = nodes.get(element.node);
            if (object) roles.set(object, element);
            if (object) this.#place(object, element, extraMeshes);
        }
        this.#sortMeshes(roles, moved);
        if (!take.known) this.#makeUpVehicle(gltf, moved);
        this.carLength = this.#measureCar();
        this.#drawCameras();
        this.showHelpers(false);
    }

    #place(object, element, extraMeshes) {
        if (element.vehicle === null) return;
        const vehicle = this.vehicles[element.vehicle];
        vehicle.parts.set(element.identifier, object);
        if (element.fieldOfView !== null) this.#placeCamera(vehicle, object, element);
        else if (!isShownPart(element.identifier) && element.mesh !== null) {
            // The scene has no mesh at a hidden handle; whoever asks for the handles shall see all of them.
            if (!element.shown && extraMeshes.has(element.mesh)) object.add(extraMeshes.get(element.mesh).clone());
        }
    }

    #placeCamera(vehicle, object, element) {
        const known = RIG_CAMERAS.find(([identifier]) => identifier === element.identifier);
        vehicle.cameras.push({
            name: element.identifier,
            label: known?.[1] ?? element.identifier,
            object,
            fieldOfView: element.fieldOfView,
        });
    }

    // A mesh belongs to the nearest element above it. What no vehicle owns is ground; in a scene that tells nothing,
    // what does not move is.
    #sortMeshes(roles, moved) {
        this.root.traverse((object) => {
            if (!object.isMesh) return;
            const element = nearest(object, (above) => roles.get(above));
            const standing = nearest(object, (above) => moved.has(above)) === undefined;
            const isGround = element ? element.vehicle === null : standing;
            if (isGround) this.#addGround(object);
            else this.#addPart(object, element);
        });
    }

    // The loader draws flat faces where there are no normals, and that remains; but shadows upon them need some.
    #completeNormals(mesh) {
        if (!mesh.geometry.attributes.normal) mesh.geometry.computeVertexNormals();
    }

    #addPart(mesh, element) {
        mesh.castShadow = true;
        mesh.receiveShadow = true;
        this.#ownMaterial(mesh, element?.wireframe ?? false);
        if (!element || isShownPart(element.identifier)) return;
        mesh.castShadow = false;
        mesh.receiveShadow = false;
        this.helpers.push(mesh);
    }

    #addGround(mesh) {
        const {index, attributes} = mesh.geometry;
        mesh.receiveShadow = true;
        mesh.castShadow = (index ? index.count : attributes.position.count) / 3 <= MOST_SHADOW_TRIANGLES;
        this.#ownMaterial(mesh, false);
        mesh.material.side = DoubleSide;
        mesh.material.roughness = 0.95;
        this.ground.push(mesh);
    }

    // Each mesh gets its own material, so that wireframe and grid of one do not appear on another.
    #ownMaterial(mesh, wireframe) {
        this.#completeNormals(mesh);
        mesh.material = mesh.material.clone();
        const material = mesh.material;
        if (!material.map && !material.metalnessMap) {
            material.metalness = 0;
            material.roughness = 0.42;
        }
        material.wireframe = wireframe;
        material.userData.wireframe = wireframe;
        this.materials.add(material);
    }

    #makeUpVehicle(gltf, moved) {
        const parts = new Map();
        const body = [...moved].find((object) => /(^|_)CarBodyMesh$/.test(object.name)) ?? [...moved][0];
        if (body) parts.set('CarBodyMesh', body);
        const cameras = gltf.cameras.map((camera, index) => {
            const vertical = MathUtils.degToRad(camera.fov ?? 45);
            const fieldOfView = MathUtils.radToDeg(2 * Math.atan(Math.tan(vertical / 2) * (camera.aspect ?? 16 / 9)));
            const name = camera.name || `Camera ${index + 1}`;
            return {
                name,
                label: RIG_CAMERAS.find(([rig]) => name.endsWith(rig))?.[1] ?? name,
                object: camera,
                fieldOfView,
            };
        });
        this.vehicles = [{name: body?.name ?? 'scene', parts, cameras}];
    }

    // Length of the first vehicle's body, from its own shape: where it stands turned does not matter.
    #measureCar() {
        this.root.updateMatrixWorld(true);
        const body = this.vehicles[0]?.parts.get('CarBodyMesh');
        if (!body) return USUAL_CAR_LENGTH;
        if (!body.isMesh) return usableLength(new Box3().setFromObject(body).getSize(new Vector3()));
        body.geometry.computeBoundingBox();
        return usableLength(
            body.geometry.boundingBox.getSize(new Vector3()).multiply(body.getWorldScale(new Vector3())),
        );
    }

    // Cameras have no surface; among the handles each is drawn as its pyramid of view.
    #drawCameras() {
        for (const {object, fieldOfView} of this.vehicles.flatMap((vehicle) => vehicle.cameras)) {
            const depth = this.carLength * 0.12;
            const x = depth * Math.tan(MathUtils.degToRad(fieldOfView) / 2);
            const y = (x * 9) / 16;
            const corners = [
                [-x, -y],
                [x, -y],
                [x, y],
                [-x, y],
            ].map(([right, up]) => [right, up, -depth]);
            const points = corners.flatMap((corner, index) => [
                0,
                0,
                0,
                ...corner,
                ...corner,
                ...corners[(index + 1) % 4],
            ]);
            const geometry = new BufferGeometry().setAttribute('position', new Float32BufferAttribute(points, 3));
            const lines = new LineSegments(geometry, new LineBasicMaterial({color: 0xffb02e}));
            const scale = object.getWorldScale(new Vector3());
            lines.scale.set(1 / (scale.x || 1), 1 / (scale.y || 1), 1 / (scale.z || 1));
            object.add(lines);
            this.helpers.push(lines);
            this.cameraLines.set(object, lines);
        }
    }

    showHelpers(shown) {
        // Not the object's own visibility: a visible part may hang below a handle.
        for (const helper of this.helpers) helper.layers.set(shown ? 0 : HIDDEN_LAYER);
    }

    /// Nobody sees the pyramid of the camera through which they look; null where that is none of the scene.
    setEye(camera) {
        for (const [object, lines] of this.cameraLines) lines.visible = object !== camera;
    }

    setWireframe(everything) {
        for (const material of this.materials) material.wireframe = everything || material.userData.wireframe;
    }
}

function usableLength(size) {
    const length = Math.max(Math.abs(size.x), Math.abs(size.z));
    return length > 0 && Number.isFinite(length) ? length : USUAL_CAR_LENGTH;
}

/// A layer that no camera and no light sees.
const HIDDEN_LAYER = 31;

function nearest(object, find) {
    for (let above = object; above; above = above.parent) {
        const found = find(above);
        if (found) return found;
    }
    return undefined;
}

function nodeObjects(gltf) {
    const nodes = new Map();
    gltf.scene.traverse((object) => {
        const index = gltf.parser.associations.get(object)?.nodes;
        if (index !== undefined && !nodes.has(index)) nodes.set(index, object);
    });
    return nodes;
}
