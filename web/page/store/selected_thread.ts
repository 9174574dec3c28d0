// Lifetime: a script that runs. Whose variables are shown.
import { computed, signal } from "@preact/signals";
import { valueOf } from "./resource";
import { inspection, report } from "./run";

const chosen = signal<number | undefined>(undefined);

/** The chosen one, else the one that stopped, else the first. */
export const selectedThread = computed(() => {
    const threads = valueOf(inspection.shown.value)?.threads ?? [];
    const byId = (id: number | undefined) => threads.find((thread) => thread.id === id);
    return byId(report.value?.isPaused ? chosen.value ?? report.value.pausedThread : chosen.value) ??
        byId(report.value?.pausedThread) ?? threads[0];
});

export function selectThread(id: number): void {
    chosen.value = id;
}
