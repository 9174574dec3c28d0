// Runs all tests, or those of the named files, with one browser for all: run.mjs [NAME...]
import { spawn } from "node:child_process";
import { existsSync, readdirSync } from "node:fs";
import { join } from "node:path";
import { chromium } from "playwright-core";
import { CHROMIUM, launchArguments, OUT } from "./bench";

const LIMIT_MS = 600_000;

const folder = join(OUT, "tests");
const names = process.argv.slice(2);
const files = readdirSync(folder).filter((file) => file.endsWith(".test.mjs"))
    .filter((file) => names.length === 0 || names.includes(file.replace(".test.mjs", ""))).map((file) => join(folder, file));
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
