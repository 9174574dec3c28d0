// What a modder does at the page, one thing at a time, with keys and mouse.
import { join } from "node:path";
import type { Dialog, Locator, Page } from "playwright-core";
import { unitIsShown } from "../bench";
import type { Mark } from "./papers";
import { type Desk, OWN_UNITS, paperIn, textIn, type World } from "./world";

interface Deed {
    name: string;
    /** How often, against the others. */
    weight: number;
    do(world: World, desk: Desk): Promise<void>;
}

/** What cannot be done as things stand; a person does something else then. */
export class NotNow extends Error {}

const SOON_MS = 5_000;

export const button = (where: Page | Locator, name: string | RegExp): Locator => where.getByRole("button", { name, exact: true });
const dialog = ({ page }: Desk): Locator => page.getByRole("dialog");
const isSeen = async (what: Locator): Promise<boolean> => await what.count() > 0 && await what.first().isVisible();

async function press(what: Locator): Promise<void> {
    if (await what.count() === 0 || await what.first().getAttribute("aria-disabled", { timeout: SOON_MS }) === "true") throw new NotNow();
    await what.first().click();
}

async function showTab({ page }: Desk, name: string | RegExp): Promise<void> {
    await page.getByRole("tab", { name }).first().click();
}

/** By the search, as a person does; edits of a model that stand in the way are given up. */
export async function lookAt(desk: Desk, unit: string): Promise<void> {
    const { page } = desk;
    await leaveMap(desk);
    await page.keyboard.press("Control+k");
    await page.getByLabel("Search", { exact: true }).fill(unit);
    const isListed = await dialog(desk).getByRole("option", { name: unit }).first().waitFor({ timeout: SOON_MS }).then(() => true, () => false);
    await page.keyboard.press(isListed ? "Enter" : "Escape");
    if (!isListed) throw new NotNow();
    desk.unit = unit;
    const giveUp = button(dialog(desk), "Give them up");
    const shown = page.locator(`canvas[data-shown="${unit}"]`);
    await giveUp.or(shown).or(page.locator(".stage .failure")).first().waitFor();
    if (await isSeen(giveUp)) await giveUp.click();
    if (!await isSeen(page.locator(".stage .failure"))) await unitIsShown(page, unit).catch(() => { throw new NotNow(); });
}

/** The map stands where the unit does. */
export async function leaveMap(desk: Desk): Promise<void> {
    if (!await isSeen(desk.page.locator("canvas[data-map]"))) return;
    await showTab(desk, "Map");
    await button(desk.page, "Leave").click();
    await desk.page.locator("canvas[data-shown]").waitFor();
}

async function lookAtOwn(world: World, desk: Desk): Promise<void> {
    const isOwn = OWN_UNITS.some((unit) => unit === desk.unit);
    if (!isOwn || world.chance.percent(30)) await lookAt(desk, world.chance.pick(OWN_UNITS));
}

const LABELS = { script: "Script source", definition: "Definition text" } as const;

const paneOf = (desk: Desk, name: RegExp): Locator => desk.page.getByRole("tabpanel", { name });
const textPane = (desk: Desk, kind: "script" | "definition"): Locator =>
    kind === "script" ? desk.page.getByRole("region", { name: "Script", exact: true }) : paneOf(desk, /^FBI/);

/** Puts the cursor to the first or the last place of a text; resolves with the file that it belongs to. */
async function goInto(world: World, desk: Desk, kind: "script" | "definition", end: "Home" | "End") {
    if (kind === "definition") await showTab(desk, /^FBI/);
    const editor = desk.page.getByLabel(LABELS[kind]);
    if (!await isSeen(editor)) throw new NotNow();
    const paper = await paperIn(desk, world, kind);
    if (!paper) throw new NotNow();
    await editor.click();
    await desk.page.keyboard.press(`Control+${end}`);
    return paper;
}

const NEW_SCRIPT = (number: number): string => `Mine${number}()`;

/** Types a line; it counts from its first letter on. */
async function typeInto(world: World, desk: Desk, kind: "script" | "definition"): Promise<Mark> {
    const { chance, ledger } = world;
    await lookAtOwn(world, desk);
    const end = chance.pick(["Home", "End"] as const);
    const paper = await goInto(world, desk, kind, end);
    const isCode = kind === "script" && end === "End" && chance.percent(40);
    const mark = ledger.newMark(paper, desk.page, isCode ? NEW_SCRIPT : undefined);
    const line = isCode ? `${mark.text} { sleep ${100 + chance.below(900)}; }` : mark.text;
    await desk.page.keyboard.type(end === "Home" ? `${line}\n` : `\n${line}`);
    const text = await textIn(desk, LABELS[kind]);
    // what pushed itself before the editor took the keys; whoever sees that types again
    if (!text?.includes(mark.text) && !await desk.page.getByLabel(LABELS[kind]).evaluate((editor) => editor === document.activeElement).catch(() => false))
        throw new NotNow();
    ledger.marks.add(mark);
    return mark;
}

async function save(world: World, desk: Desk, kind: "script" | "definition"): Promise<void> {
    await goInto(world, desk, kind, "Home");
    const pane = textPane(desk, kind);
    if (await button(pane, "Save").first().getAttribute("aria-disabled") === "true") await typeInto(world, desk, kind);
    await desk.page.keyboard.press("Control+s");
    await consent(desk, pane);
}

/** Answers what a write asks, until it is done or cannot be. */
async function consent(desk: Desk, pane: Locator): Promise<void> {
    const agree = button(dialog(desk), /^(Back up and write|Copy into the mod)$/);
    const saved = pane.getByRole("button", { name: "Save", exact: true, disabled: true }).first();
    const fault = pane.getByRole("alert").first();
    for (let questions = 0; questions < 3; questions++) {
        await agree.or(saved).or(fault).first().waitFor();
        if (!await isSeen(agree)) return;
        await agree.first().click();
        await agree.first().waitFor({ state: "detached" });
    }
}

/** Marks that are no longer in the text were taken out of it on purpose. */
async function takenBack(world: World, desk: Desk, kind: "script" | "definition"): Promise<void> {
    const paper = await paperIn(desk, world, kind);
    const text = await textIn(desk, LABELS[kind]) ?? "";
    for (const mark of world.ledger.marks) if (mark.paper === paper && !text.includes(mark.text)) mark.mayBeGone = true;
}

const textKind = (world: World): "script" | "definition" => world.chance.pick(["script", "definition"] as const);

/** Everything of it that is not saved is given up, as the browser's own question says. */
function giveUpAll({ ledger }: World, { page }: Desk): void {
    for (const mark of ledger.marks) if (mark.page === page) Object.assign(mark, { page: undefined, mayBeGone: true });
}

export const DEEDS: readonly Deed[] = [
    { name: "looks at a unit", weight: 8, async do(world, desk) {
        const names = await desk.page.getByRole("listbox", { name: "Units" }).getByRole("option").locator("span:nth-child(2)").allTextContents();
        if (names.length === 0) throw new NotNow();
        await lookAt(desk, world.chance.pick(names));
    } },
    { name: "types into a script", weight: 12, async do(world, desk) { await typeInto(world, desk, "script"); } },
    { name: "types into a definition", weight: 12, async do(world, desk) { await typeInto(world, desk, "definition"); } },
    { name: "sets a key in the form", weight: 5, async do(world, desk) {
        await lookAtOwn(world, desk);
        await showTab(desk, /^FBI/);
        const search = desk.page.getByLabel("Search keys");
        if (!await isSeen(search)) throw new NotNow();
        await search.fill("MaxDamage");
        const cell = desk.page.getByRole("grid", { name: "Keys" }).getByLabel("MaxDamage", { exact: true });
        if (!await isSeen(cell)) throw new NotNow();
        await cell.fill(String(100 + world.chance.below(900)));
        await cell.press("Enter");
        await search.fill("");
    } },
    { name: "saves a script", weight: 10, do: (world, desk) => save(world, desk, "script") },
    { name: "saves a definition", weight: 10, do: (world, desk) => save(world, desk, "definition") },
    { name: "types, saves and types on", weight: 6, async do(world, desk) {
        const kind = textKind(world);
        await typeInto(world, desk, kind);
        await desk.page.keyboard.press("Control+s");
        const mark = world.ledger.newMark((await paperIn(desk, world, kind))!, desk.page);
        if (await isSeen(dialog(desk))) throw new NotNow(); // the keys would go to the question
        await desk.page.keyboard.type(`${mark.text} `);
        if ((await textIn(desk, LABELS[kind]))?.includes(mark.text)) world.ledger.marks.add(mark);
        await consent(desk, textPane(desk, kind)).catch(() => {});
    } },
    { name: "types and takes it back", weight: 4, async do(world, desk) {
        const kind = textKind(world);
        await typeInto(world, desk, kind);
        await desk.page.keyboard.press("Control+z");
        await takenBack(world, desk, kind);
    } },
    { name: "reverts a text", weight: 1, async do(world, desk) {
        const kind = textKind(world);
        await goInto(world, desk, kind, "Home");
        const pane = textPane(desk, kind);
        await press(button(pane, "Revert"));
        await takenBack(world, desk, kind);
    } },
    { name: "merges with the other program", weight: 8, async do(_, desk) {
        await press(button(desk.page, "Merge…"));
        for (const conflict of await dialog(desk).getByLabel(/^Lines of conflict/).all()) await conflict.selectOption("both");
        await button(dialog(desk), /^(Take the merged text|Close)$/).first().click();
    } },
    { name: "takes the other program's text", weight: 1, async do(world, desk) {
        const inScript = button(textPane(desk, "script"), "Take theirs");
        const kind = await isSeen(inScript) ? "script" : "definition";
        await press(button(desk.page, "Take theirs"));
        await takenBack(world, desk, kind);
    } },
    { name: "brings a backup back", weight: 1, async do(world, desk) {
        await lookAt(desk, world.chance.pick(["GLDCRAB", "GLDYARD"]));
        await showTab(desk, /^FBI/);
        await press(button(paneOf(desk, /^FBI/), "Restore backup…"));
        await button(dialog(desk), "Restore").click();
        await dialog(desk).waitFor({ state: "detached" });
        // all that was written since the first change, and what is unsaved of it, is given up
        const paper = await paperIn(desk, world, "definition");
        for (const mark of world.ledger.marks) if (mark.paper === paper) mark.mayBeGone = true;
    } },
    { name: "tries a script", weight: 3, async do({ chance }, desk) {
        await press(button(textPane(desk, "script"), "Try"));
        if (chance.percent(60)) await press(button(desk.page, "Back"));
    } },
    { name: "runs the script", weight: 3, async do(_, desk) {
        await press(button(desk.page, "Run"));
        await desk.page.waitForTimeout(300);
        await press(button(desk.page, "Pause"));
    } },
    { name: "sets or removes a breakpoint", weight: 2, async do(world, desk) {
        await goInto(world, desk, "script", world.chance.pick(["Home", "End"] as const));
        await desk.page.keyboard.press("F9");
    } },
    { name: "moves a piece or scales the model", weight: 7, async do({ chance }, desk) {
        if (desk.unit !== "GLDCRAB") await lookAt(desk, "GLDCRAB");
        await showTab(desk, "Faces");
        const tree = desk.page.getByRole("tree", { name: "Pieces" }).getByRole("treeitem");
        if (await tree.count() === 0) throw new NotNow();
        await tree.nth(chance.below(await tree.count())).click();
        const form = desk.page.getByRole("form", { name: "What mends it" });
        if (!await isSeen(form)) throw new NotNow();
        const isScaled = chance.percent(30);
        await form.getByLabel("Fix", { exact: true }).selectOption(isScaled ? "scale" : "move-piece");
        if (isScaled) await form.getByLabel("Factor").fill(chance.pick(["0.5", "2"]));
        else for (const axis of ["X", "Y", "Z"]) await form.getByLabel(axis, { exact: true }).fill(String(chance.below(20) - 10));
        await press(button(form, isScaled ? "Scale" : "Move the piece"));
    } },
    { name: "undoes or redoes a step of the model", weight: 3, async do({ chance }, desk) {
        await showTab(desk, "Faces");
        await press(button(paneOf(desk, /^Faces/), chance.pick(["Undo", "Undo", "Redo"])));
    } },
    { name: "saves the model", weight: 5, async do(_, desk) {
        await showTab(desk, "Faces");
        await press(button(paneOf(desk, /^Faces/), "Save"));
        await consent(desk, paneOf(desk, /^Faces/));
    } },
    { name: "recolours a texture", weight: 3, async do({ chance }, desk) {
        await lookAt(desk, "FENWADE");
        await showTab(desk, "Textures");
        await desk.page.getByRole("option", { name: "FENPLATE" }).click();
        const used = desk.page.getByRole("grid", { name: "Palette" }).getByRole("gridcell", { name: /, \d+ pixels?$/ });
        await used.first().waitFor();
        await used.nth(chance.below(await used.count())).click();
        await desk.page.getByRole("grid", { name: "Palette" }).getByRole("gridcell").nth(chance.below(256)).click();
        await press(button(desk.page, "Apply…"));
        const agree = button(dialog(desk), /^(Back up and write|Copy into the mod)$/);
        const pane = paneOf(desk, /^Textures/);
        const done = pane.getByRole("button", { name: "Apply…", exact: true, disabled: true }).or(pane.getByRole("alert")).first();
        for (let questions = 0; questions < 3; questions++) {
            await agree.or(done).first().waitFor();
            if (!await isSeen(agree)) return;
            await agree.first().click();
            await agree.first().waitFor({ state: "detached" });
        }
    } },
    { name: "packs the unit and looks at the pack", weight: 3, async do(world, desk) {
        await showTab(desk, "Pack");
        const archive = desk.page.getByRole("region", { name: "Archive" });
        await archive.getByRole("textbox", { name: "Archive" }).fill(join(world.disk, "pack.ufo"));
        await archive.getByLabel("Overwrite").check();
        await press(button(archive, "Pack"));
        await archive.getByRole("status").or(archive.getByRole("alert")).first().waitFor();
        await press(button(archive, "Validate"));
    } },
    { name: "walks on the map", weight: 3, async do({ chance }, desk) {
        const { page } = desk;
        await showTab(desk, "Map");
        const pane = paneOf(desk, /^Map/);
        await press(button(pane, "Load"));
        await page.getByRole("form", { name: "Place" }).or(pane.getByRole("alert")).first().waitFor();
        if (!await isSeen(page.getByRole("form", { name: "Place" }))) throw new NotNow();
        await pane.getByLabel("Name", { exact: true }).fill("FENWADE");
        const where = (): string => `${200 + chance.below(300)} ${300 + chance.below(300)}`;
        await pane.getByLabel("Where").fill(where());
        await press(button(page.getByRole("form", { name: "Place" }), "Place"));
        await page.getByRole("tab", { name: "Order", exact: true }).click();
        await pane.getByRole("combobox", { name: "Order", exact: true }).selectOption({ label: "Move" });
        await pane.getByLabel("Where").fill(where());
        await press(button(page.getByRole("form", { name: "Order" }), "Move"));
        await press(button(page.getByRole("toolbar", { name: "Map time" }), "10 s"));
        await press(button(pane, "Leave"));
    } },
    { name: "goes through the tabs", weight: 4, async do({ chance }, desk) {
        const tabs = desk.page.getByRole("tablist", { name: "Panes" }).getByRole("tab");
        for (let i = 0; i < 3; i++) await tabs.nth(chance.below(await tabs.count())).click();
    } },
    { name: "looks at what is unsaved", weight: 2, async do(_, desk) {
        await press(desk.page.locator(".status-bar").getByRole("button", { name: /unsaved/ }));
        await button(dialog(desk), "Close").click();
    } },
    { name: "loads the unit again", weight: 2, async do(_, desk) {
        await desk.page.keyboard.press("Control+Shift+l");
        const giveUp = button(dialog(desk), "Give them up");
        if (await giveUp.waitFor({ timeout: 300 }).then(() => true, () => false)) await giveUp.click();
    } },
    { name: "loads the page anew", weight: 2, async do(world, desk) {
        await reload(world, desk);
    } },
    { name: "opens a second page, or closes it", weight: 2, async do(world, desk) {
        if (world.desks.length < 2) return void await lookAt(await world.openDesk(), world.chance.pick(OWN_UNITS));
        giveUpAll(world, desk);
        world.desks.splice(world.desks.indexOf(desk), 1);
        await desk.page.close();
    } },
];

/** The browser asks when something is unsaved, and is told to go on: texts are there again. */
export async function reload(world: World, desk: Desk): Promise<void> {
    const go = (asked: Dialog): void => void asked.accept().catch(() => {});
    desk.page.on("dialog", go);
    desk.unit = "";
    desk.openedAt = Date.now();
    await desk.page.reload().finally(() => desk.page.off("dialog", go));
    await desk.page.locator("canvas:not([data-shown=''])").first().waitFor();
    await lookAt(desk, world.chance.pick(OWN_UNITS));
}
