// Lifetime: the opened data roots. What is mounted, the units in it, the folders opened before.
import { batch, computed } from "@preact/signals";
import type { ListedUnit, MountedRoots } from "protocol";
import type { Roots, ServerStart } from "../../wire";
import { ask } from "../ask";
import { messageOf, newestNext } from "../work/newest";
import { counted } from "../work/words";
import { keep, kept, say } from "./connection";
import type { Loaded } from "./resource";
import { state } from "./state";

const MAX_RECENT = 10;

const [roots, setRoots] = state<Roots | undefined>(undefined);
const [mounted, setMounted] = state<Loaded<MountedRoots>>({ state: "empty" });
const [units, setUnits] = state<readonly ListedUnit[]>([]);
/** Roots that are not there, or no longer. */
const [missingRoots, setMissing] = state<readonly string[]>([]);
/** Grows whenever files may have changed: by other roots, by other programs, by our own writes. */
const [generation, setGeneration] = state(0);

export { generation, missingRoots, mounted, roots, units };
/** Where to begin. */
export const [start, setStart] = state<ServerStart | undefined>(undefined);
export const recent = computed(() => readRoots(kept.value["recent"]));
/** Tells these folders, in this order, from others. */
export const rootsKey = computed(() => roots.value ? JSON.stringify(pathsOf(roots.value)) : "");
export const sides = computed(() => [...new Set(units.value.map((unit) => unit.side))].filter(Boolean).sort());

let opening: Promise<unknown> = Promise.resolve();

/** Mounts these roots, one wish after the other. On failure those that were mounted stay, and the error is thrown. */
export function openRoots(wanted: Roots): Promise<void> {
    const mounted = opening.then(() => mount(wanted));
    opening = mounted.catch(() => {});
    return mounted;
}

/** Mounts again, in a new process, what the user has wished for last. */
export async function reopenRoots(): Promise<boolean> {
    await opening;
    const last = roots.peek();
    if (last) await openRoots(last);
    return last !== undefined;
}

async function mount(wanted: Roots): Promise<void> {
    const before = mounted.peek();
    setMounted({ state: "loading" });
    try {
        const mountedNow = await ask("set-data-roots", { ...wanted, report: true, progress: true });
        const { units: listed } = await ask("list-units", { report: true });
        batch(() => {
            setRoots(wanted);
            setMounted({ state: "ready", value: mountedNow });
            setMissing((mountedNow.allLayers ?? []).filter(({ exists }) => !exists).map(({ path }) => path));
            setUnits(listed);
            setGeneration(generation.peek() + 1);
        });
    } catch (error) {
        setMounted(before.state === "ready" ? before : { state: "failed", message: messageOf(error) });
        throw error;
    }
    keep("recent", [wanted, ...recent.peek().filter((one) => !isSame(one, wanted))].slice(0, MAX_RECENT));
    void ask("server-watch", { paths: pathsOf(wanted) }).catch(() => {});
    say(`${counted(units.peek().length, "unit")} mounted`);
}

/** Sees what other programs, or our own writes, have changed. */
export const refreshUnits = newestNext(async () => {
    const open = roots.peek();
    if (!open) return;
    await lookForRoots(pathsOf(open));
    const { units: listed } = await ask("list-units", { refresh: true, report: true });
    batch(() => {
        setUnits(listed);
        setGeneration(generation.peek() + 1);
    });
}, (error) => say(error.message));

/** A folder can vanish while it is open, and come back. */
async function lookForRoots(paths: readonly string[]): Promise<void> {
    const found = await Promise.all(paths.map((path) => ask("server-folders", { path })));
    const missing = paths.filter((_, i) => !found[i]!.exists);
    const vanished = missing.filter((path) => !missingRoots.peek().includes(path));
    if (vanished.length > 0) say(`not there any more: ${vanished.join(", ")}`);
    setMissing(missing);
}

/** A folder directly below this one that looks like a game's. */
export async function gameBelow(path: string): Promise<string | undefined> {
    return (await ask("server-games", { path })).paths[0];
}

export const pathsOf = ({ taDataPath, modPaths, mapsPath }: Roots): string[] =>
    [...modPaths, taDataPath, ...(mapsPath ? [mapsPath] : [])];

const isSame = (a: Roots, b: Roots): boolean => JSON.stringify(pathsOf(a)) === JSON.stringify(pathsOf(b));

/** What was kept may have been written by anybody. */
function readRoots(value: unknown): Roots[] {
    if (!Array.isArray(value)) return [];
    return value.filter((one): one is Roots => typeof one === "object" && one !== null &&
        typeof (one as Roots).taDataPath === "string" && Array.isArray((one as Roots).modPaths));
}
