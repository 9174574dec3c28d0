// Lifetime: a script that runs, from load to load. Its pose and stops, the clock that drives it, its insides.
import { batch, computed } from "@preact/signals";
import type { Inspection, Requests, ScriptReport } from "protocol";
import { ask } from "../ask";
import { playing } from "./clock";
import { say } from "./connection";
import { resource } from "./resource";
import { state, wishes } from "./state";

/** How often threads and variables are shown anew while a script runs. */
const INSPECT_MS = 250;
/** Of a stack its newest values. */
const STACK_LIMIT = 16;

/** Where the script is: the pose, whether it stopped, where. None for a unit without a script. */
const [report, setReport] = state<ScriptReport | undefined>(undefined);
const { failure: runFailure, attempt, forget } = wishes();
const time = playing(async (ticks) => report.peek() !== undefined && carryOut(() =>
    ask("cob-tick", { ticks, report: true })));
let inspectedAt = 0;

export { report, runFailure };
export const isStopped = computed(() => report.value?.isPaused === true);
export const { isPlaying, speed, setSpeed } = time;

export const inspection = resource<Inspection>(() => ask("cob-inspect", { stackLimit: STACK_LIMIT }));

/** Another unit, or the same from its start. */
export function resetRun(first: ScriptReport | undefined): void {
    batch(() => {
        setReport(undefined);
        forget();
        inspection.reset();
        if (first) takeReport(first);
    });
}

/** As "stopped in AimPrimary, line 30". */
export function placeOfStop({ script, line, file }: ScriptReport): string {
    return `stopped in ${script ?? "a script"}${line === undefined ? "" : `, ${file ? `${file} ` : ""}line ${line}`}`;
}

/** What a reply tells about the script. */
export function takeReport(next: ScriptReport | undefined): void {
    if (!next) return;
    setReport(next);
    if (next.isPaused) {
        time.pause();
        say(placeOfStop(next));
    }
    const now = Date.now();
    if (isPlaying.peek() && now - inspectedAt < INSPECT_MS) return;
    inspectedAt = now;
    void inspection.load();
}

export function pause(): void {
    time.pause();
    if (report.peek()) void inspection.load();
}

/** Runs on: from a stop to the next, else as time passes. */
export async function play(): Promise<void> {
    if (!report.peek()) return;
    if (isStopped.peek()) await resume("cob-continue");
    if (!isStopped.peek()) await time.play();
}

export const stepTick = (): Promise<boolean> => carryOut(() => ask("cob-tick", { ticks: 1, report: true }));

export const resume = (type: "cob-continue" | "cob-step-instruction"): Promise<boolean> =>
    carryOut(() => ask(type, { report: true }));

export const startScript = (name: string, args: number[]): Promise<boolean> =>
    carryOut(() => ask("cob-start", { name, args, report: true }));

export const resetScript = (): Promise<boolean> => carryOut(() => ask("cob-reset", { report: true }));

export async function stopThreads(): Promise<void> {
    await carryOut(async () => { await ask("cob-stop-all"); return {}; });
    void inspection.load();
}

/** Writes variables or unit values; throws what is wrong with them. */
export async function setValues(set: NonNullable<Requests["cob-inspect"]["set"]>): Promise<void> {
    inspection.set(await ask("cob-inspect", { stackLimit: STACK_LIMIT, set }));
}

/** A request whose reply reports; one that fails says why and changes nothing. Resolves with whether it did succeed. */
export function carryOut(request: () => Promise<{ report?: ScriptReport }>): Promise<boolean> {
    return attempt(request, ({ report: next }) => takeReport(next));
}
