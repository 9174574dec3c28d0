// Lifetime: the loaded map. What a click on it does: choosing, placing, giving an order.
import { computed, type ReadonlySignal, signal } from "@preact/signals";
import type { Spawn } from "protocol";
import type { MapClick } from "../map3d/map_view";
import { meantBy } from "../work/map_orders";
import { give, preparedOrder } from "./map_play";
import { mapUnits, place, pointer, selectedUnits, selectUnits, setPointer, toggleUnit } from "./map";

export interface Placing {
    kind: "unit" | "feature";
    name: string;
    player: number;
    count: number;
    /** Degrees, 0 faces south. */
    heading: number;
    /** Percent. */
    health: number;
    built: number;
    /** A typed place, instead of a click. */
    where: string;
}

const placingSignal = signal<Placing>({ kind: "unit", name: "", player: 1, count: 1, heading: 0, health: 100, built: 100, where: "" });

export const placing: ReadonlySignal<Placing> = placingSignal;
export const pointerHint = computed(() => {
    if (pointer.value === "place") return `Click where ${placingSignal.value.name} comes; Escape ends placing`;
    if (pointer.value === "order") return `${preparedOrder.value.title}: click where (Shift: behind the other orders); Escape ends it`;
    return selectedUnits.value.length > 0 ? `${selectedUnits.value.length} chosen; the right button orders: move, attack, guard` : `${mapUnits.value.length} units`;
});

export function setPlacing(part: Partial<Placing>): void {
    placingSignal.value = { ...placingSignal.peek(), ...part };
}

export const spawnAt = ({ kind, name, player, count, heading, health, built }: Placing, x: number, z: number): Spawn => ({
    [kind]: name, x, z, ...(kind === "unit" ? { player, count, heading: heading * Math.PI / 180, health, buildFraction: built / 100 } : {}),
});

/** The left button chooses, places, or gives the prepared order; the right one gives the order that is meant. */
export function clickMap(click: MapClick): void {
    const chosen = selectedUnits.peek();
    if (click.button === "right") { if (chosen.length > 0) void give(meantBy(click, mapUnits.peek(), chosen), click.isAdding, click); }
    else if (pointer.peek() === "order") void give(preparedOrder.peek(), click.isAdding, click);
    else if (pointer.peek() === "place") void place(spawnAt(placingSignal.peek(), click.x, click.z));
    else if (click.unitId !== undefined && click.isAdding) toggleUnit(click.unitId);
    else selectUnits(click.unitId === undefined ? [] : [click.unitId]);
}

/** Back to choosing; false when that is what clicks do. */
export function endPointer(): boolean {
    if (pointer.peek() === "select") return false;
    setPointer("select");
    return true;
}
