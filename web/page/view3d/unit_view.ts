// The 3D view: one unit on a ground grid, two cameras, what lies under the pointer. It draws only when asked.
import { Box3, BufferGeometry, Float32BufferAttribute, LineBasicMaterial, LineSegments, Vector3 } from "three";
import type { PieceTransform, RenderConstants } from "protocol";
import type { Camera as CameraKind } from "../store/view";
import { createGameCamera, createOrbitCamera, type ViewCamera } from "./cameras";
import { createStage, styleColor } from "./stage";
import { buildModel, sampleOfMaterials, type UnitModel3d } from "./unit_model";

interface Hit {
    pieceIndex: number;
    primIndex: number;
}

export interface UnitView {
    /** Shows a model, or nothing; the one before is freed. Resolves when it has been drawn. */
    show(glb: ArrayBuffer | undefined, footprint: [x: number, z: number], isSame: boolean): Promise<void>;
    pose(transforms: readonly PieceTransform[]): void;
    /** A piece, which glows at a stop, the faces that were clicked, and those that something was found at. */
    mark(piece: number | undefined, picked: readonly Hit[], lit: readonly Hit[], isGlowing: boolean): void;
    setCamera(kind: CameraKind): void;
    setLight(constants: RenderConstants): void;
    /** Takes the colours of the style sheet again. */
    recolor(): void;
    fit(): void;
    free(): void;
}

/** A cell of footprints, in model units. */
const CELL = 16;
/** Of the ground, to each side. */
const MAX_CELLS = 64;

export function createUnitView(canvas: HTMLCanvasElement, picked: (hit: Hit | undefined, isAdding: boolean) => void): UnitView {
    const stage = createStage(canvas, {
        camera: () => camera.camera, update: () => camera.update(),
        resize: (width, height) => { for (const one of Object.values(cameras)) one.resize(width, height); },
    });
    const { scene, requestDraw } = stage;
    const cameras: Record<CameraKind, ViewCamera> = {
        orbit: createOrbitCamera(canvas, requestDraw), game: createGameCamera(canvas, requestDraw),
    };
    let camera = cameras.orbit;
    let model: UnitModel3d | undefined;
    // these stay for good: their program would have to be made anew with each model
    const grid = new LineSegments(new BufferGeometry(), new LineBasicMaterial());
    const frameLine = new LineSegments(new BufferGeometry(), new LineBasicMaterial());
    for (const lines of [grid, frameLine]) lines.raycast = () => {};
    scene.add(grid, frameLine);
    let footprint: [number, number] = [0, 0];
    let age = 0;

    function fit(): void {
        const box = boundsOf(model);
        for (const one of Object.values(cameras)) one.fit(box);
        requestDraw();
    }

    function layGround(): void {
        const { min, max } = boundsOf(model);
        const reach = Math.max(...[min.x, max.x, min.z, max.z].map(Math.abs));
        setPoints(grid, gridLines(Math.min(Math.ceil(reach / CELL) + 2, MAX_CELLS)));
        setPoints(frameLine, frameLines(footprint));
    }

    function recolor(): void {
        stage.recolor();
        grid.material.color.set(styleColor("--grid"));
        frameLine.material.color.set(styleColor("--accent"));
    }

    stage.onClick((event) => { if (event.button === 0) picked(pick(event), event.shiftKey || event.ctrlKey || event.metaKey); });

    function pick(event: PointerEvent): Hit | undefined {
        const hit = model && stage.pick(event, model.root)[0];
        if (hit?.faceIndex == null) return;
        const { piece, primIndices } = hit.object.userData as { piece: number; primIndices: Int32Array };
        return { pieceIndex: piece, primIndex: primIndices[hit.faceIndex] ?? -1 };
    }

    layGround();
    recolor();
    stage.renderer.compile(sampleOfMaterials(), cameras.orbit.camera, scene);
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
            await stage.drawn();
        },
        pose(transforms) { model?.setPose(transforms); requestDraw(); },
        mark(piece, picked, lit, isGlowing) {
            const glow = { color: styleColor("--lit"), opacity: 0.6 };
            model?.mark([
                // faces are easier to see when their piece stays as it is
                { piece: picked.length > 0 ? undefined : piece,
                    ...isGlowing ? glow : { color: styleColor("--accent"), opacity: 0.5 } },
                { faces: lit, ...glow }, { faces: picked, color: styleColor("--accent"), opacity: 0.8 },
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
            cameras.game.setView?.(cabinetView);
            stage.setLight(light);
        },
        recolor, fit,
        free() {
            age++;
            model?.free();
            for (const lines of [grid, frameLine]) { lines.geometry.dispose(); lines.material.dispose(); }
            for (const one of Object.values(cameras)) one.free();
            stage.free();
        },
    };
}

function boundsOf(model: UnitModel3d | undefined): Box3 {
    const box = new Box3();
    model?.root.updateMatrixWorld(true);
    for (const mesh of model?.meshes ?? []) if (mesh) box.expandByObject(mesh);
    return box.isEmpty() ? new Box3(new Vector3(-CELL, 0, -CELL), new Vector3(CELL, CELL, CELL)) : box;
}

function setPoints(lines: LineSegments, points: number[]): void {
    lines.geometry.dispose();
    lines.geometry = new BufferGeometry().setAttribute("position", new Float32BufferAttribute(points, 3));
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
