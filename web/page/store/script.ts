// Lifetime: the text of the unit's script. What is edited, what the compiler says, what is tried, where it stops.
import { batch, computed, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { BosDiagnostic, BreakpointsSet, Compilation, LineSpan, SourceSymbols, UnitDependencies } from "protocol";
import { ask } from "../ask";
import { pieceNamedIn, toggled } from "../work/lines";
import { locationOf } from "../work/locations";
import { messageOf } from "../work/newest";
import { afterPaint } from "../work/paint";
import { counted } from "../work/words";
import { say } from "./connection";
import { documents, type SavedText, savedText } from "./document";
import { valueOf } from "./resource";
import { rootsKey } from "./roots";
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

/** As the unit has it, from its source or, where there is none, its code. */
export interface ScriptText extends SavedText {
    /** Of the source in the stack; none of one that is disassembled. */
    path: string | undefined;
    /** Tells this content of the source from others; empty without a source. */
    sourceVersion: string;
    lineSpans: readonly LineSpan[];
    symbols: SourceSymbols | undefined;
}

/** Every script that was looked at, and what it was edited to. */
export const scripts = documents<ScriptText, BosDiagnostic>({
    word: "script",
    checksUnedited: false,
    writesAnew: true,
    read: readScript,
    check: async (_, text) => (await ask("cob-compile", requestFor(text))).diagnostics,
    async write(name, raw, base, allowBackupCreation) {
        await ask("list-units", { refresh: true }); // sees what other programs have written
        const now = await readScript(name).catch(() => undefined); // one that is gone is written anew
        if (now && now.version !== base.version) return { outcome: "changed-on-disk", resolvedPath: now.file };
        const saved = await ask("save-unit", {
            name, script: { bos: raw }, model: false, allowBackupCreation,
            ...now && { ifScriptVersion: now.sourceVersion },
        });
        return { ...saved, version: raw };
    },
});

/** Where each script, by its file, is to stop. */
const breakpointsOf = new Map<string, readonly number[]>();

const runningSignal = signal<Running | undefined>(undefined);
const breakpointsSignal = signal<readonly Breakpoint[]>([]);
const failureSignal = signal("");
const isComparingSignal = signal(false);

const breakpointLines = (): number[] => breakpointsSignal.peek().map(({ line }) => line);

export const running: ReadonlySignal<Running | undefined> = runningSignal;
/** Lines of the text, as the back end replied, not as they were clicked. */
export const breakpoints: ReadonlySignal<readonly Breakpoint[]> = breakpointsSignal;
/** Why a try, or a breakpoint, did not come about. */
export const tryFailure: ReadonlySignal<string> = failureSignal;
export const isComparing: ReadonlySignal<boolean> = isComparingSignal;
export const original = computed(() => scripts.shown.value?.base.text ?? "");
export const isTemporary = computed(() => runningSignal.value?.temporaryScripts !== undefined);
/** Those that can be started. */
export const scriptNames = computed(() =>
    runningSignal.value?.temporaryScripts ?? loadedUnit.value?.cobFunctions ?? []);
/** What a script calls its parameters. */
export function parametersOf(script: string): readonly string[] {
    return runningSignal.value?.symbols?.scripts.find(({ name }) => name === script)?.parameters ?? [];
}

/** The stopped line of the text that runs; none in an included file. */
export const stoppedLine = computed(() => {
    const now = report.value;
    const isHere = now?.isPaused && now.file === undefined && runningSignal.value?.text === scripts.text.value;
    return isHere ? now.line : undefined;
});
/** Of the source in the stack. */
export const scriptPath = computed(() => scripts.shown.value?.base.path);

async function readScript(name: string): Promise<ScriptText> {
    const known = await ask("cob-get-unit-bos", { name, report: true });
    const path = known.origin === "file" ? known.path : undefined;
    const sourceVersion = known.origin === "file" && known.version || "";
    const { source, lineSpans = [], symbols } = known;
    return { ...savedText(await fileOf(name, path), source, source), path, sourceVersion, lineSpans, symbols };
}

/** Where the source lies, or else the code. */
async function fileOf(name: string, path: string | undefined): Promise<string> {
    const isIt = (file: UnitDependencies["files"][number]): boolean => path === undefined
        ? file.roles.includes("script") : file.path.toLowerCase() === path.toLowerCase();
    const needed = await ask("unit-deps", { name }).catch(() => undefined);
    const source = needed?.files.find(isIt)?.source;
    return source ? locationOf(source) : `${rootsKey.peek()} ${path ?? name}`;
}

const ownScript = ({ text, lineSpans, symbols }: ScriptText): Running =>
    ({ text, lineSpans, symbols, temporaryScripts: undefined });

let opened = 0;

/** Fetches the loaded unit's script; of the same unit behind the text that is there. */
async function open(name: string): Promise<void> {
    const mine = ++opened;
    const before = scripts.number.peek();
    batch(() => {
        runningSignal.value = undefined;
        failureSignal.value = "";
    });
    await scripts.open(name, async () => {
        if (scripts.number.peek() !== before) breakpointsSignal.value = [];
        await afterPaint(); // the model comes first
    });
    const known = valueOf(scripts.loaded.peek());
    if (mine !== opened || !known) return;
    runningSignal.value = ownScript(known);
    const isSame = scripts.number.peek() === before;
    await setBreakpoints(isSame ? breakpointLines() : breakpointsOf.get(known.file) ?? []);
}

export function toggleComparing(): void {
    isComparingSignal.value = !isComparingSignal.peek();
}

const requestFor = (source: string): { source: string; path?: string } =>
    scriptPath.peek() === undefined ? { source } : { source, path: scriptPath.peek()! };

/** Runs the text in the unit's place, nothing is written. */
export async function tryText(): Promise<boolean> {
    scripts.cancelCheck();
    const tried = scripts.text.peek();
    if (tried === undefined) return false;
    failureSignal.value = "";
    try {
        const compiled = await ask("cob-compile", requestFor(tried));
        if (tried === scripts.text.peek()) scripts.tell(compiled.diagnostics);
        if (!compiled.ok) return tellFault(compiled);
        const loaded = await ask("cob-load-temporary", { cob_b64: compiled.cob_b64, report: true });
        const { lineSpans, symbols } = compiled;
        runningSignal.value = { text: tried, lineSpans, symbols, temporaryScripts: loaded.scripts };
        takeReport(loaded.report);
        await setBreakpoints(breakpointLines());
        say("The script is loaded for a try; nothing is written");
        return true;
    } catch (error) {
        failureSignal.value = messageOf(error);
        return false;
    }
}

function tellFault({ diagnostics: found }: Compilation): false {
    const errors = found.filter(({ severity }) => severity === "error");
    const line = errors[0]?.line ?? 1;
    failureSignal.value = `does not compile: ${counted(errors.length, "error")}, the first in line ${line}`;
    return false;
}

/** Back to the unit's own script; the text stays. */
export async function endTry(): Promise<void> {
    const { report: next } = await ask("cob-unload-temporary", { report: true });
    const known = valueOf(scripts.loaded.peek());
    if (known) runningSignal.value = ownScript(known);
    takeReport(next);
    await setBreakpoints(breakpointLines());
}

/** Compiles the text and writes source and code into the unit's mod. */
export function saveText(): Promise<void> {
    failureSignal.value = "";
    return scripts.save();
}

export function toggleBreakpoint(line: number): Promise<void> {
    return setBreakpoints(toggled(breakpointLines(), line));
}

/** They moved with the text that they stand in. */
export function moveBreakpoints(lines: readonly number[]): void {
    breakpointsSignal.value = [...new Set(lines)].map((line) => ({ line, isVerified: false }));
    keepBreakpoints(lines);
}

function keepBreakpoints(lines: readonly number[]): void {
    const file = scripts.shown.peek()?.base.file;
    if (file !== undefined) breakpointsOf.set(file, lines);
}

/** Sets them where the text that is shown is the one that runs; else they wait for it. */
async function setBreakpoints(lines: readonly number[]): Promise<void> {
    const code = runningSignal.peek();
    const isWaiting = !code || code.text !== scripts.text.peek();
    try {
        const reply = await ask("cob-set-breakpoints",
            { lines: isWaiting ? [] : [...lines], lineSpans: [...code?.lineSpans ?? []] });
        const asReplied = isWaiting ? lines.map((line) => ({ line, isVerified: false })) : withoutDoubles(reply);
        breakpointsSignal.value = asReplied;
        keepBreakpoints(asReplied.map(({ line }) => line));
        if (isWaiting && lines.length > 0)
            say("The text differs from what runs: try it (Ctrl+Enter), then it stops there");
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
        const words = scripts.text.peek()?.split("\n")[line - 1] ?? "";
        const index = pieceNamedIn(words, loadedUnit.peek()?.cobPieceNames ?? []);
        const name = index === undefined ? undefined : loadedUnit.peek()?.cobPieceNames[index]?.toLowerCase();
        const piece = pieces.peek().find((one) => one.name.toLowerCase() === name);
        if (piece) selectPiece(piece.index);
    });
}
