// Lifetime: the working model of the loaded unit. Its steps, what was found at it, the faces that are chosen.
import { batch, computed, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { EditState, ModelFix, ModelPiece } from "protocol";
import { ask } from "../ask";
import { type Finding, faceKey, findingOfBleedThrough, findingsOf, findingsOfDuplicates } from "../work/findings";
import { buildFix, cornersOf, facesConcerned, type FixInput, type FixKind, type FixWord, FIX_FOR } from "../work/model_fixes";
import { messageOf } from "../work/newest";
import { counted } from "../work/words";
import { isAlive, say } from "./connection";
import { askUser, write } from "./question";
import { resource, valueOf } from "./resource";
import { resetScript } from "./run";
import {
    type FaceMark, guardLeaving, loadedUnit, markedFaces, markFaces, reloadModel, selectedPiece, selectPiece, takeSource, unit,
} from "./unit";
import { tab } from "./view";

/** As many as the back end can undo. */
const MAX_STEPS = 256;
const NO_STEPS: EditState = { undoDepth: 0, redoDepth: 0, isDirty: false };

const stateSignal = signal<EditState>(NO_STEPS);
const stepsSignal = signal<readonly string[]>([]);
const pickedSignal = signal<readonly FaceMark[]>([]);
const analysedSignal = signal<readonly Finding[]>([]);
const chosenSignal = signal<string | undefined>(undefined);
const failureSignal = signal("");
const kindSignal = signal<FixKind>("add-twins");
const wordsSignal = signal<FixInput["words"]>({});

export const editState: ReadonlySignal<EditState> = stateSignal;
/** Labels of the steps, those that are undone too; the first `undoDepth` are made. */
export const steps: ReadonlySignal<readonly string[]> = stepsSignal;
/** Faces that were clicked. */
export const pickedFaces: ReadonlySignal<readonly FaceMark[]> = pickedSignal;
export const editFailure: ReadonlySignal<string> = failureSignal;

/** Every piece with its faces, as the working model has them. */
export const details = resource<readonly ModelPiece[]>(async () => {
    const { pieces, ...state } = await ask("model-get-unit-summary");
    stateSignal.value = state;
    return Promise.all(pieces.map(({ index }) => ask("model-get-piece", { piece: index })));
});
const shownPieces = computed(() => valueOf(details.shown.value) ?? []);
/** What the model reports, and behind it what the newest analysis found. */
export const findings = computed(() => [...findingsOf(shownPieces.value), ...analysedSignal.value]);
export const chosenFinding = computed(() => findings.value.find(({ title }) => title === chosenSignal.value));
/** The faces that a fix would take: the clicked ones, else those of the chosen finding. */
export const targets = computed(() => pickedSignal.value.length > 0 ? pickedSignal.value : chosenFinding.value?.faces ?? []);

/** The fix that is prepared, and what is typed for it. */
export const fixKind: ReadonlySignal<FixKind> = kindSignal;
export const fixWords: ReadonlySignal<FixInput["words"]> = wordsSignal;
export const prepared = computed(() => buildFix(kindSignal.value, {
    faces: targets.value, piece: selectedPiece.value, words: wordsSignal.value,
    position: shownPieces.value[selectedPiece.value ?? -1]?.position ?? [0, 0, 0],
    corners: cornersOf(shownPieces.value, targets.value, selectedPiece.value),
}));
/** The faces that the prepared fix would change. */
export const concerned = computed(() => "fix" in prepared.value ? facesConcerned(prepared.value.fix, shownPieces.value) : []);
/** Faces to light up: while fixes are in front those of the prepared one, else whatever was marked. */
export const litFaces = computed(() =>
    tab.value === "faces" && details.shown.value.state !== "empty" && concerned.value.length > 0 ? concerned.value : markedFaces.value);

export function prepareFix(kind: FixKind): void {
    kindSignal.value = kind;
}

export function typeFixWord(name: FixWord, text: string): void {
    wordsSignal.value = { ...wordsSignal.peek(), [name]: text };
}

/** A click at a face, or beside the model; `isAdding` keeps those that were clicked before. */
export function pickFace(face: FaceMark | undefined, isAdding: boolean): void {
    batch(() => {
        selectPiece(face?.pieceIndex);
        if (!face) pickedSignal.value = [];
        else if (!isAdding) pickedSignal.value = [face];
        else {
            const others = pickedSignal.peek().filter((one) => faceKey(one) !== faceKey(face));
            pickedSignal.value = others.length < pickedSignal.peek().length ? others : [...others, face];
        }
    });
}

export function pickFaces(faces: readonly FaceMark[]): void {
    pickedSignal.value = faces;
}

/** Lights its faces up; none lets them go dark. */
export function chooseFinding(finding: Finding | undefined): void {
    batch(() => {
        chosenSignal.value = finding?.title;
        kindSignal.value = FIX_FOR[finding?.kind as keyof typeof FIX_FOR] ?? kindSignal.peek();
        pickedSignal.value = [];
        markFaces(finding?.faces ?? []);
        const [only] = finding?.pieces ?? [];
        if (only !== undefined) selectPiece(only);
    });
}

export function findDuplicates(): Promise<void> {
    return analyse("duplicates", async () => findingsOfDuplicates(await ask("model-duplicate-faces")));
}

export function lookThrough(view: "game" | "all"): Promise<void> {
    return analyse("seen through", async () => [findingOfBleedThrough(await ask("model-bleed-through", { view }))]);
}

async function analyse(what: string, find: () => Promise<readonly Finding[]>): Promise<void> {
    await carryOut(async () => {
        const found = await find();
        analysedSignal.value = found;
        chooseFinding(found[0]);
        const count = found.reduce((sum, one) => sum + one.count, 0);
        say(`${what}: ${counted(count, "face")}`);
    });
}

export async function applyFix(fix: ModelFix): Promise<void> {
    await carryOut(async () => {
        const { label, changed, ...state } = await ask("model-apply-fix", fix);
        if (changed === 0) return say(`${label}: nothing to change`);
        stepsSignal.value = [...stepsSignal.peek().slice(0, stateSignal.peek().undoDepth), label].slice(-MAX_STEPS);
        await takeState(state);
        say(`${label}: ${changed} changed`);
    });
}

export const undo = (): Promise<void> => step("model-undo", "undone");
export const redo = (): Promise<void> => step("model-redo", "made again");

function step(type: "model-undo" | "model-redo", word: string): Promise<void> {
    return carryOut(async () => {
        const { label, ...state } = await ask(type);
        await takeState(state);
        say(`${label}: ${word}`);
    });
}

/** Undoes or makes again until so many steps are made. */
export async function goToStep(depth: number): Promise<void> {
    await carryOut(async () => {
        let state = stateSignal.peek();
        while (state.undoDepth !== depth) state = await ask(state.undoDepth > depth ? "model-undo" : "model-redo");
        await takeState(state);
    });
}

export function revertModel(): Promise<void> {
    return carryOut(async () => {
        await ask("model-revert");
        stepsSignal.value = [];
        await takeState(NO_STEPS);
        say("The model is as it was saved");
    });
}

/** Writes the model where the game reads it; one of the base game goes into the mod. The steps stay. */
export async function saveModel(): Promise<void> {
    const name = loadedUnit.peek()?.unitName;
    if (name === undefined) return;
    await carryOut(async () => {
        const { outcome, resolvedPath } = await write(name, `the model of ${name}`, (allowBackupCreation) => ask("save-unit", { name, allowBackupCreation }),
            async () => {
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
        stateSignal.value = { undoDepth, redoDepth, isDirty };
        // the oldest are forgotten when all together take too much
        stepsSignal.value = stepsSignal.peek().slice(stepsSignal.peek().length - undoDepth - redoDepth);
        analysedSignal.value = [];
        pickedSignal.value = [];
    });
    await Promise.all([details.load(), reloadModel()]);
    if (chosenSignal.peek() !== undefined) chooseFinding(chosenFinding.peek());
}

async function carryOut(work: () => Promise<unknown>): Promise<void> {
    failureSignal.value = "";
    try {
        await work();
    } catch (error) {
        failureSignal.value = messageOf(error);
    }
}

async function mayGiveUp(): Promise<boolean> {
    if (!stateSignal.peek().isDirty) return true;
    const name = loadedUnit.peek()?.unitName ?? "the unit";
    return askUser({
        title: `Give up the edits of ${name}'s model?`, yes: "Give them up",
        text: [`${counted(stateSignal.peek().undoDepth, "step")} of it are not saved, and loading a unit ends them.`],
    });
}

/** The working model begins and ends with the loaded unit. */
export function followModel(): void {
    guardLeaving(mayGiveUp);
    let shown: unknown;
    effect(() => {
        const now = unit.value;
        const next = now.state === "ready" ? now.value.pieceTree : now.state === "loading" ? shown : undefined;
        if (next === shown) return;
        shown = next;
        reset();
    });
    effect(() => {
        if (isAlive.value) return;
        const { isDirty, undoDepth } = stateSignal.peek();
        reset();
        if (isDirty) failureSignal.value = `the editor has ended: ${counted(undoDepth, "unsaved step")} of the model are lost`;
    });
}

function reset(): void {
    batch(() => {
        stateSignal.value = NO_STEPS;
        stepsSignal.value = [];
        pickedSignal.value = [];
        analysedSignal.value = [];
        chosenSignal.value = undefined;
        wordsSignal.value = {};
        failureSignal.value = "";
        details.reset();
    });
}
