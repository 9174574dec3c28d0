// Flow 6: what is wrong with a unit, and the buttons that mend it.
import assert from "node:assert/strict";
import { existsSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, openUnit } from "./bench";

const faulty: BenchOptions = { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "faulty"), join(data, "mod")] }) };

const health = (page: Page) => page.getByRole("grid", { name: "Health" });
/** Each row's status and check. */
const rows = (page: Page): Promise<string[]> => health(page).getByRole("row").evaluateAll((all) =>
    all.map((row) => [...row.querySelectorAll("[role=gridcell]")].slice(0, 3).map((cell) => cell.textContent).join(" | ")));

flow("suppresses a lint, shows it last, and takes it back", faulty, async ({ page, data }) => {
    await openUnit(page, "FLTLINTS");
    const first = health(page).getByRole("row").first();
    await eventuallyMatches(() => first.textContent(), /^warning.*missing-create/);
    await page.getByRole("tab", { name: /^Health 8$/ }).waitFor();
    await first.getByRole("button", { name: "Suppress" }).click();
    await page.getByRole("tab", { name: /^Health 7$/ }).waitFor();
    await page.getByLabel("Show what is sound").uncheck();
    await eventually(async () => (await rows(page)).at(-1), "suppressed | COB lint | (unit)");
    assert.ok(existsSync(join(data, "faulty/lint-suppress.json")));
    await health(page).getByRole("row").last().getByRole("button", { name: "Take back" }).click();
    await page.getByRole("tab", { name: /^Health 8$/ }).waitFor();
});

flow("makes the wreck that a definition names, and the report is a fresh one", faulty, async ({ page, data }) => {
    await page.getByLabel("Search units").fill("FLTREFS");
    await page.getByRole("option", { name: /FLTREFS/ }).click();
    const corpse = health(page).getByRole("row").filter({ hasText: "Corpse" });
    await eventuallyMatches(() => corpse.textContent(), /^warning.*GHOSTWRK/);
    await corpse.getByRole("button", { name: "Make a wreck" }).click();
    await eventuallyMatches(() => corpse.textContent(), /^✓?ok/);
    assert.ok(existsSync(join(data, "faulty/units/GHOSTWRK.fbi")));
    await page.getByRole("status").filter({ hasText: "a wreck for FLTREFS is written" }).waitFor();
});

flow("says which file is at fault when a unit cannot be loaded", faulty, async ({ page }) => {
    await page.getByLabel("Search units").fill("FLTCHUNK");
    await page.getByRole("option", { name: /FLTCHUNK/ }).click();
    await eventually(async () => (await rows(page))[0], "missing | Model (3DO) | FLTCHUNK");
    await health(page).getByRole("row").first().click();
    await page.getByRole("tabpanel", { name: /^Health/ }).getByText(/HPI chunk checksum mismatch/).first().waitFor();
});

flow("copies a unit of the base game into a mod from its finding", faulty, async ({ page, data }) => {
    await openUnit(page, "FENWADE");
    await health(page).getByRole("button", { name: "Copy into a mod…" }).click();
    const dialog = page.getByRole("dialog", { name: "Copy FENWADE into a mod?" });
    await dialog.getByLabel("Into").selectOption({ label: join(data, "mod") });
    await dialog.getByRole("button", { name: "Copy into the mod" }).click();
    await dialog.waitFor({ state: "detached" });
    await eventually(() => health(page).getByRole("button", { name: "Copy into a mod…" }).count(), 0);
    assert.ok(existsSync(join(data, "mod/units/FENWADE.fbi")));
});

flow("brings the report back after its editor has been killed", faulty, async ({ page, killEditor }) => {
    await openUnit(page, "FLTLINTS");
    await page.getByRole("tab", { name: /^Health 8$/ }).waitFor();
    await killEditor();
    await health(page).getByRole("row").first().getByRole("button", { name: "Suppress" }).click();
    await page.getByRole("tab", { name: /^Health 7$/ }).waitFor();
});
