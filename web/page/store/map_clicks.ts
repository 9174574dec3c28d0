// Lifetime: the loaded map. What a click on it does: choosing, placing, giving an order.
import { computed } from "@preact/signals";
import type { MapClick } from "../map3d/map_view";
import { meantBy } from "../work/map_orders";
import { NOTHING, type Placing, spawnAt } from "../work/placing";
import { counted } from "../work/words";
import { give, preparedOrder } from "./map_play";
import { mapUnits, place, pointer, selectedUnits, selectUnits, setPointer, toggleUnit } from "./map";
import { state } from "./state";

const [placing, set] = state<Placing>(NOTHING);
export { placing };
export const setPlacing = (part: Partial<Placing>): void => set({ ...placing.peek(), ...part });

export const pointerHint = computed(() => {
    if (pointer.value === "place") return `Click where ${placing.value.name} comes; Escape ends placing`;
    if (pointer.value === "order") return `${preparedOrder.value.title}: click where (Shift: behind the other orders); Escape ends it`;
    const chosen = selectedUnits.value.length;
    return chosen > 0 ? `${chosen} chosen; the right button orders: move, attack, guard`
        : counted(mapUnits.value.length, "unit");
});

/** The left button chooses, places, or gives the prepared order; the right one gives the order that is meant. */
export function clickMap(click: MapClick): void {
    const chosen = selectedUnits.peek();
    if (click.button === "right") { if (chosen.length > 0) void give(meantBy(click, mapUnits.peek(), chosen), click.isAdding, click); }
    else if (pointer.peek() === "order") void give(preparedOrder.peek(), click.isAdding, click);
    else if (pointer.peek() === "place") void place(() => spawnAt(placing.peek(), click.x, click.z));
    else if (click.unitId !== undefined && click.isAdding) toggleUnit(click.unitId);
    else selectUnits(click.unitId === undefined ? [] : [click.unitId]);
}

/** Back to choosing; false when that is what clicks do. */
export function endPointer(): boolean {
    if (pointer.peek() === "select") return false;
    setPointer("select");
    return true;
}
