// Runs all tests, or those of the named files, with one browser for all: run.mjs [NAME...]
import { spawn } from "node:child_process";
import { existsSync, readdirSync, statSync } from "node:fs";
import { join } from "node:path";
import { chromium } from "playwright-core";
import { CHROMIUM, launchArguments, OUT, PATIENCE } from "./bench";

const LIMIT_MS = 600_000 * PATIENCE;

const folder = join(OUT, "tests");
const names = process.argv.slice(2);
const files = readdirSync(folder).filter((file) => file.endsWith(".test.mjs"))
    .filter((file) => names.length === 0 || names.includes(file.replace(".test.mjs", ""))).map((file) => join(folder, file))
    // the long ones first, so that none is left alone at the end
    .sort((a, b) => statSync(b).size - statSync(a).size);
const server = existsSync(CHROMIUM) ? await chromium.launchServer(launchArguments) : undefined;
const child = spawn(process.execPath, ["--test", "--test-concurrency=2", ...files],
    { stdio: "inherit", env: { ...process.env, ...(server ? { ORB_BROWSER: server.wsEndpoint() } : {}) } });
// a test that hangs must not hang whoever waits for it
const limit = setTimeout(() => { console.error("the tests take too long"); child.kill(); }, LIMIT_MS);
child.on("exit", async (code) => {
    clearTimeout(limit);
    await server?.close();
    process.exit(code ?? 1);
});
