// Pictures of the page for people to look at: shots.mjs FOLDER [ROOT...]; not a test.
import { mkdirSync } from "node:fs";
import { join } from "node:path";
import { openBench, browser, unitIsShown } from "./bench";

const [folder = "build/web/shots", unit = "", tabs = ""] = process.argv.slice(2);
mkdirSync(folder, { recursive: true });
const sizes = [{ width: 1440, height: 900 }, { width: 1024, height: 700 }];
for (const colorScheme of ["light", "dark"] as const)
    for (const viewport of sizes) {
        const bench = await openBench({ page: { viewport, colorScheme } });
        const { page } = bench;
        await page.locator("canvas:not([data-shown=''])").waitFor();
        if (unit) {
            await page.keyboard.press("Control+k");
            await page.getByLabel("Search", { exact: true }).fill(unit);
            await page.keyboard.press("Enter");
            await unitIsShown(page, unit);
        }
        for (const tab of tabs ? tabs.split(",") : [""]) {
            if (tab) await page.getByRole("tab", { name: tab, exact: true }).click();
            await page.waitForTimeout(500);
            await page.screenshot({ path: join(folder, `${viewport.width}-${colorScheme}${tab && `-${tab}`}.png`) });
        }
        if (bench.errors().length) console.log(bench.errors());
        await bench.close();
    }
await (await browser()).close();
