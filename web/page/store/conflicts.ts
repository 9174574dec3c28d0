// Lifetime: the opened roots. What is declared twice or leads to nothing, and the two sides of one conflict.
import { batch } from "@preact/signals";
import type { Conflict, ConflictReport } from "protocol";
import { ask, IN_BACKGROUND, type Progress } from "../ask";
import { placeOfLocation } from "../work/locations";
import { sectionNamed } from "../work/tdf";
import { resource } from "./resource";
import { state } from "./state";

const [conflictStep, setStep] = state<Progress | undefined>(undefined);
const [chosenConflict, setChosen] = state<Conflict | undefined>(undefined);
/** Index of the file that is shown beside the winner. */
const [chosenLoser, setLoser] = state(1);
export { chosenConflict, chosenLoser, conflictStep };

export const conflicts = resource<ConflictReport>(() =>
    ask("conflict-scan", { progress: true }, { inBackground: true, told: setStep }).finally(() => setStep(undefined)));

interface TwoSides {
    winner: string;
    loser: string;
}

export const sidesOfConflict = resource<TwoSides>(async () => {
    const { files, section } = filesOf(chosenConflict.peek());
    const [winner = "", loser = ""] = await Promise.all([files[0], files[chosenLoser.peek()]].map(async (location) => {
        if (location === undefined) return "";
        const read = await ask("archive-browse-preview", { ...placeOfLocation(location), maxBytes: MAX_TEXT },
            IN_BACKGROUND);
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
        setChosen(one);
        setLoser(loser);
        sidesOfConflict.reset();
    });
    if (filesOf(one).files.length > 1) await sidesOfConflict.load();
}
