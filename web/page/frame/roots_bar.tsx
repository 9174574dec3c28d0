import { missingRoots, openRoots, pathsOf, roots, start } from "../store/roots";
import { showDialog } from "../store/view";
import { messageOf } from "../work/newest";
import { say } from "../store/connection";
import { shortNames } from "../work/paths";
import { Button } from "../widgets/button";

/** What is mounted, the one that wins last: the game, then the mods. Drag a mod onto another to change places. */
export function RootsBar() {
    const open = roots.value;
    const paths = open ? pathsOf(open) : [];
    const names = shortNames(paths);
    const about = (path: string) =>
        ({ path, name: names[paths.indexOf(path)] ?? path, isThere: !missingRoots.value.includes(path) });
    const isSample = open?.taDataPath === start.value?.sample.taDataPath;
    return (
        <header class="roots" aria-label="Data roots">
            <Button title="Open a game and mods" verb="open-roots" onPress={() => showDialog("roots")}>Open…</Button>
            <ol>
                {open && <Root {...about(open.taDataPath)} kind={isSample ? "sample game" : "game"} />}
                {[...open?.modPaths ?? []].reverse().map((path) =>
                    <Root key={path} {...about(path)} kind="mod" onDrop={(from) => void moveMod(from, path)} />)}
                {open?.mapsPath && <Root {...about(open.mapsPath)} kind="maps" />}
            </ol>
            <Button title="Find a unit or a command" verb="find" onPress={() => showDialog("find")}>
                Find a unit or a command <kbd>Ctrl+K</kbd>
            </Button>
        </header>
    );
}

function Root({ path, name, kind, isThere, onDrop }:
    { path: string; name: string; kind: string; isThere: boolean; onDrop?: (from: string) => void }) {
    return (
        <li title={isThere ? path : `${path} is not there`} draggable={onDrop !== undefined}
            onDragStart={(event) => event.dataTransfer?.setData("text/mod", path)}
            onDragOver={(event) => { if (onDrop) event.preventDefault(); }}
            onDrop={(event) => { event.preventDefault(); onDrop?.(event.dataTransfer?.getData("text/mod") ?? ""); }}>
            <span class="quiet">{kind}</span> {name}{isThere || <span class="status missing">not there</span>}
        </li>
    );
}

async function moveMod(from: string, to: string): Promise<void> {
    const open = roots.peek();
    if (!open || from === to || !open.modPaths.includes(from)) return;
    const rest = open.modPaths.filter((path) => path !== from);
    const at = rest.indexOf(to) + (open.modPaths.indexOf(from) < open.modPaths.indexOf(to) ? 1 : 0);
    await openRoots({ ...open, modPaths: [...rest.slice(0, at), from, ...rest.slice(at)] }).catch((error) => say(messageOf(error)));
}
