import type { Fbi } from "protocol";
import { shownValue } from "./definition";

export interface ComparedKey {
    key: string;
    values: string[];
    differs: boolean;
}

/** A row a key: those that differ first asked for, else all, by name. */
export function comparedKeys(definitions: readonly Fbi[], onlyDifferent: boolean): ComparedKey[] {
    const keys = [...new Set(definitions.flatMap((one) => Object.keys(one)))].sort();
    const rows = keys.map((key): ComparedKey => {
        const values = definitions.map((one: Readonly<Record<string, unknown>>) => {
            const value = Object.hasOwn(one, key) ? one[key] : undefined;
            return Array.isArray(value) ? value.join(", ") : shownValue(value);
        });
        return { key, values, differs: new Set(values).size > 1 };
    });
    return onlyDifferent ? rows.filter(({ differs }) => differs) : rows;
}
