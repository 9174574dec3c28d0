// The 3D view: one unit on a ground grid, two cameras, what lies under the pointer. It draws only when asked.
import {
    AmbientLight, Box3, BufferGeometry, Color, ColorManagement, DirectionalLight, Float32BufferAttribute, LineBasicMaterial,
    LineSegments, LinearSRGBColorSpace, type Material, Raycaster, Scene, Vector2, Vector3, WebGLRenderer,
} from "three";
import type { PieceTransform, RenderConstants } from "protocol";
import type { Camera as CameraKind } from "../store/view";
import { createGameCamera, createOrbitCamera, type ViewCamera } from "./cameras";
import { buildModel, sampleOfMaterials, type UnitModel3d } from "./unit_model";

export interface Hit {
    pieceIndex: number;
    primIndex: number;
}

export interface UnitView {
    /** Shows a model, or nothing; the one before is freed. Resolves when it has been drawn. */
    show(glb: ArrayBuffer | undefined, footprint: [x: number, z: number], isSame: boolean): Promise<void>;
    pose(transforms: readonly PieceTransform[]): void;
    /** A piece, the faces that were clicked, and those that something was found at. */
    mark(piece: number | undefined, picked: readonly Hit[], lit: readonly Hit[]): void;
    setCamera(kind: CameraKind): void;
    setLight(constants: RenderConstants): void;
    /** Takes the colours of the style sheet again. */
    recolor(): void;
    fit(): void;
    free(): void;
}

/** A cell of footprints, in model units. */
const CELL = 16;
const TREMBLE_PX = 4;

// the game mixes light and colour as stored, not as linear light
ColorManagement.enabled = false;

export function createUnitView(canvas: HTMLCanvasElement, picked: (hit: Hit | undefined, isAdding: boolean) => void): UnitView {
    const renderer = new WebGLRenderer({ canvas, antialias: true });
    renderer.outputColorSpace = LinearSRGBColorSpace;
    const scene = new Scene();
    const sun = new DirectionalLight(0xffffff, 0.6 * Math.PI);
    const sky = new AmbientLight(0xffffff, 0.4 * Math.PI);
    sun.position.set(-0.5, 1, 0.4);
    scene.add(sun, sky);

    const cameras: Record<CameraKind, ViewCamera> = {
        orbit: createOrbitCamera(canvas, requestDraw), game: createGameCamera(canvas, requestDraw),
    };
    let camera = cameras.orbit;
    let model: UnitModel3d | undefined;
    let ground: LineSegments[] = [];
    let footprint: [number, number] = [0, 0];
    let frame = 0;
    let frames = 0;
    let age = 0;
    let drawn: (() => void)[] = [];

    /** The only way to draw: one frame however often it is asked for. */
    function requestDraw(): void {
        frame ||= requestAnimationFrame(() => {
            frame = 0;
            frames++;
            camera.update();
            renderer.render(scene, camera.camera);
            // for tests
            Object.assign(canvas.dataset, { frames, geometries: renderer.info.memory.geometries, textures: renderer.info.memory.textures });
            for (const tell of drawn.splice(0)) tell();
        });
    }

    const size = new ResizeObserver(() => {
        const { clientWidth: width, clientHeight: height } = canvas.parentElement!;
        if (width === 0 || height === 0) return;
        renderer.setPixelRatio(devicePixelRatio);
        renderer.setSize(width, height, false);
        for (const one of Object.values(cameras)) one.resize(width, height);
        requestDraw();
    });
    size.observe(canvas.parentElement!);

    function fit(): void {
        const box = boundsOf(model);
        for (const one of Object.values(cameras)) one.fit(box);
        requestDraw();
    }

    function layGround(): void {
        for (const one of ground) { one.removeFromParent(); one.geometry.dispose(); (one.material as Material).dispose(); }
        const box = boundsOf(model);
        const reach = Math.max(...[box.min.x, box.max.x, box.min.z, box.max.z].map(Math.abs));
        const cells = Math.min(Math.ceil(reach / CELL) + 2, 64);
        ground = [linesOf(gridLines(cells), "--grid"), linesOf(frameLines(footprint), "--accent")];
        for (const one of ground) one.raycast = () => {};
        scene.add(...ground);
    }

    function recolor(): void {
        scene.background = new Color(colorOf("--sky"));
        layGround();
        requestDraw();
    }

    let pressed: PointerEvent | undefined;
    canvas.addEventListener("pointerdown", (event) => { pressed = event; });
    canvas.addEventListener("pointerup", (event) => {
        const isClick = pressed && event.button === 0 &&
            Math.hypot(event.clientX - pressed.clientX, event.clientY - pressed.clientY) <= TREMBLE_PX;
        pressed = undefined;
        if (isClick) picked(pick(event), event.shiftKey || event.ctrlKey || event.metaKey);
    });

    function pick({ clientX, clientY }: PointerEvent): Hit | undefined {
        if (!model) return;
        const box = canvas.getBoundingClientRect();
        const caster = new Raycaster();
        const at = new Vector2((clientX - box.left) / box.width * 2 - 1, 1 - (clientY - box.top) / box.height * 2);
        caster.setFromCamera(at, camera.camera);
        const hit = caster.intersectObject(model.root).find(({ object }) => object.visible);
        if (hit?.faceIndex == null) return;
        const { piece, primIndices } = hit.object.userData as { piece: number; primIndices: Int32Array };
        return { pieceIndex: piece, primIndex: primIndices[hit.faceIndex] ?? -1 };
    }

    recolor();
    renderer.compile(sampleOfMaterials(), cameras.orbit.camera, scene);
    return {
        async show(glb, newFootprint, isSame) {
            const mine = ++age;
            const next = glb && await buildModel(glb);
            if (mine !== age) return next?.free();
            model?.free();
            model = next;
            footprint = newFootprint;
            if (model) scene.add(model.root);
            layGround();
            if (!isSame) fit();
            await new Promise<void>((resolve) => { drawn.push(resolve); requestDraw(); });
        },
        pose(transforms) { model?.setPose(transforms); requestDraw(); },
        mark(piece, picked, lit) {
            model?.mark([
                // faces are easier to see when their piece stays as it is
                { piece: picked.length > 0 ? undefined : piece, color: colorOf("--accent"), opacity: 0.35 },
                { faces: lit, color: colorOf("--lit"), opacity: 0.7 }, { faces: picked, color: colorOf("--accent"), opacity: 0.8 },
            ]);
            requestDraw();
        },
        setCamera(kind) {
            camera.setActive(false);
            camera = cameras[kind];
            camera.setActive(true);
            requestDraw();
        },
        setLight({ light, cabinetView }) {
            sun.position.fromArray(light.direction);
            sun.intensity = light.diffuse * Math.PI;
            sky.intensity = light.ambient * Math.PI;
            cameras.game.setView?.(cabinetView);
            requestDraw();
        },
        recolor, fit,
        free() {
            age++;
            size.disconnect();
            cancelAnimationFrame(frame);
            model?.free();
            for (const one of ground) one.geometry.dispose();
            for (const one of Object.values(cameras)) one.free();
            renderer.dispose();
        },
    };
}

function boundsOf(model: UnitModel3d | undefined): Box3 {
    const box = new Box3();
    model?.root.updateMatrixWorld(true);
    for (const mesh of model?.meshes ?? []) if (mesh) box.expandByObject(mesh);
    return box.isEmpty() ? new Box3(new Vector3(-CELL, 0, -CELL), new Vector3(CELL, CELL, CELL)) : box;
}

const colorOf = (variable: string): string => getComputedStyle(document.documentElement).getPropertyValue(variable).trim();

function linesOf(points: number[], variable: string): LineSegments {
    const geometry = new BufferGeometry().setAttribute("position", new Float32BufferAttribute(points, 3));
    return new LineSegments(geometry, new LineBasicMaterial({ color: colorOf(variable) }));
}

/** So many cells to each side of the middle. */
function gridLines(cells: number): number[] {
    const points: number[] = [];
    const edge = cells * CELL;
    for (let i = -cells; i <= cells; i++)
        points.push(i * CELL, 0, -edge, i * CELL, 0, edge, -edge, 0, i * CELL, edge, 0, i * CELL);
    return points;
}

/** The outline of the unit's footprint. */
function frameLines([cellsX, cellsZ]: [number, number]): number[] {
    const [x, z, y] = [cellsX * CELL / 2, cellsZ * CELL / 2, 0.05];
    return [-x, y, -z, x, y, -z, x, y, -z, x, y, z, x, y, z, -x, y, z, -x, y, z, -x, y, -z];
}
