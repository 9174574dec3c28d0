// A map in 3D: its ground, features and units. Dragging moves it, the right button turns it, clicks tell where.
import { BufferGeometry, Float32BufferAttribute, PerspectiveCamera, Points, PointsMaterial, Vector3 } from "three";
import { MapControls } from "three/addons/controls/MapControls.js";
import type { MapFeature, MapProjectile, MapUnit, RenderConstants } from "protocol";
import { createStage } from "../view3d/stage";
import type { Heights } from "../work/ground";
import { buildGround, type GroundMesh } from "./ground_mesh";
import { createMapFeatures, type FeaturePicture, type MapFeatures3d } from "./map_features";
import { createMapUnits, type ModelSource } from "./map_units";

interface MapPlace {
    x: number;
    z: number;
    /** The unit that was hit. */
    unitId?: number;
}

export interface MapClick extends MapPlace {
    button: "left" | "right";
    /** Shift: adds to what is chosen, or to the orders. */
    isAdding: boolean;
}

export interface MapView {
    /** Another map, or none; resolves when it has been drawn. */
    show(heights: Heights | undefined, picture: ArrayBuffer | undefined, seaLevel: number): Promise<void>;
    /** `of` tells whose features they are: those of another map are made anew. */
    setFeatures(features: readonly MapFeature[], pictureOf: FeaturePicture, of: unknown): void;
    setUnits(units: readonly MapUnit[], selected: ReadonlySet<number>): void;
    setProjectiles(projectiles: readonly MapProjectile[]): void;
    /** Features that burn. */
    setFires(burning: readonly MapFeature[]): void;
    setLight(constants: RenderConstants): void;
    /** Looks at a place. */
    lookAt(x: number, z: number, y: number): void;
    /** Looks at all of it. */
    fit(): void;
    recolor(): void;
    free(): void;
}

const FIELD_OF_VIEW = 40;
/** Points are drawn so many times too small by so narrow a view. */
const MAGNIFY = 1 / Math.tan(FIELD_OF_VIEW * Math.PI / 360);
/** What flies, in map pixels. */
const SHOT_SIZE = 5;
const SHOT_COLOR = 0xffd24a;
const FIRE_SIZE = 14;
const FIRE_COLOR = 0xff6a1f;
/** Steeper than this one looks under the ground. */
const LOWEST_ANGLE = Math.PI * 0.47;
/** Of the map's depth: so much is seen at first. */
const NEARNESS = 0.45;

export function createMapView(canvas: HTMLCanvasElement, modelOf: ModelSource, clicked: (click: MapClick) => void): MapView {
    const camera = new PerspectiveCamera(FIELD_OF_VIEW, 1, 4, 100_000);
    const stage = createStage(canvas, {
        camera: () => camera, update() {},
        resize(width, height) { camera.aspect = width / height; camera.updateProjectionMatrix(); },
    });
    const { scene, requestDraw } = stage;
    const controls = new MapControls(camera, canvas);
    controls.maxPolarAngle = LOWEST_ANGLE;
    controls.listenToKeyEvents(canvas);
    controls.addEventListener("change", requestDraw);
    const units = createMapUnits(modelOf, requestDraw);
    const shots = createDots(SHOT_COLOR, SHOT_SIZE);
    const fires = createDots(FIRE_COLOR, FIRE_SIZE);
    scene.add(units.root, shots.root, fires.root);
    let ground: GroundMesh | undefined;
    let features: MapFeatures3d | undefined;
    let featuresOf: unknown;
    let size = new Vector3();
    let age = 0;

    function look(target: Vector3, distance: number): void {
        controls.target.copy(target);
        camera.position.set(target.x, target.y + distance * 0.8, target.z + distance * 0.6);
        controls.update();
        requestDraw();
    }

    function fit(): void {
        const wide = Math.max(size.z, size.x / camera.aspect);
        look(new Vector3(size.x / 2, size.y / 2, size.z / 2), wide * 1.2);
    }

    stage.onClick((event) => {
        if (!ground || event.button === 1) return;
        const [unit] = stage.pick(event, units.root);
        const [land] = stage.pick(event, ground.land);
        const place = unit ?? land;
        if (!place) return;
        const unitId = unit && units.unitOf(unit.object);
        clicked({
            x: place.point.x, z: place.point.z, button: event.button === 2 ? "right" : "left", isAdding: event.shiftKey,
            ...(unitId === undefined ? {} : { unitId }),
        });
    });
    const keepMenu = (event: Event): void => event.preventDefault();
    canvas.addEventListener("contextmenu", keepMenu);

    stage.recolor();
    return {
        async show(heights, picture, seaLevel) {
            const mine = ++age;
            const next = heights && picture && await buildGround(heights, picture, seaLevel);
            if (mine !== age) return next?.free();
            ground?.free();
            ground = next;
            if (!next || !heights) return;
            scene.add(next.root);
            size = new Vector3(heights.columns, 0, heights.rows).multiplyScalar(heights.cellSize);
            size.y = seaLevel * 2;
            camera.far = size.length() * 4;
            camera.updateProjectionMatrix();
            fit();
            await stage.drawn();
        },
        setFeatures(all, pictureOf, of) {
            if (!features || featuresOf !== of) {
                features?.free();
                features = createMapFeatures(pictureOf, MAGNIFY, requestDraw);
                featuresOf = of;
                scene.add(features.root);
            }
            features.update(all);
            requestDraw();
        },
        setUnits(all, selected) {
            // who rides on no piece of its carrier is inside
            units.update(all.filter((one) => one.carrier === undefined || one.carrierPiece), selected);
            requestDraw();
        },
        setProjectiles(all) {
            shots.put(all.flatMap(({ x, y, z }) => [x, y, z]));
            requestDraw();
        },
        setFires(all) {
            fires.put(all.flatMap(([, , x, y, z]) => [x, y + FIRE_SIZE / 2, z]));
            requestDraw();
        },
        setLight: ({ light }) => stage.setLight(light),
        lookAt: (x, z, y) => look(new Vector3(x, y, z), Math.min(size.z * NEARNESS, 420)),
        fit,
        recolor: () => stage.recolor(),
        free() {
            age++;
            ground?.free();
            features?.free();
            units.free();
            shots.free();
            fires.free();
            controls.dispose();
            canvas.removeEventListener("contextmenu", keepMenu);
            stage.free();
        },
    };
}

/** Points of one color, of a size in map pixels, which no click hits. */
function createDots(color: number, size: number) {
    const root = new Points(new BufferGeometry(), new PointsMaterial({ color, size: size * MAGNIFY }));
    root.frustumCulled = false;
    root.raycast = () => {};
    return {
        root,
        put(places: number[]): void {
            root.geometry.dispose();
            root.geometry = new BufferGeometry().setAttribute("position", new Float32BufferAttribute(places, 3));
        },
        free(): void {
            root.geometry.dispose();
            root.material.dispose();
        },
    };
}
