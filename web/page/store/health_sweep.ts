// Lifetime: the opened roots. The health of every unit, looked at one after the other in the background.
import { effect } from "@preact/signals";
import { ask, IN_BACKGROUND } from "../ask";
import { newestNext } from "../work/newest";
import { withPlurals } from "../work/words";
import { isAlive } from "./connection";
import { generation, units } from "./roots";
import { state } from "./state";

interface ListedHealth {
    status: "ok" | "warn" | "missing";
    verdict: string;
}

/** Each unit's row is drawn anew only in portions: a signal's value is replaced as a whole. */
const PORTION = 8;

const [found, setFound] = state<ReadonlyMap<string, ListedHealth>>(new Map());

export const healthOf = (name: string): ListedHealth | undefined => found.value.get(name);

const sweep = newestNext(async () => {
    const asked = generation.peek();
    const listed = units.peek();
    const names = new Set(listed.map(({ name }) => name));
    // what was found before stays in sight until it is looked at again
    const next = new Map([...found.peek()].filter(([name]) => names.has(name)));
    for (const [i, { name }] of listed.entries()) {
        await idle();
        if (asked !== generation.peek() || !isAlive.peek()) return;
        const seen = await look(name);
        if (seen) next.set(name, seen);
        if (i % PORTION === 0) setFound(new Map(next));
    }
    setFound(next);
});

/** A unit that cannot be loaded has a report, too: whatever fails here tells nothing of the unit. */
async function look(name: string): Promise<ListedHealth | undefined> {
    try {
        const { summary } = await ask("unit-health", { name }, IN_BACKGROUND);
        const status = summary.missing > 0 ? "missing" : summary.warnings > 0 ? "warn" : "ok";
        return { status, verdict: withPlurals(summary.verdict) };
    } catch {
        return undefined;
    }
}

/** What the user does comes first. */
const idle = (): Promise<unknown> => new Promise((resolve) =>
    "requestIdleCallback" in window ? requestIdleCallback(resolve, { timeout: 1_000 }) : setTimeout(resolve, 20));

/** Sweeps whenever the list has changed. */
export function startHealthSweep(): void {
    effect(() => {
        if (generation.value > 0 && isAlive.value) void sweep();
    });
}
