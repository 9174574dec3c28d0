// Lifetime: a question to the user, and the writes that ask one.
import { type ReadonlySignal, signal } from "@preact/signals";
import type { WriteResult } from "protocol";
import { say } from "./connection";
import { askCopy } from "./copy_unit";
import { refreshUnits } from "./roots";
import { reloadUnit } from "./unit";

export interface Question {
    title: string;
    /** One paragraph each. */
    text: readonly string[];
    /** What the button says that goes on. */
    yes: string;
    /** Something is given up: Enter keeps it. */
    isLoss?: true;
}

export interface OpenQuestion extends Question {
    answer(isYes: boolean): void;
}

const questionSignal = signal<OpenQuestion | undefined>(undefined);
export const question: ReadonlySignal<OpenQuestion | undefined> = questionSignal;

/** Resolves with whether the user agrees; a question that is still open is declined. */
export function askUser(asked: Question): Promise<boolean> {
    questionSignal.peek()?.answer(false);
    return new Promise((resolve) => {
        questionSignal.value = { ...asked, answer(isYes) { questionSignal.value = undefined; resolve(isYes); } };
    });
}

/**
 * Carries out a write whose first try may need consent to a backup, or meet the base game: then the unit is copied
 * into the first mod, if the user agrees, and the write repeated. Resolves with the last result: only "ok" has
 * written, and then lists and unit (or what `thenShow` says) are fetched anew. "changed-on-disk" is for the caller to
 * solve.
 */
export async function write<T extends WriteResult>(
    unitName: string, what: string, request: (allowBackupCreation: boolean) => Promise<T>,
    thenShow: () => Promise<void> = reloadUnit,
): Promise<T> {
    let result = await request(false);
    if (result.outcome === "base-ta-refused" && await askCopy({ unitName, isToEdit: true })) result = await request(false);
    if (result.outcome === "needs-backup-consent" && await agreesToBackup(what, result.resolvedPath)) result = await request(true);
    if (result.outcome !== "ok") return result;
    await refreshUnits();
    await thenShow();
    say(result.reloadError ? `${what} is written, but the unit cannot be loaded: ${result.reloadError}` : `${what} is written to ${result.resolvedPath}`);
    return result;
}

export const agreesToBackup = (what: string, path: string): Promise<boolean> => askUser({
    title: `Write ${what}?`,
    text: [`${path} is changed.`, `Before that it is copied to ${path}.orbbackup, from which it can be restored.`],
    yes: "Back up and write",
});
