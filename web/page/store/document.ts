// Lifetime: the tab. Texts that are edited, of scripts and of definitions alike. A text belongs to a file: what was
// edited of other files is kept, and nothing is written over what another program has written since.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { WriteResult } from "protocol";
import { plainText, withEndsOf } from "../work/line_ends";
import { messageOf, newestNext, whenQuiet, within } from "../work/newest";
import { wellFormed } from "../work/well_formed";
import { keepDrafts, keptDrafts } from "./kept_drafts";
import { write } from "./question";
import { resource } from "./resource";
import { rootsKey } from "./roots";

/** What a file holds. */
export interface SavedText {
    /** Where it lies. */
    file: string;
    /** Tells this content of the file from others. */
    version: string;
    /** With the line ends that the file has. */
    raw: string;
    /** Lines end in "\n". */
    text: string;
}

export const savedText = (file: string, version: string, raw: string): SavedText =>
    ({ file, version, raw, text: plainText(raw) });

export interface Document<S> {
    unit: string;
    /** The roots in which the unit had that file. */
    roots: string;
    /** The file as it was when the text was read from it. */
    base: S;
    text: string;
    /** What lies there now by another program, until both changes are brought together. */
    theirs: S | undefined;
    /** What the newest save was to write. */
    tried: string | undefined;
    /** Why that save did not happen. */
    failure: string;
}

export interface DocumentKind<S extends SavedText, F> {
    /** As in "the script of FENRAFT". */
    word: string;
    /** Texts as they are on the disk are checked, too. */
    checksUnedited: boolean;
    /** Saving writes a file that is gone anew. */
    writesAnew: boolean;
    read(unit: string): Promise<S>;
    /** What there is to say of a text; rejects with what stands in the way of saving it. */
    check(unit: string, text: string): Promise<readonly F[]>;
    /** Writes `raw` over `base` and nothing else; `version` of "ok" is that of what is written. */
    write(unit: string, raw: string, base: S, allowBackupCreation: boolean): Promise<WriteResult>;
}

const TYPING_MS = 300;
/** A check without an answer stands in the way of the next one for so long. */
const CHECK_MS = 20_000;

const isChanged = ({ text, base }: Document<SavedText>): boolean => text !== base.text;

export function documents<S extends SavedText, F>(kind: DocumentKind<S, F>) {
    const shown = signal<Document<S> | undefined>(undefined);
    const drafts = signal<ReadonlyMap<string, Document<S>>>(keptDrafts(kind.word));
    const keep = (): void => keepDrafts(kind.word, drafts.peek());
    const keepSoon = whenQuiet(TYPING_MS, keep);
    addEventListener("pagehide", keep);
    const number = signal(0);
    const found = signal<readonly F[]>([]);
    const fault = signal("");
    let [wanted, wantedRoots] = ["", ""];
    let isSaving = false;

    const loaded = resource<S>(() => kind.read(wanted));
    const isWanted = (unit: string, roots: string): boolean => unit === wanted && roots === wantedRoots;

    /** The unit's text as it is now. */
    function textOf(unit: string, roots: string): Document<S> | undefined {
        const isIt = (one: Document<S> | undefined): boolean => one?.unit === unit && one.roots === roots;
        return isIt(shown.peek()) ? shown.peek() : [...drafts.peek().values()].find(isIt);
    }

    /** Replaces a text; one that differs from its file is kept wherever the user looks. */
    function put(next: Document<S>, before = next): void {
        const kept = new Map(drafts.peek());
        kept.delete(before.base.file);
        if (isChanged(next)) kept.set(next.base.file, next);
        batch(() => {
            drafts.value = kept;
            if (isWanted(next.unit, next.roots)) shown.value = next;
        });
        keepSoon.poke();
    }

    function change({ unit, roots }: Document<S>, by: Partial<Document<S>>): void {
        const now = textOf(unit, roots);
        if (now) put({ ...now, ...by }, now);
    }

    /** The file as it is now, with the edits of it or of what was the unit's file before. */
    function takeRead(known: S): void {
        const now = drafts.peek().get(known.file) ?? textOf(wanted, wantedRoots);
        const here = { unit: wanted, roots: wantedRoots, theirs: undefined };
        if (!now || !isChanged(now))
            return put({ ...here, base: known, text: known.text, tried: undefined, failure: "" });
        const { base, text, tried } = now;
        if (known.raw === tried) // a save that was never answered
            put({ ...now, ...here, base: known, tried: undefined, failure: "" }, now);
        else if (known.version === base.version || known.text === base.text || known.text === text)
            put({ ...now, ...here, base: known }, now);
        else put({ ...now, ...here, theirs: known }, now);
    }

    /** Reads the unit's text, behind `before`; an edited one stays, and when its file has changed, says so. */
    async function open(unit: string, before?: () => Promise<void>): Promise<void> {
        const roots = rootsKey.peek();
        if (!isWanted(unit, roots)) batch(() => {
            [wanted, wantedRoots] = [unit, roots];
            loaded.reset();
            shown.value = undefined;
            found.value = [];
            fault.value = "";
            number.value++;
        });
        await before?.();
        if (unit === "" || !isWanted(unit, roots)) return;
        await loaded.load();
        const now = loaded.shown.peek();
        if (!isWanted(unit, roots) || now.state === "loading") return;
        const kept = textOf(unit, roots);
        batch(() => {
            fault.value = "";
            if (now.state === "ready") takeRead(now.value);
            else shown.value = kept && isChanged(kept) ? kept : undefined;
        });
        if (kind.checksUnedited || isEdited.peek()) check.poke();
    }

    const isEdited = computed(() => shown.value !== undefined && isChanged(shown.value));

    function edit(next: string): void {
        const now = shown.peek();
        const text = wellFormed(next);
        if (!now || text === now.text) return;
        put({ ...now, text });
        check.poke();
    }

    const checkText = newestNext(async () => {
        const checked = shown.peek();
        if (!checked) return;
        let [said, wrong]: [readonly F[], string] = [[], ""];
        try {
            said = await within(CHECK_MS, kind.check(checked.unit, checked.text));
        } catch (error) {
            wrong = messageOf(error);
        }
        const now = shown.peek();
        if (now?.text !== checked.text || now.unit !== checked.unit) return; // what was typed since has its own answer
        batch(() => { found.value = said; fault.value = wrong; });
    });
    const check = whenQuiet(TYPING_MS, () => void checkText());

    /** Goes on with a text that is now an edit of `base`. */
    function takeMerged(text: string, base: S): void {
        const now = shown.peek();
        if (!now) return;
        put({ ...now, base, text, theirs: undefined, tried: undefined, failure: "" }, now);
        check.poke();
    }

    /** Writes the text over the file that it is an edit of, and asks for what that needs. */
    async function save(): Promise<void> {
        const saved = shown.peek();
        if (!saved || isSaving || saved.roots !== rootsKey.peek()) return;
        const { unit, base } = saved;
        const what = `the ${kind.word} of ${unit}`;
        const tried = withEndsOf(base.raw, saved.text);
        change(saved, { tried, failure: "" });
        isSaving = true;
        try {
            const { outcome } = await write(unit, what, async (allowBackupCreation) => {
                const result = await kind.write(unit, tried, base, allowBackupCreation);
                // what was typed since is an edit of what has been written
                if (result.outcome === "ok") change(saved, {
                    base: { ...base, ...savedText(base.file, result.version ?? base.version, tried) },
                    theirs: undefined, tried: undefined,
                });
                return result;
            });
            if (outcome === "ok") return;
            const theirs = outcome === "changed-on-disk" ? await kind.read(unit) : undefined;
            change(saved, { theirs, tried: undefined });
        } catch (error) {
            change(saved, { failure: `${what} is not saved: ${messageOf(error)}` });
        } finally {
            isSaving = false;
        }
    }

    return {
        word: kind.word, writesAnew: kind.writesAnew,
        /** What is read of the disk. */
        loaded: loaded.shown,
        /** What is edited; none while it is read, or where there is nothing. */
        shown: shown as ReadonlySignal<Document<S> | undefined>,
        text: computed(() => shown.value?.text),
        isEdited,
        /** Another number, another text: what editors know of one does not hold for the other. */
        number: number as ReadonlySignal<number>,
        /** What the check says of the text. */
        found: found as ReadonlySignal<readonly F[]>,
        /** Why the text cannot be saved as it stands. */
        fault: fault as ReadonlySignal<string>,
        /** Texts that differ from what is saved. */
        drafts: computed(() => [...drafts.value.values()]),
        open,
        /** Reads again what is shown. */
        reload: () => open(wanted),
        edit,
        /** Gives the edits up. */
        revert() {
            const now = shown.peek();
            const base = now?.theirs ?? now?.base;
            if (base) takeMerged(base.text, base);
            if (loaded.shown.peek().state === "failed") shown.value = undefined;
        },
        takeMerged,
        /** Gives up what was edited of a file. */
        drop(file: string) {
            const draft = drafts.peek().get(file);
            if (draft) put({ ...draft, text: draft.base.text, theirs: undefined, failure: "" });
        },
        /** What a check by other means has found. */
        tell(said: readonly F[]) { found.value = said; },
        cancelCheck: check.cancel,
        save,
    };
}

export type Documents<S extends SavedText, F> = ReturnType<typeof documents<S, F>>;
