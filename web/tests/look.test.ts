// Flow 2: looking at units.
import assert from "node:assert/strict";
import { eventually, flow, outlinePixels, unitIsShown } from "./bench";

flow("loads unit after unit with the arrow keys and draws each of them", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.keyboard.press("Alt+1");
    for (const name of ["FENKITE", "FENPUNT", "FENRAFT"]) {
        await page.keyboard.press("ArrowDown");
        await unitIsShown(page, name);
        assert.ok(await outlinePixels(page) > 2_000, `${name} is drawn`);
    }
    await page.keyboard.press("ArrowUp");
    await unitIsShown(page, "FENPUNT");
    await page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem").first().waitFor();
});

flow("keeps models, and frees what is no longer shown", { page: { viewport: { width: 640, height: 480 } } }, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    const held = () => page.locator("canvas").evaluate((canvas: HTMLCanvasElement) => Number(canvas.dataset["geometries"]));
    const names = await page.getByRole("listbox", { name: "Units" }).getByRole("option").allTextContents();
    await page.keyboard.press("Alt+1");
    const seen: number[] = [];
    for (let i = 0; i < 40; i++) {
        await page.keyboard.press(i % 20 < 10 ? "ArrowDown" : "ArrowUp");
        const at = i % 20 < 10 ? i % 20 + 1 : 19 - i % 20;
        await eventually(async () => names[at]!.includes(await page.locator("canvas").getAttribute("data-shown") ?? "-"), true);
        seen.push(await held());
    }
    assert.ok(seen[39]! <= seen[19]!, `${seen[39]} geometries after forty units, ${seen[19]} after twenty`);
});

flow("a click on the model chooses the piece, its row and its pose", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    const canvas = page.locator("canvas");
    const box = (await canvas.boundingBox())!;
    await page.mouse.click(box.x + box.width / 2, box.y + box.height * 0.62);
    const chosen = page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem", { selected: true });
    await chosen.waitFor();
    const name = (await chosen.textContent())!.match(/^[a-z]+/)![0];
    await page.getByLabel(`Pose of ${name}`).waitFor();
});

flow("shows the unit as the game does, and back", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("button", { name: "Game camera" }).click();
    await page.getByRole("button", { name: "Game camera", pressed: true }).waitFor();
    assert.ok(await outlinePixels(page) > 2_000);
    await page.getByRole("img", { name: /FENDOCK in 3D/ }).focus();
    await page.keyboard.press("c");
    await page.getByRole("button", { name: "Game camera", pressed: false }).waitFor();
});

flow("finds units by name and title, and says when there is none", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    const rows = page.getByRole("listbox", { name: "Units" }).getByRole("option");
    await page.getByLabel("Search units").fill("coal");
    await eventually(() => rows.count(), 1);
    await page.keyboard.press("Enter");
    await unitIsShown(page, "KILCART");
    await page.getByLabel("Search units").fill("<b>");
    await page.getByText("No unit has that in its name or title.").waitFor();
});

flow("a unit that cannot be loaded says why, and the next one loads", {
    roots: (data) => ({ taDataPath: `${data}/game`, modPaths: [`${data}/faulty`] }),
}, async ({ page }) => {
    await page.getByLabel("Search units").fill("FLTCUT");
    await page.keyboard.press("Enter");
    await page.getByRole("alert").getByText("3DO data too small").waitFor();
    await page.getByLabel("Search units").fill("FENWADE");
    await page.keyboard.press("Enter");
    await unitIsShown(page, "FENWADE");
});

flow("shows the units of one folder alone", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.getByLabel("Folder", { exact: true }).selectOption("mod");
    await eventually(() => page.getByRole("listbox", { name: "Units" }).getByRole("option").count(), 2);
    await page.getByText("2 of 11 units").waitFor();
});
