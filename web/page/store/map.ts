// Lifetime: the loaded map. Its ground, features and units, what is chosen on it, what a click does.
import { batch, computed, effect } from "@preact/signals";
import type { LoadedMap, MapFeature, MapFeatures, MapRequest, MapUnit, Snapshot, Spawn } from "protocol";
import { ask, askFrame } from "../ask";
import { type Heights, heightAt } from "../work/ground";
import { messageOf, newestNext } from "../work/newest";
import { counted } from "../work/words";
import { isAlive, say } from "./connection";
import { type Loaded, resource, valueOf } from "./resource";
import { generation, roots } from "./roots";
import { state, wishes } from "./state";

interface Ground {
    map: LoadedMap;
    heights: Heights;
    /** PNG files. */
    picture: ArrayBuffer;
    minimap: ArrayBuffer;
    features: MapFeatures;
}

/** What a click on the map does. */
type Pointer = "select" | "place" | "order";

/** Of the ground's picture in its longer side: more takes too much of the graphics' memory. */
const MAX_PICTURE_SIDE = 4_096;
const SCALES = [1, 2, 4, 8, 16, 32] as const;

const [ground, setGround] = state<Loaded<Ground>>({ state: "empty" });
/** In the order of their ids, each with the newest pose that was told. */
const [mapUnits, setUnits] = state<readonly MapUnit[]>([]);
/** Features as the newest snapshot has them; the same array while none has come or gone. */
const [mapFeatures, setFeatures] = state<readonly MapFeature[]>([]);
const [snapshot, setSnapshot] = state<Snapshot | undefined>(undefined);
const [isWanted, showMap] = state(false);
const { failure: mapFailure, fail, attempt, forget } = wishes();
let lastTick: number | undefined;

export { attempt as attemptOnMap, ground, mapFailure, mapFeatures, mapUnits, showMap, snapshot };
export const [selectedUnits, selectUnits] = state<readonly number[]>([]);
export const [pointer, setPointer] = state<Pointer>("select");
export const loadedMap = computed(() => valueOf(ground.value)?.map);
/** The map is in the middle of the page, not the unit. */
export const isMapShown = computed(() => isWanted.value && ground.value.state !== "empty");
export const maps = resource(async () => (await ask("map-list")).maps);

export async function openMap(request: MapRequest): Promise<void> {
    fail("");
    const before = ground.peek();
    setGround(before.state === "ready" ? { state: "loading", before: before.value } : { state: "loading" });
    try {
        const map = await ask("map-load", request);
        const scale = SCALES.find((one) => Math.max(map.width, map.height) / one <= MAX_PICTURE_SIDE) ?? 32;
        const [plane, picture, minimap, features] = await Promise.all([
            askFrame("map-heightmap", {}), askFrame("map-terrain-texture", { scale }), askFrame("map-minimap"), ask("map-features")]);
        batch(() => {
            forgetUnits();
            showMap(true);
            setFeatures(features.features);
            const { width: columns, height: rows, cellSize } = plane.reply;
            setGround({ state: "ready", value: {
                map, features, picture: picture.frame, minimap: minimap.frame,
                heights: { columns, rows, cellSize, bytes: new Uint8Array(plane.frame) },
            } });
        });
        await lookAtUnits();
        say(`${map.title || map.name}: ${counted(map.unitCount, "unit")}, ${counted(map.featureCount, "feature")}`);
    } catch (error) {
        // a map that was loaded stays when another cannot be
        setGround(before.state === "ready" ? before : { state: "failed", message: messageOf(error) });
        fail(messageOf(error));
    }
}

export async function closeMap(): Promise<void> {
    await ask("map-exit");
    reset();
}

function forgetUnits(): void {
    lastTick = undefined;
    setUnits([]);
    setSnapshot(undefined);
    selectUnits([]);
    setPointer("select");
}

function reset(): void {
    batch(() => {
        forgetUnits();
        forget();
        setGround({ state: "empty" });
    });
}

/** Fetches where the units are; poses only of those that have moved since the last time. */
export const lookAtUnits = newestNext(async () => {
    const map = loadedMap.peek();
    if (!map) return;
    try {
        const since = lastTick === undefined ? {} : { since: lastTick };
        const next = await ask("map-snapshot", { pieces: true, features: true, ...since });
        if (map === loadedMap.peek()) takeSnapshot(next);
    } catch (error) {
        if (map === loadedMap.peek()) fail(messageOf(error));
    }
});

function takeSnapshot(next: Snapshot): void {
    const poses = new Map(mapUnits.peek().map(({ unitId, transforms }) => [unitId, transforms]));
    const chosen = selectedUnits.peek();
    lastTick = next.tick;
    batch(() => {
        setSnapshot(next);
        setUnits(next.units.map((unit) => {
            const transforms = unit.transforms ?? poses.get(unit.unitId);
            return transforms ? { ...unit, transforms } : unit;
        }));
        takeFeatures(next);
        const ids = new Set(next.units.map(({ unitId }) => unitId));
        if (chosen.some((id) => !ids.has(id))) selectUnits(chosen.filter((id) => ids.has(id)));
    });
}

function takeFeatures({ features: changed }: Snapshot): void {
    const known = valueOf(ground.peek())?.features.features;
    if (!changed || !known) return;
    const gone = new Set(changed.removed);
    const next = [...known.filter(([id]) => !gone.has(id)), ...changed.added];
    const before = mapFeatures.peek();
    if (next.length !== before.length || next.some(([id], i) => id !== before[i]![0])) setFeatures(next);
}

/** Asks for every pose the next time: what is done between ticks does not count as later than the last one. */
export function forgetPoses(): void {
    lastTick = undefined;
}

/** Adds a unit to those that are chosen, or leaves it out. */
export function toggleUnit(id: number): void {
    const ids = selectedUnits.peek();
    selectUnits(ids.includes(id) ? ids.filter((one) => one !== id) : [...ids, id]);
}

export function groundHeight(x: number, z: number): number {
    const known = valueOf(ground.peek());
    return known ? heightAt(known.heights, x, z) : 0;
}

/** Puts a unit or feature onto the map; new units are chosen. */
export function place(wish: () => Spawn): Promise<boolean> {
    return attempt(async () => {
        const what = wish();
        const placed = await ask("map-spawn", what);
        forgetPoses();
        await lookAtUnits();
        if ("featureId" in placed) return say(`${what.feature} placed`);
        selectUnits(placed.unitIds);
        say(`${counted(placed.unitIds.length, "unit")} placed${placed.refused > 0 ? `, no place for ${placed.refused}` : ""}`);
    });
}

/** Other roots and a new process have no map. */
export function followMaps(): void {
    effect(() => { if (isAlive.value && generation.value > 0) void maps.load(); });
    effect(() => { if (roots.value) reset(); });
    effect(() => {
        if (isAlive.value) return;
        const name = loadedMap.peek()?.name;
        reset();
        if (name) fail(`the editor has ended, and ${name} with it: load it again`);
    });
}
