// Lifetime: a script that runs, from load to load. Its pose and stops, the clock that drives it, its insides.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { Inspection, Requests, ScriptReport } from "protocol";
import { ask } from "../ask";
import { messageOf, newestNext } from "../work/newest";
import { createClock } from "../work/clock";
import { say } from "./connection";
import { resource } from "./resource";

/** How often threads and variables are shown anew while a script runs. */
const INSPECT_MS = 250;
/** Of a stack its newest values. */
const STACK_LIMIT = 16;

const reportSignal = signal<ScriptReport | undefined>(undefined);
const playingSignal = signal(false);
const speedSignal = signal(1);
const failureSignal = signal("");
let age = 0;
let inspectedAt = 0;

/** Where the script is: the pose, whether it stopped, where. None for a unit without a script. */
export const report: ReadonlySignal<ScriptReport | undefined> = reportSignal;
export const isPlaying: ReadonlySignal<boolean> = playingSignal;
export const isStopped = computed(() => reportSignal.value?.isPaused === true);
/** Ticks a thirtieth of a second. */
export const speed: ReadonlySignal<number> = speedSignal;
/** Why the last wish could not be carried out. */
export const runFailure: ReadonlySignal<string> = failureSignal;
export const SPEEDS = [0.25, 0.5, 1, 2, 4] as const;

export const inspection = resource<Inspection>(() => ask("cob-inspect", { stackLimit: STACK_LIMIT }));

/** Another unit, or the same from its start. */
export function resetRun(first: ScriptReport | undefined): void {
    age++;
    batch(() => {
        reportSignal.value = undefined;
        failureSignal.value = "";
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
    reportSignal.value = next;
    if (next.isPaused) {
        playingSignal.value = false;
        say(placeOfStop(next));
    }
    const now = Date.now();
    if (playingSignal.peek() && now - inspectedAt < INSPECT_MS) return;
    inspectedAt = now;
    void inspection.load();
}

export function setSpeed(value: number): void {
    speedSignal.value = value;
}

export function pause(): void {
    playingSignal.value = false;
    if (reportSignal.peek()) void inspection.load();
}

/** Runs on: from a stop to the next, else as time passes. */
export async function play(): Promise<void> {
    if (!reportSignal.peek()) return;
    if (isStopped.peek()) await resume("cob-continue");
    if (playingSignal.peek() || isStopped.peek()) return;
    playingSignal.value = true;
    await followTime();
}

export function stepTick(): Promise<void> {
    return carryOut(() => ask("cob-tick", { ticks: 1, report: true }));
}

export function resume(type: "cob-continue" | "cob-step-instruction"): Promise<void> {
    return carryOut(() => ask(type, { report: true }));
}

export function startScript(name: string, args: number[]): Promise<void> {
    return carryOut(() => ask("cob-start", { name, args, report: true }));
}

export function resetScript(): Promise<void> {
    return carryOut(() => ask("cob-reset", { report: true }));
}

export async function stopThreads(): Promise<void> {
    await carryOut(async () => { await ask("cob-stop-all"); return {}; });
    void inspection.load();
}

/** Writes variables or unit values; throws what is wrong with them. */
export async function setValues(set: NonNullable<Requests["cob-inspect"]["set"]>): Promise<void> {
    inspection.set(await ask("cob-inspect", { stackLimit: STACK_LIMIT, set }));
}

/** A request whose reply reports; one that fails says why and changes nothing. */
export async function carryOut(request: () => Promise<{ report?: ScriptReport }>): Promise<void> {
    const asked = age;
    try {
        const { report: next } = await request();
        if (asked !== age) return;
        failureSignal.value = "";
        takeReport(next);
    } catch (error) {
        if (asked === age) failureSignal.value = messageOf(error);
    }
}

/** One request in flight; as many ticks as are due, none while the page is not seen. */
const followTime = newestNext(async () => {
    const clock = createClock();
    while (playingSignal.peek()) {
        const ticks = clock.due(await nextFrame(), speedSignal.peek());
        if (ticks === 0) continue;
        const asked = age;
        await carryOut(() => ask("cob-tick", { ticks, report: true }));
        if (failureSignal.peek() !== "" || (asked === age && !reportSignal.peek())) playingSignal.value = false;
    }
});

const nextFrame = (): Promise<number> => new Promise(requestAnimationFrame);
