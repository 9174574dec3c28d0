// The one view that is there, for commands that concern it.
import type { UnitView } from "./unit_view";

let view: UnitView | undefined;

/** Returns what ends it. */
export function setView(value: UnitView): () => void {
    view = value;
    return () => { if (view === value) view = undefined; };
}

export function fitView(): boolean {
    view?.fit();
    return view !== undefined;
}
