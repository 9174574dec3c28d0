// What happens by itself: the first roots and unit, a new back end after the old has ended, changed files.
import { effect } from "@preact/signals";
import type { Roots } from "../wire";
import { say, startConnection } from "./store/connection";
import { definitions } from "./store/definition";
import { startHealthSweep } from "./store/health_sweep";
import { followMaps } from "./store/map";
import { followMapTime } from "./store/map_play";
import { editState, followModel } from "./store/model_edit";
import { followPalette } from "./store/palette";
import { openRoots, refreshUnits, reopenRoots, setStart, units } from "./store/roots";
import { followUnit, scripts } from "./store/script";
import { followTextures, recoloured } from "./store/textures";
import { resetTrace } from "./store/trace";
import { loadedUnit, mayLeaveUnit, noteChangedFiles, openUnit, reloadUnit, resetUnit, unit, wantedUnit } from "./store/unit";
import { messageOf } from "./work/newest";

export function begin(): void {
    startConnection({
        started(start) {
            setStart(start);
            void openAndShow(start.roots);
        },
        revived: () => void reopen(),
        filesChanged(paths) {
            // what stood in the way of a unit may be gone
            void refreshUnits().then(() => { if (unit.peek().state === "failed") void reloadUnit(); });
            noteChangedFiles(paths);
        },
    });
    startHealthSweep();
    followUnit();
    followMaps();
    followMapTime();
    followModel();
    followPalette();
    followTextures();
    effect(() => { document.title = `${loadedUnit.value ? `${loadedUnit.value.unitName} – ` : ""}Unit Editor`; });
    addEventListener("beforeunload", (event) => {
        const unsaved = scripts.drafts.peek().length + definitions.drafts.peek().length + recoloured.peek().length;
        if (unsaved > 0 || editState.peek().isDirty) event.preventDefault();
    });
}

/** Opens roots and their first unit; another unit of that name stays. Throws when they cannot be mounted. */
export async function openAndShow(wanted: Roots): Promise<void> {
    if (!await mayLeaveUnit()) return;
    await openRoots(wanted);
    const names = units.peek().map(({ name }) => name);
    const before = wantedUnit.peek();
    resetUnit();
    const [first] = names;
    if (names.includes(before)) await openUnit(before);
    else if (first !== undefined) await openUnit(first);
}

/** A new process knows nothing: it gets the roots and the unit that the old one had. */
async function reopen(): Promise<void> {
    resetTrace();
    try {
        if (!await reopenRoots()) return;
        if (wantedUnit.peek()) await reloadUnit();
        say("The editor had ended and was started again; everything is open as before");
    } catch (error) {
        say(messageOf(error));
    }
}
