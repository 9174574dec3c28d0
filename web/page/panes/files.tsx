import { useComputed, useSignal, useSignalEffect } from "@preact/signals";
import type { ArchiveTree } from "protocol";
import { isAlive } from "../store/connection";
import { browse, browseAgain, chooseFile, chosenFile, place, places, tree } from "../store/files";
import { generation, pathsOf, roots } from "../store/roots";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { FilePreview } from "../parts/file_preview";
import { Split } from "../widgets/split";
import { States } from "../widgets/states";
import { Tree } from "../widgets/tree";
import { type FileNode, filesNamed, nodesOf } from "../work/locations";
import { baseName, isBelow, shortNames } from "../work/paths";
import { counted } from "../work/words";

/** So many files that a search finds are listed. */
const MAX_FOUND = 2_000;

/** The stack as the game sees it, each folder and each archive; what lies in them, to be seen and extracted. */
export function FilesPane() {
    useSignalEffect(() => { if (isAlive.value && generation.value > 0) void browseAgain(); });
    const open = roots.value ? pathsOf(roots.value) : [];
    const short = shortNames(open);
    const names = new Map(open.map((path, i) => [path, short[i]!]));
    return (
        <div class="pane flow">
            <div class="toolbar">
                <Choice label="Look into" isCompact value={place.value} onChange={(path) => void browse(path)}
                    title={place.value || "The stack: of each path the file that the game takes"}
                    options={places.value.map((path) => ({ value: path, text: nameOfPlace(path, names) }))} />
                <Button title={chosenFile.value ? `Extract ${chosenFile.value.path}` : "Extract everything here"} disabled={!roots.value && "No game is open"}
                    onPress={() => showDialog("extract")}>Extract…</Button>
                <Facts />
            </div>
            <Split id="files" label="Width of the files" usual={420} least={200} most={900} of="before" direction="row">
                {[
                    <States of={tree.shown.value} empty="Open a game: its files stand here." retry={tree.load}>{(opened) => <Files opened={opened} />}</States>,
                    <FilePreview />,
                ]}
            </Split>
        </div>
    );
}

/** A root by its short name, and what lies in it behind that; of nested roots the innermost. */
function nameOfPlace(path: string, names: ReadonlyMap<string, string>): string {
    if (path === "") return "the stack";
    const [root] = [...names.keys()].filter((one) => isBelow(path, one)).sort((a, b) => b.length - a.length);
    if (root === undefined) return path;
    const inside = path.slice(root.length).replace(/^[\\/]/, "");
    return inside === "" ? names.get(root)! : `${names.get(root)} › ${inside}`;
}

function Facts() {
    const opened = tree.shown.value;
    if (opened.state !== "ready") return null;
    const { fileCount, totalSize, truncated, bank } = opened.value;
    return <span class="quiet">{counted(fileCount, "file")}, {counted(totalSize, "byte")}{truncated && ", not all are listed"}{bank && ", a saved game"}</span>;
}

function Files({ opened }: { opened: ArchiveTree }) {
    const search = useSignal("");
    const shown = useComputed(() => search.value.trim() === "" ? nodesOf(opened.root, "") : filesNamed(opened.root, search.value.trim(), MAX_FOUND));
    return (
        <section class="pane flow" aria-label="Files">
            <div class="toolbar"><Field label="Search files" type="search" isCompact value={search.value} onInput={(text) => { search.value = text; }} /></div>
            <Tree<FileNode> key={opened.path} label="Files" roots={shown.value} keyOf={(node) => node.path} openLevels={0}
                childrenOf={(node) => node.folder ? nodesOf(node.folder, node.path) : []} textOf={(node) => node.name}
                selected={chosenFile.value?.path} onSelect={(node) => void chooseFile(node)} cell={(node) => <Row node={node} />}
                empty={search.value ? "No file is called so." : "Nothing lies here."} />
        </section>
    );
}

function Row({ node }: { node: FileNode }) {
    const source = node.file?.source;
    return (
        <>
            <span title={source?.path}>{node.name}</span>
            <span class="quiet end">{source && baseName(source.path) !== node.name && <>{baseName(source.path)}{"  "}</>}{node.file?.size.toLocaleString("en")}</span>
        </>
    );
}
