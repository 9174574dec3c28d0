// Texts that are edited, scripts and definitions alike: nothing that anybody wrote is lost, and only that is written.
import assert from "node:assert/strict";
import { appendFileSync, copyFileSync, cpSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, openUnit } from "./bench";

const SCRIPT = "piece base;\n\nCreate()\n{\n\tsleep 100;\n}\n\nKilled(severity, kind)\n{\n\tkind = 1;\n}\n";

/** The mod found, in which GLDCRAB has a source. */
const found = (script = SCRIPT, change: (data: string) => void = () => {}): BenchOptions => ({
    roots(data) {
        writeFileSync(scriptOf(data), script);
        change(data);
        return { taDataPath: join(data, "game"), modPaths: [join(data, "found")] };
    },
});

const scriptOf = (data: string): string => join(data, "found/scripts/GLDCRAB.bos");
const script = (page: Page) => page.getByLabel("Script source");
const definition = (page: Page) => page.getByRole("textbox", { name: "Definition text" });
const unsaved = (page: Page) => page.locator(".status-bar").getByText(/unsaved/);

async function typeAtTop(page: Page, text: string): Promise<void> {
    await script(page).click();
    await page.keyboard.press("Control+Home");
    await page.keyboard.type(text);
}

async function openDefinition(page: Page): Promise<void> {
    await openUnit(page, "GLDCRAB");
    await page.getByRole("tab", { name: /^FBI/ }).click();
    await definition(page).getByText("UnitName").first().waitFor();
}

async function editLine(page: Page, line: string): Promise<void> {
    await definition(page).getByText(line).first().click();
    await page.keyboard.press("End");
    await page.keyboard.type("// mine");
}

async function saveWithConsent(page: Page, word: string): Promise<void> {
    await page.keyboard.press("Control+s");
    await page.getByRole("dialog", { name: `Write the ${word} of GLDCRAB?` })
        .getByRole("button", { name: "Back up and write" }).click();
    await eventually(() => unsaved(page).count(), 0);
}

const crlf = (text: string): string => text.replace(/\r?\n/g, "\r\n");

const ends = "line ends stay as the file has them, and what another program changes in it is merged";
flow(ends, found(crlf(SCRIPT), (data) => {
    const file = join(data, "found/units/GLDCRAB.fbi");
    // all end in CRLF but one
    writeFileSync(file, crlf(readFileSync(file, "utf8")).replace(/(UnitName=[^\r]*)\r\n/, "$1\n"));
}), async ({ page, data }) => {
    const file = join(data, "found/units/GLDCRAB.fbi");
    const [fbi, bos] = [readFileSync(file, "utf8"), readFileSync(scriptOf(data), "utf8")];
    await openDefinition(page);
    await typeAtTop(page, "x");
    await unsaved(page).waitFor();
    await page.keyboard.press("Backspace");
    await editLine(page, "MaxDamage");
    await eventually(() => unsaved(page).allTextContents(), ["1 definition unsaved"]);
    writeFileSync(file, fbi.replace(/\bName=/, "Name=The "));
    await page.getByRole("button", { name: "Merge…" }).click();
    await page.getByText("touch different lines").waitFor();
    await page.getByRole("button", { name: "Take the merged text" }).click();
    await definition(page).click();
    await saveWithConsent(page, "definition");
    assert.equal(readFileSync(file, "utf8"),
        fbi.replace(/\bName=/, "Name=The ").replace(/(MaxDamage=.*?)\r\n/, "$1// mine\r\n"));
    await typeAtTop(page, "// a\n");
    await saveWithConsent(page, "script");
    assert.equal(readFileSync(scriptOf(data), "utf8"), `// a\r\n${bos}`);
});

const two = "a script that another program or page has written is merged with, and never written over";
flow(two, found(), async ({ page, data, open }) => {
    await openUnit(page, "GLDCRAB");
    const other = await open();
    await openUnit(other, "GLDCRAB");
    await typeAtTop(page, "// mine\n");
    await typeAtTop(other, "// other's\n");
    await saveWithConsent(other, "script");
    await page.keyboard.press("Control+s");
    const region = page.getByRole("region", { name: "Script", exact: true });
    await region.getByText("Another program has changed the file.").waitFor();
    assert.equal(readFileSync(scriptOf(data), "utf8"), `// other's\n${SCRIPT}`);
    await region.getByRole("button", { name: "Merge…" }).click();
    await page.getByLabel("Lines of conflict 1").selectOption("both");
    await page.getByRole("button", { name: "Take the merged text" }).click();
    await script(page).click();
    await page.keyboard.press("Control+s");
    await eventually(() => readFileSync(scriptOf(data), "utf8"), `// mine\n// other's\n${SCRIPT}`);
});

const typing = "what is typed while a script is saved stays, with cursor, scroll and undo";
flow(typing, found(SCRIPT + "\n".repeat(80)), async ({ page, data, hold }) => {
    await openUnit(page, "GLDCRAB");
    await typeAtTop(page, "// ONE\n");
    await saveWithConsent(page, "script");
    const isFocused = () => script(page).evaluate((element) => element === document.activeElement);
    assert.equal(await isFocused(), true);
    await page.keyboard.press("Control+End");
    const release = hold("save-unit");
    await page.keyboard.type("// TWO");
    await page.keyboard.press("Control+s");
    await page.keyboard.type(", THREE");
    const scroll = () => script(page).evaluate((element) => element.parentElement!.scrollTop);
    const before = await scroll();
    assert.ok(before > 100);
    release();
    await eventually(() => /TWO/.test(readFileSync(scriptOf(data), "utf8")), true);
    await page.getByText(/the script of GLDCRAB is written to/).waitFor();
    await script(page).getByText("// TWO, THREE").waitFor();
    await eventually(() => unsaved(page).allTextContents(), ["1 script unsaved"]);
    assert.deepEqual([await isFocused(), await scroll()], [true, before]);
    await page.keyboard.press("Control+z");
    await page.keyboard.press("Control+z");
    await page.keyboard.press("Control+Home");
    await script(page).getByText("piece base;").waitFor();
});

const places = "a text belongs to its file: other folders, a file that is gone, the list of what is unsaved";
flow(places, found(SCRIPT, (data) => {
    cpSync(join(data, "found"), join(data, "found2"), { recursive: true });
}), async ({ page, data }) => {
    await openDefinition(page);
    await editLine(page, "MaxDamage");
    rmSync(join(data, "found/units/GLDCRAB.fbi"));
    const pane = page.getByRole("tabpanel", { name: /^FBI/ });
    await pane.getByRole("alert").filter({ hasText: "GLDCRAB" }).waitFor();
    assert.match(await definition(page).textContent() ?? "", /\/\/ mine/);
    copyFileSync(join(data, "found2/units/GLDCRAB.fbi"), join(data, "found/units/GLDCRAB.fbi"));
    await pane.getByRole("alert").waitFor({ state: "detached" });
    await page.keyboard.press("Control+Shift+l");
    await typeAtTop(page, "// mine\n");
    for (const end of ["bos", "cob"]) rmSync(join(data, `found/scripts/GLDCRAB.${end}`));
    await page.keyboard.press("Control+Shift+l");
    await page.getByText("COB script not found: scripts/GLDCRAB.cob").first().waitFor();
    await page.getByRole("button", { name: "Write it anew" }).click();
    await eventually(() => unsaved(page).allTextContents(), ["1 definition unsaved"]);
    assert.equal(readFileSync(scriptOf(data), "utf8"), `// mine\n${SCRIPT}`);
    await typeAtTop(page, "// more\n");
    await page.keyboard.press("Control+o");
    const roots = page.getByRole("dialog", { name: "Open a game and mods" });
    await roots.getByRole("button", { name: "Leave found out" }).click();
    await roots.getByLabel("Add a mod folder").fill(join(data, "found2"));
    await roots.getByRole("button", { name: "Open", exact: true }).click();
    await roots.waitFor({ state: "detached" });
    await openUnit(page, "GLDCRAB");
    await eventuallyMatches(() => script(page).textContent(), /^piece base/);
    await eventuallyMatches(() => definition(page).textContent(), /^(?!.*\/\/ mine)/s);
    await page.getByRole("button", { name: "1 script unsaved" }).click();
    const list = page.getByRole("dialog", { name: "Texts that are not saved" });
    await list.getByText(scriptOf(data)).waitFor();
    await list.getByText(join(data, "found/units/GLDCRAB.fbi")).click();
    await list.getByRole("button", { name: "Give up" }).last().click();
    await eventually(() => unsaved(page).allTextContents(), ["1 script unsaved"]);
});

const killed = "an editor that ends in the middle of a save: the page says that nothing is saved, and saves it later";
flow(killed, found(), async ({ page, data, freezeEditor, killEditor }) => {
    await openUnit(page, "GLDCRAB");
    await typeAtTop(page, "// mine\n");
    await saveWithConsent(page, "script");
    await page.keyboard.type("// never\n");
    await freezeEditor();
    await page.keyboard.press("Control+s");
    await killEditor();
    await page.getByText("everything is open as before").waitFor();
    await page.getByRole("alert").getByText(/^the script of GLDCRAB is not saved: the editor has ended/).waitFor();
    await script(page).getByText("// never").waitFor();
    assert.equal(readFileSync(scriptOf(data), "utf8"), `// mine\n${SCRIPT}`);
    await script(page).click();
    await page.keyboard.press("Control+s");
    await eventually(() => unsaved(page).count(), 0);
    assert.equal(await page.getByRole("alert").count(), 0);
});

flow("what others write right after a save is not taken for the page's own", found(), async ({ page, data }) => {
    await openUnit(page, "GLDCRAB");
    await typeAtTop(page, "// mine\n");
    await saveWithConsent(page, "script");
    appendFileSync(join(data, "found/objects3d/GLDCRAB.3do"), "\0");
    await page.getByText("changed on disk").waitFor();
    await page.getByRole("button", { name: "Load again" }).click();
    await page.getByText("changed on disk").waitFor({ state: "detached" });
    await typeAtTop(page, "// mine\n");
    await page.keyboard.press("Control+s");
    await eventually(() => unsaved(page).count(), 0);
    writeFileSync(join(data, "found/units/NEWONE.fbi"), "[UNITINFO]\n{\nUnitName=NEWONE;\n}\n");
    await page.getByRole("option", { name: /NEWONE/ }).waitFor(); // told behind the page's own write
    assert.equal(await page.getByText("changed on disk").count(), 0);
});

flow("what is unsaved is there again when the page is loaded anew", found(), async ({ page, data }) => {
    await openUnit(page, "GLDCRAB");
    await typeAtTop(page, "// mine\n");
    page.once("dialog", (asked) => void asked.accept());
    await page.reload();
    await eventually(() => unsaved(page).allTextContents(), ["1 script unsaved"]);
    await openUnit(page, "GLDCRAB");
    await script(page).getByText("// mine").waitFor();
    await script(page).click();
    await saveWithConsent(page, "script");
    assert.equal(readFileSync(scriptOf(data), "utf8"), `// mine\n${SCRIPT}`);
    await page.reload();
    await openUnit(page, "GLDCRAB");
    assert.equal(await unsaved(page).count(), 0);
});
