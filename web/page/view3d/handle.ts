// The one view that is there, for commands that concern it.
import type { UnitView } from "./unit_view";

let view: UnitView | undefined;

export function setView(value: UnitView | undefined): void {
    view = value;
}

export function fitView(): boolean {
    view?.fit();
    return view !== undefined;
}
