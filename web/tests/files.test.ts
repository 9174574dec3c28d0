// Flow 10: what lies in the stack, in folders and archives; previews and extraction.
import assert from "node:assert/strict";
import { existsSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { eventually, eventuallyMatches, flow, unitIsShown } from "./bench";

const files = (page: Page) => page.getByRole("tree", { name: "Files" });
const preview = (page: Page) => page.getByRole("region", { name: "Preview" });

async function open(page: Page): Promise<void> {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("tab", { name: "Files" }).click();
    await files(page).getByRole("treeitem").first().waitFor();
}

async function choose(page: Page, name: string): Promise<void> {
    await page.getByLabel("Search files").fill(name);
    await files(page).getByRole("treeitem", { name: new RegExp(name) }).first().click();
}

flow("previews texts, pictures, models, sounds, scripts and bytes of the stack", {}, async ({ page }) => {
    await open(page);
    await choose(page, "units/FENTILL.fbi");
    await eventuallyMatches(() => preview(page).getByLabel("Text of units/FENTILL.fbi").textContent(), /UnitName=FENTILL;/);
    await eventuallyMatches(() => preview(page).textContent(), /marshmod\.ufo :: units/); // the mod wins
    await choose(page, "objects3d/FENTILL.3do");
    await preview(page).getByRole("img", { name: "objects3d/FENTILL.3do in 3D" }).and(page.locator("[data-drawn=true]")).waitFor();
    await choose(page, "anims/fenfx.gaf");
    await preview(page).getByRole("img", { name: "Picture anims/fenfx.gaf" }).waitFor();
    await preview(page).getByLabel("Entry").selectOption({ index: 1 });
    await eventuallyMatches(() => preview(page).textContent(), /\d+ × \d+ pixels/);
    await choose(page, "sounds/boom.wav");
    await preview(page).getByLabel("Sound sounds/boom.wav").waitFor();
    await choose(page, "scripts/FENTILL.cob");
    await preview(page).getByRole("listbox", { name: "Scripts and pieces" }).getByText("StartMoving").waitFor();
    await choose(page, "palettes/PALETTE.PAL");
    await preview(page).getByRole("listbox", { name: "First bytes" }).getByRole("option").first().waitFor();
});

flow("walks an archive by keyboard", {}, async ({ page, data }) => {
    await open(page);
    await page.getByLabel("Look into").selectOption(join(data, "mod/marshmod.ufo"));
    await files(page).getByRole("treeitem", { name: "weapons" }).waitFor();
    await files(page).focus();
    await page.keyboard.press("End");
    await page.keyboard.press("ArrowRight");
    await page.keyboard.press("ArrowRight");
    await eventuallyMatches(() => preview(page).textContent(), /weapons\/raft\.tdf/);
    assert.equal(await files(page).getByRole("treeitem", { name: "weapons" }).getAttribute("aria-expanded"), "true");
});

flow("extracts a file, a folder and everything, and says what it left out", {}, async ({ page, data, scratch }) => {
    await open(page);
    await page.getByLabel("Look into").selectOption(join(data, "mod/marshmod.ufo"));
    await files(page).getByRole("treeitem", { name: "units" }).click();
    await page.getByRole("button", { name: "Extract…" }).click();
    const dialog = page.getByRole("dialog", { name: /^Extract/ });
    await dialog.getByLabel("Into the folder").fill(join(scratch, "out"));
    await dialog.getByRole("button", { name: "Extract", exact: true }).click();
    await dialog.getByRole("status").filter({ hasText: "2 files in" }).waitFor();
    assert.ok(existsSync(join(scratch, "out/units/FENRAFT.fbi")));
    await dialog.getByRole("button", { name: "Extract", exact: true }).click();
    await dialog.getByRole("status").filter({ hasText: "2 files left out" }).waitFor();
    await dialog.getByRole("option", { name: /FENTILL.fbi.*file exists/ }).waitFor();
});

flow("shows how far an extraction has come, and fails in the back end's words", {}, async ({ page, data, scratch, hold }) => {
    await open(page);
    await page.getByLabel("Look into").selectOption(join(data, "mod/marshmod.ufo"));
    await files(page).getByRole("treeitem", { name: "units" }).waitFor();
    await page.getByRole("button", { name: "Extract…" }).click();
    const dialog = page.getByRole("dialog", { name: /^Extract/ });
    writeFileSync(join(scratch, "taken"), "");
    await dialog.getByLabel("Into the folder").fill(join(scratch, "taken"));
    const release = hold("archive-browse-extract-all");
    await dialog.getByRole("button", { name: "Extract", exact: true }).click();
    await dialog.getByRole("progressbar", { name: "Extraction" }).waitFor();
    release();
    await eventually(() => dialog.getByRole("progressbar").count(), 0);
    await dialog.getByText(/failed|left out/).first().waitFor();
});

flow("goes on with its files after its editor has been killed", {}, async ({ page, killEditor }) => {
    await open(page);
    await choose(page, "units/FENTILL.fbi");
    await killEditor();
    await choose(page, "objects3d/FENTILL.3do");
    await preview(page).getByRole("img", { name: "objects3d/FENTILL.3do in 3D" }).waitFor();
});

flow("says in the reader's words that a file is damaged", { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "faulty")] }) },
    async ({ page }) => {
        await open(page);
        await choose(page, "objects3d/FLTCHUNK.3do");
        await preview(page).getByRole("alert").filter({ hasText: "HPI chunk checksum mismatch" }).waitFor();
        await choose(page, "units/FLTCHUNK.fbi");
        await preview(page).getByLabel("Text of units/FLTCHUNK.fbi").waitFor();
    });
