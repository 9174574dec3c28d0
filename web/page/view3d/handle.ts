// The one view that is there, for commands that concern it.
import { current } from "./current";
import type { UnitView } from "./unit_view";

export const unitView = current<UnitView>();

export function fitView(): boolean {
    unitView.get()?.fit();
    return unitView.get() !== undefined;
}
