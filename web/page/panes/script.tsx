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
import { documentFault, DocumentState } from "../parts/document_state";
import {
    breakpoints, endTry, isComparing, isTemporary, moveBreakpoints, original, saveText, scriptPath, scripts,
    stoppedLine, toggleBreakpoint, toggleComparing, tryFailure, tryText,
} from "../store/script";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { CodeEditor } from "../widgets/code_editor";
import { List } from "../widgets/list";
import { Failure, StatusMark } from "../widgets/states";

/** The script's source: stop in it, change it, try it, save it. */
export function ScriptPane() {
    const hasNone = loadedUnit.value !== undefined && !loadedUnit.value.report && !scripts.isEdited.value;
    const unedited = scripts.isEdited.value ? false : "Nothing is changed";
    const found = scripts.found.value;
    return (
        <section class="script" aria-label="Script">
            <div class="toolbar">
                <Button title="Run this text, write nothing" verb="try-script"
                    disabled={!scripts.shown.value && "No script"} onPress={tryText}>Try</Button>
                <Button title="Save the script and its code" verb="save-script" disabled={unedited}
                    onPress={saveText}>Save</Button>
                <Button title="Give the changes up" disabled={unedited} onPress={scripts.revert}>Revert</Button>
                <Button title="Show what differs from the saved script" isPressed={isComparing.value}
                    onPress={toggleComparing}>Compare</Button>
                <Origin />
            </div>
            {isTemporary.value && (
                <div class="banner" role="status">
                    <StatusMark status="warn" word="temporary: nothing is written" />
                    <Button title="Run the unit's own script again" onPress={endTry}>Back</Button>
                    <Button title="Save the script and its code" disabled={unedited} onPress={saveText}>Save</Button>
                </div>
            )}
            {tryFailure.value && <Failure message={tryFailure.value} />}
            {documentFault(scripts)}
            {hasNone ? <p class="empty">This unit has no script.</p>
                : <DocumentState of={scripts} empty="Choose a unit: its script comes here.">
                    <CodeEditor key={scripts.number.value} label="Script source" text={scripts.text}
                        onChange={scripts.edit} extensions={EXTENSIONS} follow={followStore} />
                </DocumentState>}
            {found.length > 0 && <Problems found={found} />}
        </section>
    );
}

function Origin() {
    const base = scripts.shown.value?.base;
    if (!base) return null;
    const origin = base.path === undefined ? "made of the unit's code; save it to have it as a file" : base.file;
    return <span class="quiet" title={origin}>
        {base.path ?? "disassembled"}{scripts.isEdited.value && <b> · changed</b>}
    </span>;
}

function Problems({ found }: { found: readonly BosDiagnostic[] }) {
    return (
        <div class="problems">
            <List label="Problems" items={found}
                keyOf={(one) => `${one.file}:${one.line}:${one.column}:${one.code}:${one.message}`}
                onSelect={(one) => showLine(one.line)} empty=""
                columns={[
                    { width: "auto", cell: ({ severity }) =>
                        <StatusMark status={severity === "error" ? "missing" : "warn"} word={severity} /> },
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
        effect(() => showProblems(view, scripts.found.value, scriptPath.value)),
        effect(() => {
            const difference = isComparing.value
                ? unifiedMergeView({ original: original.value, mergeControls: false, highlightChanges: true }) : [];
            view.dispatch({ effects: comparing.reconfigure(difference) });
        }),
    ];
    return () => ends.forEach((end) => end());
}
