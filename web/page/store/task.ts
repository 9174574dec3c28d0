import type { ReadonlySignal } from "@preact/signals";
import type { Progress } from "../ask";
import { messageOf } from "../work/newest";
import { say } from "./connection";
import { state } from "./state";

/** Something that can take long and is asked for by the user. */
export type TaskState =
    | { state: "idle" }
    | { state: "running"; label: string; step?: Progress }
    | { state: "failed"; message: string }
    | { state: "done"; message: string; isPartial: boolean };

interface Task {
    state: ReadonlySignal<TaskState>;
    /**
     * `work` tells its progress and resolves with what is to be said at the end, and whether only a part was possible.
     * A task that runs is not begun again.
     */
    run(label: string, work: (told: (step: Progress) => void) => Promise<string | Partly>): Promise<void>;
    reset(): void;
}

export interface Partly {
    partly: string;
}

export function task(): Task {
    const [now, set] = state<TaskState>({ state: "idle" });
    return {
        state: now,
        async run(label, work) {
            if (now.peek().state === "running") return;
            set({ state: "running", label });
            try {
                const result = await work((step) => set({ state: "running", label, step }));
                const isPartial = typeof result === "object";
                const message = isPartial ? result.partly : result;
                set({ state: "done", message, isPartial });
                say(message);
            } catch (error) {
                set({ state: "failed", message: messageOf(error) });
            }
        },
        reset() { if (now.peek().state !== "running") set({ state: "idle" }); },
    };
}
