import { type ReadonlySignal, signal } from "@preact/signals";
import type { Progress } from "../ask";
import { messageOf } from "../work/newest";
import { say } from "./connection";

/** Something that can take long and is asked for by the user. */
export type TaskState =
    | { state: "idle" }
    | { state: "running"; label: string; step?: Progress }
    | { state: "failed"; message: string }
    | { state: "done"; message: string };

export interface Task {
    state: ReadonlySignal<TaskState>;
    /** `work` tells its progress and resolves with what is to be said at the end. A task that runs is not begun again. */
    run(label: string, work: (told: (step: Progress) => void) => Promise<string>): Promise<void>;
    reset(): void;
}

export function task(): Task {
    const state = signal<TaskState>({ state: "idle" });
    return {
        state,
        async run(label, work) {
            if (state.peek().state === "running") return;
            state.value = { state: "running", label };
            try {
                const message = await work((step) => { state.value = { state: "running", label, step }; });
                state.value = { state: "done", message };
                say(message);
            } catch (error) {
                state.value = { state: "failed", message: messageOf(error) };
            }
        },
        reset() { if (state.peek().state !== "running") state.value = { state: "idle" }; },
    };
}
