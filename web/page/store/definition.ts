// Lifetime: the chosen unit's definition. Form and text are views of one text; what was edited of other units is kept.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { RawDefinition, SaveResult } from "protocol";
import { ask } from "../ask";
import { definitionRows, withoutKey, withValue } from "../work/definition";
import { messageOf, newestNext, whenQuiet } from "../work/newest";
import { say } from "./connection";
import { askUser, write } from "./question";
import { resource, valueOf } from "./resource";
import { refreshUnits } from "./roots";
import { loadedUnit, reloadUnit, wantedUnit } from "./unit";

export type DefinitionWarning = SaveResult["warnings"][number];

interface Draft {
    text: string;
    /** What the edits were made to. */
    base: RawDefinition;
}

const TYPING_MS = 300;

const drafts = new Map<string, Draft>();
const textSignal = signal("");
const baseSignal = signal<RawDefinition | undefined>(undefined);
const theirsSignal = signal<RawDefinition | undefined>(undefined);
const warningsSignal = signal<readonly DefinitionWarning[]>([]);
const faultSignal = signal("");
const draftCountSignal = signal(0);
let owner = "";

export const definitionText: ReadonlySignal<string> = textSignal;
/** The file as it was when the text was read from it. */
export const definitionBase: ReadonlySignal<RawDefinition | undefined> = baseSignal;
/** The file as another program has made it meanwhile, until both changes are brought together. */
export const theirDefinition: ReadonlySignal<RawDefinition | undefined> = theirsSignal;
export const definitionWarnings: ReadonlySignal<readonly DefinitionWarning[]> = warningsSignal;
/** Why the text cannot be saved as it stands, or could not. */
export const definitionFault: ReadonlySignal<string> = faultSignal;
/** Definitions that differ from what is saved. */
export const definitionDrafts: ReadonlySignal<number> = draftCountSignal;
export const isDefinitionEdited = computed(() => baseSignal.value !== undefined && textSignal.value !== baseSignal.value.text);
export const definitionForm = computed(() => {
    const unit = loadedUnit.value;
    const isSame = unit?.unitName.toLowerCase() === baseSignal.value?.name.toLowerCase();
    return definitionRows(textSignal.value, isSame ? unit?.fbi : undefined, isSame ? unit?.baselineFbi : undefined);
});

export const definition = resource<RawDefinition>(() => ask("fbi-raw", { name: wantedUnit.peek() }));

/** Reads the definition; a draft of it stays, and when the file has changed below it, says so. */
export async function openDefinition(name: string): Promise<void> {
    if (owner !== name) {
        owner = name;
        batch(() => {
            definition.reset();
            baseSignal.value = theirsSignal.value = undefined;
            textSignal.value = faultSignal.value = "";
            warningsSignal.value = [];
        });
    }
    if (name === "") return;
    await definition.load();
    const known = valueOf(definition.shown.peek());
    if (!known || owner !== name) return;
    const draft = drafts.get(name);
    batch(() => {
        const isStale = draft !== undefined && draft.base.version !== known.version && draft.text !== known.text;
        baseSignal.value = isStale ? draft.base : known;
        textSignal.value = draft?.text ?? known.text;
        theirsSignal.value = isStale ? known : undefined;
        if (!isStale) keepDraft();
    });
    check.poke();
}

export function editDefinition(next: string): void {
    if (next === textSignal.peek()) return;
    textSignal.value = next;
    keepDraft();
    check.poke();
}

function keepDraft(): void {
    const base = baseSignal.peek();
    if (base && isDefinitionEdited.peek()) drafts.set(owner, { text: textSignal.peek(), base });
    else drafts.delete(owner);
    draftCountSignal.value = drafts.size;
}

export const setKey = (key: string, value: string): void => editDefinition(withValue(textSignal.peek(), key, value));
export const removeKey = (key: string): void => editDefinition(withoutKey(textSignal.peek(), key));

export function revertDefinition(): void {
    const base = theirsSignal.peek() ?? baseSignal.peek();
    if (base) takeMerged(base.text, base);
}

/** Goes on with a text that is now an edit of what is on the disk. */
export function takeMerged(text: string, base: RawDefinition): void {
    batch(() => {
        baseSignal.value = base;
        textSignal.value = text;
        theirsSignal.value = undefined;
        faultSignal.value = "";
        keepDraft();
    });
    check.poke();
}

const checkText = newestNext(async () => {
    const [name, checked] = [owner, textSignal.peek()];
    if (name === "") return;
    const isStill = (): boolean => owner === name && textSignal.peek() === checked;
    try {
        const { warnings } = await ask("save-fbi-raw", { name, text: checked, checkOnly: true });
        if (isStill()) batch(() => { warningsSignal.value = warnings; faultSignal.value = ""; });
    } catch (error) {
        if (isStill()) batch(() => { warningsSignal.value = []; faultSignal.value = messageOf(error); });
    }
});
const check = whenQuiet(TYPING_MS, () => void checkText());

/** Writes the text where the unit lies; asks for what it needs, and notices what other programs did. */
export async function saveDefinition(): Promise<void> {
    const [name, saved, base] = [owner, textSignal.peek(), baseSignal.peek()];
    if (!base) return;
    try {
        const { outcome } = await write(name, `the definition of ${name}`, async (allowBackupCreation) => {
            const result = await ask("save-fbi-raw", { name, text: saved, ifVersion: base.version, allowBackupCreation });
            if (result.outcome === "ok") wrote(name, saved, result.version ?? base.version);
            return result;
        });
        if (outcome === "changed-on-disk" && owner === name) theirsSignal.value = await ask("fbi-raw", { name });
    } catch (error) {
        faultSignal.value = messageOf(error);
    }
}

/** What was typed since is an edit of what has been written. */
function wrote(name: string, text: string, version: string): void {
    if (owner !== name || !baseSignal.peek()) { drafts.delete(name); return; }
    baseSignal.value = { ...baseSignal.peek()!, text, version };
    keepDraft();
}

/** Moves the backup back into its place, when the user agrees to all that it undoes. */
export async function restoreBackup(): Promise<void> {
    const base = baseSignal.peek();
    if (!base?.hasBackup) return;
    const { path } = base.source;
    const agrees = await askUser({
        title: `Restore ${path}?`, yes: "Restore",
        text: [`${path} becomes what it was before its first change, and its backup is gone.`,
            `That undoes every change of: ${base.backupCovers.join(", ") || base.name}.`],
    });
    if (!agrees) return;
    const { restoredPath, warning } = await ask("restore-source-from-backup", { name: base.name });
    drafts.delete(base.name);
    baseSignal.value = undefined;
    textSignal.value = "";
    draftCountSignal.value = drafts.size;
    await refreshUnits();
    await reloadUnit();
    say(warning ?? `${restoredPath} is restored`);
}
