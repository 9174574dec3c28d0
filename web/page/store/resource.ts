import { type ReadonlySignal, signal } from "@preact/signals";
import { messageOf, newestNext } from "../work/newest";

/** What a pane shows: each state has a sentence of its own. */
export type Loaded<T> =
    | { state: "empty" }
    | { state: "loading"; before?: T }
    | { state: "failed"; message: string }
    | { state: "ready"; value: T };

interface Resource<T> {
    shown: ReadonlySignal<Loaded<T>>;
    /** Fetches again; what is there stays visible meanwhile. */
    load(): Promise<void>;
    /** Replaces what was fetched: the reply to a change told it. */
    set(value: T): void;
    reset(): void;
}

/**
 * What is fetched of the back end. An answer that was asked for before a `reset` (another unit, other roots, a
 * new editor) is dropped.
 */
export function resource<T>(fetch: () => Promise<T>): Resource<T> {
    const shown = signal<Loaded<T>>({ state: "empty" });
    let age = 0;
    const load = newestNext(async () => {
        const asked = age;
        const before = shown.peek();
        shown.value = before.state === "ready" ? { state: "loading", before: before.value } : { state: "loading" };
        try {
            const value = await fetch();
            if (asked === age) shown.value = { state: "ready", value };
        } catch (error) {
            if (asked === age) shown.value = { state: "failed", message: messageOf(error) };
        }
    });
    return {
        shown, load,
        set(value) { age++; shown.value = { state: "ready", value }; },
        reset() { age++; shown.value = { state: "empty" }; },
    };
}

/** What is there, also while it is fetched anew. */
export function valueOf<T>(loaded: Loaded<T>): T | undefined {
    return loaded.state === "ready" ? loaded.value : loaded.state === "loading" ? loaded.before : undefined;
}
