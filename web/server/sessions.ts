// A session a page: one back end that it drives, one more over the same roots for work in the background.
import type { WebSocket } from "ws";
import type { PageRequest, Roots, ServerEvent, ServerLine } from "../wire";
import { type Answer, type Editor, startEditor } from "./editor";
import { type Watch, watchFolders } from "./watch";
import { ownWrites } from "./own_writes";

/** So many ends within so short a time mean that starting again does not help. */
const MAX_ENDS = 4;
const ENDS_WITHIN_MS = 5_000;

/** Messages after which the background's roots may no longer be what is on the disk. */
const CHANGES_FILES = /^(save-|fbi-patch|restore-|unit-clone|create-|export-|texture-apply|model-commit|lint-)/;

export interface SessionOptions {
    program: string;
    /** The server's own messages. */
    own: (type: string, data: unknown) => Promise<unknown> | undefined;
    /** For tests: stands around each request for the back end, and may hold or note it. */
    around?: (type: string, data: unknown, ask: () => Promise<Answer>) => Promise<Answer>;
}

export function openSession(socket: WebSocket, options: SessionOptions): void {
    const send = (line: ServerLine): void => socket.send(JSON.stringify(line));
    const log = batched((lines: string[]) => send({ event: "log", lines }));
    const writes = ownWrites();
    const ids = new Map<number, number>(); // seq → the page's id
    const idsInBackground = new Map<number, number>();
    const ends: number[] = [];
    let isOpen = true;
    let main: Editor | undefined;
    let background: Editor | undefined;
    let watch: Watch | undefined;
    let roots: Roots | undefined;
    /** Resolves when the background has mounted what the page has. */
    let mounting: Promise<unknown> | undefined;

    const progressTo = (known: Map<number, number>) => (seq: number, label: string, done: number, total: number): void =>
        send({ event: "progress", id: known.get(seq) ?? 0, label, done, total });

    function startMain(): void {
        main = startEditor(options.program, {
            progress: progressTo(ids),
            log,
            ended(reason) {
                main = undefined;
                ids.clear();
                if (isOpen) revive(reason);
            },
        });
        if (main.pid) send({ event: "editor", state: "alive", pid: main.pid });
    }

    function revive(reason: string): void {
        const now = Date.now();
        ends.push(now);
        const isHopeless = ends.filter((at) => now - at < ENDS_WITHIN_MS).length >= MAX_ENDS;
        send({ event: "editor", state: isHopeless ? "failed" : "ended", reason });
        if (!isHopeless) startMain();
    }

    async function askMain(id: number, type: string, data: unknown): Promise<Answer> {
        if (!main) throw new Error("the editor is not running");
        const asked = askAs(id, ids, main, type, data);
        if (CHANGES_FILES.test(type)) writes.follow(asked);
        const answer = await asked;
        if (type === "set-data-roots") roots = data as Roots;
        if (type === "set-data-roots" || CHANGES_FILES.test(type)) mounting = undefined;
        return answer;
    }

    function askAs(id: number, known: Map<number, number>, editor: Editor, type: string, data: unknown): Promise<Answer> {
        let number = 0;
        return editor.ask(type, data, (seq) => { number = seq; known.set(seq, id); }).finally(() => known.delete(number));
    }

    async function askBackground(id: number, type: string, data: unknown): Promise<Answer> {
        background ??= startEditor(options.program, {
            progress: progressTo(idsInBackground), log() {},
            ended() { background = mounting = undefined; },
        });
        const editor = background;
        if (roots) await (mounting ??= mountIn(editor, roots));
        return askAs(id, idsInBackground, editor, type, data);
    }

    /** What could not be mounted is tried again by the next request. */
    function mountIn(editor: Editor, { taDataPath, modPaths, mapsPath }: Roots): Promise<unknown> {
        const mine = editor.ask("set-data-roots", { taDataPath, modPaths, mapsPath });
        mine.catch(() => { if (mounting === mine) mounting = undefined; });
        return mine;
    }

    async function changed(paths: string[]): Promise<void> {
        const foreign = await writes.foreign(paths);
        mounting = undefined;
        if (isOpen) send({ event: "files-changed", paths: foreign });
    }

    async function answer({ id, type, data, inBackground }: PageRequest): Promise<Answer> {
        if (type === "server-watch") {
            watch?.close();
            watch = watchFolders((data as { paths: string[] }).paths, (paths) => void changed(paths));
            return { data: {} };
        }
        if (type === "server-restart") {
            ends.length = 0;
            if (!main) startMain();
            return { data: {} };
        }
        const own = options.own(type, data);
        if (own) return { data: await own };
        if (type === "shutdown") throw new Error("a page does not shut the editor down");
        const ask = () => inBackground ? askBackground(id, type, data) : askMain(id, type, data);
        return options.around ? options.around(type, data, ask) : ask();
    }

    async function serve(request: PageRequest): Promise<void> {
        try {
            const { data, frame } = await answer(request);
            if (!isOpen) return;
            if (frame) socket.send(withId(request.id, frame));
            send({ id: request.id, data });
        } catch (error) {
            if (isOpen) send({ id: request.id, error: error instanceof Error ? error.message : String(error) });
        }
    }

    socket.on("message", (text) => {
        const request = readRequest(String(text));
        if (request) void serve(request);
        else socket.close(1003, "not a request");
    });
    socket.on("error", () => {}); // "close" follows
    socket.on("close", () => {
        isOpen = false;
        watch?.close();
        main?.close();
        background?.close();
    });
    startMain();

    function withId(id: number, frame: Buffer): Buffer {
        const head = Buffer.alloc(4);
        head.writeUInt32LE(id);
        return Buffer.concat([head, frame]);
    }
}

function readRequest(text: string): PageRequest | undefined {
    try {
        const value: unknown = JSON.parse(text);
        const { id, type } = value as PageRequest;
        return Number.isSafeInteger(id) && typeof type === "string" ? value as PageRequest : undefined;
    } catch {
        return undefined;
    }
}

/** Gathers what comes within a tenth of a second; a steady stream does not hold it up. */
function batched(tell: (items: string[]) => void): (items: string[]) => void {
    let gathered: string[] = [];
    return (items) => {
        if (gathered.length === 0) setTimeout(() => { const all = gathered; gathered = []; tell(all); }, 100).unref();
        gathered.push(...items);
    };
}

export type { ServerEvent };
