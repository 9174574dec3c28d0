// Tells what other programs change below folders. Recursive watching came to Linux only with Node 20, so
// each folder has a watcher of its own.
import { type FSWatcher, readdirSync, watch } from "node:fs";
import { basename, dirname, join, resolve, sep } from "node:path";

export interface Watch {
    close(): void;
}

/** Beyond these a change is seen when the list is refreshed by hand. */
const MAX_FOLDERS = 1_000;
const MAX_DEPTH = 4;
const GATHER_MS = 250;
/** What the back end itself leaves for a moment beside the files that it writes. */
const PASSING = /\.orb-write-tmp$|~$/;

export function watchFolders(paths: string[], tell: (paths: string[]) => void): Watch {
    const roots = paths.map((path) => resolve(path));
    const watchers = new Map<string, FSWatcher>();
    let gathered = new Set<string>();
    let timer: NodeJS.Timeout | undefined;

    function note(path: string): void {
        if (PASSING.test(path)) return;
        gathered.add(path);
        timer ??= setTimeout(() => {
            timer = undefined;
            const changed = [...gathered];
            gathered = new Set();
            tell(changed);
        }, GATHER_MS);
    }

    function add(folder: string, depth: number): void {
        if (watchers.has(folder) || watchers.size >= MAX_FOLDERS) return;
        try {
            const watcher = watch(folder, (_, name) => {
                note(name ? join(folder, String(name)) : folder);
                if (depth < MAX_DEPTH) addBelow(folder, depth);
            });
            watcher.on("error", () => remove(folder));
            watchers.set(folder, watcher);
        } catch {
            return; // not there: the roots' report says so
        }
        if (depth < MAX_DEPTH) addBelow(folder, depth);
    }

    function addBelow(folder: string, depth: number): void {
        try {
            for (const entry of readdirSync(folder, { withFileTypes: true }))
                if (entry.isDirectory()) add(join(folder, entry.name), depth + 1);
        } catch {
            remove(folder);
        }
    }

    function remove(folder: string): void {
        watchers.get(folder)?.close();
        watchers.delete(folder);
    }

    /** A root can vanish and come back, as in a checkout: the folder around it tells. */
    function watchReturn(root: string): FSWatcher | undefined {
        try {
            return watch(dirname(root), (_, name) => {
                if (name !== basename(root)) return;
                for (const folder of [...watchers.keys()]) if (folder === root ||
                    folder.startsWith(root + sep)) remove(folder);
                add(root, 0);
                note(root);
            }).on("error", () => {});
        } catch {
            return undefined;
        }
    }

    const around = roots.map(watchReturn);
    for (const root of roots) add(root, 0);
    return {
        close() {
            clearTimeout(timer);
            for (const watcher of [...watchers.values(), ...around]) watcher?.close();
            watchers.clear();
        },
    };
}
