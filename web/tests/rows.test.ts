// What panes list, as functions over replies.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { Conflict, HealthCheck, UnitDependencies } from "protocol";
import { conflictTree } from "../page/work/conflict_tree";
import { dependencyTree, type DependencyNode } from "../page/work/dependency_rows";
import { healthRows } from "../page/work/health_rows";
import { hexRows } from "../page/work/hex";
import { filesNamed, nodesOf, placeOfLocation } from "../page/work/locations";

const check = (status: HealthCheck["status"], ref: string, isSuppressed?: true): HealthCheck =>
    ({ category: "COB lint", ref, status, detail: "", ...(isSuppressed ? { isSuppressed } : {}) });

test("sorts health by what it means for the unit, suppressed rows last", () => {
    const rows = healthRows([check("ok", "a"), check("warn", "b", true), check("info", "c"), check("warn", "d"), check("missing", "e"), check("warn", "d")], true);
    assert.deepEqual(rows.map(({ status, check: { ref } }) => `${status} ${ref}`),
        ["missing e", "warn d", "warn d", "info c", "ok a", "suppressed b"]);
    assert.equal(new Set(rows.map(({ key }) => key)).size, rows.length, "rows that say the same have keys of their own");
    assert.deepEqual(healthRows([check("ok", "a")], false), []);
});

test("lists conflicts by kind, what is declared twice first", () => {
    const missing = (unitName: string): Conflict =>
        ({ kind: "missing-3do", severity: "warn", detail: "no model", unitName, unitFile: "u" });
    const tree = conflictTree([missing("B"), missing("A"), { kind: "unit-name-collision", severity: "warn", detail: "twice", unitName: "C", files: ["1", "2"] }], "");
    assert.deepEqual(tree.map(({ text, children }) => [text, ...children.map((one) => one.text)]),
        [["Units declared more than once", "C"], ["Models that are missing", "B", "A"]]);
    assert.deepEqual(conflictTree([missing("B"), missing("A")], "a").map(({ children }) => children.length), [1]);
});

const dump = (nodes: readonly DependencyNode[], indent = ""): string[] =>
    nodes.flatMap((one) => [`${indent}${one.status ? `${one.status} ` : ""}${one.text}`, ...dump(one.children, `${indent}  `)]);

test("shows what each unit needs, what is missing and what is damaged", () => {
    const source = { kind: "loose" as const, path: "p", inBaseTa: false };
    const needed: UnitDependencies = {
        units: ["ONE", "TWO"], totalSize: 3,
        files: [{ path: "units/ONE.fbi", roles: ["definition"], usedBy: ["ONE"], source, size: 1 },
            { path: "both.tdf", roles: ["weapon", "feature"], usedBy: ["one", "TWO"], source, size: 2 }],
        missing: [{ role: "weapon", name: "LASER", usedBy: ["TWO"] }], damaged: [{ path: "BOTH.TDF", message: "cut" }],
    };
    assert.deepEqual(dump(dependencyTree(needed)), [
        "warn ONE", "  definition", "    units/ONE.fbi", "  warn weapon", "    warn both.tdf", "  warn feature", "    warn both.tdf",
        "missing TWO", "  missing weapon", "    warn both.tdf", "    missing LASER", "  warn feature", "    warn both.tdf",
    ]);
});

test("finds files in archives and folders", () => {
    const file = (name: string) => ({ name, size: 1, compressed: false });
    const root = { name: "", files: [file("b.txt")], directories: [{ name: "Sub", files: [file("A.3do"), file("b.TXT")], directories: [] }] };
    assert.deepEqual(nodesOf(root, "").map(({ path }) => path), ["Sub", "b.txt"]);
    assert.deepEqual(filesNamed(root, "B.T", 10).map(({ name }) => name), ["Sub/b.TXT", "b.txt"]);
    assert.equal(filesNamed(root, "", 1).length, 1);
    assert.deepEqual(placeOfLocation("/a/b.ufo :: units/X.fbi"), { path: "/a/b.ufo", internalPath: "units/X.fbi" });
    assert.deepEqual(placeOfLocation("/a/units/X.fbi"), { path: "/a/units", internalPath: "X.fbi" });
    assert.deepEqual(hexRows("414200ff"), [{ offset: "0000", hex: "41 42 00 ff", text: "AB.." }]);
    assert.equal(hexRows("00".repeat(17)).length, 2);
});
