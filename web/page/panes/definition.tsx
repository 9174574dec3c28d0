import { useSignal, useSignalEffect } from "@preact/signals";
import type { EditorView } from "@codemirror/view";
import { effect } from "@preact/signals";
import { isAlive } from "../store/connection";
import { askCopy } from "../store/copy_unit";
import { definitionForm, definitions, removeKey, restoreBackup, setKey } from "../store/definition";
import { generation } from "../store/roots";
import { unit, wantedUnit } from "../store/unit";
import { showWarnings } from "../editor/problems";
import { fbi } from "../lang/fbi";
import { documentFault, DocumentState } from "../parts/document_state";
import { Button } from "../widgets/button";
import { CodeEditor } from "../widgets/code_editor";
import { Check, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { Split } from "../widgets/split";
import { StatusMark } from "../widgets/states";
import { TextCell } from "../widgets/value_cell";
import { type DefinitionRow, valueFault } from "../work/definition";
import { counted } from "../work/words";

/** The unit's definition, as a form and as the text that it is. */
export function DefinitionPane() {
    useSignalEffect(() => {
        const isThere = unit.value.state === "ready" || unit.value.state === "failed";
        if (isAlive.value && generation.value > 0 && isThere) void definitions.open(wantedUnit.peek());
    });
    return (
        <DocumentState of={definitions} empty="Choose a unit: its definition stands here.">
            <div class="pane flow" data-region="definition">
                <Toolbar />
                {documentFault(definitions) ?? <Warnings />}
                <Split id="definition" label="Width of the form" usual={460} least={240} most={900} of="before"
                    direction="row">
                    {[<Form />, <CodeEditor key={definitions.number.value} label="Definition text"
                        text={definitions.text} onChange={definitions.edit} extensions={fbi}
                        follow={followWarnings} />]}
                </Split>
            </div>
        </DocumentState>
    );
}

function Toolbar() {
    const isEdited = definitions.isEdited.value;
    const unedited = isEdited ? false : "Nothing is changed";
    const base = definitions.shown.value?.base;
    const covered = counted(base?.backupCovers.length ?? 0, "unit");
    return (
        <div class="toolbar">
            <Button title="Save the definition" verb="save-definition" disabled={unedited}
                onPress={definitions.save}>Save</Button>
            <Button title="Give the changes up" disabled={unedited} onPress={definitions.revert}>Revert</Button>
            <Button title="Copy the unit into a mod, or under a new name" verb="copy-unit" disabled={!base && "No unit"}
                onPress={() => void askCopy({ unitName: wantedUnit.peek(), isToEdit: false })}>Copy…</Button>
            <Button title={`Bring back what the file was before its first change; it covers ${covered}`}
                disabled={!base?.hasBackup && "There is no backup: the file was never changed here"}
                onPress={restoreBackup}>Restore backup…</Button>
            {base && <span class="quiet" title={`${base.file}, ${base.encoding}`}>
                {base.source.inBaseTa ? "base game, copied into a mod when saved" : base.file}
                {isEdited && <b> · changed</b>}
            </span>}
        </div>
    );
}

function Warnings() {
    const [first, ...rest] = definitions.found.value;
    if (!first) return <p class="none" />;
    return <p class="warnings" role="status"><StatusMark status="warn" word={`line ${first.line}: ${first.message}`} />
        {rest.length > 0 && <span class="quiet"> and {rest.length} more</span>}</p>;
}

function Form() {
    const search = useSignal("");
    const withUnset = useSignal(false);
    const wanted = search.value.trim().toLowerCase();
    const isShown = (row: DefinitionRow): boolean => row.isSet || withUnset.value || wanted !== "";
    const rows = definitionForm.value.filter((row) => isShown(row) && row.key.toLowerCase().includes(wanted));
    return (
        <section class="pane flow" aria-label="Form">
            <div class="toolbar">
                <Field label="Search keys" type="search" isCompact value={search.value}
                    onInput={(text) => { search.value = text; }} />
                <Check label="Unset keys too" title="Show keys with the value that the game takes for them"
                    value={withUnset.value} onChange={(on) => { withUnset.value = on; }} />
            </div>
            <List label="Keys" items={rows} keyOf={({ key }) => key.toLowerCase()} textOf={({ key }) => key} hasControls
                empty={wanted ? "No key is called so." : "The text sets no key of [UNITINFO]."} columns={[
                    { title: "Key", width: "minmax(80px, 1fr)",
                        cell: (row) => <span class={row.isSet ? "" : "quiet"}>{row.key}</span> },
                    { title: "Value", width: "minmax(0, 1.4fr)",
                        cell: (row, isActive) => <Value row={row} isActive={isActive} /> },
                    { title: "Base game", width: "72px", isNumber: true, cell: (row) => row.baseline !== undefined &&
                        <span class="quiet" title={`The base game has ${row.baseline || "nothing"}`}>
                            {row.baseline || "—"}</span> },
                    { width: "26px", cell: (row, isActive) => row.isSet &&
                        <Button kind="icon" title={`Remove ${row.key}`} tabIndex={isActive ? 0 : -1}
                            onPress={() => removeKey(row.key)}>✕</Button> },
                ]} />
        </section>
    );
}

function Value({ row, isActive }: { row: DefinitionRow; isActive: boolean }) {
    const { key, kind, value, isSet } = row;
    const tabIndex = isActive ? 0 : -1;
    if (kind === "flag") return <input type="checkbox" aria-label={key} title={key} tabIndex={tabIndex}
        checked={Number.parseInt(value, 10) !== 0}
        onChange={(event) => setKey(key, event.currentTarget.checked ? "1" : "0")} />;
    return <TextCell label={key} value={value} isActive={isActive} isNumber={kind === "number"} isQuiet={!isSet}
        faultOf={(text) => valueFault(kind, text)} write={(text) => setKey(key, text)} />;
}

const followWarnings = (view: EditorView): (() => void) => effect(() => showWarnings(view, definitions.found.value));
