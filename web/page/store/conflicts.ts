// Lifetime: the opened roots. What is declared twice or leads to nothing, and the two sides of one conflict.
import { batch, type ReadonlySignal, signal } from "@preact/signals";
import type { Conflict, ConflictReport } from "protocol";
import { askInBackground, askWithProgress, type Progress } from "../ask";
import { placeOfLocation } from "../work/locations";
import { sectionNamed } from "../work/tdf";
import { resource } from "./resource";

const stepSignal = signal<Progress | undefined>(undefined);
const chosenSignal = signal<Conflict | undefined>(undefined);
const loserSignal = signal(1);

export const conflictStep: ReadonlySignal<Progress | undefined> = stepSignal;
export const chosenConflict: ReadonlySignal<Conflict | undefined> = chosenSignal;
/** Index of the file that is shown beside the winner. */
export const chosenLoser: ReadonlySignal<number> = loserSignal;

export const conflicts = resource<ConflictReport>(() =>
    askWithProgress("conflict-scan", { progress: true }, (step) => { stepSignal.value = step; }, true)
        .finally(() => { stepSignal.value = undefined; }));

export interface TwoSides {
    winner: string;
    loser: string;
}

export const sidesOfConflict = resource<TwoSides>(async () => {
    const { files, section } = filesOf(chosenSignal.peek());
    const [winner = "", loser = ""] = await Promise.all([files[0], files[loserSignal.peek()]].map(async (location) => {
        if (location === undefined) return "";
        const read = await askInBackground("archive-browse-preview", { ...placeOfLocation(location), maxBytes: MAX_TEXT });
        if (read.kind !== "text") throw new Error(`not a text: ${location}`);
        return section === undefined ? read.text : sectionNamed(read.text, section) ?? read.text;
    }));
    return { winner, loser };
});

const MAX_TEXT = 4 * 1024 * 1024;

/** A weapon is one section of its file, a unit the whole of it. */
function filesOf(one: Conflict | undefined): { files: readonly string[]; section?: string } {
    if (one?.kind === "unit-name-collision") return { files: one.files };
    if (one?.kind === "weapon-name-collision") return { files: one.files, section: one.asset };
    return { files: [] };
}

export async function chooseConflict(one: Conflict | undefined, loser = 1): Promise<void> {
    batch(() => {
        chosenSignal.value = one;
        loserSignal.value = loser;
        sidesOfConflict.reset();
    });
    if (filesOf(one).files.length > 1) await sidesOfConflict.load();
}
