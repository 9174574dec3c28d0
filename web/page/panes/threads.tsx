import { useSignal } from "@preact/signals";
import type { Thread } from "protocol";
import { inspection, isPlaying, isStopped, report, stopThreads } from "../store/run";
import { running } from "../store/script";
import { selectedThread, selectThread } from "../store/selected_thread";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { List } from "../widgets/list";
import { States } from "../widgets/states";
import { spanAt } from "../work/lines";
import { counted } from "../work/words";

/** Who runs, who waits and for what. */
export function ThreadsPane() {
    const paused = report.value?.pausedThread;
    const isWide = useSignal(false);
    return (
        <States of={inspection.shown.value} empty="Threads of the unit's script come here." retry={inspection.load}>
            {({ threads }) => (
                <div class="pane">
                    <List label="Threads" items={threads} keyOf={(thread) => String(thread.id)} selected={String(selectedThread.value?.id ?? "")}
                        onSelect={(thread) => selectThread(thread.id)} textOf={(thread) => thread.script}
                        empty="No thread runs. Start a script below the 3D view."
                        columns={[
                            { title: "Id", width: "32px", isNumber: true, cell: (thread) => thread.id },
                            { title: "Script", width: "minmax(0, 1fr)", cell: (thread) => <span title={stackOf(thread)}>{isWide.value ? stackOf(thread) : thread.script}</span> },
                            { title: "State", width: "minmax(0, 1.4fr)", cell: (thread) => isStopped.value && thread.id === paused
                                ? <span class="status warn">stopped</span> : stateOf(thread) },
                            { title: "Line", width: "44px", isNumber: true, cell: lineOf },
                        ]} />
                    <div class="foot"><span>{counted(threads.length, "thread")}</span>
                        <Button title="Show who called whom" isPressed={isWide.value} onPress={() => { isWide.value = !isWide.peek(); }}>Calls</Button>
                        <Button title="End every thread; pose and variables stay" disabled={threads.length === 0 && "No thread runs"} onPress={stopThreads}>End all</Button></div>
                </div>
            )}
        </States>
    );
}

const AXES = ["x-axis", "y-axis", "z-axis"];

function stateOf({ state, sleepUntil, waitPiece, waitAxis }: Thread): string {
    const piece = loadedUnit.value?.cobPieceNames[waitPiece] ?? `piece ${waitPiece}`;
    if (state === "sleep") return `sleeps until tick ${sleepUntil}`;
    if (state === "wait-turn") return `waits: ${piece} turns, ${AXES[waitAxis] ?? waitAxis}`;
    if (state === "wait-move") return `waits: ${piece} moves, ${AXES[waitAxis] ?? waitAxis}`;
    return state === "run" ? isPlaying.value ? "runs" : "ready" : state;
}

const stackOf = ({ callStack, script }: Thread): string =>
    callStack.length > 0 ? callStack.map((frame) => frame.script).join(" › ") : script;

function lineOf({ scriptPc }: Thread): string {
    const span = spanAt(running.value?.lineSpans ?? [], scriptPc);
    return span ? String(span.line) : "";
}
