// What the server answers itself: where to begin, which folders there are, what is kept for the next time.
import { access, constants, mkdir, readdir, readFile, rename, writeFile } from "node:fs/promises";
import { homedir } from "node:os";
import { dirname, join, resolve } from "node:path";
import type { FolderListing, Roots, ServerMessages, ServerStart } from "../wire";

interface OwnOptions {
    roots: Roots;
    sample: Roots;
    state: string;
}

type OwnTable = {
    [T in Exclude<keyof ServerMessages, "server-watch" | "server-restart">]:
        (data: ServerMessages[T]["request"]) => Promise<ServerMessages[T]["reply"]>;
};

/** A function that answers the server's own types and knows no others. */
export function ownMessages(options: OwnOptions): (type: string, data: unknown) => Promise<unknown> | undefined {
    const file = join(options.state, "settings.json");
    let writing: Promise<unknown> = Promise.resolve();

    const table: OwnTable = {
        "server-start": async (): Promise<ServerStart> =>
            ({ roots: options.roots, sample: options.sample, home: homedir(), kept: await readKept(file) }),
        "server-folders": ({ path }) => listFolders(resolve(String(path))),
        "server-games": ({ path }) => gamesBelow(resolve(String(path))),
        "server-can-write": async ({ path }) => ({ canWrite: await canWrite(resolve(String(path))) }),
        "server-keep": async ({ key, value }) => {
            const next = writing.then(async () => keep(file, { ...await readKept(file), [key]: value }));
            writing = next.catch(() => {});
            await next;
            return {};
        },
    };
    return (type, data) =>
        Object.hasOwn(table, type) ? (table[type as keyof OwnTable] as (data: unknown) => Promise<unknown>)(data ?? {})
            : undefined;
}

async function readKept(file: string): Promise<Record<string, unknown>> {
    try {
        const value: unknown = JSON.parse(await readFile(file, "utf8"));
        return typeof value === "object" && value !== null ? value as Record<string, unknown> : {};
    } catch {
        return {};
    }
}

async function keep(file: string, kept: Record<string, unknown>): Promise<void> {
    await mkdir(dirname(file), { recursive: true });
    await writeFile(file + ".new", JSON.stringify(kept, undefined, 2));
    await rename(file + ".new", file);
}

async function listFolders(path: string): Promise<FolderListing> {
    const parent = dirname(path) === path ? undefined : dirname(path);
    try {
        const entries = await readdir(path, { withFileTypes: true });
        const folders = entries.filter((entry) => entry.isDirectory() && !entry.name.startsWith("."))
            .map((entry) => entry.name).sort((a, b) => a.localeCompare(b));
        return { path, parent, exists: true, folders };
    } catch {
        return { path, parent, exists: false, folders: [] };
    }
}

/** In so many folders a game is looked for. */
const MAX_LOOKED = 200;

async function gamesBelow(path: string): Promise<{ paths: string[] }> {
    const folders = (await listFolders(path)).folders.slice(0, MAX_LOOKED).map((name) => join(path, name));
    const found = await Promise.all(folders.map(async (folder) => {
        const names = await readdir(folder).catch((): string[] => []);
        return names.some((name) => /\.(hpi|ccx|gp3)$/i.test(name));
    }));
    return { paths: folders.filter((_, i) => found[i]) };
}

/** A file takes its own place by way of a second one beside it. */
async function canWrite(path: string): Promise<boolean> {
    const found = await Promise.allSettled([path, dirname(path)].map((one) => access(one, constants.W_OK)));
    return found.every(({ status }) => status === "fulfilled");
}
