// A small front end: mounts a data root, loads a unit, fetches its model, runs its script a second.
//
//     tsc --target es2022 --module nodenext front_end.ts    (typescript, @types/node; an ES module)
//     node front_end.js PROGRAM DATA_ROOT UNIT
import { spawn } from "node:child_process";
import { once } from "node:events";
import { createInterface } from "node:readline";
import type { Readable } from "node:stream";
import type * as P from "./protocol.js";

const [program = "", taDataPath = "", name = ""] = process.argv.slice(2);
const editor = spawn(program, { stdio: ["pipe", "pipe", "ignore", "pipe"] });
const waiting = new Map<number, (answer: P.Reply | P.ErrorReply) => void>();
let lastSeq = 0;

createInterface({ input: editor.stdout! }).on("line", (text) => {
    const line: P.Line = JSON.parse(text);
    if (line.type === "piece-transforms") return showPose(line.data);
    if (line.type === "progress") return console.log(`${line.data.done} of ${line.data.total}`);
    waiting.get(line.seq)?.(line);
    waiting.delete(line.seq);
});

/** When the program ends, whoever waits is told, and so is whoever asks later. */
let ended: string | undefined;
for (const event of ["error", "close"])
    editor.on(event, (reason: unknown) => {
        ended ??= `the program has ended: ${reason}`;
        for (const [seq, answer] of waiting) answer({ type: "error", seq, data: { message: ended } });
        waiting.clear();
    });
editor.stdin!.on("error", () => {}); // "close" follows

/** Sends a request; resolves with its reply's data, rejects with the message of an error. */
function ask<T extends P.MessageType>(type: T, ...[data]: P.Payload<T>): Promise<P.Replies[T]> {
    if (ended) return Promise.reject(new Error(ended));
    const seq = ++lastSeq;
    editor.stdin!.write(JSON.stringify({ type, seq, data }) + "\n");
    return new Promise((resolve, reject) => waiting.set(seq, (answer) =>
        answer.type === "error" ? reject(new Error(answer.data.message))
                                : resolve(answer.data as P.Replies[T])));
}

/** The frames in the order of their replies. They must be taken: the program waits for that. */
async function* readFrames(): AsyncGenerator<Buffer, never> {
    let bytes = Buffer.alloc(0);
    for await (const chunk of editor.stdio[3] as Readable) {
        bytes = Buffer.concat([bytes, chunk]);
        for (let end; bytes.length >= 4 && bytes.length >= (end = 4 + bytes.readUInt32LE());) {
            yield bytes.subarray(4, end);
            bytes = bytes.subarray(end);
        }
    }
    throw new Error("the channel for frames has closed");
}
const frames = readFrames();

/** The same for a message whose reply is followed by a frame. */
async function askFrame<T extends P.FrameMessage>(type: T, ...data: P.Payload<T>) {
    const reply = await ask(type, ...data);
    return { reply, frame: (await frames.next()).value };
}

function showPose({ tick, transforms }: P.PieceTransforms) {
    console.log(`tick ${tick}: ${transforms.filter(({ visible }) => visible).length} pieces visible`);
}

const { unitCount } = await ask("set-data-roots", { taDataPath });
const unit = await ask("load-unit", { name });
console.log(`${unit.unitName} of ${unitCount} units: ${unit.fbi.maxdamage} hit points`);
const { reply, frame } = await askFrame("get-unit-glb", { teamColor: { r: 230, g: 40, b: 30 } });
console.log(`model of ${reply.pieceCount} pieces: ${frame.toString("latin1", 0, 4)}`);
await ask("cob-tick", { ticks: 30 });
await ask("load-unit", { name: "NOSUCH" }).catch(({ message }) => console.log(message));
await ask("shutdown");
await once(editor, "close");
await ask("ping").catch(({ message }) => console.log(message));
