import { useComputed, useSignal, useSignalEffect } from "@preact/signals";
import type { Conflict } from "protocol";
import { isAlive } from "../store/connection";
import { chooseConflict, chosenConflict, chosenLoser, conflicts, conflictStep, sidesOfConflict } from "../store/conflicts";
import { generation } from "../store/roots";
import { openUnit } from "../store/unit";
import { showTab } from "../store/view";
import { fbi } from "../lang/fbi";
import { Button } from "../widgets/button";
import { Field } from "../widgets/field";
import { List } from "../widgets/list";
import { SideBySide } from "../widgets/side_by_side";
import { Split } from "../widgets/split";
import { States, StatusMark } from "../widgets/states";
import { TaskLine } from "../widgets/task_line";
import { Tree } from "../widgets/tree";
import { valueOf } from "../store/resource";
import { type ConflictNode, conflictTree } from "../work/conflict_tree";
import { counted } from "../work/words";

/** What is declared twice, and what leads to nothing, in all that is mounted. */
export function ConflictsPane() {
    useSignalEffect(() => { if (isAlive.value && generation.value > 0) void conflicts.load(); });
    const search = useSignal("");
    const nodes = useComputed(() => conflictTree(valueOf(conflicts.shown.value)?.findings ?? [], search.value));
    const step = conflictStep.value;
    return (
        <div class="pane flow">
            <div class="toolbar">
                <Field label="Search conflicts" type="search" isCompact value={search.value} onInput={(text) => { search.value = text; }} />
                <Button title="Look again" onPress={conflicts.load}>Again</Button>
                {conflicts.shown.value.state === "ready" && <span class="quiet">
                    {counted(conflicts.shown.value.value.findings.length, "conflict")} in {counted(conflicts.shown.value.value.unitCount, "unit")}</span>}
                {step && <TaskLine of={{ state: "running", label: "Looking at every unit", step }} label="Search for conflicts" />}
            </div>
            <States of={conflicts.shown.value} empty="Open a game: its conflicts stand here." retry={conflicts.load}>
                {() => (
                    <Split id="conflicts" label="Width of the conflicts" usual={460} least={200} most={900} of="before" direction="row">
                        {[
                            <Tree<ConflictNode> label="Conflicts" roots={nodes.value} keyOf={({ key }) => key} childrenOf={({ children }) => children}
                                textOf={({ text }) => text} cell={(node) => <Row node={node} />} onSelect={({ conflict }) => void chooseConflict(conflict)}
                                onActivate={({ conflict }) => { if (conflict) void openUnitOf(conflict); }}
                                empty={search.value ? "No conflict says that." : "Nothing is declared twice and nothing is missing."} />,
                            <Details />,
                        ]}
                    </Split>
                )}
            </States>
        </div>
    );
}

const statusOf = (severity: Conflict["severity"]): "warn" | "info" => severity;

function Row({ node: { conflict, severity, text, note } }: { node: ConflictNode }) {
    return conflict ? <><span>{text}</span><span class="quiet" title={note}>{note}</span></>
        : <><StatusMark status={statusOf(severity)} word={text} /><span class="quiet end">{note}</span></>;
}

function Details() {
    const one = chosenConflict.value;
    if (!one) return <p class="empty">Choose a conflict: whose file the game takes stands here.</p>;
    const unitName = one.kind === "weapon-name-collision" ? undefined : one.unitName;
    return (
        <section class="pane flow" aria-label="Conflict">
            <p class="toolbar">
                <StatusMark status={statusOf(one.severity)} word={one.detail} />
                {unitName && <Button title={`Load ${unitName} and look at its health`} onPress={() => openUnitOf(one)}>Open {unitName}</Button>}
            </p>
            {"files" in one ? <Sides files={one.files} /> : <p class="detail">{one.unitFile}{one.asset && ` refers to ${one.asset}`}</p>}
        </section>
    );
}

interface FileRow {
    location: string;
    index: number;
}

function Sides({ files }: { files: readonly string[] }) {
    const rows = files.map((location, index): FileRow => ({ location, index }));
    const loser = chosenLoser.value;
    return (
        <div class="sides">
            <List<FileRow> label="Declared in" items={rows} keyOf={({ index }) => String(index)} selected={String(loser)}
                onSelect={({ index }) => { if (index > 0) void chooseConflict(chosenConflict.peek(), index); }} empty="" columns={[
                    { width: "64px", cell: ({ index }) => index === 0 ? <StatusMark status="ok" word="wins" /> : <span class="quiet">hidden</span> },
                    { width: "minmax(0, 1fr)", cell: ({ location }) => <span title={location}>{location}</span> },
                ]} />
            <States of={sidesOfConflict.shown.value} empty="" retry={sidesOfConflict.load}>
                {(sides) => <SideBySide left={sides.winner} right={sides.loser} language={fbi}
                    leftLabel={`Wins: ${files[0] ?? ""}`} rightLabel={`Hidden: ${files[loser] ?? ""}`} />}
            </States>
        </div>
    );
}

async function openUnitOf(one: Conflict): Promise<void> {
    if (one.kind === "weapon-name-collision") return;
    showTab("health");
    await openUnit(one.unitName);
}
