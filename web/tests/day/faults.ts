// What goes wrong in the course of a day. Each fault begins and resolves with what ends it.
import { execFileSync } from "node:child_process";
import { existsSync, mkdirSync, readFileSync, renameSync, rmSync, statfsSync, unlinkSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { isText, type Paper, readLoose } from "./papers";
import { archiveOf, childEditors, type Desk, editorOf, rememberArchive, type World } from "./world";

interface Fault {
    name: string;
    weight: number;
    /** Needs a file system of its own. */
    needsDisk?: true;
    begin(world: World, desk: Desk): Promise<() => Promise<void> | void>;
}

const DONE = (): void => {};
export const pause = (milliseconds: number): Promise<void> => new Promise((resolve) => setTimeout(resolve, milliseconds));

/** To a process that may have ended. */
function signal(pid: number, name: NodeJS.Signals): void {
    try {
        if (pid > 0) process.kill(pid, name);
    } catch { /* it has ended */ }
}

const looseTexts = ({ papers }: World): Paper[] => papers.filter((paper) => isText(paper) && !paper.inside && existsSync(paper.path));

/** As good programs do: a file beside it takes its place. */
function replace(path: string, content: string | Buffer): void {
    writeFileSync(`${path}~`, content);
    renameSync(`${path}~`, path);
}

/** What the other program cannot write either, while the disk is full, it leaves. */
function tries(work: () => void): boolean {
    try {
        work();
        return true;
    } catch {
        return false;
    }
}

function addTheirs(world: World, paper: Paper, put: (path: string, text: string) => void): void {
    const { chance, ledger } = world;
    const before = readFileSync(paper.path, "utf8");
    const mark = ledger.newMark(paper, undefined);
    const text = chance.percent(50) ? `${mark.text}\n${before}` : `${before}\n${mark.text}`;
    if (ledger.writtenByOther(paper, text, () => put(paper.path, text))) ledger.marks.add(mark);
}

const BALLAST = "ballast";

export const FAULTS: readonly Fault[] = [
    { name: "the editor is killed", weight: 10, async begin(_, desk) {
        signal(await editorOf(desk), "SIGKILL");
        return DONE;
    } },
    { name: "the editor is killed in the middle of something", weight: 8, async begin({ chance }, desk) {
        const pid = await editorOf(desk);
        signal(pid, "SIGSTOP");
        await pause(chance.below(1_500));
        signal(pid, "SIGKILL");
        return DONE;
    } },
    { name: "every editor is killed, again and again", weight: 3, async begin({ chance }) {
        for (let i = 0; i < 2 + chance.below(4); i++) {
            for (const pid of childEditors()) signal(pid, "SIGKILL");
            await pause(chance.below(900));
        }
        return DONE;
    } },
    { name: "the editor is slow", weight: 7, async begin({ chance }, desk) {
        const pid = await editorOf(desk);
        signal(pid, "SIGSTOP");
        await pause(300 + chance.below(3_000));
        return () => signal(pid, "SIGCONT");
    } },
    { name: "the connection is cut", weight: 5, async begin({ bench }) {
        bench.cut();
        return DONE;
    } },
    { name: "the server is started anew", weight: 3, async begin({ bench, chance }) {
        const start = await bench.stopServer();
        await pause(chance.below(2_500));
        await start();
        return DONE;
    } },
    { name: "the disk is full", weight: 10, needsDisk: true, async begin({ disk, chance }) {
        const { bavail, bsize } = statfsSync(disk);
        const left = chance.pick([0, 4_096, 8_192, 16_384, 40_960]);
        tries(() => writeFileSync(join(disk, BALLAST), Buffer.alloc(Math.max(0, bavail * bsize - left))));
        return () => rmSync(join(disk, BALLAST), { force: true });
    } },
    { name: "files may have so many bytes only", weight: 5, async begin({ chance }, desk) {
        const pid = await editorOf(desk);
        const limit = (bytes: string): boolean => tries(() => execFileSync("prlimit", ["--pid", String(pid), `--fsize=${bytes}:unlimited`], { stdio: "ignore" }));
        if (pid > 0) limit(String(chance.below(3_000)));
        return () => { limit("unlimited"); };
    } },
    { name: "the disk can only be read", weight: 5, needsDisk: true, async begin({ disk }) {
        const remount = (how: string): boolean => tries(() => execFileSync("mount", ["-o", `remount,${how}`, disk], { stdio: "ignore" }));
        remount("ro");
        return () => { remount("rw"); };
    } },
    { name: "another program adds to a file", weight: 14, async begin(world) {
        const texts = looseTexts(world);
        if (texts.length > 0) addTheirs(world, world.chance.pick(texts), world.chance.percent(50) ? replace : writeFileSync);
        return DONE;
    } },
    { name: "another program brings an older file back", weight: 4, async begin(world) {
        const texts = looseTexts(world);
        if (texts.length === 0) return DONE;
        const paper = world.chance.pick(texts);
        const text = world.first.get(paper)!;
        world.ledger.writtenByOther(paper, text, () => replace(paper.path, text));
        return DONE;
    } },
    { name: "another program brings an older archive back", weight: 3, async begin(world) {
        const path = archiveOf(world);
        const inside = world.papers.filter((paper) => paper.inside);
        const bytes = Buffer.from([...world.archives][0]!, "base64");
        if (!tries(() => replace(path, bytes))) return DONE;
        for (const paper of inside) world.ledger.writtenByOther(paper, world.first.get(paper)!, () => {});
        rememberArchive(world);
        return DONE;
    } },
    { name: "a file vanishes for a while", weight: 6, async begin(world) {
        const texts = looseTexts(world);
        if (texts.length === 0) return DONE;
        const paper = world.chance.pick(texts);
        const text = readLoose(paper);
        if (!tries(() => unlinkSync(paper.path))) return DONE;
        return () => {
            // one that was written anew meanwhile stays
            if (!existsSync(paper.path)) world.ledger.writtenByOther(paper, text, () => writeFileSync(paper.path, text));
        };
    } },
    { name: "a mod is renamed for a while", weight: 4, async begin({ disk }) {
        const [mod, away] = [join(disk, "found"), join(disk, "away")];
        if (!tries(() => renameSync(mod, away))) return DONE;
        return () => {
            // whatever was written meanwhile in a folder that was made anew is not expected back
            if (existsSync(mod)) renameSync(mod, join(dirname(disk), `made ${Date.now()}`));
            renameSync(away, mod);
        };
    } },
    { name: "a file of the model changes", weight: 3, async begin({ papers, ledger }) {
        const paper = papers.find(({ kind }) => kind === "model")!;
        if (!existsSync(paper.path)) return DONE;
        const longer = Buffer.concat([readFileSync(paper.path), Buffer.of(0)]);
        ledger.writtenByOther(paper, longer.toString("base64"), () => replace(paper.path, longer));
        return DONE;
    } },
    { name: "the settings' folder vanishes", weight: 1, async begin({ bench }) {
        rmSync(join(bench.scratch, "state"), { recursive: true, force: true });
        mkdirSync(join(bench.scratch, "state"), { recursive: true });
        return DONE;
    } },
];
