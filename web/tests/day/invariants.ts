// What must hold whenever the day is calm for a moment: no fault lasts, and the pages had time to come to rest.
import { existsSync, readFileSync, statSync } from "node:fs";
import { join } from "node:path";
import { plainText } from "../../page/work/line_ends";
import { button, leaveMap, lookAt } from "./deeds";
import { pause } from "./faults";
import { ANY, isText, locationOf, nameOf, type Paper, readPaper } from "./papers";
import { archiveOf, childEditors, type Desk, editorOf, filesBelow, OWN_UNITS, paperIn, textIn, type World, withReader } from "./world";
import type { Editor } from "../../server/editor";

/** The day as it is found at such a moment. */
interface Calm {
    world: World;
    reader: Editor;
    disk: ReadonlyMap<Paper, string>;
    /** Of each page the texts that are edited and not saved. */
    drafts: ReadonlyMap<Desk, ReadonlyMap<Paper, string>>;
    /** Of each page the texts that it shows. */
    shown: ReadonlyMap<Desk, ReadonlyMap<Paper, string>>;
}

interface Invariant {
    name: string;
    /** What contradicts it. */
    check(calm: Calm): Promise<string[]> | string[];
}

const REST_MS = 600;
const ALIVE_WITHIN_MS = 30_000;
const REST_WITHIN_MS = 60_000;

/** Ends what a person would end, and waits until nothing is under way any more; resolves with what is still. */
export async function comeToRest(desk: Desk): Promise<string[]> {
    const { page } = desk;
    const until = Date.now() + ALIVE_WITHIN_MS;
    while (!isRunning(await editorOf(desk))) {
        if (Date.now() > until) return [`no editor after ${ALIVE_WITHIN_MS / 1000} s: ${await page.locator(".status-bar").innerText()}`];
        const again = button(page, "Start again");
        if (await again.count() > 0) await again.click({ timeout: 1_000 }).catch(() => {});
        await pause(100);
    }
    let busy = "";
    const restUntil = Date.now() + REST_WITHIN_MS;
    for (let since = Date.now(); Date.now() - since < REST_MS;) {
        busy = await page.evaluate(() => {
            const one = document.querySelector("dialog[open], [aria-busy=true], [role=progressbar]");
            return one ? `${one.tagName} ${one.textContent?.slice(0, 80)}` : "";
        });
        if (busy) since = Date.now();
        if (busy.startsWith("DIALOG")) await page.keyboard.press("Escape");
        if (Date.now() > restUntil) return [`does not come to rest: ${busy}`];
        await pause(50);
    }
    return [];
}

/** Goes back to the unit's own texts, as somebody who wants to see how things are. */
export async function lookAround(desk: Desk): Promise<void> {
    const { page } = desk;
    await leaveMap(desk);
    const giveUp = button(page.getByRole("dialog"), "Give them up");
    if (await button(page, "Load again").count() > 0) {
        await button(page, "Load again").click();
        if (await giveUp.waitFor({ timeout: 300 }).then(() => true, () => false)) await giveUp.click();
    }
    if (!OWN_UNITS.some((unit) => unit === desk.unit)) await lookAt(desk, OWN_UNITS[0]);
    await page.getByRole("tab", { name: /^FBI/ }).click();
}

function isRunning(pid: number): boolean {
    try {
        return pid > 0 && process.kill(pid, 0);
    } catch {
        return false;
    }
}

/** From the list of what is unsaved, as "Copy" gives it. */
async function draftsOf(world: World, { page }: Desk): Promise<Map<Paper, string>> {
    const found = new Map<Paper, string>();
    const unsaved = page.locator(".status-bar").getByRole("button", { name: /(script|definition)s? unsaved/ });
    if (await unsaved.count() === 0) return found;
    await unsaved.first().click();
    await button(page.getByRole("dialog"), "Copy").first().waitFor();
    // in one go, since the list may be put in another order between two steps
    const rows = await page.evaluate(() => [...document.querySelectorAll<HTMLElement>("dialog[open] [role=row]")].flatMap((row) => {
        const copy = [...row.querySelectorAll("button")].find(({ textContent }) => textContent === "Copy");
        copy?.click();
        return copy ? [{ words: row.innerText.toLowerCase(), text: (window as { copied?: string }).copied ?? "" }] : [];
    }));
    for (const { words, text } of rows) {
        const paper = world.papers.find((one) => isText(one) && words.includes(locationOf(one).toLowerCase()));
        if (paper) found.set(paper, text);
    }
    await button(page.getByRole("dialog"), "Close").click();
    return found;
}

async function shownBy(world: World, desk: Desk): Promise<Map<Paper, string>> {
    const found = new Map<Paper, string>();
    for (const [kind, label] of [["script", "Script source"], ["definition", "Definition text"]] as const) {
        const [paper, text] = [await paperIn(desk, world, kind), await textIn(desk, label)];
        if (paper && text !== undefined) found.set(paper, text);
    }
    return found;
}

/** Looks at disk and pages, and says what does not hold. */
export async function contradictions(world: World): Promise<string[]> {
    return withReader(world, async (reader) => {
        const disk = new Map<Paper, string>();
        for (const paper of world.papers) disk.set(paper, await readPaper(paper, reader).catch((error) => String(error)));
        const [drafts, shown] = [new Map<Desk, Map<Paper, string>>(), new Map<Desk, Map<Paper, string>>()];
        for (const desk of world.desks) {
            drafts.set(desk, await draftsOf(world, desk));
            shown.set(desk, await shownBy(world, desk));
        }
        const calm = { world, reader, disk, drafts, shown };
        const all: string[] = [];
        for (const { name, check } of INVARIANTS) for (const fault of await check(calm)) all.push(`${name}: ${fault}`);
        return all;
    });
}

const within = (text: string): string => JSON.stringify(text.length > 800 ? `${text.slice(0, 400)} … ${text.slice(-400)}` : text);

const INVARIANTS: readonly Invariant[] = [
    { name: "every file holds what somebody wrote, and the newest of it", async check({ reader, disk }) {
        const wrong: string[] = [];
        for (const [paper, text] of disk) {
            const isKnown = paper.now.has(text) || (paper.now.has(ANY) && await canBeRead(paper, reader));
            if (!isKnown) wrong.push(`${nameOf(paper)} is ${paper.states.has(text) ? "as it was earlier" : "what nobody wrote"}: ${within(text)}`);
            paper.states.add(text);
            paper.now = new Set([text]);
        }
        return wrong;
    } },
    { name: "nothing that was typed is lost", check({ world: { ledger, desks }, disk, drafts, shown }) {
        const wrong: string[] = [];
        for (const mark of ledger.marks) {
            const desk = desks.find(({ page }) => page === mark.page);
            const onPage = desk ? [drafts.get(desk)?.get(mark.paper), shown.get(desk)?.get(mark.paper)] : [];
            const isFound = [disk.get(mark.paper), ...onPage].some((text) => text?.includes(mark.text));
            if (isFound) continue;
            ledger.marks.delete(mark);
            if (!mark.mayBeGone) wrong.push(`${mark.text} of the ${nameOf(mark.paper)}; on the disk and on its page are ` +
                [disk.get(mark.paper), ...onPage].map((text) => within(text ?? "(none)")).join(" and "));
        }
        return wrong;
    } },
    { name: "a script's code is made of its source", async check({ world, reader }) {
        const wrong: string[] = [];
        for (const paper of world.papers.filter(({ kind, isPaired }) => kind === "script" && isPaired)) {
            const { identical } = (await reader.ask("cob-source-compare", { name: paper.unit })).data as { identical: boolean };
            if (!identical) wrong.push(nameOf(paper));
        }
        return wrong;
    } },
    { name: "there is a backup of what was written over", check({ world }) {
        return world.papers.flatMap((paper) => {
            const backup = `${paper.path}.orbbackup`;
            if (!existsSync(backup)) return paper.hasBackup && paper.kind !== "texture" ? [`none of the ${nameOf(paper)}`] : [];
            const known = paper.inside ? world.archives.has(readFileSync(backup, "base64"))
                : paper.states.has(readFileSync(backup, isText(paper) ? "utf8" : "base64")) || !isText(paper);
            return known ? [] : [`that of the ${nameOf(paper)} is what nobody wrote`];
        });
    } },
    { name: "nothing is left lying around", check({ world }) {
        return filesBelow(world.disk).filter((path) => /\.orb-write-(tmp|plan)$/.test(path) && Date.now() - statSync(path).mtimeMs > 2_000);
    } },
    { name: "archives are whole", async check({ world, reader }) {
        const wrong: string[] = [];
        for (const path of [archiveOf(world), join(world.disk, "pack.ufo")]) {
            if (!existsSync(path)) continue;
            await reader.ask("archive-browse-open", { path }).catch((error) => wrong.push(`${path}: ${error}`));
        }
        return wrong;
    } },
    { name: "the page shows what is so", async check({ world, reader, disk, drafts, shown }) {
        const wrong: string[] = [];
        for (const desk of world.desks) {
            const own = drafts.get(desk)!;
            for (const [paper, text] of shown.get(desk)!) {
                const saved = plainText(disk.get(paper)!);
                if (!own.has(paper) && text !== saved) wrong.push(`the ${nameOf(paper)} is shown as saved, and is not: ${within(text)} but ${within(saved)}`);
                if (own.has(paper) && text === saved) wrong.push(`the ${nameOf(paper)} is shown as unsaved, and is saved`);
                const isTold = await desk.page.getByRole("alert").getByText(/Another program has changed|has taken its place/).count() > 0;
                const theirs = [...world.ledger.marks].find((mark) => !mark.page && mark.paper === paper && saved.includes(mark.text) && !text.includes(mark.text));
                if (own.has(paper) && theirs && !isTold) wrong.push(`that ${theirs.text} came into the ${nameOf(paper)} is not told`);
            }
            const listed = (await reader.ask("list-units", {})).data as { units: { name: string }[] };
            const count = await desk.page.locator("[aria-label=Units] .foot span").first().textContent();
            if (count !== `${listed.units.length} units`) wrong.push(`${count} are listed, and there are ${listed.units.length}`);
            const view = desk.page.locator("canvas[data-shown]");
            const name = await view.getAttribute("data-shown");
            if (name !== desk.unit) wrong.push(`${desk.unit} was chosen and ${name || "nothing"} is shown: ${(await desk.page.locator(".stage .failure").allInnerTexts()).join()}`);
            const quiet = await desk.page.getByRole("alert").allInnerTexts();
            for (const text of quiet) if (!/Another program|taken its place|unsaved step|is not saved|no longer|is lost/.test(text)) wrong.push(`an alert that has no reason: ${text}`);
        }
        return wrong;
    } },
    { name: "no error in the console", check({ world }) {
        const errors = world.bench.errors();
        world.bench.expectErrors(/./);
        return errors;
    } },
    { name: "no editor outlives its page", async check({ world, reader }) {
        void reader;
        const most = 2 * world.desks.length + 1;
        const until = Date.now() + 5_000;
        while (childEditors().length > most && Date.now() < until) await pause(100);
        return childEditors().length > most ? [`${childEditors().length} for ${world.desks.length} pages`] : [];
    } },
];

/** Models and textures: whether another back end reads them as a whole. */
async function canBeRead({ kind, unit }: Paper, reader: Editor): Promise<boolean> {
    const name = kind === "texture" ? "FENWADE" : unit;
    return reader.ask("get-unit-glb", { name }).then(() => true, () => false);
}
