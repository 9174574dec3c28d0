// Lifetime: the opened data roots. What is mounted, the units in it, the folders opened before.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { ListedUnit, MountedRoots } from "protocol";
import type { Roots, ServerStart } from "../../wire";
import { ask } from "../ask";
import { messageOf, newestNext } from "../work/newest";
import { counted } from "../work/words";
import { keep, kept, say } from "./connection";
import type { Loaded } from "./resource";

const MAX_RECENT = 10;

const rootsSignal = signal<Roots | undefined>(undefined);
const mountedSignal = signal<Loaded<MountedRoots>>({ state: "empty" });
const unitsSignal = signal<readonly ListedUnit[]>([]);
const startSignal = signal<ServerStart | undefined>(undefined);
const generationSignal = signal(0);

export const roots: ReadonlySignal<Roots | undefined> = rootsSignal;
export const mounted: ReadonlySignal<Loaded<MountedRoots>> = mountedSignal;
export const units: ReadonlySignal<readonly ListedUnit[]> = unitsSignal;
/** Where to begin. */
export const start: ReadonlySignal<ServerStart | undefined> = startSignal;
/** Grows whenever files may have changed: by other roots, by other programs, by our own writes. */
export const generation: ReadonlySignal<number> = generationSignal;
export const recent = computed(() => readRoots(kept.value["recent"]));
/** Tells these folders, in this order, from others. */
export const rootsKey = computed(() => roots.value ? JSON.stringify(pathsOf(roots.value)) : "");
export const sides = computed(() => [...new Set(units.value.map((unit) => unit.side))].filter(Boolean).sort());

export function setStart(value: ServerStart): void {
    startSignal.value = value;
}

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
    const last = rootsSignal.peek();
    if (last) await openRoots(last);
    return last !== undefined;
}

async function mount(wanted: Roots): Promise<void> {
    const before = mountedSignal.peek();
    mountedSignal.value = { state: "loading" };
    try {
        const mountedNow = await ask("set-data-roots", { ...wanted, report: true, progress: true });
        const { units: listed } = await ask("list-units", { report: true });
        batch(() => {
            rootsSignal.value = wanted;
            mountedSignal.value = { state: "ready", value: mountedNow };
            unitsSignal.value = listed;
            generationSignal.value++;
        });
    } catch (error) {
        mountedSignal.value = before.state === "ready" ? before : { state: "failed", message: messageOf(error) };
        throw error;
    }
    keep("recent", [wanted, ...recent.peek().filter((one) => !isSame(one, wanted))].slice(0, MAX_RECENT));
    void ask("server-watch", { paths: pathsOf(wanted) }).catch(() => {});
    say(`${counted(unitsSignal.peek().length, "unit")} mounted`);
}

/** Sees what other programs, or our own writes, have changed. */
export const refreshUnits = newestNext(async () => {
    if (!rootsSignal.peek()) return;
    const { units: listed } = await ask("list-units", { refresh: true, report: true });
    batch(() => {
        unitsSignal.value = listed;
        generationSignal.value++;
    });
}, (error) => say(error.message));

export const pathsOf = ({ taDataPath, modPaths, mapsPath }: Roots): string[] =>
    [...modPaths, taDataPath, ...(mapsPath ? [mapsPath] : [])];

const isSame = (a: Roots, b: Roots): boolean => JSON.stringify(pathsOf(a)) === JSON.stringify(pathsOf(b));

/** What was kept may have been written by anybody. */
function readRoots(value: unknown): Roots[] {
    if (!Array.isArray(value)) return [];
    return value.filter((one): one is Roots => typeof one === "object" && one !== null &&
        typeof (one as Roots).taDataPath === "string" && Array.isArray((one as Roots).modPaths));
}
