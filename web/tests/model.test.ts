// Flow 8: the model, its faces and what mends them.
import assert from "node:assert/strict";
import { copyFileSync, existsSync, readFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, unitIsShown } from "./bench";

const FAULTY: BenchOptions = { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "faulty")] }) };

async function openFaces(page: Page, name: string): Promise<void> {
    await page.getByLabel("Search units").fill(name);
    await page.getByRole("listbox", { name: "Units" }).getByRole("option", { name: name }).waitFor();
    await page.keyboard.press("Enter");
    await unitIsShown(page, name);
    await page.getByRole("tab", { name: "Faces", exact: true }).click();
    await page.getByRole("listbox", { name: "Faces" }).getByRole("option").first().waitFor();
}

const button = (page: Page, name: string) => page.getByRole("tabpanel", { name: /Faces/ }).getByRole("button", { name, exact: true });
const history = (page: Page) => page.getByLabel("History").evaluate((list: HTMLSelectElement) => list.selectedOptions[0]?.textContent ?? "");
const findings = (page: Page) => page.getByRole("listbox", { name: "Findings" }).getByRole("option");

flow("a click on the model chooses the piece and the face", {}, async ({ page }) => {
    await openFaces(page, "FENDOCK");
    const box = (await page.getByRole("img", { name: /FENDOCK in 3D/ }).boundingBox())!;
    await page.mouse.click(box.x + box.width / 2, box.y + box.height * 0.62);
    const face = page.getByRole("listbox", { name: "Faces" }).getByRole("option", { selected: true });
    await face.waitFor();
    const piece = await page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem", { selected: true }).textContent();
    assert.ok(piece!.startsWith((await face.locator("span").first().textContent())!), "the face's piece is chosen, too");
    await page.getByText("1 chosen").waitFor();
});

flow("lists what is wrong, offers its fix, and takes it back", FAULTY, async ({ page }) => {
    await openFaces(page, "FLTMESH");
    await eventually(async () => (await findings(page).allTextContents()).map((text) => text.replace(/\d+$/, "")),
        ["Corners without a vertex", "No area", "Not flat", "Bent inwards", "Twice the same face", "Overlapping, flickers", "Texture is missing", "Unused vertices"]);
    await findings(page).filter({ hasText: "Twice the same face" }).click();
    await eventually(() => page.getByLabel("Fix", { exact: true }).evaluate((list: HTMLSelectElement) => list.value), "remove-duplicates");
    await page.getByText("Concerns 2 faces of 1 piece: they are lit up.").waitFor();
    await button(page, "Remove duplicates").click();
    await eventually(() => findings(page).filter({ hasText: "Twice the same face" }).count(), 0);
    await eventually(() => history(page), "1. Remove duplicates");
    await page.getByRole("listbox", { name: "Faces" }).focus();
    await page.keyboard.press("Control+z");
    await findings(page).filter({ hasText: "Twice the same face" }).waitFor();
    await page.keyboard.press("Control+Shift+Z");
    await eventually(() => findings(page).filter({ hasText: "Twice the same face" }).count(), 0);
    await page.getByLabel("History").selectOption("0");
    await findings(page).filter({ hasText: "Twice the same face" }).waitFor();
});

flow("finds the faces that one looks through and gives them backs", FAULTY, async ({ page }) => {
    await openFaces(page, "FLTMESH");
    await button(page, "Look through").click();
    await findings(page).filter({ hasText: "Looked through from behind" }).waitFor();
    await button(page, "Add backs").click();
    await eventually(() => history(page), "1. Add twins");
    await page.getByText(/, back of \d|^back of \d/).first().waitFor();
});

flow("saves into the mod with consent, and the steps stay", FAULTY, async ({ page, data }) => {
    await openFaces(page, "FLTMESH");
    const file = join(data, "faulty/objects3d/FLTMESH.3do");
    const before = readFileSync(file);
    await page.getByLabel("Fix", { exact: true }).selectOption("scale");
    await page.getByText("Name the factor").waitFor();
    await page.getByLabel("Factor").fill("2");
    await button(page, "Scale").click();
    await eventually(() => history(page), "1. Scale");
    await button(page, "Save").click();
    const dialog = page.getByRole("dialog", { name: "Write the model of FLTMESH?" });
    await dialog.getByText(`${file}.orbbackup`).waitFor();
    assert.deepEqual(readFileSync(file), before, "nothing is written before consent");
    await dialog.getByRole("button", { name: "Back up and write" }).click();
    await page.getByText("The model of FLTMESH is written").or(page.getByText(/the model of FLTMESH is written to/)).waitFor();
    assert.deepEqual(readFileSync(`${file}.orbbackup`), before);
    assert.notDeepEqual(readFileSync(file), before);
    await eventually(() => history(page), "1. Scale");
    await button(page, "Undo").click();
    await page.getByText("changed", { exact: true }).waitFor();
});

flow("copies a unit of the base game into the mod to save its model", {}, async ({ page, data }) => {
    await openFaces(page, "FENWADE");
    await page.getByRole("treeitem", { name: /torso/ }).click();
    await page.getByLabel("Fix", { exact: true }).selectOption("rename-piece");
    await page.getByLabel("Name", { exact: true }).fill("trunk");
    await page.keyboard.press("Enter");
    await page.getByRole("listbox", { name: "Faces" }).getByRole("option", { name: /trunk/ }).first().waitFor();
    await button(page, "Save").click();
    await page.getByRole("dialog", { name: "Copy FENWADE into a mod?" }).getByRole("button", { name: "Copy into the mod" }).click();
    await eventually(() => existsSync(join(data, "mod/objects3d/FENWADE.3do")), true);
    await eventuallyMatches(() => page.getByRole("contentinfo").textContent(), /writable/);
});

flow("asks before another unit ends unsaved steps, and makes them again with the next editor", FAULTY,
    async ({ page, data, killEditor }) => {
    await openFaces(page, "FLTMESH");
    for (const factor of ["2", "3", "4"]) {
        await page.getByLabel("Fix", { exact: true }).selectOption("scale");
        await page.getByLabel("Factor").fill(factor);
        await button(page, "Scale").click();
        await eventuallyMatches(() => history(page), new RegExp(`^${Number(factor) - 1}. Scale`));
    }
    await button(page, "Undo").click();
    await eventuallyMatches(() => history(page), /^2. Scale/);
    await page.getByLabel("Search units").fill("KILCART");
    await page.keyboard.press("Enter");
    const dialog = page.getByRole("dialog", { name: "Give up the edits of FLTMESH's model?" });
    await dialog.getByRole("button", { name: "Cancel" }).click();
    await unitIsShown(page, "FLTMESH");
    const size = () => page.getByRole("listbox", { name: "Faces" }).getByRole("option").count();
    const before = await size();
    await killEditor();
    await eventuallyMatches(() => history(page), /^2. Scale/);
    await page.getByText("changed", { exact: true }).waitFor();
    await eventually(size, before);
    const file = join(data, "faulty/objects3d/FLTMESH.3do");
    copyFileSync(join(data, "faulty/objects3d/FLTTINT.3do"), file);
    await killEditor();
    await page.getByRole("alert").getByText("2 unsaved steps of the model are lost: its file has changed").waitFor();
});
