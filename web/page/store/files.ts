// Lifetime: the opened roots. What lies in the stack, in a folder or an archive; the file that is looked at. All in
// the background: large archives take their time, and scripts run on meanwhile.
import { batch, computed, type ReadonlySignal, signal } from "@preact/signals";
import type { ArchivePreview, ArchiveTree, Requests } from "protocol";
import { askInBackground, askWithProgress } from "../ask";
import type { FileNode } from "../work/locations";
import { counted } from "../work/words";
import { resource, valueOf } from "./resource";
import { pathsOf, roots } from "./roots";
import { task } from "./task";

type Look = Pick<Requests["archive-browse-preview"], "as" | "entry" | "frame">;

const placeSignal = signal("");
const archivesSignal = signal<readonly string[]>([]);
const fileSignal = signal<FileNode | undefined>(undefined);
const lookSignal = signal<Look>({});

/** "" is the stack, as the game sees it. */
export const place: ReadonlySignal<string> = placeSignal;
export const chosenFile: ReadonlySignal<FileNode | undefined> = fileSignal;
/** Which picture of an animation. */
export const look: ReadonlySignal<Look> = lookSignal;
export const places = computed(() => ["", ...roots.value ? pathsOf(roots.value) : [], ...archivesSignal.value]);

export const tree = resource<ArchiveTree>(async () => {
    const opened = await askInBackground("archive-browse-open", { path: placeSignal.peek() });
    if (opened.archives) archivesSignal.value = opened.archives;
    return opened;
});

export const preview = resource<ArchivePreview>(() => askInBackground("archive-browse-preview",
    { path: placeSignal.peek(), internalPath: fileSignal.peek()?.path ?? "", ...lookSignal.peek() }));

export const extraction = task();
/** What the last extraction left out. */
const skippedSignal = signal<readonly { internalPath: string; reason: string }[]>([]);
export const skipped: ReadonlySignal<readonly { internalPath: string; reason: string }[]> = skippedSignal;

export async function browse(path: string): Promise<void> {
    batch(() => {
        placeSignal.value = path;
        tree.reset();
        forgetFile();
    });
    await tree.load();
}

/** As after a change on the disk; another root set begins with its stack. */
export async function browseAgain(): Promise<void> {
    if (!places.peek().includes(placeSignal.peek())) return browse("");
    await tree.load();
    if (fileSignal.peek()) await preview.load();
}

export async function chooseFile(node: FileNode): Promise<void> {
    batch(() => {
        if (node.path !== fileSignal.peek()?.path) preview.reset();
        fileSignal.value = node;
        lookSignal.value = firstLook(node.name);
    });
    if (node.file) await preview.load();
    else preview.reset();
}

export async function showFrame(entry: number, frame: number): Promise<void> {
    lookSignal.value = { entry, frame };
    await preview.load();
}

function firstLook(name: string): Look {
    if (/\.3do$/i.test(name)) return { as: "glb" };
    if (/\.wav$/i.test(name)) return { as: "wav" };
    return {};
}

function forgetFile(): void {
    fileSignal.value = undefined;
    preview.reset();
    extraction.reset();
    skippedSignal.value = [];
}

/** The chosen file or folder, or without one everything here. */
export function extract(destination: string, overwrite: boolean): Promise<void> {
    const node = fileSignal.peek();
    const path = placeSignal.peek();
    skippedSignal.value = [];
    return extraction.run(`Extracting ${node?.name ?? "everything"}`, async (told) => {
        if (node?.file) {
            const { writtenPath, byteSize } = await askInBackground("archive-browse-extract-one", { path, internalPath: node.path, destination, overwrite });
            return `${counted(byteSize, "byte")} in ${writtenPath}`;
        }
        const request = { path, destination, overwrite, progress: true };
        const result = node ? await askWithProgress("archive-browse-extract-dir", { ...request, directory: node.path }, told, true)
            : await askWithProgress("archive-browse-extract-all", request, told, true);
        skippedSignal.value = result.skipped;
        const left = result.skipped.length > 0 ? `, ${counted(result.skipped.length, "file")} left out` : "";
        return `${counted(result.fileCount, "file")} in ${destination}${left}`;
    });
}

export const extractedWhat = computed(() => fileSignal.value?.path ?? (valueOf(tree.shown.value) ? "everything here" : ""));
