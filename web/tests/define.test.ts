// Flow 7: the definition as form and text, consent, copies of the base game's units, other programs' changes.
import assert from "node:assert/strict";
import { existsSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { type BenchOptions, eventually, eventuallyMatches, flow, openUnit } from "./bench";

const found: BenchOptions = { roots: (data) => ({ taDataPath: join(data, "game"), modPaths: [join(data, "found")] }) };

const text = (page: Page) => page.getByRole("textbox", { name: "Definition text" });
const save = (page: Page) => page.getByRole("tabpanel", { name: /^FBI/ }).getByRole("button", { name: "Save", exact: true }).click();
const pane = (page: Page) => page.getByRole("tabpanel", { name: /^FBI/ });

async function openDefinition(page: Page, unit: string): Promise<void> {
    await openUnit(page, unit);
    await page.getByRole("tab", { name: /^FBI/ }).click();
    await eventuallyMatches(() => text(page).textContent(), new RegExp(`UnitName=${unit};`));
}

async function setKey(page: Page, key: string, value: string): Promise<void> {
    const cell = page.getByRole("grid", { name: "Keys" }).getByLabel(key, { exact: true });
    await page.getByLabel("Search keys").fill(key);
    await cell.fill(value);
    await cell.press("Enter");
}

async function consent(page: Page, file: string): Promise<void> {
    const question = page.getByRole("dialog", { name: /^Write the definition of/ });
    await question.getByText(`${file} is changed.`).waitFor();
    await question.getByText(`it is copied to ${file}.orbbackup`).waitFor();
    await question.getByRole("button", { name: "Back up and write" }).click();
}

flow("form and text are one; saving names the file and its backup, which can be restored", found, async ({ page, data }) => {
    const file = join(data, "found/units/GLDYARD.fbi");
    const before = readFileSync(file, "utf8");
    await openDefinition(page, "GLDYARD");
    await setKey(page, "MaxDamage", "1900");
    await eventuallyMatches(() => text(page).textContent(), /MaxDamage=1900;/);
    await page.getByText("1 definition unsaved").waitFor();
    await save(page);
    await consent(page, file);
    await eventually(() => readFileSync(file, "utf8"), before.replace("MaxDamage=1800", "MaxDamage=1900"));
    await page.getByText("1 definition unsaved").waitFor({ state: "detached" });
    await pane(page).getByRole("button", { name: "Restore backup…" }).click();
    await page.getByRole("dialog", { name: `Restore ${file}?` }).getByRole("button", { name: "Restore" }).click();
    await eventuallyMatches(() => text(page).textContent(), /MaxDamage=1800;/);
    assert.equal(readFileSync(file, "utf8"), before);
});

flow("underlines what is surely not meant while it is typed", found, async ({ page }) => {
    await openDefinition(page, "GLDYARD");
    await text(page).getByText("MaxDamage").click();
    await page.keyboard.press("Home");
    await page.keyboard.type("Buildr=1;");
    await pane(page).getByRole("status").filter({ hasText: 'line 19: unknown key "Buildr": is "builder" meant?' }).waitFor();
    await page.locator(".cm-lintRange-warning").waitFor();
    await page.keyboard.press("Control+a");
    await page.keyboard.type("nothing");
    await pane(page).getByText("fbi-parse-error: no [UNITINFO] section").waitFor();
    await pane(page).getByRole("button", { name: "Revert" }).click();
    await eventuallyMatches(() => text(page).textContent(), /MaxDamage=1800;/);
});

flow("copies a unit of the base game into a new mod when its definition is saved", {}, async ({ page, scratch }) => {
    await openDefinition(page, "FENWADE");
    await setKey(page, "MaxDamage", "777");
    await save(page);
    const dialog = page.getByRole("dialog", { name: "Copy FENWADE into a mod?" });
    await dialog.getByLabel("Into").selectOption({ label: "a new mod folder" });
    await dialog.getByLabel("New mod folder").fill(join(scratch, "mine"));
    await dialog.getByRole("button", { name: "Copy into the mod" }).click();
    await consent(page, join(scratch, "mine/units/FENWADE.fbi"));
    const file = join(scratch, "mine/units/FENWADE.fbi");
    await eventually(() => existsSync(file) && /MaxDamage=777;/.test(readFileSync(file, "utf8")), true);
    await page.getByRole("banner", { name: "Data roots" }).getByText("mine").waitFor();
    await page.getByRole("row", { name: /MaxDamage/ }).getByTitle("The base game has").waitFor();
});

flow("copies a unit under a new name", {}, async ({ page, data }) => {
    await openDefinition(page, "FENWADE");
    await pane(page).getByRole("button", { name: "Copy…" }).click();
    const dialog = page.getByRole("dialog", { name: "Copy FENWADE" });
    await dialog.getByLabel("New name").fill("MY WADE");
    await dialog.getByRole("button", { name: "Copy", exact: true }).click();
    await dialog.getByRole("alert").filter({ hasText: "bad unit name: MY WADE" }).waitFor();
    await dialog.getByLabel("New name").fill("MYWADE");
    await dialog.getByLabel("Name that players see").fill("My Wader");
    await dialog.getByRole("button", { name: "Copy", exact: true }).click();
    await eventuallyMatches(() => text(page).textContent(), /UnitName=MYWADE;.*Name=My Wader;/s);
    assert.ok(existsSync(join(data, "mod/scripts/MYWADE.cob")));
});

flow("merges its changes with what another program wrote meanwhile", found, async ({ page, data }) => {
    const file = join(data, "found/units/GLDYARD.fbi");
    const before = readFileSync(file, "utf8");
    await openDefinition(page, "GLDYARD");
    await setKey(page, "MaxDamage", "1900");
    writeFileSync(file, before.replace("WorkerTime=90", "WorkerTime=95"));
    await save(page);
    await pane(page).getByRole("button", { name: "Merge…" }).click();
    const dialog = page.getByRole("dialog", { name: "Merge two changes of GLDYARD" });
    await dialog.getByText("touch different lines").waitFor();
    await dialog.getByRole("button", { name: "Take the merged text" }).click();
    await eventuallyMatches(() => text(page).textContent(), /WorkerTime=95;.*MaxDamage=1900;/s);
    await save(page);
    await consent(page, file);
    await eventually(() => readFileSync(file, "utf8"),
        before.replace("WorkerTime=90", "WorkerTime=95").replace("MaxDamage=1800", "MaxDamage=1900"));
});

flow("lets the user choose where both changed the same line", found, async ({ page, data }) => {
    const file = join(data, "found/units/GLDYARD.fbi");
    const before = readFileSync(file, "utf8");
    await openDefinition(page, "GLDYARD");
    await setKey(page, "MaxDamage", "1900");
    writeFileSync(file, before.replace("MaxDamage=1800", "MaxDamage=2000"));
    await pane(page).getByRole("button", { name: "Merge…" }).click(); // without saving: the page watches the folder
    const dialog = page.getByRole("dialog", { name: "Merge two changes of GLDYARD" });
    await dialog.getByText("Both changed 1 place.").waitFor();
    await eventuallyMatches(() => dialog.getByLabel("Merged text").textContent(), /MaxDamage=1900;/);
    await dialog.getByLabel("Lines of conflict 1").selectOption("theirs");
    await eventuallyMatches(() => dialog.getByLabel("Merged text").textContent(), /MaxDamage=2000;/);
    await dialog.getByRole("button", { name: "Take the merged text" }).click();
    await pane(page).getByRole("button", { name: "Save", exact: true, disabled: true }).waitFor();
});

flow("keeps what was typed when its editor is killed, and saves it with the next one", found, async ({ page, data, killEditor }) => {
    await openDefinition(page, "GLDYARD");
    await setKey(page, "MaxDamage", "1900");
    await killEditor();
    assert.match(await text(page).textContent() ?? "", /MaxDamage=1900;/);
    await save(page);
    await consent(page, join(data, "found/units/GLDYARD.fbi"));
    await page.getByText("1 definition unsaved").waitFor({ state: "detached" });
});
