import type { ListedUnit } from "protocol";
import { isBelow } from "./paths";

/** As list-units searches: in name, title and display name, in any case; of one side, and of the files below one root. */
export function filterUnits(units: readonly ListedUnit[], search: string, side = "", root = ""): readonly ListedUnit[] {
    const text = search.trim().toLowerCase();
    if (text === "" && side === "" && root === "") return units;
    return units.filter((unit) => (side === "" || unit.side === side) &&
        (root === "" || isBelow(unit.source?.path ?? "", root)) &&
        [unit.name, unit.title, unit.displayName].some((one) => one.toLowerCase().includes(text)));
}
