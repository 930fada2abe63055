// The world around a take: picture, sky, light, fog and the grid that makes speed visible.

import {
    BackSide,
    Color,
    DirectionalLight,
    DoubleSide,
    Fog,
    HemisphereLight,
    Mesh,
    MeshStandardMaterial,
    NeutralToneMapping,
    PCFShadowMap,
    PCFSoftShadowMap,
    PlaneGeometry,
    PMREMGenerator,
    Scene,
    ShaderMaterial,
    SphereGeometry,
    Vector3,
    WebGLRenderer,
} from 'three';
import {TakeError} from './takeError.js';

/// Colours by the scheme of the reader's system.
const SCHEMES = {
    light: {zenith: 0x6d9bc9, horizon: 0xe2e9ee, nadir: 0x9aa3a8, plane: 0xa9b0b5, sun: 2.6, sky: 0.5, ambient: 0.9},
    dark: {zenith: 0x0b1220, horizon: 0x2b3644, nadir: 0x14181d, plane: 0x434b55, sun: 2.0, sky: 0.8, ambient: 0.9},
};

/// Where the sun stands, as seen from the car.
const SUN = new Vector3(0.55, 1.0, 0.35).normalize();

const SKY_VERTEX = `
varying vec3 vDirection;
void main() {
    vDirection = position;
    gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
}`;

const SKY_FRAGMENT = `
uniform vec3 zenith, horizon, nadir;
varying vec3 vDirection;
void main() {
    float height = normalize(vDirection).y;
    vec3 colour = height > 0.0 ? mix(horizon, zenith, pow(height, 0.6)) : mix(horizon, nadir, pow(-height, 0.5));
    gl_FragColor = vec4(colour, 1.0);
    #include <colorspace_fragment>
}`;

export class Stage {
    /// `canvas`: where to draw; `carLength`: scene units, the measure of light, fog and grid; `quality`: 'high',
    /// 'plain' or null for what suits the renderer. Throws a TakeError if the browser cannot draw in 3D.
    constructor(canvas, carLength, quality) {
        this.carLength = carLength;
        this.quality = quality ?? (drawsInSoftware() ? 'plain' : 'high');
        this.scene = new Scene();
        const high = this.quality === 'high';
        this.renderer = makeRenderer({canvas, antialias: high, stencil: true, powerPreference: 'high-performance'});
        this.renderer.toneMapping = NeutralToneMapping;
        this.renderer.shadowMap.enabled = true;
        this.renderer.shadowMap.type = high ? PCFSoftShadowMap : PCFShadowMap;
        this.gridCell = {value: 10 ** Math.floor(Math.log10(carLength))};
        this.gridStrength = {value: 1};
        this.gridColour = {value: new Color()};
        this.#addSky();
        this.#addLight();
        this.scene.fog = new Fog(0xffffff, 1, 2);
        this.plane = null;
    }

    #addSky() {
        this.skyColours = {
            zenith: {value: new Color()},
            horizon: {value: new Color()},
            nadir: {value: new Color()},
        };
        const material = new ShaderMaterial({
            uniforms: this.skyColours,
            vertexShader: SKY_VERTEX,
            fragmentShader: SKY_FRAGMENT,
            side: BackSide,
            depthWrite: false,
            fog: false,
            toneMapped: false,
        });
        this.sky = new Mesh(new SphereGeometry(1, 32, 16), material);
        this.sky.renderOrder = -1;
        this.sky.frustumCulled = false;
        this.scene.add(this.sky);
    }

    #addLight() {
        const reach = this.carLength * 4;
        this.sun = new DirectionalLight(0xfff4e5, 1);
        this.sun.castShadow = true;
        this.sun.shadow.mapSize.setScalar(this.quality === 'high' ? 2048 : 1024);
        this.sun.shadow.intensity = 0.8;
        Object.assign(this.sun.shadow.camera, {
            left: -reach,
            right: reach,
            top: reach,
            bottom: -reach,
            near: 0.1 * reach,
            far: 8 * reach,
        });
        this.sun.shadow.bias = -0.0004;
        this.sun.shadow.normalBias = this.carLength * 0.01;
        this.ambient = new HemisphereLight(0xffffff, 0x8a8578, 1);
        this.scene.add(this.sun, this.sun.target, this.ambient);
    }

    /// `name`: 'light' or 'dark'.
    setScheme(name) {
        const scheme = SCHEMES[name];
        for (const part of ['zenith', 'horizon', 'nadir']) this.skyColours[part].value.setHex(scheme[part]);
        this.scene.fog.color.setHex(scheme.horizon);
        this.sun.intensity = scheme.sun;
        this.ambient.intensity = scheme.ambient + (this.quality === 'high' ? 0 : scheme.sky);
        this.gridColour.value.setHex(name === 'dark' ? 0xd5e2f0 : 0x1c2731);
        this.plane?.material.color.setHex(scheme.plane);
        if (this.quality === 'high') this.#reflectSky(scheme.sky);
    }

    // What paint and glass mirror is the sky alone.
    #reflectSky(strength) {
        const generator = new PMREMGenerator(this.renderer);
        const surroundings = new Scene();
        surroundings.add(new Mesh(this.sky.geometry, this.sky.material));
        this.reflected?.dispose();
        this.reflected = generator.fromScene(surroundings, 0, 0.1, 10);
        this.scene.environment = this.reflected.texture;
        this.scene.environmentIntensity = strength;
        generator.dispose();
    }

    /// A level plane at height 0, for scenes without a ground.
    addPlane() {
        const geometry = new PlaneGeometry(1, 1).rotateX(-Math.PI / 2);
        const material = new MeshStandardMaterial({roughness: 0.95, metalness: 0, side: DoubleSide});
        this.plane = new Mesh(geometry, material);
        this.plane.scale.setScalar(this.carLength * 2000);
        this.plane.receiveShadow = true;
        this.drawGridOn(material);
        this.scene.add(this.plane);
    }

    /// Lets `material` show the lines of the world's grid: fine ones a cell apart, strong ones ten cells apart, each
    /// fading where they would flicker.
    drawGridOn(material) {
        material.onBeforeCompile = (shader) => {
            Object.assign(shader.uniforms, {
                gridCell: this.gridCell,
                gridStrength: this.gridStrength,
                gridColour: this.gridColour,
            });
            shader.vertexShader = shader.vertexShader
                .replace('#include <common>', '#include <common>\nvarying vec3 vGridPlace;')
                .replace(
                    '#include <begin_vertex>',
                    '#include <begin_vertex>\n' + 'vGridPlace = (modelMatrix * vec4(position, 1.0)).xyz;',
                );
            shader.fragmentShader = shader.fragmentShader
                .replace('#include <common>', `#include <common>\n${GRID_FUNCTIONS}`)
                .replace(
                    '#include <color_fragment>',
                    '#include <color_fragment>\n' +
                        'float gridShare = gridStrength * gridLines(vGridPlace.xz);\n' +
                        'diffuseColor.rgb = mix(diffuseColor.rgb, gridColour, gridShare);',
                );
        };
        material.customProgramCacheKey = () => 'grid';
    }

    setGrid(shown) {
        this.gridStrength.value = shown ? 1 : 0;
    }

    /// Fits the drawing to `width` x `height` CSS pixels.
    resize(width, height) {
        this.renderer.setPixelRatio(this.quality === 'high' ? Math.min(window.devicePixelRatio, 2) : 1);
        this.renderer.setSize(width, height, false);
    }

    /// Draws from `camera`, with light and fog about `centre` (world position of the car).
    draw(camera, centre) {
        const distance = camera.position.distanceTo(centre);
        this.scene.fog.near = this.carLength * 40 + distance;
        this.scene.fog.far = this.carLength * 350 + distance * 4;
        camera.far = this.scene.fog.far * 1.1;
        camera.updateProjectionMatrix();
        this.sky.position.copy(camera.position);
        this.sky.scale.setScalar(camera.far * 0.9);
        this.sun.target.position.copy(centre);
        this.sun.position
            .copy(SUN)
            .multiplyScalar(this.carLength * 16)
            .add(centre);
        if (this.plane) this.plane.position.set(centre.x, 0, centre.z);
        this.renderer.render(this.scene, camera);
    }
}

/// Whether the browser draws without a graphics card. Then each pixel counts, and a plain picture that moves is worth
/// more than a fine one that does not.
function drawsInSoftware() {
    const context = document.createElement('canvas').getContext('webgl2');
    if (!context) return false;
    const details = context.getExtension('WEBGL_debug_renderer_info');
    const name = context.getParameter(details ? details.UNMASKED_RENDERER_WEBGL : context.RENDERER);
    context.getExtension('WEBGL_lose_context')?.loseContext();
    return /swiftshader|llvmpipe|softpipe|software|basic render/i.test(String(name));
}

function makeRenderer(options) {
    try {
        return new WebGLRenderer(options);
    } catch {
        throw new TakeError('This browser cannot draw in 3D: it has no WebGL 2, or it is switched off.');
    }
}

const GRID_FUNCTIONS = `
varying vec3 vGridPlace;
uniform float gridCell, gridStrength;
uniform vec3 gridColour;
float gridLayer(vec2 place, float cell, float pixels) {
    vec2 at = place / cell;
    vec2 blur = fwidth(at);
    vec2 apart = abs(fract(at - 0.5) - 0.5);
    vec2 line = 1.0 - smoothstep(blur * (pixels - 0.5), blur * (pixels + 0.5), apart);
    return max(line.x, line.y) * (1.0 - smoothstep(0.1, 0.4, max(blur.x, blur.y)));
}
float gridLines(vec2 place) {
    return max(0.07 * gridLayer(place, gridCell, 0.6), 0.15 * gridLayer(place, gridCell * 10.0, 0.9));
}`;
