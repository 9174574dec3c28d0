// Flow 9: textures, team colours and the palette.
import assert from "node:assert/strict";
import { existsSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { eventually, flow, unitIsShown } from "./bench";

async function openTextures(page: Page, unit: string): Promise<void> {
    await page.getByLabel("Search units").fill(unit);
    await page.getByRole("listbox", { name: "Units" }).getByRole("option", { name: unit }).waitFor();
    await page.keyboard.press("Enter");
    await unitIsShown(page, unit);
    await page.getByRole("tab", { name: "Textures", exact: true }).click();
}

const changed = (page: Page) => page.getByRole("listbox", { name: "Changed colours" }).getByRole("option");
const verdict = (page: Page) => page.getByRole("status", { name: "What changes" });

flow("takes a texture out of team colour, with consent and a backup", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "faulty")] }),
}, async ({ page, data }) => {
    await openTextures(page, "FLTTINT");
    await page.getByRole("option", { name: "FLTLOST" }).getByText("missing").waitFor();
    await page.getByRole("option", { name: "FLTTEAM" }).click();
    await page.getByRole("button", { name: "Out of team colour" }).click();
    await eventually(() => changed(page).count(), 12);
    await eventually(() => verdict(page).textContent(), "192 pixels changed, then no team colour");
    assert.notEqual(await page.getByRole("img", { name: "Before" }).getAttribute("src"), await page.getByRole("img", { name: "After" }).getAttribute("src"));
    await page.getByRole("button", { name: "Apply…" }).click();
    await page.getByRole("dialog").getByRole("button", { name: "Back up and write" }).click();
    await page.getByText(/the texture FLTTEAM is written to/).waitFor();
    assert.ok(existsSync(join(data, "faulty/good.ufo.orbbackup")));
    await eventually(() => page.getByRole("option", { name: "FLTTEAM" }).getAttribute("title"), "FLTTEAM: 16 × 16, 1 frame, no team colour");
});

flow("exchanges two colours by the palette's keys and copies a base texture into the mod", {}, async ({ page, data }) => {
    await openTextures(page, "FENWADE");
    await page.getByRole("option", { name: "FENPLATE" }).click();
    const used = page.getByRole("grid", { name: "Palette" }).getByRole("gridcell", { name: /team colour, \d+ pixels?$/ }).first();
    const going = Number((await used.getAttribute("aria-label"))!.match(/\d+/)![0]);
    await used.click();
    await page.getByText(`${going} goes: choose what comes`).waitFor();
    await page.getByRole("grid", { name: "Palette" }).focus();
    await page.keyboard.press("End");
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("Enter");
    await eventually(async () => (await changed(page).allTextContents()).map((text) => text.trim().split(" ").slice(0, 2).map(Number.parseFloat).length), [2]);
    await page.getByRole("button", { name: "Apply…" }).click();
    await page.getByRole("dialog", { name: "Copy FENPLATE into a mod?" }).getByRole("button", { name: "Copy into the mod" }).click();
    await page.getByText(/FENPLATE is written/).waitFor();
    assert.ok(existsSync(join(data, "mod/textures/fen.gaf")));
    await page.getByRole("grid", { name: "Palette" }).getByRole("gridcell", { name: new RegExp(`^colour ${going}, team colour$`) }).waitFor();
});
