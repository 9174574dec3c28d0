// The orders that units on a map take: what each needs, and the request that it becomes.
import type { MapEvent, MapUnit, MoveRequest, OrderKind } from "protocol";
import { readArguments } from "./arguments";

export interface OrderRow {
    order: OrderKind;
    title: string;
    /** What is clicked; none for orders that are given at once. */
    aim?: "place" | "target" | "either";
    /** What is typed. */
    takes?: "value" | "unit" | "script";
    note: string;
}

export const ORDERS: readonly OrderRow[] = [
    { order: "move", title: "Move", aim: "place", note: "Go there." },
    { order: "attack", title: "Attack", aim: "either", note: "Go near and fire, at a unit or the ground." },
    { order: "patrol", title: "Patrol", aim: "place", note: "Go there and back, again and again; builders work beside their way." },
    { order: "fire", title: "Fire once", aim: "either", note: "One shot without moving; planes fly there." },
    { order: "guard", title: "Guard", aim: "target", note: "Follow a unit, help it and work with it." },
    { order: "build", title: "Build", aim: "place", takes: "unit", note: "A builder sets up a unit there; a factory builds it in its yard, so many times." },
    { order: "repair", title: "Repair", aim: "target", note: "Mend a unit, or build on what is not ready." },
    { order: "reclaim", title: "Reclaim", aim: "target", note: "Take a unit apart for its metal." },
    { order: "capture", title: "Capture", aim: "target", note: "Make a unit its own." },
    { order: "load", title: "Load", aim: "target", note: "Take a unit aboard." },
    { order: "unload", title: "Unload", aim: "place", note: "Put down there, or near it, all who are aboard." },
    { order: "land", title: "Land on a pad", aim: "target", note: "Of an aircraft: sit on a landing pad of that unit until it is mended." },
    { order: "cloak", title: "Cloak", note: "Hide whenever it can." },
    { order: "decloak", title: "Decloak", note: "Hide no more." },
    { order: "selfDestruct", title: "Self-destruct", note: "After the countdown; once more calls it off." },
    { order: "stop", title: "Stop", note: "Forget every order." },
    { order: "activate", title: "Activate", note: "Switch on." },
    { order: "deactivate", title: "Deactivate", note: "Switch off." },
    { order: "moveState", title: "Movement", takes: "value", note: "0 hold the position, 1 manoeuvre, 2 roam." },
    { order: "fireState", title: "Firing", takes: "value", note: "0 hold fire, 1 return fire, 2 fire at will." },
    { order: "damage", title: "Damage", takes: "value", note: "For a preview: so much at once." },
    { order: "kill", title: "Kill", takes: "value", note: "For a preview: dies at once, with that severity; 100 when empty." },
    { order: "finish", title: "Finish", note: "For a preview: built to the end at once." },
    { order: "place", title: "Put there", aim: "place", note: "For a preview: moved at once." },
    { order: "script", title: "Start a script", takes: "script", note: "For a preview: a script of the unit on the map." },
    { order: "remove", title: "Remove", note: "Gone, without a wreck." },
];

export interface OrderWords {
    value: string;
    unit: string;
    count: string;
    script: string;
    args: string;
}

/** Where a click was, on which unit. */
export interface OrderPlace {
    x: number;
    z: number;
    unitId?: number;
}

/** A typed place: "x z" or "#unit"; nothing when nothing is typed, else what is wrong with it. */
export function readPlace(text: string, units: readonly Pick<MapUnit, "unitId" | "x" | "z">[]): OrderPlace | string | undefined {
    if (text.trim() === "") return undefined;
    const named = /^\s*#\s*(\d+)\s*$/.exec(text);
    if (named) {
        const unit = units.find(({ unitId }) => unitId === Number(named[1]));
        return unit ? { x: unit.x, z: unit.z, unitId: unit.unitId } : `no unit ${named[1]}`;
    }
    const [x, z, more] = text.split(/[\s,]+/).filter(Boolean).map(Number);
    if (x === undefined || z === undefined || more !== undefined || !Number.isFinite(x) || !Number.isFinite(z)) return "not a place: two numbers, or # and a unit's id";
    return { x, z };
}

/** The request, or what it still needs. */
export function buildOrder(
    row: OrderRow, unitIds: readonly number[], words: OrderWords, queue: boolean, at?: OrderPlace,
): { order: MoveRequest } | { missing: string } {
    if (unitIds.length === 0) return { missing: "Choose units: click them on the map or in the list" };
    const args = readArguments(words.args);
    if (row.takes === "unit" && words.unit.trim() === "") return { missing: "Name the unit that is built" };
    if (row.takes === "unit" && !/^\d*$/.test(words.count.trim())) return { missing: "Count: not a whole number" };
    if (row.takes === "script" && words.script.trim() === "") return { missing: "Name the script" };
    if (row.takes === "script" && typeof args === "string") return { missing: args };
    if (row.takes === "value" && words.value.trim() !== "" && !Number.isFinite(Number(words.value))) return { missing: "Value: not a number" };
    if (row.aim && !at) return { missing: "Click where" };
    if (row.aim === "target" && at?.unitId === undefined) return { missing: `${row.title}: click a unit` };
    const isAtUnit = at?.unitId !== undefined && row.aim !== "place";
    return { order: {
        unitIds: [...unitIds], order: row.order, ...(queue ? { queue } : {}),
        ...(!row.aim || !at ? {} : isAtUnit ? { target: at.unitId! } : { x: at.x, z: at.z }),
        ...(row.takes === "unit" ? { unit: words.unit.trim(), ...(Number(words.count) > 1 ? { count: Number(words.count) } : {}) } : {}),
        ...(row.takes === "value" && words.value.trim() !== "" ? { value: Number(words.value) } : {}),
        ...(row.takes === "script" && typeof args !== "string" ? { name: words.script.trim(), args } : {}),
    } };
}

/** What a click with the right button means to units of a player: attack, guard or move. */
export function meantBy(at: OrderPlace, units: readonly MapUnit[], chosen: readonly number[]): OrderRow {
    const player = units.find(({ unitId }) => unitId === chosen[0])?.player;
    const target = units.find(({ unitId }) => unitId === at.unitId);
    const word: OrderKind = !target || chosen.includes(target.unitId) ? "move" : target.player === player ? "guard" : "attack";
    return ORDERS.find(({ order }) => order === word)!;
}

/** What a unit is at, and what has befallen it. */
export function describeState({ state, order, buildFraction, queued, cloaked, stunned }: MapUnit): string {
    return [
        state === "nanoframe" ? `frame, ${Math.round(buildFraction * 100)} % built` : order ?? state,
        ...(state === "loading" && order !== "load" && order !== "unload" ? ["loading"] : []),
        ...(cloaked ? ["cloaked"] : []),
        ...(stunned ? [`stunned ${Math.ceil(stunned)} s`] : []),
        ...(state !== "nanoframe" && queued > 0 ? [`${queued} queued`] : []),
    ].join(", ");
}

/** An event in words, without tick and unit. */
export function describeEvent(event: MapEvent): string {
    switch (event.kind) {
        case "order-done": return `${event.order}: done${event.reached ? "" : ", not reached"}`;
        case "order-failed": return `${event.order}: ${event.reason}`;
        case "aimed": return `aimed, slot ${event.slot}`;
        case "aim-failed": return `cannot aim, slot ${event.slot}: ${event.reason}`;
        case "fired": return `fired ${event.weapon}${event.piece ? ` from ${event.piece}` : ""}`;
        case "hit": return `${event.weapon} hit ${event.damaged.map(({ unitId, damage }) => `${unitId} (−${Math.round(damage)})`).join(", ") || "nothing"}`;
        case "killed": return `killed, severity ${event.severity}${event.corpse ? `, leaves ${event.corpse}` : ""}`;
        case "corpse": return `left ${event.name}`;
        case "feature-gone": return `feature ${event.featureId} is gone`;
        case "explode": return `${event.piece ?? "a piece"} flies off`;
        case "effect": return `effect${event.piece ? ` at ${event.piece}` : ""}`;
        case "sound": return `sound ${event.name ?? event.number}`;
        case "feature-burns": return `feature ${event.featureId} burns`;
        case "script-missing": return `has no script ${event.script}`;
        default: return event.kind;
    }
}
