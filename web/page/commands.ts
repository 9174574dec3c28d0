import type { Command } from "./key_names";
import { bottomPanes } from "./panes/registry";
import { restartEditor } from "./store/connection";
import { refreshUnits } from "./store/roots";
import { isPlaying, isStopped, pause, play, report, resetScript, resume, stopThreads } from "./store/run";
import { stepLine } from "./store/step";
import { isTemporary, endTry, saveText, scripts, toggleComparing, tryText } from "./store/script";
import { editState, findDuplicates, lookThrough, redo, revertModel, saveModel, undo } from "./store/model_edit";
import { askCopy } from "./store/copy_unit";
import { definitions } from "./store/definition";
import { loadedUnit, reloadUnit, wantedUnit } from "./store/unit";
import { camera, setCamera, showDialog, showTab, toggleTall } from "./store/view";
import { toggleAtCursor } from "./editor/cursor";
import { fitMap } from "./map3d/handle";
import { isMapShown, loadedMap, showMap } from "./store/map";
import { stepMap, toggleMapPlay } from "./store/map_play";
import { endPointer } from "./store/map_clicks";
import { fitView } from "./view3d/handle";

/** Something is done only with a unit that has a script. */
const withScript = (verb: () => unknown) => (): boolean => {
    if (!report.peek()) return false;
    void verb();
    return true;
};

/** The map while it is shown, else the script. */
const withMap = (verb: () => unknown, otherwise: () => boolean) => (): boolean => {
    if (!isMapShown.peek()) return otherwise();
    void verb();
    return true;
};

const withSource = (verb: () => unknown) => (): boolean => {
    if (!scripts.shown.peek()) return false;
    void verb();
    return true;
};

const withModel = (isPossible: () => boolean, verb: () => unknown) => (): boolean => {
    if (!loadedUnit.peek() || !isPossible()) return false;
    void verb();
    return true;
};

const focus = (selector: string) => (): boolean => {
    const element = document.querySelector<HTMLElement>(selector);
    element?.focus();
    return element !== null;
};

export const commands: readonly Command[] = [
    { id: "find", key: "Ctrl+K", where: "page", title: "Find a unit or a command", run: () => showDialog("find") },
    { id: "open-roots", key: "Ctrl+O", where: "page", title: "Open a game and mods", run: () => showDialog("roots") },
    { id: "refresh", where: "page", title: "Look again what lies in the folders", run: () => { void refreshUnits(); } },
    { id: "reload-unit", key: "Ctrl+Shift+L", where: "page", title: "Load the unit again",
        run: () => { if (!wantedUnit.peek()) return false; void reloadUnit(); return true; } },
    { id: "restart-editor", where: "page", title: "Start the editor again", run: restartEditor },

    { id: "go-units", key: "Alt+1", where: "page", title: "Go to the units", run: focus('[aria-label="Units"].scroller') },
    { id: "go-pieces", key: "Alt+2", where: "page", title: "Go to the pieces", run: focus('[aria-label="Pieces"].scroller') },
    { id: "go-view", key: "Alt+3", where: "page", title: "Go to the 3D view", run: focus(".view-canvas") },
    { id: "go-script", key: "Alt+4", where: "page", title: "Go to the script", run: focus('[data-region="script"] .cm-content') },
    { id: "go-tabs", key: "Alt+5", where: "page", title: "Go to the tabs", run: focus('.bottom [role=tab][aria-selected=true]') },

    { id: "play", key: "F8", where: "page", title: "Run or pause the script, or the map",
        run: withMap(toggleMapPlay, withScript(() => isPlaying.peek() ? pause() : play())) },
    { id: "step-line", key: "F10", where: "page", title: "Step one line, or one tick while nothing is stopped",
        run: withMap(() => stepMap(1), withScript(stepLine)) },
    { id: "step-instruction", key: "Shift+F10", where: "page", title: "Step one instruction",
        run: withScript(() => isStopped.peek() && resume("cob-step-instruction")) },
    { id: "reset-script", key: "Shift+F8", where: "page", title: "Start the script over, at rest", run: withScript(resetScript) },
    { id: "stop-threads", where: "page", title: "End every thread of the script", run: withScript(stopThreads) },

    { id: "try-script", key: "Ctrl+Enter", where: "script", title: "Try the script: run this text, write nothing", run: withSource(tryText) },
    { id: "end-try", where: "page", title: "Back to the unit's own script",
        run: () => { if (!isTemporary.peek()) return false; void endTry(); return true; } },
    { id: "save-script", key: "Ctrl+S", where: "script", title: "Save the script and its code",
        run: withSource(() => scripts.isEdited.peek() && saveText()) },
    { id: "compare-script", where: "page", title: "Show what differs from the saved script", run: withSource(toggleComparing) },
    { id: "breakpoint", key: "F9", where: "script", title: "Stop in this line, or no longer", run: toggleAtCursor },

    { id: "save-definition", key: "Ctrl+S", where: "definition", title: "Save the definition",
        run: () => { if (definitions.isEdited.peek()) void definitions.save(); return true; } },
    { id: "drafts", where: "page", title: "Show every text that is not saved", run: () => showDialog("drafts") },
    { id: "copy-unit", where: "page", title: "Copy the unit into a mod, or under a new name",
        run: () => { if (!wantedUnit.peek()) return false; void askCopy({ unitName: wantedUnit.peek(), isToEdit: false }); return true; } },

    { id: "camera", key: "C", where: "view", title: "Change between orbit and game camera",
        run: () => setCamera(camera.peek() === "orbit" ? "game" : "orbit") },
    { id: "fit", key: "F", where: "view", title: "Bring the whole unit into view", run: fitView },

    { id: "undo-model", key: "Ctrl+Z", where: "model", title: "Undo the last step of the model", run: withModel(() => editState.peek().undoDepth > 0, undo) },
    { id: "redo-model", key: "Ctrl+Shift+Z", where: "model", title: "Make the undone step of the model again", run: withModel(() => editState.peek().redoDepth > 0, redo) },
    { id: "save-model", key: "Ctrl+Shift+S", where: "model", title: "Save the model", run: withModel(() => editState.peek().isDirty, saveModel) },
    { id: "revert-model", where: "model", title: "Give every step of the model up", run: withModel(() => editState.peek().isDirty, revertModel) },
    { id: "find-duplicates", where: "page", title: "Find faces that are there twice", run: withModel(() => true, findDuplicates) },
    { id: "look-through", where: "page", title: "Find faces that one looks through from above", run: withModel(() => true, () => lookThrough("game")) },

    { id: "fit-map", key: "F", where: "map", title: "Bring the whole map into view", run: fitMap },
    { id: "end-placing", key: "Escape", where: "map", title: "End placing; clicks choose units again", run: endPointer },
    { id: "show-map", where: "page", title: "Show the map, or the unit again", run: () => loadedMap.peek() ? showMap(!isMapShown.peek()) : false },

    { id: "tall-tabs", key: "Alt+6", where: "page", title: "Give the tabs most of the room, or no longer", run: toggleTall },
    ...bottomPanes.map((pane): Command =>
        ({ id: `tab-${pane.id}`, where: "page", title: `Show ${pane.title}`, run: () => showTab(pane.id) })),
];
