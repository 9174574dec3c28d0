// Which changes of files are a page's own writes: those that left a file as it still is.
import { stat } from "node:fs/promises";
import type { Answer } from "./editor";

/** What replies about writes call the files that they wrote. */
interface Written {
    outcome?: string;
    resolvedPath?: string;
    restoredPath?: string;
    files?: { resolvedPath?: string; to?: string }[];
}

export interface OwnWrites {
    /** Notes what a request writes, when it has its answer. */
    follow(asked: Promise<Answer>): void;
    /** Those that somebody else has changed; waits for the writes that are under way. */
    foreign(paths: readonly string[]): Promise<string[]>;
}

export function ownWrites(): OwnWrites {
    const versions = new Map<string, string>();
    let writing: Promise<unknown> = Promise.resolve();

    async function note({ data }: Answer): Promise<void> {
        const { outcome = "ok", resolvedPath, restoredPath, files } = (data ?? {}) as Written;
        if (outcome !== "ok") return;
        const rows = Array.isArray(files) ? files.flatMap((one) => [one?.resolvedPath, one?.to]) : [];
        for (const path of [resolvedPath, restoredPath, ...rows])
            if (typeof path === "string") versions.set(path, await versionOf(path));
    }

    return {
        follow(asked) { writing = Promise.all([writing, asked.then(note).catch(() => {})]); },
        async foreign(paths) {
            await writing;
            const now = await Promise.all(paths.map(versionOf));
            return paths.filter((path, i) => versions.get(path) !== now[i]);
        },
    };
}

/** Every write of the back end makes a new file; other programs' at least another time. */
async function versionOf(path: string): Promise<string> {
    const about = await stat(path, { bigint: true }).catch(() => undefined);
    return about ? `${about.ino} ${about.size} ${about.mtimeNs}` : "none";
}
