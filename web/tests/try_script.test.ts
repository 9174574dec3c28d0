// Flow 5: trying a script.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { eventually, flow, openUnit } from "./bench";
import type { Page } from "playwright-core";

async function typeAtTop(page: Page, text: string): Promise<void> {
    await page.getByLabel("Script source").click();
    await page.keyboard.press("Control+Home");
    await page.keyboard.type(text);
}

flow("mistakes get squiggles and rows while typing", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await typeAtTop(page, "Wrong() { hide bass; }\n");
    const problem = page.getByRole("listbox", { name: "Problems" }).getByRole("option", { name: /unknown piece 'bass'/ });
    await problem.waitFor();
    assert.equal(await page.locator(".cm-lintRange-error").first().textContent(), "bass");
    await page.keyboard.press("Control+Enter");
    await page.getByText(/does not compile: 1 error, the first in line 1/).waitFor();
    await page.getByRole("button", { name: "Revert" }).click();
    await problem.waitFor({ state: "detached" });
});

flow("a try runs the text and writes nothing; back is the unit's own", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").click();
    await page.keyboard.press("Control+End");
    await page.keyboard.type("\nNewOne()\n{\n\tmove cup to y-axis [9] now;\n}\n");
    await page.keyboard.press("Control+Enter");
    await page.getByText("temporary: nothing is written").waitFor();
    await page.getByLabel("Script to start").selectOption("NewOne");
    await page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem", { name: /^cup/ }).click();
    await page.getByRole("button", { name: "Start", exact: true }).click();
    await eventually(async () => (await page.getByLabel("Pose of cup").textContent())!.includes("moved0.00, 22.50, 0.00"), true);
    await page.getByRole("button", { name: "Back" }).click();
    await page.getByText("temporary: nothing is written").waitFor({ state: "detached" });
    await eventually(async () => (await page.getByLabel("Pose of cup").textContent())!.includes("moved0.00, 0.00, 0.00"), true);
});

flow("shows what differs from the saved script", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await typeAtTop(page, "// mine\n");
    await page.getByRole("button", { name: "Compare" }).click();
    await eventually(() => page.locator(".cm-changedLine").first().textContent(), "// mine");
});

flow("a draft survives a look at another unit and the end of the editor", {}, async ({ page, killEditor }) => {
    await openUnit(page, "KILCART");
    await typeAtTop(page, "// mine\n");
    await openUnit(page, "FENWADE");
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("// mine").waitFor();
    await killEditor();
    await page.getByText("everything is open as before").waitFor();
    await page.getByLabel("Script source").getByText("// mine").waitFor();
});

flow("saves source and code into the mod after consent", {}, async ({ page, data }) => {
    await openUnit(page, "FENRAFT");
    await typeAtTop(page, "// mine\n");
    await page.keyboard.press("Control+s");
    const consent = page.getByRole("dialog", { name: "Write the script of FENRAFT?" });
    await consent.getByText("marshmod.ufo.orbbackup").waitFor();
    const before = readFileSync(join(data, "mod/marshmod.ufo"));
    await consent.getByRole("button", { name: "Back up and write" }).click();
    await page.getByText(/the script of FENRAFT is written to/).waitFor();
    assert.deepEqual(readFileSync(join(data, "mod/marshmod.ufo.orbbackup")), before);
    await page.getByLabel("Script source").getByText("// mine").waitFor();
    await eventually(() => page.getByRole("button", { name: "Save" }).getAttribute("aria-disabled"), "true");
});

flow("undo never brings back another unit's text", {}, async ({ page }) => {
    await openUnit(page, "FENWADE");
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").click();
    await page.keyboard.press("Control+z");
    await page.keyboard.press("Control+Home");
    await page.getByLabel("Script source").getByText("// Coal Cart: four rolling wheels").waitFor();
    assert.equal(await page.getByRole("button", { name: "Save" }).getAttribute("aria-disabled"), "true");
});
