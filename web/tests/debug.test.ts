// Flow 4: debugging.
import assert from "node:assert/strict";
import { eventually, flow, openUnit } from "./bench";
import type { Page } from "playwright-core";

const LINE_WITHOUT_CODE = 36;
const LINE_OF_TURN = 38;

async function clickGutter(page: Page, line: number): Promise<void> {
    const code = page.getByLabel("Script source");
    const box = (await code.getByText(/^\t*turn sling to x-axis <-70>/).boundingBox())!;
    const gutter = (await page.locator(".breakpoints").boundingBox())!;
    await page.mouse.click(gutter.x + gutter.width / 2, box.y + box.height / 2 + (line - LINE_OF_TURN) * box.height);
}

async function startFiring(page: Page): Promise<void> {
    await page.getByLabel("Script to start").selectOption("FirePrimary");
    await page.getByRole("button", { name: "Start", exact: true }).click();
}

flow("a click in the gutter moves to code, stops there and lights up the piece of the line", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("FirePrimary").scrollIntoViewIfNeeded();
    await clickGutter(page, LINE_WITHOUT_CODE);
    await page.getByTitle("stops here").waitFor();
    await startFiring(page);
    await page.getByText(`stopped in FirePrimary, line ${LINE_OF_TURN}`).first().waitFor();
    assert.match((await page.locator("[aria-current=step]").textContent())!, /turn sling to x-axis <-70>/);
    await page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem", { name: /sling/, selected: true }).waitFor();
});

flow("steps by lines and instructions, and runs on", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("FirePrimary").scrollIntoViewIfNeeded();
    await clickGutter(page, LINE_OF_TURN);
    await page.getByTitle("stops here").waitFor();
    await startFiring(page);
    const stopped = page.locator("[aria-current=step]");
    await eventually(async () => (await stopped.textContent())?.trim(), "turn sling to x-axis <-70> speed <900>;");
    await page.keyboard.press("F10");
    await eventually(async () => (await stopped.textContent())?.trim(), "wait-for-turn sling around x-axis;");
    await page.keyboard.press("F10"); // past what the other thread does meanwhile
    await eventually(async () => (await stopped.textContent())?.trim(), "hide cup;");
    await page.keyboard.press("Shift+F10");
    await page.getByRole("button", { name: "Continue" }).click();
    await eventually(() => stopped.count(), 0);
});

flow("names variables at a stop and writes them", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("signal 2;").click();
    await page.keyboard.press("F9");
    await page.getByTitle("stops here").waitFor();
    await page.getByLabel("Script to start").selectOption("AimPrimary");
    await page.getByLabel("Arguments").fill("8192 1024");
    await page.getByRole("button", { name: "Start", exact: true }).click();
    await page.getByText(/stopped in AimPrimary/).first().waitFor();
    await page.getByRole("tab", { name: "Variables" }).click();
    const heading = page.getByLabel("Value of heading");
    await eventually(() => heading.inputValue(), "8192");
    await heading.fill("100");
    await heading.press("Enter");
    await page.getByRole("tab", { name: "Threads" }).click();
    await page.getByRole("listbox", { name: "Threads" }).getByRole("option", { name: /AimPrimary/ }).waitFor();
    await page.getByRole("tab", { name: "Variables" }).click();
    await eventually(() => heading.inputValue(), "100");
});

flow("unit values that are set are what the script reads", {}, async ({ page }) => {
    await openUnit(page, "KILCART");
    await page.getByRole("tab", { name: "Trace" }).click();
    await page.getByRole("button", { name: "Run", exact: true }).click();
    const entries = page.getByRole("listbox", { name: "Trace" }).getByRole("option");
    await entries.filter({ hasText: /emit-sfx/ }).first().waitFor(); // it smokes, for health is 0
    await page.getByRole("tab", { name: "Unit values" }).click();
    const health = page.getByLabel("Value of HEALTH", { exact: true });
    await health.fill("100");
    await health.press("Enter");
    const roundsWithoutSmoke = async (): Promise<number> => {
        const texts = await entries.allTextContents();
        const lastSmoke = texts.map((text) => /emit-sfx/.test(text)).lastIndexOf(true);
        return texts.slice(lastSmoke + 1).filter((text) => /sleep 700ms/.test(text)).length;
    };
    await eventually(async () => await roundsWithoutSmoke() >= 2, true);
});
