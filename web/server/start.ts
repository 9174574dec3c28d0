// The command behind ./dev web: start.mjs PROGRAM PAGE_FOLDER SAMPLE_DATA [GAME [MOD...]]
import { chmod, mkdir, readFile, stat, writeFile } from "node:fs/promises";
import { homedir } from "node:os";
import { join, resolve } from "node:path";
import { newToken, serve } from "./main";

/** Tried first, so that the browser's own history finds the page again. */
const USUAL_PORT = 8437;

const [program = "", folder = "", sampleData = "", game, ...mods] = process.argv.slice(2);
const sample = { taDataPath: resolve(sampleData, "game"), modPaths: [resolve(sampleData, "mod")], mapsPath: resolve(sampleData, "maps") };
const roots = game ? { taDataPath: resolve(game), modPaths: mods.map((mod) => resolve(mod)) } : sample;
const state = join(process.env["XDG_STATE_HOME"] ?? join(homedir(), ".local/state"), "orb-unit-editor");

const token = await keptToken();
const server = await serve({ program: resolve(program), folder, roots, sample, state, port: USUAL_PORT, token });
console.log(`The unit editor is at\n\n    ${server.address}\n\nCtrl+C ends it.`);
for (const signal of ["SIGINT", "SIGTERM"] as const)
    process.once(signal, () => void server.close().then(() => process.exit(0)));

/**
 * The same each time, so that a page which is still open, with what is unsaved in it, goes on with the next server;
 * but none that others could have read.
 */
async function keptToken(): Promise<string> {
    const file = join(state, "token");
    const isOwn = process.platform === "win32"
        || await stat(file).then(({ mode }) => (mode & 0o077) === 0, () => false);
    const known = isOwn ? await readFile(file, "utf8").catch(() => "") : "";
    if (/^[\w-]{32}$/.test(known)) return known;
    const made = newToken();
    await mkdir(state, { recursive: true, mode: 0o700 })
        .then(() => writeFile(file, "", { mode: 0o600 })) // of a file that was there the mode stays
        .then(() => chmod(file, 0o600)).then(() => writeFile(file, made)).catch(() => {});
    return made;
}
