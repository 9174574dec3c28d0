import type { LoadedUnit } from "protocol";

/**
 * Whether a file on the disk is one that the unit was loaded from: its archive, a file named after it, a table that
 * declares its weapon or its way to move, one of its sounds, or any texture.
 */
export function concerns(path: string, { unitName, source, fbi, weapons, sounds,
    movementClassInfo }: LoadedUnit): boolean {
    const move = movementClassInfo?.found ? movementClassInfo.sourcePath : "";
    const tables = [move, ...weapons.map((one) => one.missing ? "" : one.sourcePath)];
    if (source?.path === path || tables.some((location) => location.split(" :: ")[0] === path)) return true;
    if (/[\\/]textures[\\/][^\\/]+$/i.test(path)) return true;
    const stem = path.replace(/^.*[\\/]/, "").replace(/\.[^.]*$/, "").toLowerCase();
    const isNamed = (names: readonly string[]): boolean => names.some((name) =>
        name !== "" && name.toLowerCase() === stem);
    if (/\.wav$/i.test(path)) return isNamed(sounds.events.map(({ name }) => name));
    return /\.(fbi|3do|cob|bos)$/i.test(path) && isNamed([unitName, fbi.objectname, fbi.scriptname, fbi.script]);
}
