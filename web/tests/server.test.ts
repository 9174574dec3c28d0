// The server without a browser: who gets in, what happens to processes when pages and editors go.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { chmodSync, mkdtempSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { request } from "node:http";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";
import WebSocket from "ws";
import type { PageRequest, ServerLine } from "../wire";
import { eventually, openServer, OUT } from "./bench";

interface Told {
    status: number;
    headers: Record<string, string | string[] | undefined>;
}

function get(address: string, headers: Record<string, string> = {}): Promise<Told> {
    return new Promise((resolve, reject) => {
        request(address, { headers }, (response) => {
            response.resume();
            resolve({ status: response.statusCode!, headers: response.headers });
        }).on("error", reject).end();
    });
}

/** A page's side of the socket, without the page. */
function openSocket(address: string, origin = new URL(address).origin, path = "socket") {
    const socket = new WebSocket(address.replace("http", "ws") + path, { origin });
    const lines: ServerLine[] = [];
    const frames: Buffer[] = [];
    let lastId = 0;
    socket.on("message", (data: Buffer, isBinary) => isBinary ? frames.push(data) : lines.push(JSON.parse(String(data))));
    return {
        socket, lines, frames,
        opened: new Promise<boolean>((resolve) => { socket.on("open", () => resolve(true)); socket.on("error", () => resolve(false)); }),
        ask: async (type: string, data?: unknown, inBackground = false): Promise<ServerLine> => {
            const id = ++lastId;
            socket.send(JSON.stringify({ id, type, data, inBackground } satisfies PageRequest));
            const find = () => lines.find((line) => "id" in line && line.id === id && !("event" in line));
            await eventually(() => find() !== undefined || socket.readyState === WebSocket.CLOSED, true);
            return find() ?? { id, error: "the socket is closed" };
        },
        pid: () => lines.flatMap((line) => "event" in line && line.event === "editor" && line.state === "alive" ? [line.pid] : []).at(-1),
    };
}

const isRunning = (pid: number): boolean => {
    try {
        return !/^State:\tZ/m.test(readFileSync(`/proc/${pid}/status`, "utf8"));
    } catch {
        return false;
    }
};

test("only who knows the address gets a file, whatever else is asked for", async (t) => {
    const { server } = await openServer(t, {});
    const { origin, port } = new URL(server.address);
    assert.equal((await get(server.address)).status, 200);
    assert.equal((await get(server.address + "page.js")).status, 200);
    assert.match(String((await get(server.address)).headers["content-security-policy"]), /default-src 'none'/);
    for (const path of ["/", "/page.js", "/socket", "/" + "x".repeat(32) + "/"])
        assert.equal((await get(origin + path)).status, 403, path);
    for (const path of ["../start.mjs", "..%2fstart.mjs", "/etc/passwd", "page.ts", "constructor"])
        assert.ok([403, 404].includes((await get(server.address + path)).status), path);
    // a name that an attacker lets point to this machine
    assert.equal((await get(server.address, { Host: `evil.example:${port}` })).status, 403);
    assert.equal((await get(server.address, { Host: `localhost:${port}` })).status, 200);
});

test("a stranger's page in the same browser gets no socket", async (t) => {
    const { server } = await openServer(t, {});
    const { origin } = new URL(server.address);
    assert.equal(await openSocket(server.address).opened, true);
    assert.equal(await openSocket(server.address, "http://evil.example").opened, false);
    assert.equal(await openSocket(server.address, "null").opened, false);
    assert.equal(await openSocket(`${origin}/`, origin).opened, false);
    assert.equal(await openSocket(`${origin}/${"x".repeat(32)}/`, origin).opened, false);
});

test("a server's address is the next one's too, and nobody else can read or use it", async (t) => {
    const state = mkdtempSync(join(tmpdir(), "orb-web-"));
    const file = join(state, "orb-unit-editor/token");
    t.after(() => rmSync(state, { recursive: true, force: true }));
    const started = async (): Promise<string> => {
        const child = spawn(process.execPath, [join(OUT, "start.mjs"), "no-program", join(OUT, "page"), state],
            { env: { ...process.env, XDG_STATE_HOME: state }, stdio: ["ignore", "pipe", "inherit"] });
        const ended = once(child, "exit");
        try {
            const [told] = await once(child.stdout, "data") as [Buffer];
            const address = /http:\S+/.exec(String(told))![0];
            const { origin, pathname } = new URL(address);
            assert.equal(statSync(file).mode & 0o777, 0o600);
            assert.equal(pathname, `/${readFileSync(file, "utf8")}/`);
            assert.equal(await openSocket(address, "http://evil.example").opened, false);
            assert.equal((await get(origin)).status, 403);
            assert.equal((await get(address)).headers["access-control-allow-origin"], undefined);
            return pathname;
        } finally {
            child.kill();
            await ended;
        }
    };
    const first = await started();
    assert.equal(await started(), first);
    chmodSync(file, 0o644);
    const other = await started();
    assert.notEqual(other, first, "others could have read it");
    writeFileSync(file, "short");
    assert.notEqual(await started(), other);
});

test("a page gets an editor of its own, and it ends with the page, also in the middle of a request", async (t) => {
    const { server } = await openServer(t, {});
    const [one, other] = [openSocket(server.address), openSocket(server.address)];
    await one.opened && await other.opened;
    const { roots } = (await one.ask("server-start") as { data: { roots: object } }).data;
    await one.ask("set-data-roots", roots);
    await eventually(() => one.pid() !== undefined && other.pid() !== undefined && one.pid() !== other.pid(), true);
    assert.match(JSON.stringify(await other.ask("list-units")), /data roots not set/);
    const pid = one.pid()!;
    for (let i = 0; i < 20; i++) void one.ask("conflict-scan");
    one.socket.terminate();
    await eventually(() => isRunning(pid), false);
    assert.match(JSON.stringify(await other.ask("ping")), /"data":\{\}/);
});

test("the end of an editor answers all that wait, and another one is there", async (t) => {
    let release = (): void => {};
    const held = new Promise<void>((resolve) => { release = resolve; });
    const { server } = await openServer(t, {
        around: async (type, _, ask) => { if (type === "get-sound") await held; return ask(); },
    });
    const page = openSocket(server.address);
    await page.opened;
    const { roots } = (await page.ask("server-start") as { data: { roots: object } }).data;
    await page.ask("set-data-roots", roots);
    const pid = page.pid()!;
    process.kill(pid, "SIGSTOP");
    const scan = page.ask("conflict-scan");
    const glb = page.ask("get-unit-glb", { name: "FENWADE" });
    process.kill(pid, "SIGKILL");
    assert.match(JSON.stringify(await scan), /the editor has ended \(SIGKILL\) while conflict-scan was waiting/);
    assert.match(JSON.stringify(await glb), /while get-unit-glb was waiting/);
    await eventually(() => page.pid() !== undefined && page.pid() !== pid, true);
    release();
    assert.match(JSON.stringify(await page.ask("list-units")), /data roots not set/);
});

test("a request that the editor cannot read is refused, and none behind it suffers", async (t) => {
    const { server } = await openServer(t, {});
    const page = openSocket(server.address);
    await page.opened;
    const deep = JSON.parse("[".repeat(300) + "]".repeat(300));
    const asked = [page.ask("ping"), page.ask("cob-compile", { source: "\ud800" }), page.ask("ping"), page.ask("ping", { deep }), page.ask("ping")];
    assert.deepEqual((await Promise.all(asked)).map((line) => "error" in line), [false, true, false, true, false]);
});

test("gives up on a program that cannot start, says why, and tries again when told", async (t) => {
    const { server } = await openServer(t, { program: join(OUT, "no-such-program") });
    const page = openSocket(server.address);
    await page.opened;
    const states = () => page.lines.flatMap((line) => "event" in line && line.event === "editor" ? [line.state] : []);
    await eventually(() => states().at(-1), "failed");
    assert.equal(states().length, 4);
    assert.match(JSON.stringify(page.lines.at(-1)), /could not be started: .*ENOENT/);
    assert.match(JSON.stringify(await page.ask("ping")), /the editor is not running/);
    await page.ask("server-restart");
    await eventually(() => states().filter((state) => state === "failed").length, 2);
});

test("frames come before their replies, whichever editor they come from", async (t) => {
    const { server } = await openServer(t, {});
    const page = openSocket(server.address);
    await page.opened;
    const { roots } = (await page.ask("server-start") as { data: { roots: object } }).data;
    await page.ask("set-data-roots", roots);
    const names = ["FENWADE", "KILCART", "NOSUCH", "FENDOCK"];
    const replies = await Promise.all(names.map((name, i) => page.ask("get-unit-glb", { name }, i % 2 === 1)));
    assert.match(JSON.stringify(replies[2]), /FBI not found for unit: NOSUCH/);
    const sizes = replies.flatMap((reply) => "data" in reply ? [(reply.data as { byteSize: number }).byteSize] : []);
    assert.deepEqual(page.frames.map((frame) => frame.length - 4).sort(), sizes.sort());
    for (const frame of page.frames) assert.equal(frame.toString("latin1", 4, 8), "glTF");
});

test("a page cannot shut the editor down, and what is no request ends its socket", async (t) => {
    const { server } = await openServer(t, {});
    const page = openSocket(server.address);
    await page.opened;
    assert.match(JSON.stringify(await page.ask("shutdown")), /does not shut the editor down/);
    assert.match(JSON.stringify(await page.ask("frobnicate")), /unknown message type: frobnicate/);
    page.socket.send("{");
    await eventually(() => page.socket.readyState, WebSocket.CLOSED);
});

test("what is kept is there the next time, and a damaged file does no harm", async (t) => {
    const { server, scratch } = await openServer(t, {});
    const page = openSocket(server.address);
    await page.opened;
    await Promise.all(["a", "b", "c"].map((key, i) => page.ask("server-keep", { key, value: i })));
    const next = openSocket(server.address);
    await next.opened;
    assert.deepEqual((await next.ask("server-start") as { data: { kept: object } }).data.kept, { a: 0, b: 1, c: 2 });
    assert.deepEqual(readdirSync(join(scratch, "state")), ["settings.json"]);
});

test("the page imports nothing of the server, panes import no panes", () => {
    const root = join(OUT, "../../web/page");
    const files = (readdirSync(root, { recursive: true }) as string[]).filter((file) => /\.tsx?$/.test(file));
    const faults = files.flatMap((file) => {
        const text = readFileSync(join(root, file), "utf8");
        const imports = [...text.matchAll(/from "([^"]+)"/g)].map((match) => match[1]!);
        return imports.filter((from) => from.includes("/server/") ||
            (file.startsWith("panes/") && file !== "panes/registry.ts" && /^\.\/|\/panes\//.test(from)))
            .map((from) => `${file}: ${from}`);
    });
    assert.deepEqual(faults, []);
    assert.ok(files.length > 30);
});
