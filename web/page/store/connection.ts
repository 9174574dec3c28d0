// Lifetime: the page. The back end's process, its log, what is said aloud, what is kept for the next time.
import { computed } from "@preact/signals";
import { ask, connect } from "../ask";
import type { ServerEvent, ServerStart } from "../../wire";
import { type LogLine, readLogLine } from "../work/log_lines";
import { state } from "./state";

export type EditorState =
    | { state: "connecting" | "lost" }
    | { state: "alive"; pid: number }
    | { state: "ended" | "failed"; reason: string };

const MAX_LOG_LINES = 2_000;

const [editor, setEditor] = state<EditorState>({ state: "connecting" });
const [log, setLog] = state<readonly LogLine[]>([]);
const [kept, setKept] = state<Readonly<Record<string, unknown>>>({});
let logged = 0;
let complaint = "";

export { editor, kept, log };
export const isAlive = computed(() => editor.value.state === "alive");
/** The newest of what a screen reader should tell: stops, saves, failures. The status bar shows it too. */
export const [said, say] = state("");
export const clearLog = (): void => setLog([]);

/** Says what went wrong, until something succeeds. */
export function complain(text: string): void {
    complaint = text;
    say(text);
}

export function endComplaint(): void {
    if (complaint !== "" && said.peek() === complaint) say("");
}

/** Keeps a setting for the next time. */
export function keep(key: string, value: unknown): void {
    setKept({ ...kept.peek(), [key]: value });
    void ask("server-keep", { key, value }).catch(() => say(`could not keep ${key} for the next time`));
}

export function restartEditor(): void {
    void ask("server-restart").catch(() => {}); // the state tells
}

interface Lives {
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
                setKept(start.kept);
                lives.started(start);
            });
        },
        lost() { setEditor({ state: "lost" }); },
        event(event: ServerEvent) {
            if (event.event === "log")
                setLog([...log.peek(),
                    ...event.lines.map((text) => readLogLine(text, ++logged))].slice(-MAX_LOG_LINES));
            if (event.event === "files-changed") lives.filesChanged(event.paths);
            if (event.event !== "editor") return;
            setEditor(event);
            if (event.state === "alive" && isStarted) lives.revived();
            if (event.state === "ended") say(`${event.reason}; it is started again`);
        },
    });
}
