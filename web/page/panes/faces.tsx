import { useComputed, useSignalEffect } from "@preact/signals";
import type { ModelFace, ModelPiece } from "protocol";
import { FixForm } from "../parts/fix_form";
import {
    chosenFinding, chooseFinding, details, editFailure, editState, findDuplicates, findings, goToStep, lookThrough, pickedFaces, pickFace,
    pickFaces, redo, revertModel, saveModel, steps, undo,
} from "../store/model_edit";
import { colorOf } from "../store/palette";
import { valueOf } from "../store/resource";
import { type FaceMark, selectedPiece, unit } from "../store/unit";
import { Button } from "../widgets/button";
import { Choice } from "../widgets/field";
import { List } from "../widgets/list";
import { Failure, States, StatusMark } from "../widgets/states";
import { faceKey } from "../work/findings";
import { counted } from "../work/words";

/** The model's faces: what is found at them, and what mends it. */
export function FacesPane() {
    useSignalEffect(() => { if (unit.value.state === "ready" && details.shown.value.state === "empty") void details.load(); });
    return (
        <div class="pane" data-region="model">
            <Steps />
            <States of={details.shown.value} empty="Choose a unit: its faces are listed here." retry={details.load}>
                {(pieces) => (
                    <div class="three">
                        <Findings />
                        <Faces pieces={pieces} />
                        <FixForm />
                    </div>
                )}
            </States>
            {editFailure.value && <Failure message={editFailure.value} />}
        </div>
    );
}

/** What was done, and the ways back. */
function Steps() {
    const { undoDepth, redoDepth, isDirty } = editState.value;
    const labels = steps.value;
    const nothing = isDirty ? false : "Nothing is changed";
    return (
        <div class="toolbar" role="toolbar" aria-label="Model">
            <Button title={`Undo ${labels[undoDepth - 1] ?? ""}`.trim()} verb="undo-model" disabled={undoDepth === 0 && "Nothing to undo"} onPress={undo}>Undo</Button>
            <Button title={`Redo ${labels[undoDepth] ?? ""}`.trim()} verb="redo-model" disabled={redoDepth === 0 && "Nothing to redo"} onPress={redo}>Redo</Button>
            <Choice label="History" isCompact value={String(undoDepth)} onChange={(value) => void goToStep(Number(value))}
                title="Go back to any step, or forward again"
                options={[{ value: "0", text: "as it was loaded" }, ...labels.map((label, i) => ({ value: String(i + 1), text: `${i + 1}. ${label}` }))]} />
            <Button title="Save the model; one of the base game goes into the mod" verb="save-model" disabled={nothing} onPress={saveModel}>Save</Button>
            <Button title="Give every step up" verb="revert-model" disabled={nothing} onPress={revertModel}>Revert</Button>
            {isDirty && <b>changed</b>}
            <span class="apart" />
            <Button title="Find faces that are there twice" verb="find-duplicates" onPress={findDuplicates}>Duplicates</Button>
            <Button title="Find faces that one looks through from above" verb="look-through" onPress={() => lookThrough("game")}>Look through</Button>
            <Button title="Find faces that one looks through from any side" onPress={() => lookThrough("all")}>From all sides</Button>
        </div>
    );
}

function Findings() {
    const chosen = chosenFinding.value;
    return (
        <List label="Findings" items={findings.value} keyOf={(one) => one.title} selected={chosen?.title} onSelect={chooseFinding}
            onKey={(event) => event.key === "Escape" && (chooseFinding(undefined), true)} textOf={(one) => one.title}
            empty="Nothing is wrong with these faces. The buttons at the right look closer."
            columns={[
                { title: "Found", width: "minmax(0, 1fr)", cell: (one) =>
                    <span title={one.title}><StatusMark status={one.status} word={one.title} /></span> },
                { title: "Faces", width: "44px", isNumber: true, cell: (one) => one.faces.length || "" },
            ]} />
    );
}

interface Row {
    mark: FaceMark;
    piece: ModelPiece;
    face: ModelFace;
}

/** Those of the chosen finding, else of the chosen piece, else all. */
function Faces({ pieces }: { pieces: readonly ModelPiece[] }) {
    const rows = useComputed((): Row[] => {
        const wanted = chosenFinding.value && chosenFinding.value.faces.length > 0 ? new Set(chosenFinding.value.faces.map(faceKey)) : undefined;
        const piece = selectedPiece.value;
        return (valueOf(details.shown.value) ?? pieces).flatMap((one) => !wanted && piece !== undefined && one.index !== piece ? []
            : one.faces.map((face): Row => ({ piece: one, face, mark: { pieceIndex: one.index, primIndex: face.primIndex } })))
            .filter(({ mark }) => !wanted || wanted.has(faceKey(mark)));
    });
    const picked = pickedFaces.value;
    const keys = new Set(picked.map(faceKey));
    const last = picked.at(-1);
    const shares = chosenFinding.value?.shares;
    return (
        <div class="pane">
            <List label="Faces" items={rows.value} keyOf={(row) => faceKey(row.mark)} selected={last && faceKey(last)}
                onSelect={({ mark }) => pickFace(mark, false)}
                several={{ keys, toggle: ({ mark }) => pickFace(mark, true), choose: (some) => pickFaces(some.map(({ mark }) => mark)) }}
                onKey={(event) => event.key === "Escape" && (pickFaces([]), true)}
                empty="This piece has no faces."
                columns={[
                    { title: "Piece", width: "minmax(56px, 0.8fr)", cell: ({ piece }) => piece.name },
                    { title: "Face", width: "36px", isNumber: true, cell: ({ face }) => face.primIndex },
                    { title: "Looks", width: "minmax(72px, 0.8fr)", cell: ({ face }) => <Looks face={face} /> },
                    { title: "Corners", width: "52px", isNumber: true, cell: ({ face }) => face.indices.length },
                    { title: "Area", width: "56px", isNumber: true, cell: ({ face }) => face.area.toFixed(1) },
                    { title: shares ? "Share" : "", width: shares ? "44px" : "0", isNumber: true, cell: ({ mark }) => percent(shares?.get(faceKey(mark))) },
                    { title: "", width: "minmax(0, 1.4fr)", cell: ({ face }) => <span class="quiet" title={wordsOf(face)}>{wordsOf(face)}</span> },
                ]} />
            <div class="foot">
                <span>{counted(rows.value.length, "face")}{picked.length > 0 && `, ${picked.length} chosen`}</span>
                <Button title="Choose every face of this list (Ctrl+A)" disabled={rows.value.length === 0 && "No faces"}
                    onPress={() => pickFaces(rows.peek().map(({ mark }) => mark))}>Choose all</Button>
                <Button title="Choose none (Escape)" disabled={picked.length === 0 && "None is chosen"} onPress={() => pickFaces([])}>None</Button>
            </div>
        </div>
    );
}

function Looks({ face: { texture, color } }: { face: ModelFace }) {
    if (texture !== undefined) return <>{texture}</>;
    if (color === undefined) return <span class="quiet">none</span>;
    return <><span class="swatch" style={{ background: colorOf(color) }} /> {color}</>;
}

const percent = (share: number | undefined): string => share === undefined ? "" : `${Math.round(share * 100)} %`;

function wordsOf({ isSelection, isTwin, twinOf, issues }: ModelFace): string {
    const back = twinOf === undefined ? "back" : `back of ${twinOf}`;
    return [isSelection ? "selection plate" : "", isTwin ? back : "", ...issues].filter(Boolean).join(", ");
}
