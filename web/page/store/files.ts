// Lifetime: the opened roots. What lies in the stack, in a folder or an archive; the file that is looked at. All in
// the background: large archives take their time, and scripts run on meanwhile.
import { batch, computed } from "@preact/signals";
import type { ArchivePreview, ArchiveTree, Requests } from "protocol";
import { ask, IN_BACKGROUND } from "../ask";
import type { FileNode } from "../work/locations";
import { counted } from "../work/words";
import { resource, valueOf } from "./resource";
import { pathsOf, roots } from "./roots";
import { state } from "./state";
import { type Partly, task } from "./task";

type Look = Pick<Requests["archive-browse-preview"], "as" | "entry" | "frame">;

type Skipped = readonly { internalPath: string; reason: string }[];

/** "" is the stack, as the game sees it. */
const [place, setPlace] = state("");
const [archives, setArchives] = state<readonly string[]>([]);
const [chosenFile, setFile] = state<FileNode | undefined>(undefined);
/** Which picture of an animation. */
const [look, setLook] = state<Look>({});
/** What the last extraction left out. */
const [skipped, setSkipped] = state<Skipped>([]);

export { chosenFile, look, place, skipped };
export const places = computed(() => ["", ...roots.value ? pathsOf(roots.value) : [], ...archives.value]);
export const extraction = task();

export const tree = resource<ArchiveTree>(async () => {
    const opened = await ask("archive-browse-open", { path: place.peek() }, IN_BACKGROUND);
    if (opened.archives) setArchives(opened.archives);
    return opened;
});

export const preview = resource<ArchivePreview>(() => ask("archive-browse-preview",
    { path: place.peek(), internalPath: chosenFile.peek()?.path ?? "", ...look.peek() }, IN_BACKGROUND));

export async function browse(path: string): Promise<void> {
    batch(() => {
        setPlace(path);
        tree.reset();
        forgetFile();
    });
    await tree.load();
}

/** As after a change on the disk; another root set begins with its stack. */
export async function browseAgain(): Promise<void> {
    if (!places.peek().includes(place.peek())) return browse("");
    await tree.load();
    if (chosenFile.peek()) await preview.load();
}

export async function chooseFile(node: FileNode): Promise<void> {
    batch(() => {
        if (node.path !== chosenFile.peek()?.path) preview.reset();
        setFile(node);
        setLook(firstLook(node.name));
    });
    if (node.file) await preview.load();
    else preview.reset();
}

export async function showFrame(entry: number, frame: number): Promise<void> {
    setLook({ entry, frame });
    await preview.load();
}

function firstLook(name: string): Look {
    if (/\.3do$/i.test(name)) return { as: "glb" };
    if (/\.wav$/i.test(name)) return { as: "wav" };
    return {};
}

function forgetFile(): void {
    setFile(undefined);
    preview.reset();
    extraction.reset();
    setSkipped([]);
}

/** The chosen file or folder, or without one everything here. */
export function extract(destination: string, overwrite: boolean): Promise<void> {
    const node = chosenFile.peek();
    const path = place.peek();
    setSkipped([]);
    return extraction.run(`Extracting ${node?.name ?? "everything"}`, async (told) => {
        if (node?.file) {
            const request = { path, internalPath: node.path, destination, overwrite };
            const { writtenPath, byteSize } = await ask("archive-browse-extract-one", request, IN_BACKGROUND);
            return `${counted(byteSize, "byte")} in ${writtenPath}`;
        }
        const request = { path, destination, overwrite, progress: true };
        const how = { inBackground: true, told };
        const result = node ? await ask("archive-browse-extract-dir", { ...request, directory: node.path }, how)
            : await ask("archive-browse-extract-all", request, how);
        setSkipped(result.skipped);
        return sayExtracted(result.fileCount, result.skipped, destination);
    });
}

/** What is there already is left out as wished; else no file at all is a failure. */
function sayExtracted(written: number, left: Skipped, destination: string): string | Partly {
    const [fault] = left.filter(({ reason }) => !reason.startsWith("file exists"));
    const leftOut = `${counted(left.length, "file")} left out`;
    if (written === 0 && fault) throw new Error(`nothing is written, ${leftOut}: ${fault.reason}`);
    const text = `${counted(written, "file")} in ${destination}${left.length > 0 ? `, ${leftOut}` : ""}`;
    return fault ? { partly: `${text}: ${fault.reason}` } : text;
}

export const extractedWhat = computed(() =>
    chosenFile.value?.path ?? (valueOf(tree.shown.value) ? "everything here" : ""));
