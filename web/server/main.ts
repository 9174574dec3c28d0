// Serves the page and one WebSocket a page, on this machine only. The address holds a random token: whoever
// does not know it gets nothing, whatever else runs in the same browser.
import { randomBytes, timingSafeEqual } from "node:crypto";
import { createServer, type IncomingMessage, type ServerResponse } from "node:http";
import { readFile } from "node:fs/promises";
import type { AddressInfo } from "node:net";
import { join } from "node:path";
import { WebSocketServer } from "ws";
import type { Roots } from "../wire";
import { ownMessages } from "./own_messages";
import { openSession, type SessionOptions } from "./sessions";

export interface ServerOptions {
    program: string;
    /** Built files of the page. */
    folder: string;
    roots: Roots;
    sample: Roots;
    /** Where settings are kept. */
    state: string;
    /** The first that is tried; any free one else. */
    port?: number;
    /** Of an earlier server, whose pages then find this one; else a new one. */
    token?: string;
    around?: SessionOptions["around"];
}

export interface RunningServer {
    address: string;
    /** Ends the connections of all pages, which connect again. */
    cut(): void;
    close(): Promise<void>;
}

const HOST = "127.0.0.1";
/** The largest request: the text of a script or a picture in base64. */
const MAX_REQUEST = 64 * 1024 * 1024;

const FILES = new Map(Object.entries({
    "": "text/html; charset=utf-8",
    "page.js": "text/javascript; charset=utf-8",
    "page.js.map": "application/json",
    "style.css": "text/css; charset=utf-8",
}));

// CodeMirror adds its own style sheets; a page's own pictures and sounds are blobs or data.
const POLICY = "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; " +
    "img-src 'self' data: blob:; media-src data: blob:; connect-src 'self'; frame-ancestors 'none'; base-uri 'none'";

export const newToken = (): string => randomBytes(24).toString("base64url");

export async function serve(options: ServerOptions): Promise<RunningServer> {
    const token = options.token ?? newToken();
    const own = ownMessages(options);
    const server = createServer((request, response) => void answer(request, response));
    const sockets = new WebSocketServer({ noServer: true, maxPayload: MAX_REQUEST });

    const address = (): string => `http://${HOST}:${(server.address() as AddressInfo).port}`;

    /** What follows the token in the path, when this is a request that may be answered. */
    function pathOf(request: IncomingMessage): string | undefined {
        const { port } = server.address() as AddressInfo;
        if (request.headers.host !== `${HOST}:${port}` && request.headers.host !== `localhost:${port}`) return;
        const [, given = "", ...rest] = (request.url ?? "").split("?")[0]!.split("/");
        const isRight = given.length === token.length && timingSafeEqual(Buffer.from(given), Buffer.from(token));
        return isRight ? rest.join("/") : undefined;
    }

    async function answer(request: IncomingMessage, response: ServerResponse): Promise<void> {
        const path = pathOf(request);
        const type = path === undefined ? undefined : FILES.get(path);
        if (path === undefined || type === undefined || request.method !== "GET") {
            response.writeHead(path === undefined ? 403 : 404, { "Content-Type": "text/plain" })
                .end("This is not the address that ./dev web printed.\n");
            return;
        }
        try {
            const body = await readFile(join(options.folder, path === "" ? "index.html" : path));
            response.writeHead(200, {
                "Content-Type": type, "Content-Security-Policy": POLICY, "Cache-Control": "no-store",
                "Referrer-Policy": "no-referrer", "X-Content-Type-Options": "nosniff",
            }).end(body);
        } catch {
            response.writeHead(404).end();
        }
    }

    server.on("upgrade", (request, socket, head) => {
        const origin = request.headers.origin;
        const isOurs = origin === `http://${request.headers.host}`;
        if (pathOf(request) !== "socket" || !isOurs) {
            socket.end("HTTP/1.1 403 Forbidden\r\nConnection: close\r\n\r\n");
            return;
        }
        sockets.handleUpgrade(request, socket, head, (page) =>
            openSession(page, { program: options.program, own, around: options.around }));
    });

    await listen(options.port ?? 0).catch(() => listen(0));
    return {
        address: `${address()}/${token}/`,
        cut,
        async close() {
            cut();
            await new Promise((resolve) => { server.close(resolve); server.closeAllConnections(); });
        },
    };

    function cut(): void {
        for (const page of sockets.clients) page.terminate();
    }

    function listen(port: number): Promise<void> {
        return new Promise((resolve, reject) => {
            server.once("error", reject);
            server.listen(port, HOST, () => { server.off("error", reject); resolve(); });
        });
    }
}
