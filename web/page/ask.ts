// The page's one way to talk with server and back end: typed requests over one WebSocket.
import type { Payload, Replies } from "protocol";
import { wellFormed } from "./work/well_formed";
import type { FrameMessage, MessageType, PageRequest, ServerEvent, ServerLine, ServerMessages } from "../wire";

type OwnType = keyof ServerMessages;
type Data<T extends MessageType | OwnType> = T extends MessageType ? Payload<T>
    : T extends OwnType ? [data?: ServerMessages[T]["request"]] : never;
type Answer<T extends MessageType | OwnType> = T extends MessageType ? Replies[T]
    : T extends OwnType ? ServerMessages[T]["reply"] : never;

export interface Framed<T> {
    reply: T;
    frame: ArrayBuffer;
}

export interface Progress {
    label: string;
    done: number;
    total: number;
}

interface Waiting {
    /** Made at the call, so that its stack names the caller. */
    failure: Error;
    resolve(data: unknown, frame: ArrayBuffer | undefined): void;
    reject(error: Error): void;
    progress?: (step: Progress) => void;
}

const waiting = new Map<number, Waiting>();
const frames = new Map<number, ArrayBuffer>();
let socket: WebSocket | undefined;
let lastId = 0;

/** Resolves with the reply's data, rejects with the back end's own text. */
export function ask<T extends MessageType | OwnType>(type: T, ...[data]: Data<T>): Promise<Answer<T>> {
    return send<Answer<T>>({ type, data }).then(({ reply }) => reply);
}

/** The same by the second back end, which never holds up what the user does. It has no loaded unit. */
export function askInBackground<T extends MessageType>(type: T, ...[data]: Data<T>): Promise<Answer<T>> {
    return send<Answer<T>>({ type, data, inBackground: true }).then(({ reply }) => reply);
}

/** For replies that a frame follows. */
export function askFrame<T extends FrameMessage>(type: T, ...[data]: Data<T>): Promise<Framed<Answer<T>>> {
    return send<Answer<T>>({ type, data });
}

export function askFrameInBackground<T extends FrameMessage>(type: T, ...[data]: Data<T>): Promise<Framed<Answer<T>>> {
    return send<Answer<T>>({ type, data, inBackground: true });
}

/** For requests with `progress: true`; `told` hears of each step until the reply. */
export function askWithProgress<T extends MessageType>(
    type: T, data: Replies[T] extends never ? never : Parameters<typeof ask<T>>[1], told: (step: Progress) => void,
    inBackground = false,
): Promise<Answer<T>> {
    return send<Answer<T>>({ type, data, inBackground }, told).then(({ reply }) => reply);
}

function send<T>(request: Omit<PageRequest, "id">, progress?: (step: Progress) => void): Promise<Framed<T>> {
    const failure = new Error(`${request.type}: not connected`);
    if (socket?.readyState !== WebSocket.OPEN) return Promise.reject(failure);
    const id = ++lastId;
    socket.send(JSON.stringify({ id, ...request },
        (_, value: unknown) => typeof value === "string" ? wellFormed(value) : value));
    return new Promise((resolve, reject) => waiting.set(id, {
        failure, reject, ...(progress ? { progress } : {}),
        // the one place where a reply gets its declared type
        resolve: (data, frame) => resolve({ reply: data as T, frame: frame ?? new ArrayBuffer(0) }),
    }));
}

export interface ConnectionListener {
    event(event: ServerEvent): void;
    opened(): void;
    /** The server has gone; it may come back. */
    lost(): void;
}

const RETRY_MS = 1_000;

/** Connects, and again whenever the connection is lost. */
export function connect(listener: ConnectionListener): void {
    const address = new URL("socket", location.href);
    address.protocol = "ws:";
    socket = new WebSocket(address);
    socket.binaryType = "arraybuffer";
    socket.onopen = () => listener.opened();
    socket.onmessage = ({ data }: MessageEvent<string | ArrayBuffer>) =>
        typeof data === "string" ? take(JSON.parse(data), listener)
            : frames.set(new DataView(data).getUint32(0, true), data.slice(4));
    socket.onclose = () => {
        rejectAll("the connection to the server is lost");
        listener.lost();
        setTimeout(() => connect(listener), RETRY_MS);
    };
}

function take(line: ServerLine, listener: ConnectionListener): void {
    if ("event" in line) {
        if (line.event === "progress") waiting.get(line.id)?.progress?.(line);
        return listener.event(line);
    }
    const one = waiting.get(line.id);
    if (!one) return;
    waiting.delete(line.id);
    const frame = frames.get(line.id);
    frames.delete(line.id);
    if ("error" in line) {
        one.failure.message = line.error;
        one.reject(one.failure);
    } else {
        one.resolve(line.data, frame);
    }
}

function rejectAll(reason: string): void {
    for (const { failure, reject } of waiting.values()) {
        failure.message = reason;
        reject(failure);
    }
    waiting.clear();
    frames.clear();
}
