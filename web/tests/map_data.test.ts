// What of maps is data: no browser.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { MapUnit } from "protocol";
import { groundGeometry, heightAt, type Heights } from "../page/work/ground";
import { NOTHING, placingFault, spawnAt } from "../page/work/placing";
import { buildOrder, describeEvent, describeState, meantBy, ORDERS, readPlace } from "../page/work/map_orders";

const flat = (columns: number, rows: number, height: (x: number, z: number) => number): Heights => ({
    columns, rows, cellSize: 16, bytes: Uint8Array.from({ length: columns * rows }, (_, i) => height(i % columns, Math.floor(i / columns))),
});

test("the ground reaches to the map's edges, is coarser for large maps and faces upwards", () => {
    const small = groundGeometry(flat(3, 2, (x, z) => x * 10 + z));
    assert.equal(small.positions.length, 4 * 3 * 3);
    assert.deepEqual([...small.positions.slice(0, 12)], [0, 0, 0, 16, 10, 0, 32, 20, 0, 48, 20, 0]);
    assert.deepEqual([...small.texCoords.slice(-2)], [1, 1]);
    assert.deepEqual([...small.indices.slice(0, 3)], [0, 4, 1], "counter-clockwise seen from above");
    const large = groundGeometry(flat(2047, 1000, () => 7));
    assert.ok(large.positions.length <= 257 * 257 * 3);
    assert.equal(Math.max(...large.positions.filter((_, i) => i % 3 === 0)), 2047 * 16);
});

test("between the corners of a cell the ground runs straight", () => {
    const heights = flat(3, 3, (x, z) => x * 16 + z * 32);
    assert.equal(heightAt(heights, 8, 0), 8);
    assert.equal(heightAt(heights, 8, 8), 24);
    assert.equal(heightAt(heights, 500, -3), 32, "beyond the edge it goes on level");
});

const row = (order: string) => ORDERS.find((one) => one.order === order)!;
const WORDS = { value: "", unit: "", count: "", script: "", args: "" };

test("orders become requests, or say what they need", () => {
    assert.deepEqual(buildOrder(row("move"), [], WORDS, false), { missing: "Choose units: click them on the map or in the list" });
    assert.deepEqual(buildOrder(row("move"), [1, 2], WORDS, true, { x: 5, z: 6, unitId: 9 }), { order: { unitIds: [1, 2], order: "move", queue: true, x: 5, z: 6 } });
    assert.deepEqual(buildOrder(row("attack"), [1], WORDS, false, { x: 5, z: 6, unitId: 9 }), { order: { unitIds: [1], order: "attack", target: 9 } });
    assert.deepEqual(buildOrder(row("attack"), [1], WORDS, false, { x: 5, z: 6 }), { order: { unitIds: [1], order: "attack", x: 5, z: 6 } });
    assert.deepEqual(buildOrder(row("guard"), [1], WORDS, false, { x: 5, z: 6 }), { missing: "Guard: click a unit" });
    assert.deepEqual(buildOrder(row("kill"), [1], { ...WORDS, value: "40" }, false), { order: { unitIds: [1], order: "kill", value: 40 } });
    assert.deepEqual(buildOrder(row("build"), [1], { ...WORDS, unit: " FENDIG " }, false, { x: 5, z: 6, unitId: 9 }), { order: { unitIds: [1], order: "build", unit: "FENDIG", x: 5, z: 6 } });
    assert.deepEqual(buildOrder(row("build"), [1], { ...WORDS, unit: "FENWADE", count: "3" }, true, { x: 5, z: 6 }), { order: { unitIds: [1], order: "build", unit: "FENWADE", count: 3, queue: true, x: 5, z: 6 } });
    assert.deepEqual(buildOrder(row("build"), [1], WORDS, false, { x: 5, z: 6 }), { missing: "Name the unit that is built" });
    assert.deepEqual(buildOrder(row("repair"), [1], WORDS, false, { x: 5, z: 6, unitId: 9 }), { order: { unitIds: [1], order: "repair", target: 9 } });
    assert.deepEqual(["load", "unload", "cloak", "decloak"].map((word) =>
        buildOrder(row(word), [1], WORDS, false, { x: 5, z: 6, unitId: 9 })), [
        { order: { unitIds: [1], order: "load", target: 9 } }, { order: { unitIds: [1], order: "unload", x: 5, z: 6 } },
        { order: { unitIds: [1], order: "cloak" } }, { order: { unitIds: [1], order: "decloak" } }]);
    assert.deepEqual(buildOrder(row("selfDestruct"), [1], WORDS, false), { order: { unitIds: [1], order: "selfDestruct" } });
    assert.deepEqual(buildOrder(row("script"), [1], { ...WORDS, script: "Walk", args: "1 0x10" }, false), { order: { unitIds: [1], order: "script", name: "Walk", args: [1, 16] } });
    assert.deepEqual(buildOrder(row("script"), [1], { ...WORDS, script: "Walk", args: "x" }, false), { missing: "not a whole number: x" });
});

test("a place is typed as two numbers or as a unit", () => {
    const units = [{ unitId: 6, x: 100, z: 200 }];
    assert.equal(readPlace(" ", units), undefined);
    assert.deepEqual(readPlace("12, 30.5", units), { x: 12, z: 30.5 });
    assert.deepEqual(readPlace("# 6", units), { x: 100, z: 200, unitId: 6 });
    assert.deepEqual(["#7", "12", "1 2 3", "a b"].map((text) => readPlace(text, units)),
        ["no unit 7", ...Array.from({ length: 3 }, () => "not a place: two numbers, or # and a unit's id")]);
});

test("a unit's state tells what it is at, and whether it hides or is stunned", () => {
    const unit = { state: "idle", buildFraction: 1, queued: 0 } as MapUnit;
    assert.deepEqual([
        unit, { ...unit, state: "nanoframe", buildFraction: 0.5, queued: 2 },
        { ...unit, state: "loading", order: "unload", queued: 2 },
        { ...unit, order: "attack", cloaked: true, stunned: 2.1 },
    ].map((one) => describeState(one as MapUnit)), [
        "idle", "frame, 50 % built", "unload, 2 queued", "attack, cloaked, stunned 3 s"]);
});

test("a click with the right button means attack, guard or move", () => {
    const units = [{ unitId: 1, player: 1 }, { unitId: 2, player: 1 }, { unitId: 3, player: 2 }] as MapUnit[];
    const words = [undefined, 1, 2, 3].map((unitId) => meantBy({ x: 0, z: 0, ...(unitId === undefined ? {} : { unitId }) }, units, [1]).order);
    assert.deepEqual(words, ["move", "move", "guard", "attack"]);
    assert.equal(describeEvent({ kind: "hit", tick: 1, x: 0, y: 0, z: 0, weapon: "DART", damaged: [{ unitId: 3, damage: 12.4 }] }), "DART hit 3 (−12)");
    assert.equal(describeEvent({ kind: "order-done", tick: 1, order: "move", reached: false }), "move: done, not reached");
});

test("what is typed for placing is kept as it is, and what is wrong with it is said", () => {
    assert.deepEqual(spawnAt({ ...NOTHING, name: "A", heading: "-90", count: "" }, 1, 2),
        { unit: "A", x: 1, z: 2, player: 1, count: 1, heading: -Math.PI / 2, health: 100, buildFraction: 1 });
    assert.deepEqual(spawnAt({ ...NOTHING, kind: "feature", name: "Tree", count: "x" }, 1, 2), { feature: "Tree", x: 1, z: 2 });
    const faults = [{ name: "" }, { count: "5000" }, { count: "1.5" }, { health: "-" }, { where: "1" }]
        .map((part) => placingFault({ ...NOTHING, name: "A", ...part }, []));
    assert.deepEqual(faults, ["Name a unit", "Count: 1 to 1,000", "Count: not a whole number", "Health: not a number",
        "not a place: two numbers, or # and a unit's id"]);
    assert.throws(() => spawnAt({ ...NOTHING, name: "A", built: "101" }, 0, 0), /^Error: Built: 0 to 100$/);
});
