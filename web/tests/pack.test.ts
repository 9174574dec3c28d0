// Flow 12: what units need, packs of it, and what is said of a pack.
import assert from "node:assert/strict";
import { existsSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, openUnit } from "./bench";

const found: BenchOptions = { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "found")] }) };

const needed = (page: Page) => page.getByRole("tree", { name: "Needed" });
const archive = (page: Page) => page.getByRole("region", { name: "Archive" });

async function openPack(page: Page, unit: string): Promise<void> {
    await openUnit(page, unit);
    await page.getByRole("tab", { name: "Pack" }).click();
    await needed(page).getByRole("treeitem", { name: unit }).first().waitFor();
}

flow("shows what a unit and all that it builds need, and what is missing", found, async ({ page }) => {
    await openPack(page, "GLDYARD");
    await eventually(() => needed(page).getByRole("treeitem", { name: "GLDCRAB" }).count(), 0);
    await page.getByLabel("What they build too").check();
    await needed(page).getByRole("treeitem", { name: "GLDCRAB" }).first().waitFor();
    await needed(page).getByRole("treeitem", { name: /build-option/ }).first().dblclick();
    await needed(page).getByRole("treeitem", { name: /GLDLOST.*missing/ }).waitFor();
    await page.getByText("1 missing").waitFor();
});

flow("packs what a unit needs, says what it left out and why, and validates it", found, async ({ page, scratch }) => {
    const file = join(scratch, "crab.ufo");
    await openPack(page, "GLDCRAB");
    await archive(page).getByRole("textbox", { name: "Archive" }).fill(file);
    await archive(page).getByRole("button", { name: "Pack", exact: true }).click();
    await archive(page).getByRole("status").filter({ hasText: `9 files` }).waitFor();
    assert.ok(existsSync(file));
    const rows = archive(page).getByRole("listbox", { name: "What was packed" });
    await rows.getByRole("option", { name: /left out.*the base game has the same/ }).first().waitFor();
    await rows.getByRole("option", { name: /warning.*gamedata\/sidedata.tdf takes the place/ }).waitFor();
    await rows.focus();
    await page.keyboard.press("End");
    await rows.getByRole("option", { name: /packed.*units\/GLDCRAB.fbi/ }).waitFor();
    await archive(page).getByRole("button", { name: "Validate" }).click();
    await archive(page).getByRole("status").filter({ hasText: "can be given to others: 1 unit, 9 files" }).waitFor();
    await archive(page).getByRole("option", { name: /ready.*GLDCRAB/ }).waitFor();
    await archive(page).getByRole("button", { name: "Pack", exact: true }).click();
    await archive(page).getByRole("alert").filter({ hasText: `file exists: ${file}` }).waitFor();
});

flow("packs a whole mod, shows progress, and goes on after its editor was killed", found, async ({ page, data, scratch, hold, killEditor }) => {
    const file = join(scratch, "all.ufo");
    await openPack(page, "GLDCRAB");
    await killEditor();
    await archive(page).getByLabel("What to pack").selectOption(join(data, "found"));
    await archive(page).getByRole("textbox", { name: "Archive" }).fill(file);
    const release = hold("export-mod-pack");
    await archive(page).getByRole("button", { name: "Pack", exact: true }).click();
    await archive(page).getByRole("progressbar", { name: "Packing" }).waitFor();
    release();
    await eventuallyMatches(() => archive(page).getByRole("status").first().textContent(), /13 files/);
    assert.ok(existsSync(file));
});
