// Lifetime: the loaded unit. Its parts, its model, the piece and the faces that are pointed at.
import { batch, computed } from "@preact/signals";
import type { LoadedUnit, Piece, Source, TeamColor } from "protocol";
import { ask, askFrame } from "../ask";
import { hexOf } from "../work/colors";
import { messageOf, newestNext } from "../work/newest";
import { concerns } from "../work/unit_files";
import { keep, kept, say } from "./connection";
import { type Loaded, valueOf } from "./resource";
import { generation } from "./roots";
import { resetRun } from "./run";
import { state } from "./state";

export interface FaceMark {
    pieceIndex: number;
    primIndex: number;
}

interface UnitModel {
    /** As the back end has it. */
    name: string;
    glb: ArrayBuffer;
}

/** Models of so many units are kept, so that going back and forth costs one request. */
const MAX_MODELS = 20;

const [unit, setUnit] = state<Loaded<LoadedUnit>>({ state: "empty" });
const [model, setModel] = state<UnitModel | undefined>(undefined);
/** The name that was asked for last; `unit` follows. */
const [wantedUnit, setWanted] = state("");
/** Another program has changed a file of the unit since it was loaded. */
const [isStale, setStale] = state(false);
/** As the files have them, without edits, by name and team colour. */
const models = new Map<string, UnitModel>();
let modelsGeneration = -1;

/** Whether the system lets the file be written that defines the unit. */
const [canWrite, setCanWrite] = state(true);

export { canWrite, isStale, model, unit, wantedUnit };
/** Index of the piece that is pointed at. */
export const [selectedPiece, selectPiece] = state<number | undefined>(undefined);
/** Faces that light up. */
export const [markedFaces, markFaces] = state<readonly FaceMark[]>([]);
/** While another one loads it is still the one before. */
export const loadedUnit = computed(() => valueOf(unit.value));
/** For panes that show a part of it: the 3D view tells why a unit cannot be loaded. */
export const unitOrNothing = computed((): Loaded<LoadedUnit> => unit.value.state === "failed" ? { state: "empty" }
    : unit.value);
/** Pieces by index. */
export const pieces = computed(() => loadedUnit.value ? flatten(loadedUnit.value.pieceTree) : []);
export const teamColor = computed(() => readColor(kept.value["teamColor"]));

/** Loads a unit; while one loads, only the newest wish is kept. */
export async function openUnit(name: string): Promise<void> {
    if (!await mayLeaveUnit()) return;
    setWanted(name);
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
    if (known) setUnit({ state: "ready", value: { ...known, source } });
    void lookWhetherWritable();
}

async function lookWhetherWritable(): Promise<void> {
    const source = loadedUnit.peek()?.source;
    if (!source) return;
    const told = await ask("server-can-write", { path: source.path }).catch(() => undefined);
    if (told && source === loadedUnit.peek()?.source) setCanWrite(told.canWrite);
}

/** Fetches the loaded unit's model anew, as after each step of an edit; the script runs on. */
export const reloadModel = newestNext(async () => {
    if (unit.peek().state !== "ready") return; // who loads fetches it
    const fetched = await fetchModel();
    if (fetched.name === loadedUnit.peek()?.unitName) setModel(fetched);
}, (error) => say(error.message));

export function setTeamColor(color: TeamColor): void {
    keep("teamColor", color);
    if (unit.peek().state === "loading") void load();
    else void reloadModel();
}

/** Files have changed on the disk: the unit stays as it is until the user wants it otherwise. */
export function noteChangedFiles(paths: readonly string[]): void {
    const now = loadedUnit.peek();
    if (now && paths.some((path) => concerns(path, now))) setStale(true);
}

export function resetUnit(): void {
    batch(() => {
        setUnit({ state: "empty" });
        setModel(undefined);
        setWanted("");
        selectPiece(undefined);
        markFaces([]);
    });
}

const load = newestNext(async () => {
    const name = wantedUnit.peek();
    if (name === "") return;
    if (modelsGeneration !== generation.peek()) models.clear();
    modelsGeneration = generation.peek();
    const before = loadedUnit.peek();
    setUnit(before ? { state: "loading", before } : { state: "loading" });
    try {
        // those of the unit before outlive it
        void ask("cob-clear-breakpoints").catch(() => {});
        const key = `${name} ${hexOf(teamColor.peek())}`;
        // sent at once, since they are answered in order
        const [loaded, first] =
            await Promise.all([ask("load-unit", { name, report: true }), models.get(key) ?? fetchModel()]);
        if (wantedUnit.peek() !== name) return;
        // edits that had waited show in a model of the files just as little as in another unit's
        const isRight = !loaded.hasEdits && first.name === loaded.unitName;
        const fetched = isRight ? first : await fetchModel();
        if (wantedUnit.peek() !== name) return;
        if (!loaded.hasEdits) keepModel(key, fetched);
        batch(() => {
            setModel(fetched);
            if (before?.unitName !== loaded.unitName) selectPiece(undefined);
            markFaces([]);
            setUnit({ state: "ready", value: loaded });
            setStale(false);
            resetRun(loaded.report);
        });
        say(`${name} is loaded`);
        void lookWhetherWritable();
    } catch (error) {
        if (wantedUnit.peek() !== name) return;
        batch(() => {
            setModel(undefined);
            setUnit({ state: "failed", message: messageOf(error) });
            resetRun(undefined);
        });
        say(`${name}: ${messageOf(error)}`);
    }
});

/** Of the unit that the back end has loaded, with its edits. */
async function fetchModel(): Promise<UnitModel> {
    const { reply, frame } = await askFrame("get-unit-glb", { teamColor: teamColor.peek() });
    return { name: reply.unitName, glb: frame };
}

function keepModel(key: string, fetched: UnitModel): void {
    models.delete(key);
    models.set(key, fetched);
    const [oldest] = models.keys();
    if (models.size > MAX_MODELS && oldest !== undefined) models.delete(oldest);
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
