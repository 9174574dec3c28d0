// The fixes of a model: what each takes, which faces it concerns, and what is still missing before it can be made.
import type { FaceIssue, ModelFace, ModelFix, ModelPiece, PieceIssue } from "protocol";
import type { FaceMark } from "../store/unit";
import { counted } from "./words";

export type FixKind = ModelFix["kind"];

/** What is typed for a fix, beside the faces and the piece that are chosen. */
export type FixWord = "tolerance" | "by" | "texture" | "color" | "from" | "to" | "vertices" | "x" | "y" | "z" | "factor" | "name";

export interface FixInput {
    /** The chosen faces; none means all that the fix is made for. */
    faces: readonly FaceMark[];
    piece: number | undefined;
    /** Vertices of that piece that are corners of the chosen faces. */
    corners: readonly number[];
    /** Of that piece, from its parent. */
    position: readonly [x: number, y: number, z: number];
    words: Readonly<Partial<Record<FixWord, string>>>;
}

interface FixRow {
    kind: FixKind;
    title: string;
    /** One sentence on what it does. */
    note: string;
    /** "some": without any it takes all that fit. */
    faces?: "some" | "needed";
    piece?: "some" | "needed";
    words?: readonly FixWord[];
    build: (input: FixInput) => ModelFix;
}

export const FIXES: readonly FixRow[] = [
    { kind: "add-twins", title: "Add backs", faces: "some",
        note: "Each face gets a twin that is seen from behind; without chosen faces those that one looks through from above.",
        build: (input) => ({ kind: "add-twins", ...someFaces(input) }) },
    { kind: "remove-twins", title: "Remove backs", faces: "some", note: "Takes twins away; without chosen faces all of them.",
        build: (input) => ({ kind: "remove-twins", ...someFaces(input) }) },
    { kind: "flip-faces", title: "Turn faces over", faces: "needed", note: "The other side is seen then.",
        build: (input) => ({ kind: "flip-faces", faces: theFaces(input) }) },
    { kind: "delete-faces", title: "Delete faces", faces: "needed", note: "Their vertices stay.",
        build: (input) => ({ kind: "delete-faces", faces: theFaces(input) }) },
    { kind: "remove-duplicates", title: "Remove duplicates", faces: "some", words: ["tolerance"], note: "Of faces with the same corners the first stays.",
        build: (input) => ({ kind: "remove-duplicates", ...someFaces(input), ...tolerance(input) }) },
    { kind: "remove-degenerate", title: "Remove degenerate faces", note: "Those without area; the selection plate stays.",
        build: () => ({ kind: "remove-degenerate" }) },
    { kind: "triangulate", title: "Cut into triangles", faces: "some", note: "Without chosen faces the untextured ones that are not flat, or bent inwards.",
        build: (input) => ({ kind: "triangulate", ...someFaces(input) }) },
    { kind: "turn-corners", title: "Turn the texture", faces: "needed", words: ["by"], note: "So many corners on is the first corner then.",
        build: (input) => ({ kind: "turn-corners", faces: theFaces(input), by: whole(input, "by", 1) }) },
    { kind: "set-texture", title: "Set the texture", faces: "needed", words: ["texture"], note: "All chosen faces get it.",
        build: (input) => ({ kind: "set-texture", faces: theFaces(input), texture: word(input, "texture") }) },
    { kind: "set-color", title: "Set the colour", faces: "needed", words: ["color"], note: "A palette index in place of a texture.",
        build: (input) => ({ kind: "set-color", faces: theFaces(input), color: whole(input, "color") }) },
    { kind: "replace-texture", title: "Replace a texture", words: ["from", "to"], note: "On all faces of the unit.",
        build: (input) => ({ kind: "replace-texture", from: word(input, "from"), to: word(input, "to") }) },
    { kind: "remove-unused-vertices", title: "Remove unused vertices", piece: "some", note: "Pieces without faces keep theirs: effects start there.",
        build: (input) => ({ kind: "remove-unused-vertices", ...somePiece(input) }) },
    { kind: "weld-vertices", title: "Weld vertices", piece: "some", words: ["tolerance"], note: "Vertices in one place become one.",
        build: (input) => ({ kind: "weld-vertices", ...somePiece(input), ...tolerance(input) }) },
    { kind: "move-vertices", title: "Move vertices", piece: "needed", words: ["vertices", "x", "y", "z"],
        note: "Of the chosen piece; without numbers the corners of the chosen faces.",
        build: (input) => ({ kind: "move-vertices", piece: thePiece(input), vertices: theVertices(input), by: point(input, [0, 0, 0]) }) },
    { kind: "scale", title: "Scale", piece: "some", words: ["factor"], note: "The unit, or a piece and what hangs from it.",
        build: (input) => ({ kind: "scale", factor: number(input, "factor"), ...somePiece(input) }) },
    { kind: "rename-piece", title: "Rename the piece", piece: "needed", words: ["name"], note: "Scripts find pieces by their names.",
        build: (input) => ({ kind: "rename-piece", piece: thePiece(input), name: word(input, "name") }) },
    { kind: "move-piece", title: "Move the piece", piece: "needed", words: ["x", "y", "z"], note: "To a place counted from its parent; what is empty stays.",
        build: (input) => ({ kind: "move-piece", piece: thePiece(input), position: point(input, input.position) }) },
    { kind: "set-selection", title: "Make the face the selection plate", faces: "needed", note: "The one chosen face; the game draws the selection by it.",
        build: (input) => {
            const [face, ...more] = theFaces(input);
            if (more.length > 0) throw new Error("Choose one face only");
            return { kind: "set-selection", ...face! };
        } },
    { kind: "make-selection", title: "Make a selection plate", note: "As large as the footprint, on the ground.",
        build: () => ({ kind: "make-selection" }) },
];

/** The fix that mends a finding, where there is one. */
export const FIX_FOR: Readonly<Partial<Record<FaceIssue | PieceIssue | "seen-through" | "opposite", FixKind>>> = {
    "degenerate": "remove-degenerate", "non-planar": "triangulate", "concave": "triangulate", "duplicate": "remove-duplicates",
    "overlap": "delete-faces", "bad-index": "delete-faces", "missing-texture": "set-texture", "unused-vertex": "remove-unused-vertices",
    "no-selection": "make-selection", "piece-name": "rename-piece", "seen-through": "add-twins",
};

/** The fix, or what it still needs. */
export function buildFix(kind: FixKind, input: FixInput): { fix: ModelFix } | { missing: string } {
    try {
        return { fix: FIXES.find((row) => row.kind === kind)!.build(input) };
    } catch (error) {
        return { missing: error instanceof Error ? error.message : String(error) };
    }
}

/** Vertices of a piece that are corners of those of its faces that are chosen. */
export function cornersOf(pieces: readonly ModelPiece[], faces: readonly FaceMark[], piece: number | undefined): number[] {
    const chosen = new Set(faces.filter(({ pieceIndex }) => pieceIndex === piece).map(({ primIndex }) => primIndex));
    const known = piece === undefined ? undefined : pieces[piece];
    return [...new Set(known?.faces.filter(({ primIndex }) => chosen.has(primIndex)).flatMap(({ indices }) => indices))];
}

type FaceTest = (face: ModelFace, piece: ModelPiece) => boolean;

/** The faces that a fix changes, for showing them before it is made. */
export function facesConcerned(fix: ModelFix, pieces: readonly ModelPiece[]): FaceMark[] {
    const test = concerns(fix);
    return pieces.flatMap((piece) => piece.faces.filter((face) => test(face, piece))
        .map(({ primIndex }) => ({ pieceIndex: piece.index, primIndex })));
}

function concerns(fix: ModelFix): FaceTest {
    if ("faces" in fix && fix.faces) {
        const keys = new Set(fix.faces.map(({ piece, primIndex }) => `${piece} ${primIndex}`));
        return ({ primIndex }, { index }) => keys.has(`${index} ${primIndex}`);
    }
    switch (fix.kind) {
        case "remove-twins": return ({ isTwin }) => isTwin;
        case "remove-duplicates": return ({ issues }) => issues.includes("duplicate");
        case "remove-degenerate": return ({ issues, isSelection }) => !isSelection && issues.includes("degenerate");
        case "triangulate": return ({ issues, texture }) => texture === undefined && (issues.includes("non-planar") || issues.includes("concave"));
        case "replace-texture": return ({ texture }) => texture?.toLowerCase() === fix.from.toLowerCase();
        case "move-vertices": return ({ indices }, { index }) => index === fix.piece && indices.some((i) => fix.vertices.includes(i));
        case "set-selection": return ({ primIndex }, { index }) => index === fix.piece && primIndex === fix.primIndex;
        case "scale": case "weld-vertices": case "remove-unused-vertices": case "rename-piece": case "move-piece":
            return (_, { index }) => fix.piece === undefined || fix.piece === index;
        default: return () => false;
    }
}

/** What will change, in a sentence. */
export function sayConcerned(fix: ModelFix, faces: readonly FaceMark[]): string {
    if (fix.kind === "make-selection") return "Changes the selection plate.";
    if (fix.kind === "add-twins" && !fix.faces) return "Concerns whatever one looks through from above.";
    const pieces = new Set(faces.map(({ pieceIndex }) => pieceIndex)).size;
    return faces.length === 0 ? "Concerns no face." : `Concerns ${counted(faces.length, "face")} of ${counted(pieces, "piece")}: they are lit up.`;
}

const keysOf = (faces: readonly FaceMark[]) => faces.map(({ pieceIndex, primIndex }) => ({ piece: pieceIndex, primIndex }));
const someFaces = ({ faces }: FixInput) => faces.length > 0 ? { faces: keysOf(faces) } : {};
const somePiece = ({ piece }: FixInput) => piece === undefined ? {} : { piece };

function theFaces({ faces }: FixInput) {
    if (faces.length === 0) throw new Error("Choose faces: click them in the 3D view or in the list");
    return keysOf(faces);
}

function thePiece({ piece }: FixInput): number {
    if (piece === undefined) throw new Error("Choose a piece");
    return piece;
}

const NAMES: Readonly<Record<FixWord, string>> = {
    tolerance: "tolerance", by: "corners", texture: "texture", color: "palette index", from: "texture that goes", to: "texture that comes",
    vertices: "vertices", x: "x", y: "y", z: "z", factor: "factor", name: "name",
};

export const wordTitle = (name: FixWord): string => NAMES[name][0]!.toUpperCase() + NAMES[name].slice(1);

function word({ words }: FixInput, name: FixWord): string {
    const text = (words[name] ?? "").trim();
    if (text === "") throw new Error(`Name the ${NAMES[name]}`);
    return text;
}

function number({ words }: FixInput, name: FixWord, usual?: number): number {
    const text = (words[name] ?? "").trim();
    const value = text === "" && usual !== undefined ? usual : Number(text);
    if (text === "" && usual === undefined) throw new Error(`Name the ${NAMES[name]}`);
    if (!Number.isFinite(value)) throw new Error(`${wordTitle(name)}: not a number`);
    return value;
}

function whole(input: FixInput, name: FixWord, usual?: number): number {
    const value = number(input, name, usual);
    if (!Number.isInteger(value)) throw new Error(`${wordTitle(name)}: not a whole number`);
    return value;
}

function numbers({ words }: FixInput, name: FixWord): number[] {
    const parts = (words[name] ?? "").split(/[\s,]+/).filter(Boolean);
    if (parts.some((part) => !/^\d+$/.test(part))) throw new Error(`${wordTitle(name)}: whole numbers between blanks`);
    return parts.map(Number);
}

function theVertices(input: FixInput): number[] {
    const named = numbers(input, "vertices");
    const vertices = named.length > 0 ? named : [...input.corners];
    if (vertices.length === 0) throw new Error("Name vertices, or choose faces of the piece");
    return vertices;
}

const point = (input: FixInput, [x, y, z]: readonly [number, number, number]): [number, number, number] =>
    [number(input, "x", x), number(input, "y", y), number(input, "z", z)];
const tolerance = (input: FixInput) => input.words.tolerance?.trim() ? { tolerance: number(input, "tolerance") } : {};
