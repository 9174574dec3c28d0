// Flow 3: running scripts.
import assert from "node:assert/strict";
import { eventually, eventuallyMatches, flow, openUnit, unitIsShown } from "./bench";

flow("runs, pauses and starts over", {}, async ({ page }) => {
    await unitIsShown(page, "FENDOCK");
    await page.getByRole("button", { name: "Run", exact: true }).click();
    const tick = page.getByLabel("Tick", { exact: true });
    await eventuallyMatches(() => tick.textContent(), /tick [1-9]\d/);
    await page.getByRole("button", { name: "Pause" }).click();
    await page.getByRole("button", { name: "Run", exact: true }).waitFor();
    const stood = await tick.textContent();
    await page.getByRole("button", { name: "Step one tick" }).click();
    await eventually(async () => await tick.textContent() !== stood, true);
    await page.getByRole("button", { name: "Start over" }).click();
    await eventually(() => tick.textContent(), "tick 0");
});

flow("starts a script with arguments, and the pose follows", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem", { name: /^turret/ }).click();
    await page.getByLabel("Script to start").selectOption("AimPrimary");
    await eventually(() => page.getByLabel("Arguments").getAttribute("placeholder"), "heading, pitch");
    await page.getByLabel("Arguments").fill("8192 0");
    await page.getByRole("button", { name: "Start", exact: true }).click();
    await eventuallyMatches(() => page.getByLabel("Pose of turret").textContent(), /turned0\.0°, 45\.0°, 0\.0°/);
});

flow("says what is wrong with arguments", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Arguments").fill("fast");
    await page.getByText("not a whole number: fast").waitFor();
    assert.equal(await page.getByRole("button", { name: "Start", exact: true }).getAttribute("aria-disabled"), "true");
});

flow("lists what the script did, and plays the unit's sounds", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByRole("tab", { name: "Trace" }).click();
    await page.getByLabel("Script to start").selectOption("FirePrimary");
    await page.getByRole("button", { name: "Start", exact: true }).click();
    await page.getByRole("listbox", { name: "Trace" }).getByRole("option", { name: /hide cup/ }).waitFor();
    await page.getByRole("tab", { name: "Sounds" }).click();
    await page.getByRole("grid", { name: "Sounds" }).getByRole("row", { name: /kilpick/ }).getByRole("button", { name: "Play" }).click();
    await page.getByRole("tab", { name: "Log" }).click();
    await page.getByRole("listbox", { name: "Log" }).getByRole("option").first().waitFor();
});
