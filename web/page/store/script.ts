// Lifetime: the text of the unit's script. What is edited, what the compiler says, what is tried, where it stops.
import { batch, computed, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { BosDiagnostic, BreakpointsSet, Compilation, LineSpan, SourceSymbols, UnitSourceText } from "protocol";
import { ask } from "../ask";
import { pieceNamedIn, toggled } from "../work/lines";
import { messageOf, newestNext, whenQuiet } from "../work/newest";
import { afterPaint } from "../work/paint";
import { say } from "./connection";
import { write } from "./question";
import { resource, valueOf } from "./resource";
import { report, takeReport } from "./run";
import { loadedUnit, pieces, selectPiece, unit } from "./unit";

/** The code that runs, as its text explains it. */
interface Running {
    text: string;
    lineSpans: readonly LineSpan[];
    symbols: SourceSymbols | undefined;
    /** Of a temporary script; the unit's own are the unit's. */
    temporaryScripts: readonly string[] | undefined;
}

export interface Breakpoint {
    line: number;
    /** False behind all code, and until the text that it stands in runs. */
    isVerified: boolean;
}

const TYPING_MS = 300;

/** What each unit's script was edited to, so that looking at another unit loses nothing. */
const drafts = new Map<string, string>();
/** Where each unit's script is to stop. */
const breakpointsOf = new Map<string, readonly number[]>();

const textSignal = signal("");
const runningSignal = signal<Running | undefined>(undefined);
const breakpointsSignal = signal<readonly Breakpoint[]>([]);
const diagnosticsSignal = signal<readonly BosDiagnostic[]>([]);
const failureSignal = signal("");
const isComparingSignal = signal(false);
const draftCountSignal = signal(0);

export const text: ReadonlySignal<string> = textSignal;
export const running: ReadonlySignal<Running | undefined> = runningSignal;
/** Lines of `text`, as the back end replied, not as they were clicked. */
export const breakpoints: ReadonlySignal<readonly Breakpoint[]> = breakpointsSignal;
/** What the compiler says of `text`. */
export const diagnostics: ReadonlySignal<readonly BosDiagnostic[]> = diagnosticsSignal;
export const scriptFailure: ReadonlySignal<string> = failureSignal;
export const isComparing: ReadonlySignal<boolean> = isComparingSignal;
/** Scripts that differ from what is saved. */
export const draftCount: ReadonlySignal<number> = draftCountSignal;
/** Of which unit the text is: the one before until another one's is there. */
const ownerSignal = signal("");
export const scriptOwner: ReadonlySignal<string> = ownerSignal;
let opening = "";

export const source = resource<UnitSourceText>(() => ask("cob-get-unit-bos"));
export const original = computed(() => valueOf(source.shown.value)?.source ?? "");
export const isEdited = computed(() => source.shown.value.state === "ready" && textSignal.value !== original.value);
export const isTemporary = computed(() => runningSignal.value?.temporaryScripts !== undefined);
/** Those that can be started. */
export const scriptNames = computed(() => runningSignal.value?.temporaryScripts ?? loadedUnit.value?.cobFunctions ?? []);
/** What a script calls its parameters. */
export function parametersOf(script: string): readonly string[] {
    return runningSignal.value?.symbols?.scripts.find(({ name }) => name === script)?.parameters ?? [];
}

/** The stopped line of the text that runs; none in an included file. */
export const stoppedLine = computed(() => {
    const now = report.value;
    return now?.isPaused && now.file === undefined && runningSignal.value?.text === textSignal.value ? now.line : undefined;
});
/** Of the source in the stack; none of one that is disassembled. */
export const scriptPath = computed(() => {
    const known = valueOf(source.shown.value);
    return known?.origin === "file" ? known.path : undefined;
});

const ownScript = (known: UnitSourceText): Running =>
    ({ text: known.source, lineSpans: known.lineSpans ?? [], symbols: known.symbols, temporaryScripts: undefined });

/** Fetches the loaded unit's script; a draft of it stays in sight. */
async function open(name: string): Promise<void> {
    opening = name;
    batch(() => {
        source.reset();
        runningSignal.value = undefined;
        breakpointsSignal.value = [];
        diagnosticsSignal.value = [];
        failureSignal.value = "";
    });
    await afterPaint(); // the model comes first
    if (opening !== name) return;
    if (loadedUnit.peek()?.report) await source.load();
    if (opening !== name) return;
    const known = valueOf(source.shown.peek());
    batch(() => {
        ownerSignal.value = name;
        textSignal.value = drafts.get(name) ?? known?.source ?? "";
        runningSignal.value = known && ownScript(known);
    });
    if (!known) return;
    await setBreakpoints(breakpointsOf.get(name) ?? []);
    if (isEdited.peek()) check.poke();
}

export function edit(next: string): void {
    if (next === textSignal.peek()) return;
    const owner = ownerSignal.peek();
    textSignal.value = next;
    if (source.shown.peek().state !== "ready" || isEdited.peek()) drafts.set(owner, next);
    else drafts.delete(owner);
    draftCountSignal.value = drafts.size;
    check.poke();
}

/** Gives the edits up. */
export function revertText(): void {
    edit(original.peek());
}

export function toggleComparing(): void {
    isComparingSignal.value = !isComparingSignal.peek();
}

const compile = newestNext(async () => {
    const compiled = textSignal.peek();
    const { diagnostics: found } = await ask("cob-compile", requestFor(compiled));
    if (compiled === textSignal.peek()) diagnosticsSignal.value = found; // what was typed since has its own answer
}, (error) => { failureSignal.value = messageOf(error); });
const check = whenQuiet(TYPING_MS, () => void compile());

const requestFor = (written: string): { source: string; path?: string } =>
    scriptPath.peek() === undefined ? { source: written } : { source: written, path: scriptPath.peek()! };

/** Runs the text in the unit's place, nothing is written. */
export async function tryText(): Promise<boolean> {
    check.cancel();
    const tried = textSignal.peek();
    failureSignal.value = "";
    try {
        const compiled = await ask("cob-compile", requestFor(tried));
        if (tried === textSignal.peek()) diagnosticsSignal.value = compiled.diagnostics;
        if (!compiled.ok) return tellFault(compiled);
        const loaded = await ask("cob-load-temporary", { cob_b64: compiled.cob_b64, report: true });
        runningSignal.value = { text: tried, lineSpans: compiled.lineSpans, symbols: compiled.symbols, temporaryScripts: loaded.scripts };
        takeReport(loaded.report);
        await setBreakpoints(breakpointsSignal.peek().map(({ line }) => line));
        say("The script is loaded for a try; nothing is written");
        return true;
    } catch (error) {
        failureSignal.value = messageOf(error);
        return false;
    }
}

function tellFault({ diagnostics: found }: Compilation): false {
    const errors = found.filter(({ severity }) => severity === "error");
    failureSignal.value = `does not compile: ${errors.length} ${errors.length === 1 ? "error" : "errors"}, the first in line ${errors[0]?.line ?? 1}`;
    return false;
}

/** Back to the unit's own script; the text stays. */
export async function endTry(): Promise<void> {
    const { report: next } = await ask("cob-unload-temporary", { report: true });
    const known = valueOf(source.shown.peek());
    if (known) runningSignal.value = ownScript(known);
    takeReport(next);
    await setBreakpoints(breakpointsSignal.peek().map(({ line }) => line));
}

/** Compiles the text and writes source and code into the unit's mod. */
export async function saveText(): Promise<void> {
    const name = ownerSignal.peek();
    const saved = textSignal.peek();
    failureSignal.value = "";
    try {
        const { outcome } = await write(name, `the script of ${name}`, (allowBackupCreation) =>
            ask("save-unit", { name, script: { bos: saved }, model: false, allowBackupCreation }));
        if (outcome !== "ok") return;
        drafts.delete(name);
        draftCountSignal.value = drafts.size;
    } catch (error) {
        failureSignal.value = messageOf(error);
    }
}

export function toggleBreakpoint(line: number): Promise<void> {
    return setBreakpoints(toggled(breakpointsSignal.peek().map((one) => one.line), line));
}

/** They moved with the text that they stand in. */
export function moveBreakpoints(lines: readonly number[]): void {
    breakpointsSignal.value = [...new Set(lines)].map((line) => ({ line, isVerified: false }));
    breakpointsOf.set(ownerSignal.peek(), lines);
}

/** Sets them where the text that is shown is the one that runs; else they wait for it. */
async function setBreakpoints(lines: readonly number[]): Promise<void> {
    const code = runningSignal.peek();
    const isWaiting = !code || code.text !== textSignal.peek();
    try {
        const reply = await ask("cob-set-breakpoints",
            { lines: isWaiting ? [] : [...lines], lineSpans: [...code?.lineSpans ?? []] });
        const asReplied = isWaiting ? lines.map((line) => ({ line, isVerified: false })) : withoutDoubles(reply);
        breakpointsSignal.value = asReplied;
        breakpointsOf.set(ownerSignal.peek(), asReplied.map(({ line }) => line));
        if (isWaiting && lines.length > 0) say("The text differs from what runs: try it (Ctrl+Enter), then it stops there");
    } catch (error) {
        failureSignal.value = messageOf(error);
    }
}

function withoutDoubles({ breakpoints: set = [] }: BreakpointsSet): Breakpoint[] {
    return [...new Map(set.map(({ line, isVerified }) => [line, { line, isVerified }])).values()];
}

/** The text follows the unit; at a stop the piece that the line names lights up. */
export function followUnit(): void {
    let shown: unknown;
    effect(() => {
        if (unit.value.state !== "ready" || unit.value.value === shown) return;
        shown = unit.value.value;
        void open(unit.value.value.unitName);
    });
    effect(() => {
        const line = stoppedLine.value;
        if (line === undefined) return;
        const words = textSignal.peek().split("\n")[line - 1] ?? "";
        const index = pieceNamedIn(words, loadedUnit.peek()?.cobPieceNames ?? []);
        const name = index === undefined ? undefined : loadedUnit.peek()?.cobPieceNames[index]?.toLowerCase();
        const piece = pieces.peek().find((one) => one.name.toLowerCase() === name);
        if (piece) selectPiece(piece.index);
    });
}
