import type { ArchiveDirectory, Source } from "protocol";

export interface Place {
    /** Of an archive, or of the folder that a loose file is in. */
    path: string;
    internalPath: string;
}

/** Where to ask for a file that a location names: "ARCHIVE :: PATH", or a loose file's path. */
export function placeOfLocation(location: string): Place {
    const [path = "", internalPath] = location.split(" :: ");
    if (internalPath !== undefined) return { path, internalPath };
    const at = Math.max(path.lastIndexOf("/"), path.lastIndexOf("\\"));
    return { path: path.slice(0, Math.max(at, 1)), internalPath: path.slice(at + 1) };
}

export const locationOf = (source: Source): string =>
    source.kind === "archive" ? `${source.path} :: ${source.internalPath}` : source.path;

/** One row of a browsed archive, folder or stack. */
export interface FileNode {
    path: string;
    name: string;
    /** Absent for a folder. */
    file?: ArchiveDirectory["files"][number];
    folder?: ArchiveDirectory;
}

const known = new WeakMap<ArchiveDirectory, FileNode[]>();

/** Folders first, each by name; the same nodes for the same folder. */
export function nodesOf(folder: ArchiveDirectory, path: string): readonly FileNode[] {
    const before = known.get(folder);
    if (before) return before;
    const inside = (name: string): string => path === "" ? name : `${path}/${name}`;
    const byName = (a: FileNode, b: FileNode): number => a.name.localeCompare(b.name);
    const nodes = [
        ...folder.directories.map((one): FileNode => ({ path: inside(one.name), name: one.name, folder: one })).sort(byName),
        ...folder.files.map((one): FileNode => ({ path: inside(one.name), name: one.name, file: one })).sort(byName),
    ];
    known.set(folder, nodes);
    return nodes;
}

/** All files whose path holds the text, in any case; without recursion. */
export function filesNamed(root: ArchiveDirectory, text: string, most: number): FileNode[] {
    const wanted = text.toLowerCase();
    const found: FileNode[] = [];
    const rest = [...nodesOf(root, "")].reverse();
    for (let node; found.length < most && (node = rest.pop());) {
        if (node.folder) rest.push(...[...nodesOf(node.folder, node.path)].reverse());
        else if (node.path.toLowerCase().includes(wanted)) found.push({ ...node, name: node.path });
    }
    return found;
}
