// The command behind ./dev web: start.mjs PROGRAM PAGE_FOLDER SAMPLE_DATA [GAME [MOD...]]
import { homedir } from "node:os";
import { join, resolve } from "node:path";
import { serve } from "./main";

/** Tried first, so that the browser's own history finds the page again. */
const USUAL_PORT = 8437;

const [program = "", folder = "", sampleData = "", game, ...mods] = process.argv.slice(2);
const sample = { taDataPath: resolve(sampleData, "game"), modPaths: [resolve(sampleData, "mod")], mapsPath: resolve(sampleData, "maps") };
const roots = game ? { taDataPath: resolve(game), modPaths: mods.map((mod) => resolve(mod)) } : sample;
const state = join(process.env["XDG_STATE_HOME"] ?? join(homedir(), ".local/state"), "orb-unit-editor");

const server = await serve({ program: resolve(program), folder, roots, sample, state, port: USUAL_PORT });
console.log(`The unit editor is at\n\n    ${server.address}\n\nCtrl+C ends it.`);
for (const signal of ["SIGINT", "SIGTERM"] as const)
    process.once(signal, () => void server.close().then(() => process.exit(0)));
