// What would stay true in a terminal: functions over data, without a browser.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Euler, Matrix4, Vector3 } from "three";
import { marksOf } from "../page/editor/problems";
import { findKeyFaults, nameOfKey } from "../page/key_names";
import type { LoadedUnit, Fbi } from "protocol";
import { concerns } from "../page/work/unit_files";
import { readArguments } from "../page/work/arguments";
import { createClock } from "../page/work/clock";
import { hexOf, readHex } from "../page/work/colors";
import { placeOf } from "../page/work/columns";
import { filterUnits } from "../page/work/filter_units";
import { readLogLine } from "../page/work/log_lines";
import { isBelow, shortNames } from "../page/work/paths";
import { definitionRows } from "../page/work/definition";
import { distinct, withPlurals } from "../page/work/words";
import { localName, pieceNamedIn, spanAt, toggled } from "../page/work/lines";
import { newestNext } from "../page/work/newest";
import { flattenTree } from "../page/work/tree_rows";
import { joinFaces } from "../page/view3d/glb";
import { AT_REST, pieceMatrix } from "../page/view3d/pose";
import { rowsInSight } from "../page/widgets/rows";

test("a piece is moved by its offset and the pose's, then turned about y, x and z", () => {
    const pose = { ...AT_REST, tx: 1, ty: -2, tz: 3, rx: 0.4, ry: -1.1, rz: 2.3 };
    const expected = new Matrix4().makeTranslation(11, 18, 33).multiply(new Matrix4().makeRotationFromEuler(new Euler(0.4, -1.1, 2.3, "YXZ")));
    pieceMatrix([10, 20, 30], pose).forEach((value, i) => assert.ok(Math.abs(value - expected.elements[i]!) < 1e-12, `element ${i}`));
    const point = new Vector3(0, 0, 1).applyMatrix4(new Matrix4().fromArray(pieceMatrix([0, 0, 0], { ...AT_REST, ry: Math.PI / 2 })));
    assert.ok(point.distanceTo(new Vector3(1, 0, 0)) < 1e-12, "a turn about y brings the front to x");
});

test("faces of a piece become one geometry, ordered by material, that knows each triangle's face", () => {
    const square = [0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 1];
    const floats = [new Float32Array(square), new Float32Array(18).fill(1), new Float32Array(12)];
    const face = (primIndex: number, material: number) =>
        ({ attributes: { POSITION: 0, COLOR_0: 1, TEXCOORD_0: 2 }, indices: 0, material, extras: { primIndex } });
    const joined = joinFaces([face(0, 2), face(1, 0), face(2, 2)], (i) => floats[i]!, () => new Uint16Array([0, 1, 2, 3, 4, 5]));
    assert.deepEqual(joined.groups, [{ start: 0, count: 6, material: 0 }, { start: 6, count: 12, material: 2 }]);
    assert.deepEqual([...joined.primIndices], [1, 1, 0, 0, 2, 2]);
    assert.deepEqual([...joined.normals.slice(0, 3)].map(Math.abs), [0, 1, 0]);
});

test("lines: of an instruction, of breakpoints, of the piece and the variables that they name", () => {
    const spans = [{ from: 0, to: 5, line: 6 }, { from: 6, to: 9, line: 8, file: "exp.h" }];
    assert.equal(spanAt(spans, 5)?.line, 6);
    assert.equal(spanAt(spans, 9)?.file, "exp.h");
    assert.equal(spanAt(spans, 10), undefined);
    assert.deepEqual(toggled([3, 20], 7), [3, 7, 20]);
    assert.deepEqual(toggled([3, 20], 20), [3]);
    const pieces = ["base", "turret", "Speed"];
    assert.equal(pieceNamedIn("\tturn TURRET to y-axis <30> speed <80>; // base", pieces), 1);
    assert.equal(pieceNamedIn("// turn turret", pieces), undefined);
    const symbols = { statics: [], scripts: [{ name: "AimPrimary", parameters: ["heading", "pitch"], locals: ["left"] }] };
    assert.deepEqual([0, 2, 3].map((i) => localName(symbols, "aimprimary", i)), ["heading", "left", "local 3"]);
    assert.equal(localName(undefined, "Create", 0), "local 0");
});

test("columns count bytes, places characters, and neither leaves its line", () => {
    const text = "piece ä;\nhide 𝄞 x;\n";
    assert.equal(text.slice(placeOf(text, 1, 9)), ";\nhide 𝄞 x;\n");
    assert.equal(text.slice(placeOf(text, 2, 11), -1), "x;");
    assert.equal(placeOf(text, 1, 900), 8);
    assert.equal(placeOf(text, 9, 1), text.length);
});

test("squiggles stand at the word; what is wrong in an included file stands in the first line", () => {
    const text = "piece ä;\nhide bass;\n";
    const found = (file: string, line: number, column: number) => ({ severity: "error" as const, code: "E09", message: "m", file, line, column });
    const marks = marksOf(text, [found("scripts/exp.h", 9, 3), found("scripts/A.bos", 2, 6)], "scripts/A.bos");
    assert.deepEqual(marks.map(({ from, to }) => text.slice(from, to)), ["piece", "bass"]);
    assert.deepEqual(marks.map(({ message }) => message), ["scripts/exp.h, line 9: E09: m", "E09: m"]);
});

test("as many ticks are due as time has passed, and a stall is not caught up with", () => {
    const { due } = createClock();
    assert.equal(due(0, 1), 0);
    let ticks = 0;
    for (let now = 16; now <= 2_016; now += 16) ticks += due(now, 1);
    assert.equal(ticks, 60);
    assert.equal(due(60_000, 1), 12);
    const slow = createClock();
    slow.due(0, 0.25);
    assert.deepEqual([slow.due(100, 0.25), slow.due(134, 0.25)], [0, 1]);
});

test("arguments are whole numbers, and what is none is named", () => {
    assert.deepEqual(readArguments(" 1, -2 0x10,-0x1 "), [1, -2, 16, -1]);
    assert.deepEqual(readArguments(""), []);
    assert.equal(readArguments("1 2.5"), "not a whole number: 2.5");
    assert.deepEqual(readArguments("-2147483648 2147483647 0xffffffff"), [-2147483648, 2147483647, -1]);
    for (const text of ["2147483648", "99999999999999999999", "0x100000000"]) assert.match(String(readArguments(text)),
        /^not between .*: /);
});

test("work that is asked for while it runs runs once more, and survives a failure", async () => {
    let runs = 0;
    const failures: string[] = [];
    let release = (): void => {};
    const load = newestNext(async () => {
        runs++;
        if (runs === 1) await new Promise<void>((resolve) => { release = resolve; });
        if (runs === 2) throw new Error("lost");
    }, (error) => failures.push(error.message));
    const all = [load(), load(), load()];
    release();
    await Promise.all(all);
    assert.deepEqual([runs, failures], [2, ["lost"]]);
    await load();
    assert.equal(runs, 3);
});

test("units are found by name, title and display name", () => {
    const unit = (name: string, side: string, title: string) => ({ name, side, title, displayName: name.toLowerCase(), buildPic: name });
    const units = [unit("FENWADE", "FEN", "Light Walker"), unit("KILCART", "KILN", "Wheeled Slinger")];
    assert.deepEqual(filterUnits(units, " sling ").map(({ name }) => name), ["KILCART"]);
    assert.deepEqual(filterUnits(units, "", "FEN").map(({ name }) => name), ["FENWADE"]);
    assert.equal(filterUnits(units, ""), units);
    assert.deepEqual([isBelow("/a/mod/x", "/a/mod"), isBelow("/a/mod2/x", "/a/mod"), isBelow("C:\\m\\x", "C:\\m"),
        isBelow("/x", "/")], [true, false, true, true]);
    assert.deepEqual(shortNames(["/a/mod", "/b/mod", "/b/other", "/c/"]), ["a/mod", "b/mod", "other", "c"]);
});

test("rows of a tree: open ones with their children, however deep", () => {
    interface Node { name: string; children: Node[] }
    let deep: Node = { name: "leaf", children: [] };
    for (let i = 0; i < 20_000; i++) deep = { name: `n${i}`, children: [deep] };
    const rows = (open: number, toggledNames: string[] = []) =>
        flattenTree([deep], ({ name }) => name, ({ children }) => children, open, new Set(toggledNames));
    assert.equal(rows(99_999).length, 20_001);
    assert.deepEqual(rows(1).map(({ key, isOpen }) => [key, isOpen]), [["n19999", true], ["n19998", false]]);
    assert.equal(rows(1, ["n19999"]).length, 1);
});

test("a list draws what is in sight and a little more, also when it has become shorter", () => {
    assert.deepEqual(rowsInSight({ first: 1_000, count: 30 }, 3_000), [988, 1_042]);
    assert.deepEqual(rowsInSight({ first: 1_000, count: 30 }, 40), [0, 40]);
    assert.deepEqual(rowsInSight({ first: 0, count: 30 }, 0), [0, 0]);
});

test("keys have names, and clashes and rows without a title are found", () => {
    const press = (key: string, with_: Partial<KeyboardEvent> = {}) =>
        nameOfKey({ key, ctrlKey: false, metaKey: false, altKey: false, shiftKey: false, ...with_ });
    assert.deepEqual([press("k", { ctrlKey: true }), press("k", { metaKey: true }), press("F10", { shiftKey: true }), press("?", { shiftKey: true }), press("L", { ctrlKey: true, shiftKey: true })],
        ["Ctrl+K", "Ctrl+K", "Shift+F10", "?", "Ctrl+Shift+L"]);
    const row = (id: string, key: string, where: "page" | "view", title = "t") => ({ id, key, where, title, run: () => {} });
    assert.deepEqual(findKeyFaults([row("a", "F", "page"), row("b", "F", "view"), row("c", "G", "view", "")]),
        ["c has no title", "F is a and b"]);
});

test("files that concern a unit: what it was loaded from, whatever its case", () => {
    const unit = { unitName: "FENWADE", source: { kind: "archive", path: "/m/x.ufo", internalPath: "units/a.fbi", inBaseTa: false },
        fbi: { objectname: "Walker", scriptname: "", script: "" }, sounds: { category: "", events: [{ event: "ok", name: "beep", count: 1 }] },
        weapons: [{ name: "A", missing: true }, { name: "B", sourcePath: "/m/weapons/b.tdf" }] } as unknown as LoadedUnit;
    assert.deepEqual(["/m/weapons/b.tdf", "/m/textures/any.gaf", "/m/sounds/Beep.wav", "/m/weapons/c.tdf", "/m/beep.fbi"].map((path) => concerns(path, unit)),
        [true, true, true, false, false]);
    assert.deepEqual(["/m/x.ufo", "/m/scripts/fenwade.BOS", "/m/objects3d/WALKER.3do", "/m/units/.fbi", "/m/unitpics/FENWADE.pcx", "/m/y.ufo"].map((path) => concerns(path, unit)),
        [true, true, true, false, false, false]);
});

test("what every object has is no key of a definition, a list of words tells equal ones apart", () => {
    const rows = definitionRows("[UNITINFO]{constructor=1;__proto__=2;toString=3;}", { name: "x" } as unknown as Fbi, { name: "x" } as unknown as Fbi);
    assert.deepEqual(rows.map(({ key, value, kind, baseline }) => [key, value, kind, baseline]), [["constructor", "1", "text", undefined],
        ["__proto__", "2", "text", undefined], ["toString", "3", "text", undefined], ["name", "x", "text", undefined]]);
    assert.deepEqual(distinct(["a", "b", "a"]), ["a", "b", "a (2)"]);
});

test("colours go to the picker and back", () => {
    assert.equal(hexOf({ r: 1, g: 254, b: 16 }), "#01fe10");
    assert.deepEqual(readHex("#01fe10"), { r: 1, g: 254, b: 16 });
});

test("lines of the log have time, level and text, and a crash is an error", () => {
    assert.deepEqual(readLogLine("[2026-11-22 00:02:30.852] [WARN] [mount] x", 1),
        { number: 1, time: "00:02:30.852", level: 2, text: "[mount] x" });
    assert.deepEqual([readLogLine("terminate called", 2).level, readLogLine("[d 0] [ODD] x", 3).level], [3, 1]);
    assert.equal(withPlurals("ORB-ready — 3 warning(s), 1 fault(s)"), "ORB-ready — 3 warnings, 1 fault");
});
