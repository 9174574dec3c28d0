// Pictures of the page for people to look at, not a test: shots.mjs FOLDER [TAB,…] makes one of each size, scheme and
// tab; shots.mjs PICTURE.png the one of the README.
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type Bench, browser, eventually, openBench, openUnit } from "./bench";

const [target = "build/web/shots", tabs = ""] = process.argv.slice(2);
const SIZES = [{ width: 1440, height: 900 }, { width: 1024, height: 700 }];

/** A unit in the middle of aiming, its script stopped. */
async function stage({ page }: Bench): Promise<void> {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("wait-for-turn sling around x-axis;").first().click();
    await page.keyboard.press("F9");
    await page.getByTitle("stops here").waitFor();
    await page.getByLabel("Script to start").selectOption("AimPrimary");
    await page.getByLabel("Arguments").fill("-6000 0");
    await page.getByRole("button", { name: "Start", exact: true }).click();
    await page.locator("[aria-current=step]").waitFor();
    await eventually(() => page.locator(".dot.unknown").count(), 0);
}

async function show(page: Page, tab: string): Promise<void> {
    if (tab) await page.getByRole("tab", { name: new RegExp(`^${tab}\\b`) }).click();
    await eventually(() => page.getByText("Loading…").count(), 0);
}

if (target.endsWith(".png")) {
    const bench = await openBench({ page: { viewport: SIZES[0]!, colorScheme: "light" } });
    await stage(bench);
    await show(bench.page, tabs);
    await bench.page.screenshot({ path: target });
    await bench.close();
} else {
    mkdirSync(target, { recursive: true });
    for (const colorScheme of ["light", "dark"] as const)
        for (const viewport of SIZES) {
            const bench = await openBench({ page: { viewport, colorScheme } });
            await stage(bench);
            for (const tab of tabs.split(",")) {
                await show(bench.page, tab);
                await bench.page.screenshot({ path: join(target, `${viewport.width}-${colorScheme}${tab && `-${tab}`}.png`) });
            }
            if (bench.errors().length > 0) console.log(bench.errors());
            await bench.close();
        }
}
await (await browser()).close();
