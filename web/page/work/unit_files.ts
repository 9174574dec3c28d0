import type { LoadedUnit } from "protocol";

/** Whether a file on the disk is one that the unit was loaded from: its archive, or a file named after it. */
export function concerns(path: string, { unitName, source, fbi }: LoadedUnit): boolean {
    if (source?.path === path) return true;
    const stem = path.replace(/^.*[\\/]/, "").replace(/\.[^.]*$/, "").toLowerCase();
    return [unitName, fbi.objectname, fbi.scriptname, fbi.script].some((name) => name !== "" && name.toLowerCase() === stem) &&
        /\.(fbi|3do|cob|bos)$/i.test(path);
}
