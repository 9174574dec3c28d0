import { type Signal, useComputed, useSignal } from "@preact/signals";
import { useMemo } from "preact/hooks";
import type { Extension } from "@codemirror/state";
import type { Documents, SavedText } from "../store/document";
import { closeDialog } from "../store/view";
import { Button } from "../widgets/button";
import { CodeEditor } from "../widgets/code_editor";
import { Dialog } from "../widgets/dialog";
import { Choice as ChoiceField } from "../widgets/field";
import { type Choice, isConflict, merge3, mergedText, type MergePart } from "../work/merge";
import { counted } from "../work/words";

/** As they are when the dialog opens; saving notices what changes later. */
function bothChanges<S extends SavedText, F>(of: Documents<S, F>) {
    const { unit, base, text, theirs } = of.shown.peek() ?? {};
    return { unit, theirs, parts: theirs && base && text !== undefined ? merge3(base.text, text, theirs.text) : [] };
}

/** Our edits and another program's, brought together; where both changed the same lines the user says whose hold. */
export function MergeDialog<S extends SavedText, F>({ of, language }: { of: Documents<S, F>; language: Extension }) {
    const { unit, theirs, parts } = useMemo(() => bothChanges(of), []);
    const conflicts = parts.filter(isConflict);
    const choices = useSignal<readonly Choice[]>(conflicts.map(() => "mine"));
    const merged = useComputed(() => mergedText(parts, choices.value));
    if (!theirs)
        return <Dialog title="Nothing to merge" onClose={closeDialog}><p>The file is as it was read.</p></Dialog>;
    return (
        <Dialog title={`Merge two changes of ${unit}`} onClose={closeDialog} actions={<>
            <Button title="Decide later" onPress={closeDialog}>Cancel</Button>
            <Button kind="main" title="Go on with the merged text; it is saved when you save"
                onPress={() => { of.takeMerged(merged.peek(), theirs); closeDialog(); }}>Take the merged text</Button>
        </>}>
            <p>{conflicts.length === 0 ? "The two changes touch different lines: both are in the merged text."
                : `Both changed ${counted(conflicts.length, "place")}. Choose for each whose lines hold.`}</p>
            {conflicts.map((part, i) => <Conflict key={i} part={part} number={i} choices={choices} />)}
            <div class="field"><span>Merged text</span>
                <div class="tall framed">
                    <CodeEditor label="Merged text" text={merged} extensions={language} />
                </div></div>
        </Dialog>
    );
}

function Conflict({ part, number, choices }: {
    part: MergePart & { kind: "conflict" }; number: number; choices: Signal<readonly Choice[]>;
}) {
    const choose = (value: Choice): void => {
        choices.value = choices.peek().map((one, i) => i === number ? value : one);
    };
    const text = (lines: readonly string[]): string => lines.map((line) => line.trim()).join("\n") || "(nothing)";
    return (
        <section class="merge-part" aria-label={`Conflict ${number + 1}`}>
            <pre><b>before</b>{"\n"}{text(part.base)}</pre>
            <pre><b>yours</b>{"\n"}{text(part.mine)}</pre>
            <pre><b>theirs</b>{"\n"}{text(part.theirs)}</pre>
            <ChoiceField label={`Lines of conflict ${number + 1}`} isCompact value={choices.value[number] ?? "mine"}
                onChange={(value) => choose(value as Choice)} options={[{ value: "mine", text: "Keep yours" },
                    { value: "theirs", text: "Take theirs" }, { value: "both", text: "Yours, then theirs" }]} />
        </section>
    );
}
