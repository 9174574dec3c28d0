// The page's one way to talk with server and back end: typed requests over one WebSocket.
import type { Payload, Replies } from "protocol";
import { wellFormed } from "./work/well_formed";
import type { FrameMessage, MessageType, PageRequest, ServerEvent, ServerLine, ServerMessages } from "../wire";

type OwnType = keyof ServerMessages;
type Data<T extends MessageType | OwnType> = T extends MessageType ? [...Payload<T>, how?: How]
    : T extends OwnType ? [data?: ServerMessages[T]["request"], how?: How] : never;
type Answer<T extends MessageType | OwnType> = T extends MessageType ? Replies[T]
    : T extends OwnType ? ServerMessages[T]["reply"] : never;

export interface How {
    /** By the second back end, which never holds up what the user does. It has no loaded unit. */
    inBackground?: boolean;
    /** For requests with `progress: true`: hears of each step until the reply. */
    told?: (step: Progress) => void;
}

export const IN_BACKGROUND: How = { inBackground: true };

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
    told?: (step: Progress) => void;
}

const waiting = new Map<number, Waiting>();
const frames = new Map<number, ArrayBuffer>();
let socket: WebSocket | undefined;
let lastId = 0;

/** Resolves with the reply's data, rejects with the back end's own text. */
export function ask<T extends MessageType | OwnType>(type: T, ...[data, how]: Data<T>): Promise<Answer<T>> {
    return send<Answer<T>>(type, data, how).then(({ reply }) => reply);
}

/** For replies that a frame follows. */
export function askFrame<T extends FrameMessage>(type: T, ...[data, how]: Data<T>): Promise<Framed<Answer<T>>> {
    return send<Answer<T>>(type, data, how);
}

function send<T>(type: string, data: unknown, { inBackground = false, told }: How = {}): Promise<Framed<T>> {
    const failure = new Error(`${type}: not connected`);
    if (socket?.readyState !== WebSocket.OPEN) return Promise.reject(failure);
    const request: PageRequest = { id: ++lastId, type, data, inBackground };
    socket.send(JSON.stringify(request,
        (_, value: unknown) => typeof value === "string" ? wellFormed(value) : value));
    return new Promise((resolve, reject) => waiting.set(request.id, {
        failure, reject, ...(told ? { told } : {}),
        // the one place where a reply gets its declared type
        resolve: (data, frame) => resolve({ reply: data as T, frame: frame ?? new ArrayBuffer(0) }),
    }));
}

interface ConnectionListener {
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
        if (line.event === "progress") waiting.get(line.id)?.told?.(line);
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
