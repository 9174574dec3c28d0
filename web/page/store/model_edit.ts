// Lifetime: the working model of the loaded unit. Its steps, what was found at it, the faces that are chosen.
import { batch, computed, effect } from "@preact/signals";
import type { EditState, ModelFix, ModelPiece, ModelSummary, Replies } from "protocol";
import { ask } from "../ask";
import { type Finding, faceKey, findingOfBleedThrough, findingsOf, findingsOfDuplicates } from "../work/findings";
import { buildFix, cornersOf, facesConcerned, type FixInput, type FixKind, type FixWord, FIX_FOR } from "../work/model_fixes";
import { messageOf } from "../work/newest";
import { asSaved, NO_FIXES, UNKNOWN_FIXES, type UnsavedFixes, withAgain, withFix, withoutLast } from "../work/unsaved_fixes";
import { counted } from "../work/words";
import { isAlive, say } from "./connection";
import { askUser, write } from "./question";
import { resource, valueOf } from "./resource";
import { resetScript } from "./run";
import { state, wishes } from "./state";
import {
    type FaceMark, guardLeaving, loadedUnit, markedFaces, markFaces, reloadModel, selectedPiece, selectPiece, takeSource, unit,
} from "./unit";
import { tab } from "./view";

/** As many as the back end can undo. */
const MAX_STEPS = 256;
const NO_STEPS: EditState = { undoDepth: 0, redoDepth: 0, isDirty: false };

const [editState, setState] = state<EditState>(NO_STEPS);
/** Labels of the steps, those that are undone too; the first `undoDepth` are made. */
const [steps, setSteps] = state<readonly string[]>([]);
const [analysed, setAnalysed] = state<readonly Finding[]>([]);
const [chosenTitle, setChosen] = state<string | undefined>(undefined);
const [fixWords, setWords] = state<FixInput["words"]>({});
const { failure: editFailure, fail, attempt, forget } = wishes();
let unsaved: UnsavedFixes = NO_FIXES;
/** The pieces of the model as its file has them. */
let savedShape = "";
/** What is to be made again with the next editor. */
let interrupted: { unit: string; shape: string; fixes: readonly ModelFix[] } | undefined;

export { editFailure, editState, fixWords, steps };
/** Faces that were clicked. */
export const [pickedFaces, pickFaces] = state<readonly FaceMark[]>([]);
/** The fix that is prepared; `fixWords` are what is typed for it. */
export const [fixKind, prepareFix] = state<FixKind>("add-twins");

/** Every piece with its faces, as the working model has them. */
export const details = resource<readonly ModelPiece[]>(async () => {
    const { pieces, ...edits } = await ask("model-get-unit-summary");
    setState(edits);
    if (!edits.isDirty) savedShape = shapeOf(pieces);
    // the back end had kept them for a unit that could not be loaded for a while
    else if (unsaved.made?.length === 0) unsaved = UNKNOWN_FIXES;
    return Promise.all(pieces.map(({ index }) => ask("model-get-piece", { piece: index })));
});
const shapeOf = (all: ModelSummary["pieces"]): string =>
    JSON.stringify(all.map(({ name, position, vertexCount, faceCount }) => [name, position, vertexCount, faceCount]));
const shownPieces = computed(() => valueOf(details.shown.value) ?? []);
/** What the model reports, and behind it what the newest analysis found. */
export const findings = computed(() => [...findingsOf(shownPieces.value), ...analysed.value]);
export const chosenFinding = computed(() => findings.value.find(({ title }) => title === chosenTitle.value));
/** The faces that a fix would take: the clicked ones, else those of the chosen finding. */
const targets = computed(() => pickedFaces.value.length > 0 ? pickedFaces.value : chosenFinding.value?.faces ?? []);

export const prepared = computed(() => buildFix(fixKind.value, {
    faces: targets.value, piece: selectedPiece.value, words: fixWords.value,
    position: shownPieces.value[selectedPiece.value ?? -1]?.position ?? [0, 0, 0],
    corners: cornersOf(shownPieces.value, targets.value, selectedPiece.value),
}));
/** The faces that the prepared fix would change. */
export const concerned = computed(() => "fix" in prepared.value ? facesConcerned(prepared.value.fix, shownPieces.value) : []);
/** Faces to light up: while fixes are in front those of the prepared one, else whatever was marked. */
export const litFaces = computed(() =>
    tab.value === "faces" && details.shown.value.state !== "empty" && concerned.value.length > 0 ? concerned.value : markedFaces.value);

export const typeFixWord = (name: FixWord, text: string): void => setWords({ ...fixWords.peek(), [name]: text });

/** A click at a face, or beside the model; `isAdding` keeps those that were clicked before. */
export function pickFace(face: FaceMark | undefined, isAdding: boolean): void {
    batch(() => {
        const before = pickedFaces.peek();
        const others = before.filter((one) => !face || faceKey(one) !== faceKey(face));
        selectPiece(face?.pieceIndex);
        if (!face || !isAdding) pickFaces(face ? [face] : []);
        else pickFaces(others.length < before.length ? others : [...others, face]);
    });
}

/** Lights its faces up; none lets them go dark. */
export function chooseFinding(finding: Finding | undefined): void {
    batch(() => {
        setChosen(finding?.title);
        prepareFix(FIX_FOR[finding?.kind as keyof typeof FIX_FOR] ?? fixKind.peek());
        pickFaces([]);
        markFaces(finding?.faces ?? []);
        const [only] = finding?.pieces ?? [];
        if (only !== undefined) selectPiece(only);
    });
}

export function findDuplicates(): Promise<boolean> {
    return analyse("duplicates", async () => findingsOfDuplicates(await ask("model-duplicate-faces")));
}

export function lookThrough(view: "game" | "all"): Promise<boolean> {
    return analyse("seen through", async () => [findingOfBleedThrough(await ask("model-bleed-through", { view }))]);
}

function analyse(what: string, find: () => Promise<readonly Finding[]>): Promise<boolean> {
    return attempt(find, (found) => {
        setAnalysed(found);
        chooseFinding(found[0]);
        const count = found.reduce((sum, one) => sum + one.count, 0);
        say(`${what}: ${counted(count, "face")}`);
    });
}

export function applyFix(fix: ModelFix): Promise<boolean> {
    return attempt(async () => {
        const { label, changed, ...edits } = await ask("model-apply-fix", fix);
        if (changed === 0) return say(`${label}: nothing to change`);
        setSteps([...steps.peek().slice(0, editState.peek().undoDepth), label].slice(-MAX_STEPS));
        unsaved = withFix(unsaved, fix);
        await takeState(edits);
        say(`${label}: ${changed} changed`);
    });
}

export const undo = (): Promise<boolean> => step("model-undo", "undone");
export const redo = (): Promise<boolean> => step("model-redo", "made again");

function step(type: "model-undo" | "model-redo", word: string): Promise<boolean> {
    return attempt(async () => {
        const { label, ...edits } = await stepBy(type);
        await takeState(edits);
        say(`${label}: ${word}`);
    });
}

async function stepBy(type: "model-undo" | "model-redo"): Promise<Replies["model-undo"]> {
    const reply = await ask(type);
    unsaved = type === "model-undo" ? withoutLast(unsaved) : withAgain(unsaved);
    return reply;
}

/** Undoes or makes again until so many steps are made. */
export function goToStep(depth: number): Promise<boolean> {
    return attempt(async () => {
        let edits = editState.peek();
        while (edits.undoDepth !== depth) edits = await stepBy(edits.undoDepth > depth ? "model-undo" : "model-redo");
        await takeState(edits);
    });
}

export function revertModel(): Promise<boolean> {
    return attempt(async () => {
        await ask("model-revert");
        setSteps([]);
        unsaved = NO_FIXES;
        await takeState(NO_STEPS);
        say("The model is as it was saved");
    });
}

/** Writes the model where the game reads it; one of the base game goes into the mod. The steps stay. */
export async function saveModel(): Promise<void> {
    const name = loadedUnit.peek()?.unitName;
    if (name === undefined) return;
    await attempt(async () => {
        const { outcome, resolvedPath } = await write(name, `the model of ${name}`,
            (allowBackupCreation) => ask("save-unit", { name, allowBackupCreation }), async () => {
                unsaved = asSaved(unsaved);
                const { source } = await ask("resolve-unit-source", { name });
                takeSource(source);
                await resetScript(); // the back end has loaded the unit again: its script is at rest
                await details.load();
            });
        if (outcome === "changed-on-disk") throw new Error(`${resolvedPath} was changed by another program; nothing is written`);
    });
}

/** The model has changed: faces that were pointed at may be others now. */
async function takeState({ undoDepth, redoDepth, isDirty }: EditState): Promise<void> {
    batch(() => {
        setState({ undoDepth, redoDepth, isDirty });
        // the oldest are forgotten when all together take too much
        setSteps(steps.peek().slice(steps.peek().length - undoDepth - redoDepth));
        setAnalysed([]);
        pickFaces([]);
    });
    await Promise.all([details.load(), reloadModel()]);
    if (chosenTitle.peek() !== undefined) chooseFinding(chosenFinding.peek());
}

async function mayGiveUp(): Promise<boolean> {
    if (!editState.peek().isDirty) return true;
    const name = loadedUnit.peek()?.unitName ?? "the unit";
    return askUser({
        title: `Give up the edits of ${name}'s model?`, yes: "Give them up", isLoss: true,
        text: [`${counted(editState.peek().undoDepth, "step")} of it are not saved, and loading a unit ends them.`],
    });
}

/** The working model begins and ends with the loaded unit. */
export function followModel(): void {
    guardLeaving(mayGiveUp);
    let shown: unknown;
    let name = "";
    effect(() => {
        const now = unit.value;
        const next = now.state === "ready" ? now.value.pieceTree : now.state === "loading" ? shown : undefined;
        if (next === shown) return;
        shown = next;
        reset();
        // that steps were lost is still to be read when the same unit is back
        if (now.state !== "ready") return;
        if (now.value.unitName !== name) forget();
        name = now.value.unitName;
        if (interrupted) void repeatFixes(interrupted);
    });
    effect(() => {
        if (isAlive.value) return;
        const { isDirty, undoDepth } = editState.peek();
        const unit = loadedUnit.peek()?.unitName;
        const fixes = unsaved.made;
        if (isDirty && unit !== undefined && fixes) interrupted ??= { unit, shape: savedShape, fixes };
        reset();
        if (isDirty) fail(`the editor has ended: ${sayUnsaved(interrupted?.fixes.length ?? undoDepth)} ` +
            (interrupted ? "to be made again with the next one" : "lost"));
    });
}

const sayUnsaved = (count: number): string => `${counted(count, "unsaved step")} of the model ${count === 1 ? "is" : "are"}`;

/** What was not saved when the editor ended is made again, if the model's file is as it was. */
async function repeatFixes(wish: NonNullable<typeof interrupted>): Promise<void> {
    try {
        if (loadedUnit.peek()?.unitName !== wish.unit) throw new Error("another unit is loaded");
        const { pieces } = await ask("model-get-unit-summary");
        if (shapeOf(pieces) !== wish.shape) throw new Error("its file has changed");
        const labels: string[] = [];
        let edits = NO_STEPS;
        for (const fix of wish.fixes) {
            const { label, changed, ...next } = await ask("model-apply-fix", fix);
            edits = next;
            if (changed > 0) labels.push(label);
        }
        interrupted = undefined;
        unsaved = { made: wish.fixes, undone: [] };
        setSteps(labels);
        fail("");
        await takeState(edits);
        say(`The editor had ended: ${sayUnsaved(labels.length)} made again`);
    } catch (error) {
        if (!isAlive.peek()) return; // with the one after it
        interrupted = undefined;
        fail(`the editor has ended: ${sayUnsaved(wish.fixes.length)} lost: ${messageOf(error)}`);
    }
}

function reset(): void {
    batch(() => {
        setState(NO_STEPS);
        setSteps([]);
        unsaved = NO_FIXES;
        pickFaces([]);
        setAnalysed([]);
        setChosen(undefined);
        setWords({});
        details.reset();
    });
}
