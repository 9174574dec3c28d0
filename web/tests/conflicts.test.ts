// Flow 11: what is declared twice, the winner first, and what leads to nothing.
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, unitIsShown } from "./bench";

const all: BenchOptions = { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "mod"), join(data, "faulty")] }) };

const conflicts = (page: Page) => page.getByRole("tree", { name: "Conflicts" });

async function open(page: Page): Promise<void> {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("tab", { name: "Conflicts" }).click();
}

flow("lists conflicts by kind and shows winner and hidden side by side", all, async ({ page, data }) => {
    await open(page);
    await eventually(() => conflicts(page).locator("[aria-level='1']").allInnerTexts().then((texts) => texts.map((one) => one.replace(/\s+/g, " ").trim()).slice(0, 3)),
        ["Units declared more than once 2", "Weapons declared more than once 1", "Models that are missing 2"]);
    await conflicts(page).getByRole("treeitem", { name: "FENTILL UnitName=FENTILL" }).click();
    const declared = page.getByRole("listbox", { name: "Declared in" }).getByRole("option");
    await eventually(() => declared.allInnerTexts().then((texts) => texts.map((one) => one.replace(/\s+/g, " "))),
        [`wins ${data}/mod/marshmod.ufo :: units/FENTILL.fbi`, `hidden ${data}/game/base1.hpi :: units/FENTILL.fbi`]);
    await eventuallyMatches(() => page.getByLabel("Wins: ").textContent(), /Version=1\.1;/);
    await eventuallyMatches(() => page.getByLabel("Hidden: ").textContent(), /Version=1;/);
    await conflicts(page).getByRole("treeitem", { name: "FLT_PELLET" }).click();
    await eventuallyMatches(() => page.getByLabel("Hidden: ").textContent(), /\[FLT_PELLET\]/i);
});

flow("opens the unit whose model is missing, and its health", all, async ({ page }) => {
    await open(page);
    await page.getByLabel("Search conflicts").fill("FLTMODEL");
    await conflicts(page).getByRole("treeitem", { name: "FLTMODEL" }).first().click();
    await page.getByRole("button", { name: "Open FLTMODEL" }).click();
    await page.getByRole("grid", { name: "Health" }).getByRole("row", { name: /missing Model \(3DO\)/ }).first().waitFor();
});

flow("shows that it is looking, and the conflicts of other roots when mods change", all, async ({ page, hold, data, killEditor }) => {
    await unitIsShown(page, "FENDOCK");
    const release = hold("conflict-scan");
    await page.getByRole("tab", { name: "Conflicts" }).click();
    await page.getByRole("tabpanel", { name: "Conflicts" }).getByText("Loading…").waitFor();
    release();
    await conflicts(page).getByRole("treeitem", { name: /Models that are missing/ }).waitFor();
    await killEditor();
    await page.keyboard.press("Control+o");
    const dialog = page.getByRole("dialog", { name: "Open a game and mods" });
    await dialog.getByRole("button", { name: "Leave faulty out" }).click();
    await dialog.getByRole("button", { name: "Open", exact: true }).click();
    await eventually(() => conflicts(page).getByRole("treeitem", { name: /FLT/ }).count(), 0);
    await conflicts(page).getByRole("treeitem", { name: "FENTILL" }).waitFor();
    void data;
});
