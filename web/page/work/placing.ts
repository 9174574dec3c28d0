// What is put onto a map, as it is typed, and the request that it becomes.
import type { MapUnit, Spawn } from "protocol";
import { readPlace } from "./map_orders";

export interface Placing {
    kind: "unit" | "feature";
    name: string;
    player: number;
    count: string;
    heading: string;
    health: string;
    built: string;
    /** A typed place, instead of a click. */
    where: string;
}

type NumberWord = "count" | "heading" | "health" | "built";

interface NumberField {
    key: NumberWord;
    label: string;
    hint: string;
    least: number;
    most: number;
    /** When nothing is typed. */
    usual: number;
    isWhole?: true;
}

export const NUMBERS: readonly NumberField[] = [
    { key: "count", label: "Count", hint: "1 to 1,000, in a block", least: 1, most: 1_000, usual: 1, isWhole: true },
    { key: "heading", label: "Heading", hint: "degrees; 0 faces south", least: -360, most: 360, usual: 0 },
    { key: "health", label: "Health", hint: "percent", least: 1, most: 100, usual: 100 },
    { key: "built", label: "Built", hint: "percent; less than 100 is a frame", least: 0, most: 100, usual: 100 },
];

export const NOTHING: Placing = { kind: "unit", name: "", player: 1, count: "1", heading: "0", health: "100",
    built: "100", where: "" };

function readNumber({ least, most, usual, isWhole }: NumberField, text: string): number | string {
    if (text.trim() === "") return usual;
    const value = Number(text);
    const isRight = isWhole ? Number.isSafeInteger(value) : Number.isFinite(value);
    if (!isRight) return isWhole ? "not a whole number" : "not a number";
    return value < least || value > most ? `${least} to ${most.toLocaleString("en")}` : value;
}

/** What is wrong with a typed number, or "". */
export function numberFault(field: NumberField, placing: Placing): string {
    const value = readNumber(field, placing[field.key]);
    return typeof value === "string" ? value : "";
}

/** What is missing or wrong, or "". */
export function placingFault(placing: Placing, units: readonly MapUnit[]): string {
    if (placing.name === "") return `Name a ${placing.kind}`;
    const wrong = placing.kind === "unit" ? NUMBERS.find((field) => numberFault(field, placing) !== "") : undefined;
    if (wrong) return `${wrong.label}: ${numberFault(wrong, placing)}`;
    const at = readPlace(placing.where, units);
    return typeof at === "string" ? at : "";
}

/** The request; throws what is missing or wrong. */
export function spawnAt(placing: Placing, x: number, z: number): Spawn {
    const fault = placingFault({ ...placing, where: "" }, []);
    if (fault) throw new Error(fault);
    const [count, degrees, health, built] = NUMBERS.map((field) => Number(readNumber(field, placing[field.key])));
    if (placing.kind === "feature") return { feature: placing.name, x, z };
    return { unit: placing.name, x, z, player: placing.player, count: count!, heading: degrees! * Math.PI / 180,
        health: health!,
        buildFraction: built! / 100 };
}
