// Figures, not a test: large.mjs ROOT. How the list behaves over a root of thousands of units.
import { browser, eventually, openBench, unitIsShown } from "./bench";

const [root = "build/large-data-root"] = process.argv.slice(2);
const begun = Date.now();
const bench = await openBench({ roots: () => ({ taDataPath: root, modPaths: [] }), page: { viewport: { width: 1440, height: 900 } } });
const { page } = bench;
const list = page.getByRole("listbox", { name: "Units" });
await list.getByRole("option").first().waitFor();
const count = await list.getByRole("option").first().getAttribute("aria-setsize");
console.log(`${count} units listed after ${Date.now() - begun} ms, the page's start included`);
await page.locator("canvas:not([data-shown=''])").waitFor();

const scroll = async (): Promise<void> => {
    const { times, rows } = await list.evaluate(async (element) => {
        const times: number[] = [];
        let rows = 0;
        let last = performance.now();
        for (let top = 0; top < element.scrollHeight; top += 900) {
            element.scrollTop = top;
            await new Promise(requestAnimationFrame);
            const now = performance.now();
            times.push(now - last);
            rows = Math.max(rows, element.querySelectorAll(".row").length);
            last = now;
        }
        return { times: times.sort((a, b) => a - b), rows };
    });
    const at = (share: number): string => times[Math.floor((times.length - 1) * share)]!.toFixed(0);
    console.log(`scrolled ${times.length} screens: median ${at(0.5)} ms, 95 % ${at(0.95)} ms, worst ${at(1)} ms a frame; at most ${rows} rows exist`);
};
await scroll();
const typed = Date.now();
await page.getByLabel("Search units").fill("1499");
await eventually(async () => Number(await list.getByRole("option").first().getAttribute("aria-setsize")) < 100, true);
console.log(`search: ${Date.now() - typed} ms`);
await page.getByLabel("Search units").fill("");
await page.keyboard.press("Alt+1");
const pressed = Date.now();
await page.keyboard.press("End");
const name = await list.getByRole("option", { selected: true }).locator("> span").nth(1).textContent();
await unitIsShown(page, name!);
console.log(`End to ${name}: ${Date.now() - pressed} ms until it is drawn`);
await bench.close();
await (await browser()).close();
