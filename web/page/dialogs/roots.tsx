import { useSignal } from "@preact/signals";
import { openAndShow } from "../begin";
import { pathsOf, recent, roots, start } from "../store/roots";
import { closeDialog } from "../store/view";
import type { Roots } from "../../wire";
import { messageOf } from "../work/newest";
import { baseName } from "../work/paths";
import { Button } from "../widgets/button";
import { Dialog } from "../widgets/dialog";
import { FolderField } from "../widgets/folder_field";
import { List } from "../widgets/list";

/** Which game, which mods over it, in which order. */
export function RootsDialog() {
    const first = roots.peek() ?? start.peek()?.roots ?? { taDataPath: "", modPaths: [] };
    const game = useSignal(first.taDataPath);
    const mods = useSignal<readonly string[]>(first.modPaths);
    const added = useSignal("");
    const maps = useSignal(first.mapsPath ?? "");
    const failure = useSignal("");
    const wanted = (): Roots => ({
        taDataPath: game.peek(), modPaths: [...mods.peek(), ...(added.peek().trim() ? [added.peek().trim()] : [])],
        ...(maps.peek().trim() ? { mapsPath: maps.peek().trim() } : {}),
    });
    const take = (one: Roots): void => {
        game.value = one.taDataPath;
        mods.value = one.modPaths;
        maps.value = one.mapsPath ?? "";
        added.value = "";
    };

    async function open(one: Roots): Promise<void> {
        try {
            await openAndShow(one);
            closeDialog();
        } catch (error) {
            failure.value = messageOf(error);
        }
    }

    return (
        <Dialog title="Open a game and mods" onClose={closeDialog} actions={<>
            <Button title="Take the sample game" onPress={() => { const sample = start.peek()?.sample; if (sample) take(sample); }}>Sample game</Button>
            <Button title="Leave everything as it is" onPress={closeDialog}>Cancel</Button>
            <Button kind="main" title="Mount these folders" disabled={game.value.trim() === "" && "Name the game's folder"} onPress={() => open(wanted())}>Open</Button>
        </>}>
            <FolderField label="Game folder" value={game.value} onInput={(text) => { game.value = text; }} onEnter={() => void open(wanted())} isFocused />
            <div class="field">
                <span>Mods, the one that wins first</span>
                <div class="short">
                    <List label="Mods" items={mods.value} keyOf={(path) => path} hasControls empty="No mod; add one below."
                        columns={[
                            { width: "1fr", cell: (path) => <span title={path}>{path}</span> },
                            { width: "auto", cell: (path, isActive) => <span class="row-buttons">
                                <Button kind="icon" title={`Move ${baseName(path)} up`} tabIndex={isActive ? 0 : -1} onPress={() => { mods.value = moved(mods.peek(), path, -1); }}>↑</Button>
                                <Button kind="icon" title={`Move ${baseName(path)} down`} tabIndex={isActive ? 0 : -1} onPress={() => { mods.value = moved(mods.peek(), path, 1); }}>↓</Button>
                                <Button kind="icon" title={`Leave ${baseName(path)} out`} tabIndex={isActive ? 0 : -1} onPress={() => { mods.value = mods.peek().filter((one) => one !== path); }}>✕</Button>
                            </span> },
                        ]} />
                </div>
            </div>
            <FolderField label="Add a mod folder" value={added.value} onInput={(text) => { added.value = text; }}
                onEnter={() => { if (added.peek().trim()) { mods.value = [added.peek().trim(), ...mods.peek()]; added.value = ""; } }} />
            <FolderField label="Maps folder" value={maps.value} onInput={(text) => { maps.value = text; }} />
            {recent.value.length > 0 && <div class="field">
                <span>Opened before</span>
                <div class="short">
                    <List label="Opened before" items={recent.value} keyOf={(one) => JSON.stringify(one)} onSelect={take} onActivate={(one) => void open(one)}
                        columns={[{ width: "1fr", cell: (one) => <span title={pathsOf(one).join("\n")}>{one.taDataPath}{one.modPaths.length > 0 && <span class="quiet"> with {one.modPaths.map(baseName).join(", ")}</span>}</span> }]} empty="" />
                </div>
            </div>}
            {failure.value && <p class="failure" role="alert">{failure.value}</p>}
        </Dialog>
    );
}

function moved(paths: readonly string[], path: string, by: number): readonly string[] {
    const at = paths.indexOf(path);
    const to = at + by;
    if (to < 0 || to >= paths.length) return paths;
    const next = [...paths];
    next.splice(at, 1);
    next.splice(to, 0, path);
    return next;
}
