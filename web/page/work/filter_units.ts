import type { ListedUnit } from "protocol";

/** As list-units searches: in name, title and display name, in any case. */
export function filterUnits(units: readonly ListedUnit[], search: string, side: string): readonly ListedUnit[] {
    const text = search.trim().toLowerCase();
    if (text === "" && side === "") return units;
    return units.filter((unit) => (side === "" || unit.side === side) &&
        [unit.name, unit.title, unit.displayName].some((one) => one.toLowerCase().includes(text)));
}
