/** What page and server say to each other over their WebSocket. Types only: neither imports the other. */
import type { FrameMessage, MessageType, Messages } from "protocol";

export type { FrameMessage, MessageType, Messages };

/** Data roots as the page opens them. */
export interface Roots {
    taDataPath: string;
    modPaths: string[];
    mapsPath?: string;
}

/** What a page asks the server itself; everything else is for the back end. */
export interface ServerMessages {
    /** Once, at first. */
    "server-start": { request: Record<string, never>; reply: ServerStart };
    /** For choosing folders: what lies in one. */
    "server-folders": { request: { path: string }; reply: FolderListing };
    /** Folders directly below one that hold a game's archives. */
    "server-games": { request: { path: string }; reply: { paths: string[] } };
    /** Whether the system lets a file be written, its folder be changed. */
    "server-can-write": { request: { path: string }; reply: { canWrite: boolean } };
    /** Kept for the next time, on any port. */
    "server-keep": { request: { key: string; value: unknown }; reply: Record<string, never> };
    /** Watch these folders for what other programs change. */
    "server-watch": { request: { paths: string[] }; reply: Record<string, never> };
    /** A new back end in place of the one that runs or could not be started. */
    "server-restart": { request: Record<string, never>; reply: Record<string, never> };
}

export interface ServerStart {
    /** Named on the command line, else the sample game. */
    roots: Roots;
    sample: Roots;
    home: string;
    kept: Record<string, unknown>;
}

export interface FolderListing {
    path: string;
    exists: boolean;
    parent?: string;
    folders: string[];
}

/** One text from the page. Background requests go to a second back end over the same roots. */
export interface PageRequest {
    id: number;
    type: string;
    data?: unknown;
    inBackground?: boolean;
}

/** One text from the server. The frame of a reply comes before it: the id in 4 bytes, then the bytes. */
export type ServerLine = ServerReply | ServerFailure | ServerEvent;

export interface ServerReply {
    id: number;
    data: unknown;
}

export interface ServerFailure {
    id: number;
    error: string;
}

export type ServerEvent =
    | { event: "progress"; id: number; label: string; done: number; total: number }
    | { event: "editor"; state: "alive"; pid: number }
    | { event: "editor"; state: "ended" | "failed"; reason: string }
    /** Without those that hold what this page has written. */
    | { event: "files-changed"; paths: string[] }
    | { event: "log"; lines: string[] };
