// Lifetime: the page. The back end's process, its log, what is said aloud, what is kept for the next time.
import { computed, type ReadonlySignal, signal } from "@preact/signals";
import { ask, connect } from "../ask";
import type { ServerEvent, ServerStart } from "../../wire";

export type EditorState =
    | { state: "connecting" | "lost" }
    | { state: "alive"; pid: number }
    | { state: "ended" | "failed"; reason: string };

const MAX_LOG_LINES = 2_000;

const editorSignal = signal<EditorState>({ state: "connecting" });
const logSignal = signal<readonly string[]>([]);
const saidSignal = signal("");
const keptSignal = signal<Readonly<Record<string, unknown>>>({});

export const editor: ReadonlySignal<EditorState> = editorSignal;
export const isAlive = computed(() => editorSignal.value.state === "alive");
export const log: ReadonlySignal<readonly string[]> = logSignal;
/** The newest of what a screen reader should tell: stops, saves, failures. The status bar shows it too. */
export const said: ReadonlySignal<string> = saidSignal;
export const kept: ReadonlySignal<Readonly<Record<string, unknown>>> = keptSignal;

export function say(text: string): void {
    saidSignal.value = text;
}

export function clearLog(): void {
    logSignal.value = [];
}

/** Keeps a setting for the next time. */
export function keep(key: string, value: unknown): void {
    keptSignal.value = { ...keptSignal.peek(), [key]: value };
    void ask("server-keep", { key, value }).catch(() => say(`could not keep ${key} for the next time`));
}

export function restartEditor(): void {
    void ask("server-restart").catch(() => {}); // the state tells
}

export interface Lives {
    /** The page is connected for the first time. */
    started(start: ServerStart): void;
    /** There is a new process: what was open is to be opened again. */
    revived(): void;
    filesChanged(paths: string[]): void;
}

export function startConnection(lives: Lives): void {
    let isStarted = false;
    connect({
        opened() {
            if (!isStarted) void ask("server-start").then((start) => {
                isStarted = true;
                keptSignal.value = start.kept;
                lives.started(start);
            });
        },
        lost() { editorSignal.value = { state: "lost" }; },
        event(event: ServerEvent) {
            if (event.event === "log")
                logSignal.value = [...logSignal.peek(), ...event.lines].slice(-MAX_LOG_LINES);
            if (event.event === "files-changed") lives.filesChanged(event.paths);
            if (event.event !== "editor") return;
            editorSignal.value = event;
            if (event.state === "alive" && isStarted) lives.revived();
            if (event.state === "ended") say(`${event.reason}; it is started again`);
        },
    });
}
