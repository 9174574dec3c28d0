// The tabs of the frame, one file each. A new pane is a file here and a row below.
import type { FunctionComponent } from "preact";
import { computed, type ReadonlySignal } from "@preact/signals";
import { definitions } from "../store/definition";
import { healthNote } from "../store/health";
import { ComparePane } from "./compare";
import { ConflictsPane } from "./conflicts";
import { DefinitionPane } from "./definition";
import { FacesPane } from "./faces";
import { FilesPane } from "./files";
import { HealthPane } from "./health";
import { LogPane } from "./log";
import { MapPane } from "./map";
import { PackPane } from "./pack";
import { SoundsPane } from "./sounds";
import { TexturesPane } from "./textures";
import { ThreadsPane } from "./threads";
import { TracePane } from "./trace";
import { UnitValuesPane } from "./unit_values";
import { VariablesPane } from "./variables";
import { WeaponsPane } from "./weapons";

interface Pane {
    id: string;
    title: string;
    hint: string;
    view: FunctionComponent;
    /** A count beside the title. */
    note?: ReadonlySignal<string | undefined>;
}

const draftNote = computed(() => definitions.drafts.value.length > 0 ? "•" : undefined);

/** Below the 3D view and the script, in this order. */
export const bottomPanes: readonly Pane[] = [
    { id: "health", title: "Health", hint: "What keeps the unit from being ready, and what mends it", view: HealthPane, note: healthNote },
    { id: "definition", title: "FBI", hint: "The unit's definition as a form and as text", view: DefinitionPane, note: draftNote },
    { id: "weapons", title: "Weapons", hint: "The unit's weapons and what their tables say", view: WeaponsPane },
    { id: "remap", title: "Textures", hint: "The model's textures, team colour, the palette", view: TexturesPane },
    { id: "sounds", title: "Sounds", hint: "What the unit's sound category plays", view: SoundsPane },
    { id: "trace", title: "Trace", hint: "What the script did, newest last", view: TracePane },
    { id: "files", title: "Files", hint: "What lies in the stack, in folders and archives", view: FilesPane },
    { id: "conflicts", title: "Conflicts", hint: "What is declared twice or leads to nothing", view: ConflictsPane },
    { id: "compare", title: "Compare", hint: "Definitions of units side by side", view: ComparePane },
    { id: "faces", title: "Faces", hint: "The model's faces: what is found at them, and what mends it", view: FacesPane },
    { id: "pack", title: "Pack", hint: "What units need, and an archive of it", view: PackPane },
    { id: "map", title: "Map", hint: "Maps, and units that stand, move and fight on them", view: MapPane },
    { id: "log", title: "Log", hint: "What the editor writes about its work", view: LogPane },
];

/** Below the script. */
export const debugPanes: readonly Pane[] = [
    { id: "threads", title: "Threads", hint: "Who runs, who waits and for what", view: ThreadsPane },
    { id: "variables", title: "Variables", hint: "Variables by name; they can be written", view: VariablesPane },
    { id: "unit-values", title: "Unit values", hint: "What scripts read of the unit; they can be written", view: UnitValuesPane },
];
