// Figures, not a test: measure.mjs [UNIT]. From the click on a unit to its picture, and frames a second while its
// script runs, beside the same file in an empty page with three's own loader, in the same browser.
import { join } from "node:path";
import { createServer } from "node:http";
import { build } from "esbuild";
import { askEditorForGlb, browser, openBench, openUnit, OUT, unitIsShown } from "./bench";

const RUNS = 15;
const name = process.argv[2] ?? "KILCART";
const median = (values: number[]): number => values.sort((a, b) => a - b)[Math.floor(values.length / 2)]!;

const bench = await openBench({ page: { viewport: { width: 1440, height: 900 } } });
const { page } = bench;
await openUnit(page, name);
const stage = (await page.locator("canvas").boundingBox())!;
const other = name === "FENWADE" ? "KILCART" : "FENWADE";

/** In the page's own clock: from the event to the frame that shows it. */
async function clickToDrawn(wanted: string): Promise<number> {
    await page.evaluate((unit) => {
        const canvas = document.querySelector("canvas")!;
        window.addEventListener("pointerdown", () => { performance.mark("click"); }, { once: true, capture: true });
        const seen = new MutationObserver(() => {
            if (canvas.dataset["shown"] !== unit) return;
            performance.measure("drawn", "click");
            seen.disconnect();
        });
        seen.observe(canvas, { attributes: true, attributeFilter: ["data-shown"] });
    }, wanted);
    await page.getByRole("option", { name: new RegExp(wanted) }).first().click();
    await unitIsShown(page, wanted);
    return page.evaluate(() => performance.getEntriesByName("drawn").at(-1)!.duration);
}

const firstTimes: number[] = [];
const keptTimes: number[] = [];
for (let i = 0; i < RUNS; i++) {
    await page.evaluate(() => document.title);
    keptTimes.push(await clickToDrawn(other));
    keptTimes.push(await clickToDrawn(name));
}
const names = await page.getByRole("listbox", { name: "Units" }).getByRole("option").count();
for (let i = 0; i < names; i++) {
    const row = page.getByRole("listbox", { name: "Units" }).getByRole("option").nth(i);
    const unit = (await row.textContent())!.match(/[A-Z]+(?=[A-Z][a-z])/)![0];
    if (unit !== name && unit !== other) firstTimes.push(await clickToDrawn(unit));
}

async function framesASecond(): Promise<{ frames: number; ticks: number }> {
    const read = () => page.evaluate(() => ({ at: performance.now(), frames: Number(document.querySelector("canvas")!.dataset["frames"]),
        ticks: Number(document.querySelector("[aria-label=Tick]")!.textContent!.replace(/\D/g, "")) }));
    const before = await read();
    await page.waitForTimeout(4000);
    const after = await read();
    const seconds = (after.at - before.at) / 1000;
    return { frames: (after.frames - before.frames) / seconds, ticks: (after.ticks - before.ticks) / seconds };
}
await openUnit(page, name);
await page.getByLabel("Script to start").selectOption({ index: 1 });
await page.getByRole("button", { name: "Start", exact: true }).click();
const running = await framesASecond();

// the same file in an empty page of the same size
const glb = await askEditorForGlb(bench.data, name);
const bundle = await build({
    stdin: { contents: `import * as THREE from "three"; import { GLTFLoader } from "three/addons/loaders/GLTFLoader.js"; Object.assign(window, { THREE, GLTFLoader });`,
        resolveDir: join(OUT, "../../web") }, bundle: true, minify: true, write: false, format: "iife",
});
const script = bundle.outputFiles[0]!.text;
const plain = createServer((request, response) => {
    if (request.url === "/model.glb") return void response.end(glb);
    if (request.url === "/three.js") return void response.setHeader("Content-Type", "text/javascript").end(script);
    response.setHeader("Content-Type", "text/html").end(`<!doctype html><body style="margin:0"><canvas></canvas><script src="/three.js"></script>`);
});
await new Promise<void>((resolve) => plain.listen(0, "127.0.0.1", resolve));
const empty = await (await browser()).newPage({ viewport: { width: Math.round(stage.width), height: Math.round(stage.height) } });
await page.getByRole("button", { name: "Pause" }).click();
await empty.goto(`http://127.0.0.1:${(plain.address() as { port: number }).port}/`);
const { loads, rate } = await empty.evaluate(async (runs) => {
    const { THREE, GLTFLoader } = window as unknown as { THREE: typeof import("three"); GLTFLoader: new () => { loadAsync(url: string): Promise<{ scene: import("three").Group }> } };
    const renderer = new THREE.WebGLRenderer({ canvas: document.querySelector("canvas")!, antialias: true });
    renderer.setSize(innerWidth, innerHeight);
    const camera = new THREE.PerspectiveCamera(35, innerWidth / innerHeight, 0.5, 1000);
    camera.position.set(-40, 40, 60);
    camera.lookAt(0, 8, 0);
    let scene = new THREE.Scene();
    const times: number[] = [];
    const frame = () => new Promise(requestAnimationFrame);
    for (let i = 0; i < runs; i++) {
        const begun = performance.now();
        const loaded = await new GLTFLoader().loadAsync("/model.glb");
        scene = new THREE.Scene();
        scene.add(loaded.scene);
        await frame();
        renderer.render(scene, camera);
        times.push(performance.now() - begun);
    }
    const begun = performance.now();
    let frames = 0;
    while (performance.now() - begun < 4000) { await frame(); scene.rotation.y += 0.01; renderer.render(scene, camera); frames++; }
    return { loads: times, rate: frames / 4 };
}, RUNS);

const page_ms = median(firstTimes), kept_ms = median(keptTimes), plain_ms = median(loads);
console.log(`click to drawn: first ${page_ms.toFixed(0)} ms, kept ${kept_ms.toFixed(0)} ms; empty page ${plain_ms.toFixed(0)} ms; ` +
    `ratio ${(page_ms / plain_ms).toFixed(2)} and ${(kept_ms / plain_ms).toFixed(2)}`);
console.log(`running: ${running.frames.toFixed(1)} frames and ${running.ticks.toFixed(1)} ticks a second; empty page ${rate.toFixed(1)} frames; ` +
    `ratio ${(running.frames / Math.min(rate, 30)).toFixed(2)} of 30 or what it can`);
plain.close();
await bench.close();
await (await browser()).close();
