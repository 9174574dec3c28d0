// What of models and textures is data: no browser.
import assert from "node:assert/strict";
import { test } from "node:test";
import type { ModelFace, ModelFix, ModelPiece } from "protocol";
import { findingsOf, findingsOfDuplicates } from "../page/work/findings";
import { buildFix, cornersOf, facesConcerned, FIXES, type FixInput, sayConcerned } from "../page/work/model_fixes";
import { EVERY_INDEX, isTeamIndex, withChange } from "../page/work/team_bands";
import { asSaved, NO_FIXES, withAgain, withFix, withoutLast } from "../page/work/unsaved_fixes";

const face = (primIndex: number, more: Partial<ModelFace> = {}): ModelFace => ({
    primIndex, indices: [0, 1, 2], flags: [false, false, false], isTwin: false, isSelection: false, normal: [0, 1, 0], area: 1, issues: [], ...more,
});
const piece = (index: number, faces: ModelFace[], issues: ModelPiece["issues"] = []): ModelPiece =>
    ({ index, name: `p${index}`, position: [0, 0, 0], vertices: [], faces, issues });
const PIECES = [
    piece(0, [face(0, { isSelection: true, issues: ["degenerate"] }), face(1, { texture: "Fen" })]),
    piece(1, [face(0, { issues: ["concave"] }), face(1, { isTwin: true, indices: [2, 3, 4] }), face(2, { texture: "fen", issues: ["concave"] })], ["unused-vertex"]),
];
const input = (more: Partial<FixInput> = {}): FixInput => ({ faces: [], piece: undefined, corners: [], position: [1, 2, 3], words: {}, ...more });

test("every fix is built of what is chosen, or says what is missing", () => {
    const whole = input({
        faces: [{ pieceIndex: 1, primIndex: 2 }], piece: 1, corners: [2, 3],
        words: { tolerance: "0.5", by: "2", texture: "FEN", color: "7", from: "A", to: "B", x: "1.5", factor: "2", name: "n" },
    });
    for (const { kind } of FIXES) assert.ok("fix" in buildFix(kind, whole), kind);
    assert.deepEqual(buildFix("move-vertices", whole), { fix: { kind: "move-vertices", piece: 1, vertices: [2, 3], by: [1.5, 0, 0] } });
    assert.deepEqual(buildFix("move-piece", whole), { fix: { kind: "move-piece", piece: 1, position: [1.5, 2, 3] } });
    assert.deepEqual(buildFix("add-twins", input()), { fix: { kind: "add-twins" } });
    for (const [kind, missing] of [["flip-faces", "Choose faces: click them in the 3D view or in the list"], ["rename-piece", "Choose a piece"],
        ["scale", "Name the factor"]] as const) assert.deepEqual(buildFix(kind, input()), { missing });
    assert.deepEqual(buildFix("scale", input({ words: { factor: "x" } })), { missing: "Factor: not a number" });
    assert.deepEqual(buildFix("set-color", { ...whole, words: { color: "1.5" } }), { missing: "Palette index: not a whole number" });
});

test("the faces that a fix concerns are known before it is made", () => {
    const of = (...args: Parameters<typeof buildFix>): string => {
        const built = buildFix(...args);
        return "fix" in built ? facesConcerned(built.fix, PIECES).map((one) => `${one.pieceIndex}.${one.primIndex}`).join(" ") : built.missing;
    };
    assert.equal(of("remove-degenerate", input()), "", "the selection plate stays");
    assert.equal(of("triangulate", input()), "1.0", "only those without texture");
    assert.equal(of("replace-texture", input({ words: { from: "FEN", to: "X" } })), "0.1 1.2");
    assert.equal(of("remove-twins", input()), "1.1");
    assert.equal(of("scale", input({ words: { factor: "2" }, piece: 1 })), "1.0 1.1 1.2");
    assert.equal(of("flip-faces", input({ faces: [{ pieceIndex: 0, primIndex: 1 }] })), "0.1");
    assert.equal(sayConcerned({ kind: "remove-twins" }, [{ pieceIndex: 1, primIndex: 1 }]), "Concerns 1 face of 1 piece: they are lit up.");
    assert.deepEqual(cornersOf(PIECES, [{ pieceIndex: 1, primIndex: 1 }, { pieceIndex: 0, primIndex: 1 }], 1), [2, 3, 4]);
});

test("findings gather faces and pieces by kind", () => {
    assert.deepEqual(findingsOf(PIECES).map(({ kind, faces, pieces }) => [kind, faces.length, pieces.length]),
        [["degenerate", 1, 0], ["concave", 2, 0], ["unused-vertex", 0, 1]]);
    const groups = [{ piece: "p0", pieceIndex: 0, kind: "same" as const, faces: [1, 2], share: 1 }, { piece: "p1", pieceIndex: 1, kind: "overlap" as const, faces: [0, 1], share: 0.25 }];
    assert.deepEqual(findingsOfDuplicates({ groups, faceCount: 4 }).map(({ kind, faces, shares }) => [kind, faces.length, shares?.get("1 0")]),
        [["duplicate", 2, undefined], ["overlap", 2, 0.25]]);
});

test("changes of colours stay one for each index, in order", () => {
    assert.equal(EVERY_INDEX.length, 256);
    assert.deepEqual([95, 96, 111, 112, 224, 229, 230].map(isTeamIndex), [false, true, true, false, true, true, false]);
    const two = withChange(withChange([], 100, 5), 7, 9);
    assert.deepEqual(two, [{ from: 7, to: 9 }, { from: 100, to: 5 }]);
    assert.deepEqual(withChange(two, 100, 100), [{ from: 7, to: 9 }]);
});

test("what is unsaved of a model is known until a step that is in its file is undone", () => {
    const [one, two]: ModelFix[] = [{ kind: "scale", factor: 1 }, { kind: "scale", factor: 2 }];
    const made = withFix(withFix(NO_FIXES, one!), two!);
    assert.deepEqual(withoutLast(made), { made: [one], undone: [two] });
    assert.deepEqual(withAgain(withoutLast(made)), made);
    assert.deepEqual(withFix(withoutLast(made), one!), { made: [one, one], undone: [] });
    assert.deepEqual(withAgain(asSaved(withoutLast(made))), { made: [two], undone: [] });
    assert.equal(withFix(withoutLast(asSaved(made)), one!).made, undefined);
});
