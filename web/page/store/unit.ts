// Lifetime: the loaded unit. Its parts, its model, the piece and the faces that are pointed at.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { LoadedUnit, Piece, Source, TeamColor } from "protocol";
import { ask, askFrame } from "../ask";
import { messageOf, newestNext } from "../work/newest";
import { concerns } from "../work/unit_files";
import { keep, kept, say } from "./connection";
import { type Loaded, valueOf } from "./resource";
import { generation } from "./roots";
import { resetRun } from "./run";

export interface FaceMark {
    pieceIndex: number;
    primIndex: number;
}

export interface UnitModel {
    name: string;
    glb: ArrayBuffer;
}

/** Models of so many units are kept, so that going back and forth costs one request. */
const MAX_MODELS = 20;

const unitSignal = signal<Loaded<LoadedUnit>>({ state: "empty" });
const modelSignal = signal<UnitModel | undefined>(undefined);
const wantedSignal = signal("");
const pieceSignal = signal<number | undefined>(undefined);
const facesSignal = signal<readonly FaceMark[]>([]);
const staleSignal = signal(false);
const models = new Map<string, UnitModel>();
let modelsGeneration = -1;

export const unit: ReadonlySignal<Loaded<LoadedUnit>> = unitSignal;
/** While another one loads it is still the one before. */
export const loadedUnit = computed(() => valueOf(unitSignal.value));
/** For panes that show a part of it: the 3D view tells why a unit cannot be loaded. */
export const unitOrNothing = computed((): Loaded<LoadedUnit> => unitSignal.value.state === "failed" ? { state: "empty" } : unitSignal.value);
/** The name that was asked for last; `unit` follows. */
export const wantedUnit: ReadonlySignal<string> = wantedSignal;
export const model: ReadonlySignal<UnitModel | undefined> = modelSignal;
/** Index of the piece that is pointed at. */
export const selectedPiece: ReadonlySignal<number | undefined> = pieceSignal;
/** Faces that light up. */
export const markedFaces: ReadonlySignal<readonly FaceMark[]> = facesSignal;
/** Another program has changed a file of the unit since it was loaded. */
export const isStale: ReadonlySignal<boolean> = staleSignal;
/** Pieces by index. */
export const pieces = computed(() => loadedUnit.value ? flatten(loadedUnit.value.pieceTree) : []);
export const teamColor = computed(() => readColor(kept.value["teamColor"]));

export function selectPiece(index: number | undefined): void {
    pieceSignal.value = index;
}

export function markFaces(faces: readonly FaceMark[]): void {
    facesSignal.value = faces;
}

/** Loads a unit; while one loads, only the newest wish is kept. */
export async function openUnit(name: string): Promise<void> {
    if (!await mayLeaveUnit()) return;
    wantedSignal.value = name;
    await load();
}

/** Loads the unit and its model anew, as after a write or a change on the disk. */
export async function reloadUnit(): Promise<void> {
    models.clear();
    if (await mayLeaveUnit()) await load();
}

/** Whether nothing stands in the way of loading a unit; may ask the user. */
export const mayLeaveUnit = async (): Promise<boolean> => !loadedUnit.peek() || await mayLeave();

/** Asked before a unit gives way to another or to itself: false keeps it. For edits that loading would end. */
export function guardLeaving(ask: () => boolean | Promise<boolean>): void {
    mayLeave = ask;
}

let mayLeave: () => boolean | Promise<boolean> = () => true;

/** A write has moved the definition, as into a mod. */
export function takeSource(source: Source): void {
    const known = loadedUnit.peek();
    if (known) unitSignal.value = { state: "ready", value: { ...known, source } };
}

/** Fetches the model anew, as after each step of an edit; the script runs on. */
export const reloadModel = newestNext(async () => {
    const name = wantedSignal.peek();
    models.delete(name);
    const fetched = await fetchModel(name);
    if (wantedSignal.peek() === name) modelSignal.value = fetched;
}, (error) => say(error.message));

export function setTeamColor(color: TeamColor): void {
    models.clear();
    keep("teamColor", color);
    if (loadedUnit.peek()) void reloadModel();
}

/** Files have changed on the disk: the unit stays as it is until the user wants it otherwise. */
export function noteChangedFiles(paths: readonly string[]): void {
    const now = loadedUnit.peek();
    if (now && paths.some((path) => concerns(path, now))) staleSignal.value = true;
}

export function resetUnit(): void {
    batch(() => {
        unitSignal.value = { state: "empty" };
        modelSignal.value = undefined;
        wantedSignal.value = "";
        pieceSignal.value = undefined;
        facesSignal.value = [];
    });
}

const load = newestNext(async () => {
    const name = wantedSignal.peek();
    if (name === "") return;
    if (modelsGeneration !== generation.peek()) models.clear();
    modelsGeneration = generation.peek();
    const before = loadedUnit.peek();
    unitSignal.value = before ? { state: "loading", before } : { state: "loading" };
    try {
        // those of the unit before outlive it; all are sent at once, since they are answered in order
        void ask("cob-clear-breakpoints").catch(() => {});
        const [loaded, fetched] = await Promise.all(
            [ask("load-unit", { name, report: true }), models.get(name) ?? fetchModel(name)]);
        if (wantedSignal.peek() !== name) return;
        batch(() => {
            modelSignal.value = fetched;
            if (before?.unitName !== loaded.unitName) pieceSignal.value = undefined;
            facesSignal.value = [];
            unitSignal.value = { state: "ready", value: loaded };
            staleSignal.value = false;
            resetRun(loaded.report);
        });
        say(`${name} is loaded`);
    } catch (error) {
        if (wantedSignal.peek() !== name) return;
        batch(() => {
            modelSignal.value = undefined;
            unitSignal.value = { state: "failed", message: messageOf(error) };
            resetRun(undefined);
        });
        say(`${name}: ${messageOf(error)}`);
    }
});

async function fetchModel(name: string): Promise<UnitModel> {
    const { frame } = await askFrame("get-unit-glb", { teamColor: teamColor.peek() });
    const fetched = { name, glb: frame };
    models.set(name, fetched);
    for (const oldest of models.keys()) {
        if (models.size <= MAX_MODELS) break;
        models.delete(oldest);
    }
    return fetched;
}

function flatten(root: Piece): Piece[] {
    const found: Piece[] = [];
    const rest = [root];
    for (let piece; (piece = rest.pop());) {
        found[piece.index] = piece;
        rest.push(...piece.children);
    }
    return found;
}

function readColor(value: unknown): TeamColor {
    const { r, g, b } = (value ?? {}) as Partial<TeamColor>;
    return typeof r === "number" && typeof g === "number" && typeof b === "number" ? { r, g, b } : { r: 40, g: 90, b: 220 };
}
