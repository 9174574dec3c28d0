// A unit's definition as a form: rows read out of its text, and changes of one key that leave every other byte alone.
import type { Fbi } from "protocol";
import { type Assignment, scanTdf, type TdfText } from "./tdf";

export type KeyKind = "text" | "number" | "flag";

export interface DefinitionRow {
    /** As the text spells it, else in lower case. */
    key: string;
    kind: KeyKind;
    /** As written, or what the game takes when it is not. */
    value: string;
    isSet: boolean;
    /** The base game's, where it differs. */
    baseline?: string;
}

const isUnitInfo = (name: string): boolean => name.toLowerCase() === "unitinfo";
const SECTION_DEPTH = 1;

const statementsOf = (scan: TdfText): Assignment[] =>
    scan.assignments.filter(({ section, depth }) => depth === SECTION_DEPTH && isUnitInfo(section));

/** The statements that count, by key in lower case: of several the last. */
function lastByKey(scan: TdfText): Map<string, Assignment> {
    return new Map(statementsOf(scan).map((one) => [one.key.toLowerCase(), one]));
}

/** Those that are set in the text's order, then all that could be set, by name. */
export function definitionRows(text: string, known: Fbi | undefined, baseline: Fbi | undefined): DefinitionRow[] {
    // any word can be a key: what every object has is none of them
    const kinds = new Map<string, unknown>(Object.entries(known ?? {}));
    const before = new Map<string, unknown>(Object.entries(baseline ?? {}));
    const set = lastByKey(scanTdf(text));
    const row = (key: string, value: string, isSet: boolean): DefinitionRow => {
        const lower = key.toLowerCase();
        const base = before.get(lower);
        const differs = base !== undefined && !Array.isArray(base) && !readsAs(value, base);
        return { key, kind: kindOf(kinds.get(lower)), value, isSet,
            ...(differs ? { baseline: shownValue(base) } : {}) };
    };
    const unset = [...kinds.keys()].filter((key) => !set.has(key) && !Array.isArray(kinds.get(key))).sort();
    return [...[...set.values()].map(({ key, value }) => row(key, value, true)),
        ...unset.map((key) => row(key, shownValue(kinds.get(key)), false))];
}

const kindOf = (value: unknown): KeyKind => typeof value === "boolean" ? "flag" : typeof value === "number" ? "number" : "text";
/** Fractions have the precision that the game gives them. */
export const shownValue = (value: unknown): string =>
    typeof value === "boolean" ? (value ? "1" : "0") : typeof value === "number" ? String(Number(value.toPrecision(7))) : String(value ?? "");

function readsAs(written: string, value: unknown): boolean {
    if (typeof value === "number") return Math.fround(Number.parseFloat(written) || 0) === Math.fround(value);
    if (typeof value === "boolean") return ((Number.parseInt(written, 10) || 0) !== 0) === value;
    return written === value;
}

/** What is wrong with a value, or "". */
export function valueFault(kind: KeyKind, value: string): string {
    if (/[;\r\n\0]/.test(value)) return "a value holds no \";\" and no line break";
    if (kind === "number" && value.trim() !== "" && !/^\s*[-+]?(\d+\.?\d*|\.\d+)\s*$/.test(value)) return "not a number";
    return "";
}

/** The text with that key set, where it stands or, when it is new, behind the section's last statement. */
export function withValue(text: string, key: string, value: string): string {
    const scan = scanTdf(text);
    const last = lastByKey(scan).get(key.toLowerCase());
    if (last) return text.slice(0, last.valueFrom) + value + text.slice(last.valueTo);
    const section = scan.sections.filter(({ name, depth }) => depth === 0 && isUnitInfo(name)).at(-1);
    if (!section) return text;
    const at = behindComment(text, section.continuation);
    return `${text.slice(0, at)}${separatorOf(text, statementsOf(scan).at(-1))}${key}=${value};${text.slice(at)}`;
}

/** The text without that key: its whole statement, with the line if nothing else stands there. */
export function withoutKey(text: string, key: string): string {
    const gone = statementsOf(scanTdf(text)).filter((one) => one.key.toLowerCase() === key.toLowerCase());
    return gone.reverse().reduce((rest, { keyFrom, end }) => {
        const lineFrom = rest.lastIndexOf("\n", keyFrom - 1) + 1;
        const lineEnd = rest.indexOf("\n", end);
        const behind = rest.slice(end, lineEnd < 0 ? rest.length : lineEnd);
        const isAlone = rest.slice(lineFrom, keyFrom).trim() === "" && behind.trim() === "";
        return isAlone ? rest.slice(0, lineFrom) + rest.slice(lineEnd < 0 ? rest.length : lineEnd + 1)
            : rest.slice(0, keyFrom) + rest.slice(end);
    }, text);
}

/** A line break and the indentation of the statement before. */
function separatorOf(text: string, before: Assignment | undefined): string {
    const lineBreak = text.includes("\r\n") ? "\r\n" : "\n";
    if (!before) return `${lineBreak}\t`;
    const lineFrom = text.lastIndexOf("\n", before.keyFrom - 1) + 1;
    const indent = /^[ \t]*/.exec(text.slice(lineFrom, before.keyFrom))![0];
    return lineFrom === 0 || lineFrom + indent.length < before.keyFrom ? " " : lineBreak + indent;
}

/** Behind a comment that ends the line of the last statement. */
function behindComment(text: string, at: number): number {
    return at + (/^[ \t]*\/\/[^\r\n]*/.exec(text.slice(at))?.[0].length ?? 0);
}
