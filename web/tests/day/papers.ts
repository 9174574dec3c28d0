// What was written in the course of a day: for each file every text that anybody has put there, what may lie there
// now, and the marks by which each text that was typed is found again.
import { existsSync, readFileSync } from "node:fs";
import type { Page } from "playwright-core";
import type { Answer, Editor } from "../../server/editor";

export type Kind = "script" | "definition" | "model" | "texture";

/** A file that the modder or the other program writes. */
export interface Paper {
    kind: Kind;
    unit: string;
    /** Another unit with the same file. */
    otherUnit?: string;
    /** The loose file, or the archive that holds it. */
    path: string;
    /** Within the archive. */
    inside?: string;
    /** Every content that somebody has written or asked to be written. */
    states: Set<string>;
    /** What may lie there now: one, or more while it is open who came last. */
    now: Set<string>;
    /** Grows with whatever happens to the file. */
    events: number;
    /** A script's code was made of its source, and nobody else has written since. */
    isPaired: boolean;
    /** A save has told that it is done, so there is a backup, if the file was there before. */
    hasBackup: boolean;
}

/** A line that somebody has typed or written, like no other. */
export interface Mark {
    text: string;
    paper: Paper;
    /** In which it was typed and is, until it is saved; none of the other program's. */
    page: Page | undefined;
    /** Taken back, given up, or written over by the other program: it may be there still, and need not. */
    mayBeGone: boolean;
}

/** Content that only the back end knows before it is written. */
export const ANY = "(whatever the back end makes)";
const GONE = "(no file)";

export const makePaper = (kind: Kind, unit: string, path: string, inside?: string): Paper =>
    ({ kind, unit, path, ...(inside ? { inside } : {}), states: new Set(), now: new Set(), events: 0, isPaired: false, hasBackup: false });

export const nameOf = ({ kind, unit }: Paper): string => `${kind} of ${unit}`;
export const locationOf = ({ path, inside }: Paper): string => inside ? `${path} :: ${inside}` : path;
export const isText = ({ kind }: Paper): boolean => kind === "script" || kind === "definition";

/** A loose file as it is. */
export const readLoose = ({ path, kind }: Paper): string =>
    existsSync(path) ? readFileSync(path, kind === "script" || kind === "definition" ? "utf8" : "base64") : GONE;

/** What a loose file was before its first change. */
function backupOf(paper: Paper | undefined): string {
    const path = `${paper?.path}.orbbackup`;
    return existsSync(path) ? readFileSync(path, "utf8") : GONE;
}

/** The file as the disk has it; of an archive as another back end reads it. */
export async function readPaper(paper: Paper, reader: Editor): Promise<string> {
    if (!paper.inside) return readLoose(paper);
    const { kind, unit } = paper;
    if (kind === "script") return ((await reader.ask("cob-get-unit-bos", { name: unit })).data as { source: string }).source;
    return ((await reader.ask("fbi-raw", { name: unit })).data as { text: string }).text;
}

interface Save {
    name: string;
    text?: string;
    checkOnly?: boolean;
    script?: { bos: string };
    allowBackupCreation?: boolean;
}

export function ledger(papers: readonly Paper[]) {
    const marks = new Set<Mark>();
    let count = 0;

    /** Which file a request of the page writes, and with what. */
    function written(type: string, data: unknown): { paper: Paper; text: string } | undefined {
        const { name, text, checkOnly, script } = (data ?? {}) as Save;
        const of = (kind: Kind, unit = name): Paper | undefined => papers.find((one) => one.kind === kind && (one.unit === unit || one.otherUnit === unit));
        const found = (paper: Paper | undefined, content = ANY) => paper && { paper, text: content };
        if (type === "save-fbi-raw" && !checkOnly) return found(of("definition"), text);
        if (type === "save-unit") return script ? found(of("script"), script.bos) : found(of("model"));
        if (type === "restore-source-from-backup") return found(of("definition"), backupOf(of("definition")));
        if (type === "texture-apply-remap") return found(papers.find(({ kind }) => kind === "texture"));
        return undefined;
    }

    /** Stands around every request for a back end. */
    async function around(type: string, data: unknown, ask: () => Promise<Answer>): Promise<Answer> {
        const one = written(type, data);
        if (!one) return ask();
        const { paper, text } = one;
        const wasThere = paper.now.has(text);
        const before = ++paper.events;
        if (text !== ANY) paper.states.add(text);
        paper.now.add(text);
        const isAlone = (): boolean => paper.events === before;
        const take = (isDone: boolean): void => {
            if (isAlone() && isDone) {
                paper.now = new Set([text === ANY ? readLoose(paper) : text]);
                paper.hasBackup = type !== "restore-source-from-backup";
                paper.isPaired = true;
            } else if (isAlone() && !wasThere) paper.now.delete(text);
            paper.events++;
        };
        try {
            const answer = await ask();
            const { outcome = "ok" } = answer.data as { outcome?: string };
            take(outcome === "ok");
            return answer;
        } catch (error) {
            // of an editor that has ended nobody knows how far it came
            if (/has ended|while .* was waiting|not running/.test(String(error))) paper.events++;
            else take(false);
            throw error;
        }
    }

    /** The other program writes a file by `put`, if it can; `text` is what is in it then. Resolves with whether it is. */
    function writtenByOther(paper: Paper, text: string, put: () => void): boolean {
        try {
            put();
        } catch { /* the disk may be full for it, too: what is there then is its doing */ }
        const there = paper.inside ? text : readLoose(paper);
        if (there !== text && paper.now.has(there)) return false;
        for (const mark of marks)
            if (mark.paper === paper && !there.includes(mark.text)) mark.mayBeGone = true;
        paper.events++;
        paper.states.add(there);
        // a save in flight may come before or after
        paper.now = new Set(paper.now.size > 1 ? [...paper.now, there] : [there]);
        paper.isPaired = false;
        return there === text;
    }

    return {
        marks, around, writtenByOther,
        newMark(paper: Paper, page: Page | undefined, form: (number: number) => string = (n) => `// ${page ? "mine" : "theirs"} ${n}.`): Mark {
            const mark = { text: form(++count), paper, page, mayBeGone: false };
            return mark;
        },
    };
}

export type Ledger = ReturnType<typeof ledger>;
