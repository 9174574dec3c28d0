// Lifetime: a back end's process. What scripts did, fetched piece by piece behind the last entry seen.
import { type ReadonlySignal, signal } from "@preact/signals";
import type { TraceEntry } from "protocol";
import { ask } from "../ask";
import { messageOf, newestNext } from "../work/newest";

/** As many as the back end keeps. */
const MAX_ENTRIES = 4_096;

const entriesSignal = signal<readonly TraceEntry[]>([]);
const failureSignal = signal("");
let lastSeq = 0;

export const traceEntries: ReadonlySignal<readonly TraceEntry[]> = entriesSignal;
export const traceFailure: ReadonlySignal<string> = failureSignal;

export const fetchTrace = newestNext(async () => {
    const { entries } = await ask("cob-get-trace", { since: lastSeq });
    failureSignal.value = "";
    if (entries.length === 0) return;
    lastSeq = entries.at(-1)!.seq ?? lastSeq;
    entriesSignal.value = [...entriesSignal.peek(), ...entries].slice(-MAX_ENTRIES);
}, (error) => { failureSignal.value = messageOf(error); });

export function clearTrace(): void {
    entriesSignal.value = [];
}

/** A new process counts from 1 again. */
export function resetTrace(): void {
    lastSeq = 0;
    clearTrace();
}
