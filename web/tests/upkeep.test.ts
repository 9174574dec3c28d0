// What must not be lost, mistaken or left standing while units, files and processes come and go.
import assert from "node:assert/strict";
import { mkdirSync, renameSync, rmSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { eventually, eventuallyMatches, flow, openUnit, outlinePixels, unitIsShown } from "./bench";

flow("edits of a model that were given up are not in the picture when the unit is shown again", {},
    async ({ page }) => {
    await openUnit(page, "KILCART");
    const before = await outlinePixels(page);
    await page.getByRole("tab", { name: "Faces", exact: true }).click();
    await page.getByLabel("Fix", { exact: true }).selectOption("scale");
    await page.getByLabel("Factor").fill("3");
    await page.getByRole("button", { name: "Scale", exact: true }).click();
    await eventually(async () => await outlinePixels(page) !== before, true);
    await page.getByRole("option", { name: /FENDOCK/ }).click();
    const dialog = page.getByRole("dialog", { name: /Give up the edits/ });
    assert.equal(await dialog.getByRole("button", { name: "Cancel" }).evaluate((button) =>
        button === document.activeElement), true);
    await dialog.getByRole("button", { name: "Give them up" }).click();
    await unitIsShown(page, "FENDOCK");
    await openUnit(page, "KILCART");
    await eventually(() => outlinePixels(page), before);
});

flow("a colour that is chosen while units load colours the unit that is shown", {}, async ({ page, hold }) => {
    await openUnit(page, "KILCART");
    const release = hold("load-unit");
    await page.getByRole("option", { name: /FENDOCK/ }).click();
    await page.getByRole("option", { name: /FENTILL/ }).click();
    await page.getByLabel("Team").fill("#ff0000");
    release();
    await unitIsShown(page, "FENTILL");
    const shown = await outlinePixels(page);
    await page.keyboard.press("Control+Shift+L");
    await page.getByText("FENTILL is loaded").waitFor();
    await eventually(() => outlinePixels(page), shown);
});

flow("a recolouring that is prepared outlives a look at another unit, and a setting that is out of range is refused", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "faulty")] }),
}, async ({ page }) => {
    await openUnit(page, "FLTTINT");
    await page.getByRole("tab", { name: "Textures", exact: true }).click();
    await page.getByRole("option", { name: "FLTTEAM" }).click();
    await page.getByRole("button", { name: "Out of team colour" }).click();
    const changed = page.getByRole("listbox", { name: "Changed colours" }).getByRole("option");
    await eventually(() => changed.count(), 12);
    await openUnit(page, "KILCART");
    await page.getByText("1 texture unsaved").waitFor();
    await page.getByRole("tab", { name: "Unit values" }).click();
    const value = page.getByLabel("Value of HEALTH", { exact: true });
    await value.fill("99999999999999999999");
    await value.press("Enter");
    await page.getByText(/^Value of HEALTH: not between/).waitFor();
    await value.fill("50");
    await value.press("Enter");
    await eventually(() => page.getByText(/not between/).count(), 0);
    await openUnit(page, "FLTTINT");
    await page.getByRole("option", { name: "FLTTEAM" }).click();
    await eventually(() => changed.count(), 12);
});

flow("marks a folder that vanishes while it is open, and sees when it is there again", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "found")] }),
}, async ({ page, data }) => {
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor();
    renameSync(join(data, "found"), join(data, "away"));
    const root = page.getByLabel("Data roots").getByRole("listitem").filter({ hasText: "found" });
    await root.getByText("not there").waitFor();
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor({ state: "detached" });
    renameSync(join(data, "away"), join(data, "found"));
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor();
    await root.getByText("not there").waitFor({ state: "detached" });
    rmSync(join(data, "found/units/GLDCRAB.fbi"));
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor({ state: "detached" });
});

flow("roots of one name are told apart, and a folder does not hold what lies in one that begins like it", {
    roots(data) {
        for (const name of ["one/mod", "two/mod", "two/mod2"]) mkdirSync(join(data, name, "units"),
            { recursive: true });
        writeFileSync(join(data, "two/mod2/units/BEHIND.fbi"),
            "[UNITINFO]\n{\nUnitName=BEHIND;\nObjectName=KILCART;\n" +
            "Weapon1=RAFT_NET;\nWeapon2=RAFT_NET;\nWeapon3=FEN_SPRAY;\n}\n");
        return { taDataPath: join(data, "game"), modPaths: [join(data, "one/mod"), join(data, "two/mod"),
            join(data, "two/mod2"), join(data, "mod")] };
    },
}, async ({ page }) => {
    await unitIsShown(page, "BEHIND");
    const folders = page.getByLabel("Folder", { exact: true });
    assert.deepEqual(await folders.locator("option").allTextContents(),
        ["All folders", "one/mod", "two/mod", "mod2", "data/mod", "game"]);
    await folders.selectOption("two/mod");
    await page.getByText("0 of 12 units").waitFor();
    await page.getByRole("tab", { name: "Weapons" }).click();
    const weapons = page.getByRole("listbox", { name: "Weapons" });
    await weapons.focus();
    for (let i = 0; i < 2; i++) await page.keyboard.press("ArrowDown");
    await weapons.getByRole("option", { name: /FEN_SPRAY/, selected: true }).waitFor();
});

flow("faces are chosen by keyboard, one after the other and many at once", {}, async ({ page }) => {
    await openUnit(page, "FENDOCK");
    await page.getByRole("tab", { name: "Faces", exact: true }).click();
    const list = page.getByRole("listbox", { name: "Faces" });
    await list.getByRole("option").first().waitFor();
    const chosen = (): Promise<string | null> => page.locator(".foot", { hasText: "Choose all" })
        .getByText(/^\d+ faces/).textContent();
    await list.focus();
    for (const key of ["ArrowDown", "Control+ArrowDown", "Control+ArrowDown", "Space"]) await page.keyboard.press(key);
    await eventuallyMatches(chosen, /, 2 chosen/);
    for (const key of ["Shift+ArrowDown", "Shift+ArrowDown"]) await page.keyboard.press(key);
    await eventuallyMatches(chosen, /, 3 chosen/);
    await list.getByRole("option").first().click({ modifiers: ["Control"] });
    await eventuallyMatches(chosen, /, 4 chosen/);
    await page.keyboard.press("Space");
    await eventuallyMatches(chosen, /, 3 chosen/);
    await page.keyboard.press("Escape");
    await eventuallyMatches(chosen, /^\d+ faces$/);
});

flow("a folder around a game says where the game is", { roots: (data) => ({ taDataPath: data, modPaths: [] }) },
    async ({ page, data }) => {
    await page.getByText(`A game lies in ${join(data, "game")}.`).waitFor();
    await page.getByText("Nothing to be seen: open a game.").waitFor();
    await page.getByRole("button", { name: "Open it" }).click();
    await page.getByRole("listbox", { name: "Units" }).getByRole("option").first().waitFor();
    assert.equal(await page.getByText("0 units here.").count(), 0);
});

flow("a page goes on with the next server, unsaved text and all", {}, async ({ page, stopServer, expectErrors }) => {
    expectErrors(/WebSocket connection/);
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").click();
    await page.keyboard.type("// kept ");
    const startAgain = await stopServer();
    await page.getByRole("alert").getByText("the server is gone: start it again").waitFor();
    await startAgain();
    await page.getByText("editor alive").waitFor();
    await unitIsShown(page, "KILCART");
    await eventuallyMatches(() => page.getByLabel("Script source").textContent(), /\/\/ kept/);
    await page.getByText("1 script unsaved").waitFor();
});
