// Lifetime: a back end's process. What scripts did, fetched piece by piece behind the last entry seen.
import type { TraceEntry } from "protocol";
import { ask } from "../ask";
import { newestNext } from "../work/newest";
import { state, wishes } from "./state";

/** As many as the back end keeps. */
const MAX_ENTRIES = 4_096;

const [traceEntries, setEntries] = state<readonly TraceEntry[]>([]);
const { failure: traceFailure, attempt, forget } = wishes();
let lastSeq = 0;

export { traceEntries, traceFailure };

export const fetchTrace = newestNext(async () => {
    await attempt(() => ask("cob-get-trace", { since: lastSeq }), ({ entries }) => {
        if (entries.length === 0) return;
        lastSeq = entries.at(-1)!.seq ?? lastSeq;
        setEntries([...traceEntries.peek(), ...entries].slice(-MAX_ENTRIES));
    });
});

export const clearTrace = (): void => setEntries([]);

/** A new process counts from 1 again. */
export function resetTrace(): void {
    forget();
    lastSeq = 0;
    clearTrace();
}
