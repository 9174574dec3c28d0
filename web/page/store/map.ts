// Lifetime: the loaded map. Its ground, features and units, what is chosen on it, what a click does.
import { batch, computed, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { LoadedMap, MapFeature, MapFeatures, MapRequest, MapUnit, Snapshot, Spawn } from "protocol";
import { ask, askFrame } from "../ask";
import { type Heights, heightAt } from "../work/ground";
import { messageOf, newestNext } from "../work/newest";
import { counted } from "../work/words";
import { isAlive, say } from "./connection";
import { type Loaded, resource, valueOf } from "./resource";
import { generation, roots } from "./roots";

export interface Ground {
    map: LoadedMap;
    heights: Heights;
    /** PNG files. */
    picture: ArrayBuffer;
    minimap: ArrayBuffer;
    features: MapFeatures;
}

/** What a click on the map does. */
export type Pointer = "select" | "place" | "order";

/** Of the ground's picture in its longer side: more takes too much of the graphics' memory. */
const MAX_PICTURE_SIDE = 4_096;
const SCALES = [1, 2, 4, 8, 16, 32] as const;

const groundSignal = signal<Loaded<Ground>>({ state: "empty" });
const unitsSignal = signal<readonly MapUnit[]>([]);
const featuresSignal = signal<readonly MapFeature[]>([]);
const snapshotSignal = signal<Snapshot | undefined>(undefined);
const selectedSignal = signal<readonly number[]>([]);
const pointerSignal = signal<Pointer>("select");
const isShownSignal = signal(false);
const failureSignal = signal("");
let lastTick: number | undefined;

export const ground: ReadonlySignal<Loaded<Ground>> = groundSignal;
export const loadedMap = computed(() => valueOf(groundSignal.value)?.map);
export const snapshot: ReadonlySignal<Snapshot | undefined> = snapshotSignal;
/** In the order of their ids, each with the newest pose that was told. */
export const mapUnits: ReadonlySignal<readonly MapUnit[]> = unitsSignal;
export const selectedUnits: ReadonlySignal<readonly number[]> = selectedSignal;
export const pointer: ReadonlySignal<Pointer> = pointerSignal;
/** The map is in the middle of the page, not the unit. */
export const isMapShown = computed(() => isShownSignal.value && groundSignal.value.state !== "empty");
/** Why the last wish could not be carried out. */
export const mapFailure: ReadonlySignal<string> = failureSignal;
export const maps = resource(async () => (await ask("map-list")).maps);

/** Features as the newest snapshot has them; the same array while none has come or gone. */
export const mapFeatures: ReadonlySignal<readonly MapFeature[]> = featuresSignal;

export async function openMap(request: MapRequest): Promise<void> {
    failureSignal.value = "";
    const before = groundSignal.peek();
    groundSignal.value = before.state === "ready" ? { state: "loading", before: before.value } : { state: "loading" };
    try {
        const map = await ask("map-load", request);
        const scale = SCALES.find((one) => Math.max(map.width, map.height) / one <= MAX_PICTURE_SIDE) ?? 32;
        const [plane, picture, minimap, features] = await Promise.all([
            askFrame("map-heightmap", {}), askFrame("map-terrain-texture", { scale }), askFrame("map-minimap"), ask("map-features")]);
        batch(() => {
            forgetUnits();
            isShownSignal.value = true;
            featuresSignal.value = features.features;
            groundSignal.value = { state: "ready", value: {
                map, features, picture: picture.frame, minimap: minimap.frame,
                heights: { columns: plane.reply.width, rows: plane.reply.height, cellSize: plane.reply.cellSize, bytes: new Uint8Array(plane.frame) },
            } };
        });
        await lookAtUnits();
        say(`${map.title || map.name}: ${counted(map.unitCount, "unit")}, ${counted(map.featureCount, "feature")}`);
    } catch (error) {
        // a map that was loaded stays when another cannot be
        groundSignal.value = before.state === "ready" ? before : { state: "failed", message: messageOf(error) };
        failureSignal.value = messageOf(error);
    }
}

export async function closeMap(): Promise<void> {
    await ask("map-exit");
    reset();
}

export function showMap(isShown: boolean): void {
    isShownSignal.value = isShown;
}

function forgetUnits(): void {
    lastTick = undefined;
    unitsSignal.value = [];
    snapshotSignal.value = undefined;
    selectedSignal.value = [];
    pointerSignal.value = "select";
}

function reset(): void {
    batch(() => {
        forgetUnits();
        groundSignal.value = { state: "empty" };
        failureSignal.value = "";
    });
}

/** Fetches where the units are; poses only of those that have moved since the last time. */
export const lookAtUnits = newestNext(async () => {
    const since = lastTick === undefined ? {} : { since: lastTick };
    takeSnapshot(await ask("map-snapshot", { pieces: true, features: true, ...since }));
}, (error) => { failureSignal.value = error.message; });

export function takeSnapshot(next: Snapshot): void {
    if (groundSignal.peek().state === "empty") return;
    const poses = new Map(unitsSignal.peek().map(({ unitId, transforms }) => [unitId, transforms]));
    lastTick = next.tick;
    batch(() => {
        snapshotSignal.value = next;
        unitsSignal.value = next.units.map((unit) => {
            const transforms = unit.transforms ?? poses.get(unit.unitId);
            return transforms ? { ...unit, transforms } : unit;
        });
        takeFeatures(next);
        const ids = new Set(next.units.map(({ unitId }) => unitId));
        if (selectedSignal.peek().some((id) => !ids.has(id))) selectedSignal.value = selectedSignal.peek().filter((id) => ids.has(id));
    });
}

function takeFeatures({ features: changed }: Snapshot): void {
    const known = valueOf(groundSignal.peek())?.features.features;
    if (!changed || !known) return;
    const gone = new Set(changed.removed);
    const next = [...known.filter(([id]) => !gone.has(id)), ...changed.added];
    const before = featuresSignal.peek();
    if (next.length !== before.length || next.some(([id], i) => id !== before[i]![0])) featuresSignal.value = next;
}

/** Asks for every pose the next time: what is done between ticks does not count as later than the last one. */
export function forgetPoses(): void {
    lastTick = undefined;
}

export function selectUnits(ids: readonly number[]): void {
    selectedSignal.value = ids;
}

/** Adds a unit to those that are chosen, or leaves it out. */
export function toggleUnit(id: number): void {
    const ids = selectedSignal.peek();
    selectedSignal.value = ids.includes(id) ? ids.filter((one) => one !== id) : [...ids, id];
}

export function setPointer(value: Pointer): void {
    pointerSignal.value = value;
}

export function groundHeight(x: number, z: number): number {
    const known = valueOf(groundSignal.peek());
    return known ? heightAt(known.heights, x, z) : 0;
}

/** Puts a unit or feature onto the map; new units are chosen. */
export async function place(what: Spawn): Promise<void> {
    await carryOut(async () => {
        const placed = await ask("map-spawn", what);
        forgetPoses();
        await lookAtUnits();
        if ("featureId" in placed) return say(`${what.feature} placed`);
        selectUnits(placed.unitIds);
        say(`${counted(placed.unitIds.length, "unit")} placed${placed.refused > 0 ? `, no place for ${placed.refused}` : ""}`);
    });
}

/** A wish that fails says why and changes nothing. */
export async function carryOut(wish: () => Promise<void>): Promise<void> {
    failureSignal.value = "";
    try {
        await wish();
    } catch (error) {
        failureSignal.value = messageOf(error);
    }
}

/** Other roots and a new process have no map. */
export function followMaps(): void {
    effect(() => { if (isAlive.value && generation.value > 0) void maps.load(); });
    effect(() => { if (roots.value) reset(); });
    effect(() => {
        if (isAlive.value) return;
        const name = loadedMap.peek()?.name;
        reset();
        if (name) failureSignal.value = `the editor has ended, and ${name} with it: load it again`;
    });
}
