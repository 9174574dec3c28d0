import { unifiedMergeView } from "@codemirror/merge";
import { Compartment } from "@codemirror/state";
import type { EditorView } from "@codemirror/view";
import { effect } from "@preact/signals";
import type { BosDiagnostic } from "protocol";
import { breakpointGutter, showBreakpoints } from "../editor/breakpoint_gutter";
import { setScriptEditor, showLine } from "../editor/cursor";
import { showProblems } from "../editor/problems";
import { showStop, stoppedLineMark } from "../editor/stopped_line";
import { bos } from "../lang/bos";
import {
    breakpoints, diagnostics, edit, endTry, isComparing, isEdited, isTemporary, moveBreakpoints, original, revertText, saveText,
    scriptFailure, scriptOwner, scriptPath, source, stoppedLine, text, toggleBreakpoint, toggleComparing, tryText,
} from "../store/script";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { CodeEditor } from "../widgets/code_editor";
import { List } from "../widgets/list";
import { States, StatusMark } from "../widgets/states";

/** The script's source: stop in it, change it, try it, save it. */
export function ScriptPane() {
    const hasNone = loadedUnit.value !== undefined && !loadedUnit.value.report;
    const unedited = isEdited.value ? false : "Nothing is changed";
    return (
        <section class="script" aria-label="Script">
            <div class="toolbar">
                <Button title="Run this text, write nothing" verb="try-script" disabled={source.shown.value.state !== "ready" && "No script"} onPress={tryText}>Try</Button>
                <Button title="Save the script and its code" verb="save-script" disabled={unedited} onPress={saveText}>Save</Button>
                <Button title="Give the changes up" disabled={unedited} onPress={revertText}>Revert</Button>
                <Button title="Show what differs from the saved script" isPressed={isComparing.value} onPress={toggleComparing}>Compare</Button>
                <Origin />
            </div>
            {isTemporary.value && (
                <div class="banner" role="status">
                    <StatusMark status="warn" word="temporary: nothing is written" />
                    <Button title="Run the unit's own script again" onPress={endTry}>Back</Button>
                    <Button title="Save the script and its code" disabled={unedited} onPress={saveText}>Save</Button>
                </div>
            )}
            {scriptFailure.value && <p class="failure" role="alert">{scriptFailure.value}</p>}
            {hasNone ? <p class="empty">This unit has no script.</p> : <States of={source.shown.value} empty="Choose a unit: its script comes here." retry={source.load}>
                {() => <CodeEditor key={scriptOwner.value} label="Script source" text={text} onChange={edit} extensions={EXTENSIONS} follow={followStore} />}
            </States>}
            {diagnostics.value.length > 0 && <Problems found={diagnostics.value} />}
        </section>
    );
}

function Origin() {
    const known = source.shown.value;
    if (known.state !== "ready") return null;
    const { value } = known;
    return <span class="quiet" title={value.origin === "file" ? value.path : "made of the unit's code; save it to have it as a file"}>
        {value.origin === "file" ? value.path : "disassembled"}{isEdited.value && <b> · changed</b>}
    </span>;
}

function Problems({ found }: { found: readonly BosDiagnostic[] }) {
    return (
        <div class="problems">
            <List label="Problems" items={found} keyOf={(one) => `${one.file}:${one.line}:${one.column}:${one.code}:${one.message}`}
                onSelect={(one) => showLine(one.line)} empty=""
                columns={[
                    { width: "auto", cell: (one) => <StatusMark status={one.severity === "error" ? "missing" : "warn"} word={one.severity} /> },
                    { width: "1fr", cell: (one) => <span title={one.message}>{one.message}</span> },
                    { width: "auto", cell: (one) => <span class="quiet">line {one.line}</span> },
                ]} />
        </div>
    );
}

const comparing = new Compartment();
const EXTENSIONS = [
    breakpointGutter((line) => void toggleBreakpoint(line), moveBreakpoints), stoppedLineMark, bos, comparing.of([]),
];

function followStore(view: EditorView): () => void {
    const ends = [
        setScriptEditor(view),
        effect(() => showBreakpoints(view, breakpoints.value)),
        effect(() => showStop(view, stoppedLine.value)),
        effect(() => showProblems(view, diagnostics.value, scriptPath.value)),
        effect(() => {
            const difference = isComparing.value
                ? unifiedMergeView({ original: original.value, mergeControls: false, highlightChanges: true }) : [];
            view.dispatch({ effects: comparing.reconfigure(difference) });
        }),
    ];
    return () => ends.forEach((end) => end());
}
