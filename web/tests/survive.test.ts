// What must not matter: editors that end, pages that go, two at once, strange names, folders that vanish.
import assert from "node:assert/strict";
import { appendFileSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { eventually, eventuallyMatches, flow, openUnit, unitIsShown } from "./bench";

const REOPENED = "everything is open as before";

flow("the editor ends while the script runs: all is opened again and runs on demand", {}, async ({ page, killEditor }) => {
    await openUnit(page, "KILCART");
    await page.getByRole("button", { name: "Run", exact: true }).click();
    const tick = page.getByLabel("Tick", { exact: true });
    await eventuallyMatches(() => tick.textContent(), /tick [1-9]/);
    await killEditor();
    await page.getByText(REOPENED).waitFor();
    await unitIsShown(page, "KILCART");
    await page.getByRole("button", { name: "Start over" }).click();
    await eventuallyMatches(() => tick.textContent(), /tick \d/);
});

flow("the editor ends at a stop: breakpoints are set again and stop again", {}, async ({ page, killEditor }) => {
    await openUnit(page, "KILCART");
    await page.getByLabel("Script source").getByText("signal 2;").click();
    await page.keyboard.press("F9");
    await page.getByTitle("stops here").waitFor();
    const start = async () => {
        await page.getByLabel("Script to start").selectOption("AimPrimary");
        await page.getByRole("button", { name: "Start", exact: true }).click();
        await page.locator("[aria-current=step]").waitFor();
    };
    await start();
    await killEditor();
    await page.getByText(REOPENED).waitFor();
    await page.locator("[aria-current=step]").waitFor({ state: "detached" });
    await page.getByTitle("stops here").waitFor();
    await start();
});

flow("the editor ends in the middle of loading a unit: the newest wish is fulfilled by the next one", {},
    async ({ page, freezeEditor, killEditor }) => {
    await unitIsShown(page, "FENDOCK");
    await freezeEditor();
    await page.getByRole("option", { name: /KILCART/ }).click();
    await killEditor();
    await unitIsShown(page, "KILCART");
});

flow("the editor ends in the middle of mounting: the dialog says why, and the next one mounts", {},
    async ({ page, data, freezeEditor, killEditor }) => {
    await unitIsShown(page, "FENDOCK");
    await page.keyboard.press("Control+o");
    const dialog = page.getByRole("dialog", { name: "Open a game and mods" });
    await dialog.getByLabel("Add a mod folder").fill(join(data, "found"));
    await freezeEditor();
    await dialog.getByRole("button", { name: "Open", exact: true }).click();
    await killEditor();
    await dialog.getByRole("alert").getByText(/the editor has ended/).waitFor();
    await page.getByText(REOPENED).waitFor();
    await dialog.getByRole("button", { name: "Open", exact: true }).click();
    await page.getByRole("option", { name: /GLDCRAB/ }).waitFor();
});

flow("an editor that ends at every start is given up, until it is asked for again", {}, async ({ page, killEditor }) => {
    await unitIsShown(page, "FENDOCK");
    for (let i = 0; i < 3; i++) await killEditor();
    await page.getByText("editor alive").evaluate((element) => element.getAttribute("data-pid")).then((pid) => process.kill(Number(pid), "SIGKILL"));
    await page.getByRole("button", { name: "Start again" }).click();
    await page.getByText(REOPENED).waitFor();
    await unitIsShown(page, "FENDOCK");
});

flow("two pages have a session each", {}, async ({ page, open }) => {
    await openUnit(page, "KILCART");
    const other = await open();
    await openUnit(other, "FENWADE");
    await page.getByRole("button", { name: "Run", exact: true }).click();
    await eventuallyMatches(() => page.getByLabel("Tick", { exact: true }).textContent(), /tick [1-9]/);
    assert.equal(await other.getByLabel("Tick", { exact: true }).textContent(), "tick 0");
    await other.close();
    const pid = await page.getByText("editor alive").getAttribute("data-pid");
    await openUnit(page, "FENTILL");
    assert.equal(await page.getByText("editor alive").getAttribute("data-pid"), pid);
});

const closing = "a page that is closed in the middle of a save: the save is finished, server and file are whole";
flow(closing, {}, async ({ page, open, data, lines }) => {
    await unitIsShown(page, "FENDOCK");
    const other = await open();
    const sent = (): number => lines().filter((type) => type === "save-fbi-raw").length;
    async function type(text: string): Promise<void> {
        const before = sent();
        await other.getByLabel("Definition text").click();
        await other.keyboard.press("Control+Home");
        await other.keyboard.type(text);
        await eventually(() => sent(), before + 1); // the check
    }
    await openUnit(other, "FENRAFT");
    await other.getByRole("tab", { name: /^FBI/ }).click();
    await type("// one\n");
    await other.keyboard.press("Control+s");
    await other.getByRole("button", { name: "Back up and write" }).click();
    await other.getByText("1 definition unsaved").waitFor({ state: "detached" });
    const archive = join(data, "mod/marshmod.ufo");
    const before = readFileSync(archive);
    await type("// two\n");
    const pid = Number(await other.getByText("editor alive").getAttribute("data-pid"));
    process.kill(pid, "SIGSTOP");
    const checked = sent();
    await other.keyboard.press("Control+s");
    await eventually(() => sent(), checked + 1);
    await other.close();
    process.kill(pid, "SIGCONT");
    await eventually(() => readFileSync(archive).equals(before), false);
    await openUnit(page, "FENRAFT");
    await page.getByRole("tab", { name: /^FBI/ }).click();
    await page.getByLabel("Definition text").getByText("// two").waitFor();
});

const MARKUP = "<img src=x onerror=alert(1)>";

flow("names with markup are text everywhere", {
    roots(data) {
        mkdirSync(join(data, "odd/units"), { recursive: true });
        writeFileSync(join(data, "odd/units/ODD.fbi"), `[UNITINFO]\n{\nUnitName=ODD;\nObjectName=KILCART;\nName=${MARKUP};\n` +
            `Description=<script>alert(2)</script>;\nSide=<b>S</b>;\nSoundCategory=${MARKUP};\n}\n`);
        return { taDataPath: join(data, "game"), modPaths: [join(data, "odd")] };
    },
}, async ({ page }) => {
    await openUnit(page, "ODD");
    await page.getByRole("option").getByText(MARKUP).waitFor();
    await page.getByText("This unit has no script.").waitFor();
    assert.equal(await page.getByRole("button", { name: "Run", exact: true }).getAttribute("title"), "This unit has no script (F8)");
    assert.equal(await page.locator("img, .app script").count(), 0);
    assert.deepEqual(await page.getByLabel("Side", { exact: true }).locator("option").allTextContents(), ["All sides", "<b>S</b>", "FEN", "KILN", "NEUTRAL"]);
});

flow("what other programs change is seen, also that a mod folder vanishes", {
    roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "found")] }),
}, async ({ page, data }) => {
    await openUnit(page, "GLDCRAB");
    writeFileSync(join(data, "found/units/NEWONE.fbi"), "[UNITINFO]\n{\nUnitName=NEWONE;\nObjectName=KILCART;\n}\n");
    await page.getByRole("option", { name: /NEWONE/ }).waitFor();
    appendFileSync(join(data, "found/units/GLDCRAB.fbi"), "\n");
    await page.getByRole("button", { name: "Load again" }).click();
    await page.getByText("changed on disk").waitFor({ state: "detached" });
    rmSync(join(data, "found"), { recursive: true });
    await page.getByRole("option", { name: /NEWONE/ }).waitFor({ state: "detached" });
    await page.keyboard.press("Control+Shift+l");
    await page.getByText("FBI not found for unit: GLDCRAB").first().waitFor();
    await page.getByRole("option", { name: /FENWADE/ }).click();
    await unitIsShown(page, "FENWADE");
});
