// One back-end process: requests as lines, replies in their order, frames on descriptor 3, its end.
import { spawn } from "node:child_process";
import type { Readable } from "node:stream";
import type { ErrorReply, FrameMessage, Line } from "protocol";

export interface Answer {
    data: unknown;
    frame?: Buffer;
}

export interface EditorListener {
    progress(seq: number, label: string, done: number, total: number): void;
    log(lines: string[]): void;
    /** The process is gone; everything that waited has been rejected before. */
    ended(reason: string): void;
}

export interface Editor {
    pid: number;
    /** `sent` hears the request's number, which progress is told with. */
    ask(type: string, data: unknown, sent?: (seq: number) => void): Promise<Answer>;
    /** Lets it finish what it is at; it ends at the end of its input. */
    close(): void;
}

/** How long a closed process may go on before it is killed: writes of archives take their time. */
const CLOSE_MS = 10 * 60_000;

const FRAMED: Record<FrameMessage, true> = {
    "get-unit-glb": true, "get-weapon-model-glb": true, "get-projectile-sprite": true, "get-sound": true,
    "map-heightmap": true, "map-minimap": true, "map-terrain-texture": true,
};

interface Waiting {
    type: string;
    resolve(answer: Answer): void;
    reject(error: Error): void;
}

export function startEditor(program: string, listener: EditorListener): Editor {
    const child = spawn(program, { stdio: ["pipe", "pipe", "pipe", "pipe"] });
    const waiting = new Map<number, Waiting>();
    /** Replies whose frame is still to come, in order. */
    const framed: { waiting: Waiting; data: unknown }[] = [];
    let lastSeq = 0;
    let ended: string | undefined;

    function take(line: Line | ErrorReply): void {
        if (line.type === "progress" && line.seq === 0)
            return listener.progress(line.data.forSeq, line.data.label, line.data.done, line.data.total);
        // replies come in order: an error without a number is about the oldest line, which could not be read
        const seq = line.type === "error" && line.seq === 0 ? waiting.keys().next().value ?? 0 : line.seq;
        const one = waiting.get(seq);
        if (!one) return; // piece-transforms: replies carry reports
        waiting.delete(seq);
        if (line.type === "error") one.reject(new Error((line as ErrorReply).data.message));
        else if (one.type in FRAMED) framed.push({ waiting: one, data: line.data });
        else one.resolve({ data: line.data });
    }

    function end(reason: string): void {
        if (ended) return;
        ended = reason;
        for (const { type, reject } of [...framed.map((one) => one.waiting), ...waiting.values()])
            reject(new Error(`${reason} while ${type} was waiting`));
        waiting.clear();
        framed.length = 0;
        listener.ended(reason);
    }

    splitLines(child.stdout, (text) => take(JSON.parse(text)));
    splitLines(child.stderr, (text) => listener.log([text]));
    // a reply's line can come behind its frame, so frames wait too
    const frames: Buffer[] = [];
    const match = (): void => {
        while (framed.length > 0 && frames.length > 0) {
            const { waiting: one, data } = framed.shift()!;
            one.resolve({ data, frame: frames.shift()! });
        }
    };
    splitFrames(child.stdio[3] as Readable, (frame) => { frames.push(frame); match(); });
    child.stdout.on("data", match);
    child.on("error", (error) => end(`the editor could not be started: ${error.message}`));
    child.on("close", (code, signal) => end(`the editor has ended (${signal ?? `status ${code}`})`));
    child.stdin.on("error", () => {}); // "close" follows

    return {
        pid: child.pid ?? 0,
        ask(type, data, sent) {
            if (ended) return Promise.reject(new Error(ended));
            const seq = ++lastSeq;
            child.stdin.write(JSON.stringify({ type, seq, data }) + "\n");
            sent?.(seq);
            return new Promise((resolve, reject) => waiting.set(seq, { type, resolve, reject }));
        },
        close() {
            child.stdin.end();
            const timer = setTimeout(() => child.kill("SIGKILL"), CLOSE_MS);
            child.on("close", () => clearTimeout(timer));
        },
    };
}

/** Lines may be many megabytes long, so their pieces are joined once. */
function splitLines(stream: Readable, take: (line: string) => void): void {
    let pieces: Buffer[] = [];
    stream.on("data", (chunk: Buffer) => {
        let start = 0;
        for (let end; (end = chunk.indexOf(10, start)) >= 0; start = end + 1) {
            pieces.push(chunk.subarray(start, end));
            const line = Buffer.concat(pieces).toString();
            pieces = [];
            take(line);
        }
        if (start < chunk.length) pieces.push(chunk.subarray(start));
    });
}

/** Frames: 4 bytes of little-endian length, then the bytes. */
function splitFrames(stream: Readable, take: (frame: Buffer) => void): void {
    let pieces: Buffer[] = [];
    let size = 0;
    stream.on("data", (chunk: Buffer) => {
        pieces.push(chunk);
        size += chunk.length;
        for (;;) {
            if (size < 4) return;
            const head = pieces[0]!.length >= 4 ? pieces[0]! : (pieces = [Buffer.concat(pieces)])[0]!;
            const end = 4 + head.readUInt32LE();
            if (size < end) return;
            const all = Buffer.concat(pieces);
            take(all.subarray(4, end));
            pieces = [all.subarray(end)];
            size -= end;
        }
    });
    stream.on("error", () => {}); // "close" follows
}
