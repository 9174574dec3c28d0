// Where a day takes place: a small disk with two mods on it, the server, pages, and what is known of them.
import { execFileSync } from "node:child_process";
import { cpSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import type { Page } from "playwright-core";
import { startEditor, type Editor } from "../../server/editor";
import type { Roots } from "../../wire";
import { BUILD, openBench, type OpenBench } from "../bench";
import { type Ledger, ledger, locationOf, makePaper, type Paper, readPaper } from "./papers";
import type { Random } from "./random";

export const DISK_BYTES = 3 * 2 ** 20;

/** A page and who sits before it. */
export interface Desk {
    page: Page;
    unit: string;
    openedAt: number;
}

export interface World {
    bench: OpenBench;
    /** A file system of its own, where the system lets one be mounted. */
    disk: string;
    isMounted: boolean;
    roots: Roots;
    papers: readonly Paper[];
    ledger: Ledger;
    desks: Desk[];
    chance: Random;
    note(text: string): void;
    /** Contents that the archive of the mod has had, for its backup. */
    archives: Set<string>;
    first: ReadonlyMap<Paper, string>;
    openDesk(): Promise<Desk>;
    close(): Promise<void>;
}

const SCRIPT = "piece base;\n\nCreate()\n{\n\tsleep 100;\n}\n\nKilled(severity, kind)\n{\n\tkind = 1;\n}\n";

/** Units that are worked on; others are only looked at. */
export const OWN_UNITS = ["GLDCRAB", "GLDYARD", "FENRAFT"] as const;

export async function openWorld(chance: Random, note: (text: string) => void): Promise<World> {
    let [disk, isMounted] = ["", false];
    let papers: Paper[] = [];
    let book: Ledger | undefined;
    let roots: Roots | undefined;
    const bench = await openBench({
        roots(data) {
            disk = join(data, "disk");
            mkdirSync(disk);
            isMounted = mounts(disk);
            for (const mod of ["found", "mod"]) cpSync(join(data, mod), join(disk, mod), { recursive: true });
            papers = papersOn(disk);
            writeFileSync(join(disk, "found/scripts/GLDCRAB.bos"), SCRIPT);
            book = ledger(papers);
            return roots = {
                taDataPath: join(data, "game"), mapsPath: join(data, "maps"), modPaths: [join(disk, "found"), join(disk, "mod")],
            };
        },
        around: (type, data, ask) => book!.around(type, data, ask),
    });
    await bench.context.addInitScript(() => {
        // what "Copy text" gives, without the browser's clipboard
        Object.defineProperty(navigator, "clipboard", { value: { writeText: async (text: string) => { (window as { copied?: string }).copied = text; } } });
    });
    bench.context.setDefaultTimeout(60_000);
    const world: World = {
        bench, disk, isMounted, roots: roots!, papers, ledger: book!, desks: [], chance, note, archives: new Set(), first: new Map(),
        async openDesk() {
            const desk = { page: await bench.open(), unit: "", openedAt: Date.now() };
            await desk.page.locator("canvas:not([data-shown=''])").first().waitFor({ timeout: 60_000 });
            world.desks.push(desk);
            return desk;
        },
        async close() {
            if (isMounted) execFileSync("umount", ["-l", disk]);
            await bench.close();
        },
    };
    await bench.page.close(); // it was opened before the clipboard was ours
    world.first = await withReader(world, async (reader) => {
        const first = new Map<Paper, string>();
        for (const paper of papers) {
            const text = await readPaper(paper, reader);
            paper.states.add(text);
            paper.now.add(text);
            first.set(paper, text);
        }
        return first;
    });
    rememberArchive(world);
    return world;
}

export const archiveOf = ({ disk }: World): string => join(disk, "mod/marshmod.ufo");

export function rememberArchive(world: World): void {
    world.archives.add(readFileSync(archiveOf(world), "base64"));
}

function papersOn(disk: string): Paper[] {
    const archive = join(disk, "mod/marshmod.ufo");
    return [
        { ...makePaper("script", "GLDCRAB", join(disk, "found/scripts/GLDCRAB.bos")), otherUnit: "GLDYARD" },
        makePaper("definition", "GLDCRAB", join(disk, "found/units/GLDCRAB.fbi")),
        makePaper("definition", "GLDYARD", join(disk, "found/units/GLDYARD.fbi")),
        makePaper("script", "FENRAFT", archive, "scripts/FENRAFT.bos"),
        makePaper("definition", "FENRAFT", archive, "units/FENRAFT.fbi"),
        makePaper("model", "GLDCRAB", join(disk, "found/objects3d/GLDCRAB.3do")),
        makePaper("texture", "FENPLATE", join(disk, "found/textures/fen.gaf")),
    ];
}

function mounts(folder: string): boolean {
    try {
        execFileSync("mount", ["-t", "tmpfs", "-o", `size=${DISK_BYTES}`, "tmpfs", folder], { stdio: "ignore" });
        return true;
    } catch {
        return false;
    }
}

/** Another back end over the same folders, which sees what lies there now. */
export async function withReader<T>({ roots }: { roots: Roots }, read: (reader: Editor) => Promise<T>): Promise<T> {
    const reader = startEditor(join(BUILD, "orb-unit-editor"), { progress() {}, log() {}, ended() {} });
    try {
        await reader.ask("set-data-roots", roots);
        return await read(reader);
    } finally {
        reader.close();
    }
}

/** Every file below a folder. */
export function filesBelow(folder: string): string[] {
    return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
        const path = join(folder, entry.name);
        return entry.isDirectory() ? filesBelow(path) : [path];
    });
}

/** The process that drives a page; 0 while there is none. */
export const editorOf = ({ page }: Desk): Promise<number> =>
    page.evaluate(() => Number(document.querySelector(".status-bar [data-pid]")?.getAttribute("data-pid") ?? 0)).catch(() => 0);

/** Back ends that this process has started and that run. */
export function childEditors(): number[] {
    const children = readFileSync(`/proc/self/task/${process.pid}/children`, "utf8").split(" ").filter(Boolean).map(Number);
    return children.filter((pid) => {
        try {
            return readFileSync(`/proc/${pid}/comm`, "utf8").startsWith("orb-unit-edit") && !/^\d+ \(.*\) Z/.test(readFileSync(`/proc/${pid}/stat`, "utf8"));
        } catch {
            return false;
        }
    });
}

/** A text editor's whole text; none where it is not shown. */
export async function textIn({ page }: Desk, label: "Script source" | "Definition text"): Promise<string | undefined> {
    return page.evaluate((name) => {
        const content = document.querySelector(`.cm-content[aria-label="${name}"]`) as (Element & { cmTile?: { root: { view: { state: { doc: object } } } } }) | null;
        return content?.cmTile?.root.view.state.doc.toString();
    }, label);
}

/** Which file a text editor shows. */
export async function paperIn({ page }: Desk, { papers }: World, kind: "script" | "definition"): Promise<Paper | undefined> {
    const region = kind === "script" ? "[aria-label=Script]" : "[data-region=definition]";
    const title = await page.evaluate((one) => document.querySelector<HTMLElement>(`${one} > .toolbar .quiet`)?.title ?? "", region);
    const file = title.split(", ")[0]!.toLowerCase();
    return papers.find((paper) => paper.kind === kind && locationOf(paper).toLowerCase() === file);
}
