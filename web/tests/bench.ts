// What every browser test stands on: a server over a fresh copy of the sample data, a page in Debian's
// Chromium, and helpers that do what a user does and wait for what a user would see.
import assert from "node:assert/strict";
import { cpSync, existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { test as nodeTest, type TestContext } from "node:test";
import { type Browser, type BrowserContext, type BrowserContextOptions, chromium, type Page } from "playwright-core";
import { startEditor } from "../server/editor";
import { type RunningServer, serve, type ServerOptions } from "../server/main";
import type { Roots } from "../wire";

export const CHROMIUM = process.env["ORB_CHROMIUM"] ?? "/usr/bin/chromium";
export const BUILD = resolve(process.env["ORB_BUILD"] ?? "build/release");
export const OUT = resolve(process.env["ORB_WEB_BUILD"] ?? "build/web");
/** Pictures and protocol lines of tests that failed. */
const FAILURES = join(OUT, "failures");

// what is not WebGL is drawn without a graphics card that the processor would have to play
const FLAGS = ["--no-sandbox", "--use-angle=swiftshader", "--enable-unsafe-swiftshader", "--disable-gpu-vsync",
    "--disable-gpu-compositing", "--disable-gpu-rasterization"];
/** On a machine that has much else to do everything may take so many times as long. */
export const PATIENCE = Number(process.env["ORB_PATIENCE"] ?? 1);
const LIMIT_MS = 10_000 * PATIENCE;

export interface Bench {
    page: Page;
    context: BrowserContext;
    server: RunningServer;
    /** A fresh copy of the sample data: game, mod, faulty, found, maps. */
    data: string;
    /** An empty folder. */
    scratch: string;
    /** Holds requests of a type back until the returned function is called. */
    hold(type: string): () => void;
    /** Ends the page's editor and waits until the page says that another one is alive. */
    killEditor(): Promise<void>;
    /** Lets the page's editor answer no more: what is asked from now on is in flight when it is killed. */
    freezeEditor(): Promise<void>;
    /** Ends the connections of all pages, which connect again. */
    cut(): void;
    /** Ends the server; the function that it resolves with starts it again. */
    stopServer(): Promise<() => Promise<void>>;
    /** A further page of the same server. */
    open(): Promise<Page>;
    /** Errors that the test brings about itself. */
    expectErrors(pattern: RegExp): void;
    /** Types of the newest requests for the back end. */
    lines(): string[];
}

export interface OpenBench extends Bench {
    errors(): string[];
    close(): Promise<void>;
}

export interface BenchOptions {
    /** By default the sample game and its mod. */
    roots?: (data: string) => Roots;
    page?: BrowserContextOptions;
    server?: Partial<ServerOptions>;
    /** Stands around each request for the back end. */
    around?: ServerOptions["around"];
}

let shared: Promise<Browser> | undefined;

/** One for the file; `run.ts` gives all files the same. */
export function browser(): Promise<Browser> {
    const address = process.env["ORB_BROWSER"];
    return shared ??= address ? chromium.connect(address)
        : chromium.launch({ executablePath: CHROMIUM, args: FLAGS, chromiumSandbox: false });
}

export const launchArguments = { executablePath: CHROMIUM, args: FLAGS, chromiumSandbox: false };

/** A test with a page of its own. Errors in its console fail it; a failure leaves a picture. */
export function flow(name: string, options: BenchOptions, story: (bench: Bench) => Promise<void>): void {
    const skip = existsSync(CHROMIUM) || process.env["CI"] === "true" ? false : "Chromium is not installed";
    nodeTest(name, { skip, timeout: 4 * LIMIT_MS }, async () => {
        const bench = await openBench(options);
        try {
            await story(bench);
            assert.deepEqual(bench.errors(), [], "errors in the page's console");
        } catch (error) {
            mkdirSync(FAILURES, { recursive: true });
            const base = join(FAILURES, name.replace(/\W+/g, "_"));
            await bench.page.screenshot({ path: `${base}.png` }).catch(() => {});
            writeFileSync(`${base}.log`, [...bench.errors(), ...bench.lines()].join("\n"));
            throw error;
        } finally {
            await bench.close();
        }
    });
    nodeTest.after(async () => { await (await shared)?.close(); shared = undefined; });
}

/** A server alone, over the sample data itself: nothing may be written. */
export async function openServer(context: TestContext, options: Partial<ServerOptions>): Promise<{ server: RunningServer; scratch: string }> {
    const scratch = mkdtempSync(join(tmpdir(), "orb-web-"));
    const data = join(BUILD, "samples/data");
    const sample = { taDataPath: join(data, "game"), modPaths: [join(data, "mod")], mapsPath: join(data, "maps") };
    const server = await serve({
        program: join(BUILD, "orb-unit-editor"), folder: join(OUT, "page"), roots: sample, sample, state: join(scratch, "state"), ...options,
    });
    context.after(async () => { await server.close(); rmSync(scratch, { recursive: true, force: true, maxRetries: 5 }); });
    return { server, scratch };
}

export async function openBench(options: BenchOptions): Promise<OpenBench> {
    const scratch = mkdtempSync(join(tmpdir(), "orb-web-"));
    const data = join(scratch, "data");
    cpSync(join(BUILD, "samples/data"), data, { recursive: true, dereference: true });
    const sample = { taDataPath: join(data, "game"), modPaths: [join(data, "mod")], mapsPath: join(data, "maps") };
    const holds = new Map<string, Promise<void>>();
    const lines: string[] = [];
    const errors: string[] = [];
    const forgiven: RegExp[] = [];
    const roots = options.roots?.(data) ?? sample;
    const start = (again: Partial<ServerOptions> = {}): Promise<RunningServer> => serve({
        program: join(BUILD, "orb-unit-editor"), folder: join(OUT, "page"), roots,
        sample, state: join(scratch, "state"),
        async around(type, data, ask) {
            lines.push(type);
            if (lines.length > 400) lines.shift();
            await holds.get(type);
            return options.around ? options.around(type, data, ask) : ask();
        },
        ...options.server, ...again,
    });
    let server = await start();
    const context = await (await browser()).newContext({ viewport: { width: 1024, height: 700 }, ...options.page });
    context.setDefaultTimeout(LIMIT_MS);

    async function open(): Promise<Page> {
        const page = await context.newPage();
        page.on("console", (message) => { if (message.type() === "error") errors.push(message.text()); });
        page.on("pageerror", (error) => errors.push(String(error.stack)));
        await page.goto(server.address);
        return page;
    }

    const page = await open();
    return {
        page, context, server, data, scratch, open,
        lines: () => lines,
        errors: () => errors.filter((text) => !forgiven.some((pattern) => pattern.test(text))),
        expectErrors(pattern) { forgiven.push(pattern); },
        hold(type) {
            let release = (): void => {};
            holds.set(type, new Promise((resolve) => { release = () => { holds.delete(type); resolve(); }; }));
            return () => release();
        },
        cut: () => server.cut(),
        async stopServer() {
            const { port, pathname } = new URL(server.address);
            await server.close();
            return async () => { server = await start({ port: Number(port), token: pathname.replaceAll("/", "") }); };
        },
        async freezeEditor() {
            process.kill(Number(await page.getByText("editor alive").getAttribute("data-pid")), "SIGSTOP");
        },
        async killEditor() {
            const alive = page.getByText("editor alive");
            const pid = Number(await alive.getAttribute("data-pid"));
            process.kill(pid, "SIGKILL");
            await eventually(async () => Number(await alive.getAttribute("data-pid")) !== pid, true);
        },
        async close() {
            await context.close();
            await server.close();
            rmSync(scratch, { recursive: true, force: true, maxRetries: 5 });
        },
    };
}

const POLL_MS = 20;

/** Reads until the value is the expected one; at the deadline fails with the difference of the whole. */
export async function eventually<T>(read: () => Promise<T> | T, expected: T, deadline = LIMIT_MS): Promise<void> {
    const until = Date.now() + deadline;
    for (;;) {
        const value = await read();
        try {
            return assert.deepEqual(value, expected);
        } catch (error) {
            if (Date.now() > until) throw error;
        }
        await new Promise((resolve) => setTimeout(resolve, POLL_MS));
    }
}

/** The same for a text that matches. */
export async function eventuallyMatches(read: () => Promise<string | null>, pattern: RegExp): Promise<void> {
    let last: string | null = "";
    await eventually(async () => pattern.test(last = await read() ?? "") || last, true as string | boolean);
}

/** Until the 3D view shows the unit. */
export async function unitIsShown(page: Page, name: string): Promise<void> {
    await eventually(() => page.locator("[data-region~=view] canvas").getAttribute("data-shown"), name);
}

/** Finds a unit as a user does, and waits for its picture and its script. */
export async function openUnit(page: Page, name: string): Promise<void> {
    await page.locator("canvas:not([data-shown=''])").waitFor();
    await page.keyboard.press("Control+k");
    await page.getByLabel("Search", { exact: true }).fill(name);
    await page.keyboard.press("Enter");
    await unitIsShown(page, name);
    await eventually(() => page.getByText("Loading…").count(), 0);
}

/** How many pixels of the 3D view's middle differ from its corner. */
export async function outlinePixels(page: Page): Promise<number> {
    const picture = await page.locator("[data-region~=view] canvas").screenshot();
    return page.evaluate(async (base64) => {
        const bytes = Uint8Array.from(atob(base64), (letter) => letter.charCodeAt(0));
        const bitmap = await createImageBitmap(new Blob([bytes]));
        const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
        const context = canvas.getContext("2d")!;
        context.drawImage(bitmap, 0, 0);
        const { data } = context.getImageData(bitmap.width / 4, bitmap.height / 4, bitmap.width / 2, bitmap.height / 2);
        const [r, g, b] = context.getImageData(2, bitmap.height - 40, 1, 1).data;
        let count = 0;
        for (let i = 0; i < data.length; i += 4)
            if (Math.abs(data[i]! - r!) + Math.abs(data[i + 1]! - g!) + Math.abs(data[i + 2]! - b!) > 90) count++;
        return count;
    }, picture.toString("base64"));
}

/** The exported model, straight from the program. */
export async function askEditorForGlb(data: string, name: string): Promise<Buffer> {
    const editor = startEditor(join(BUILD, "orb-unit-editor"), { progress() {}, log() {}, ended() {} });
    await editor.ask("set-data-roots", { taDataPath: join(data, "game") });
    const { frame } = await editor.ask("get-unit-glb", { name });
    editor.close();
    return frame!;
}
