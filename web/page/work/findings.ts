// What is found at a model, one row a kind: from its own report, and from the analyses that were asked for.
import type { BleedThrough, DuplicateFaces, ModelPiece } from "protocol";
import type { FaceMark } from "../store/unit";

export interface Finding {
    kind: string;
    title: string;
    status: "info" | "warn" | "missing";
    /** Faces, or pieces where `faces` is empty. */
    count: number;
    faces: readonly FaceMark[];
    pieces: readonly number[];
    /** How much of it, by `faceKey`, where the analysis tells. */
    shares?: ReadonlyMap<string, number>;
}

export const faceKey = ({ pieceIndex, primIndex }: FaceMark): string => `${pieceIndex} ${primIndex}`;

/** A kind that stands not here is shown by its own name. */
const KINDS: Readonly<Record<string, { title: string; status: Finding["status"] }>> = {
    "bad-index": { title: "Corners without a vertex", status: "missing" },
    "degenerate": { title: "No area", status: "warn" },
    "non-planar": { title: "Not flat", status: "warn" },
    "concave": { title: "Bent inwards", status: "warn" },
    "duplicate": { title: "Twice the same face", status: "warn" },
    "overlap": { title: "Overlapping, flickers", status: "warn" },
    "missing-texture": { title: "Texture is missing", status: "missing" },
    "unused-vertex": { title: "Unused vertices", status: "info" },
    "no-selection": { title: "No selection plate", status: "warn" },
    "piece-name": { title: "Name of a piece", status: "warn" },
    "lost-pieces": { title: "Pieces that would be lost", status: "missing" },
    "unscripted-piece": { title: "Not in the script", status: "info" },
};

/** The kinds that the pieces report, in the order of the table. */
export function findingsOf(pieces: readonly ModelPiece[]): Finding[] {
    const there = pieces.flatMap(({ issues, faces }) => [...issues, ...faces.flatMap((face) => face.issues)]);
    return [...new Set([...Object.keys(KINDS), ...there])].flatMap((kind): Finding[] => {
        const has = (issues: readonly string[]): boolean => issues.includes(kind);
        const faces = pieces.flatMap((piece) => piece.faces.filter((face) => has(face.issues))
            .map(({ primIndex }) => ({ pieceIndex: piece.index, primIndex })));
        const own = pieces.filter((piece) => has(piece.issues)).map(({ index }) => index);
        const count = faces.length + own.length;
        return count === 0 ? [] : [{ kind, ...KINDS[kind] ?? { title: kind, status: "warn" }, count, faces, pieces: own }];
    });
}

const GROUPS = { same: "Same corners", opposite: "Back to back", overlap: "Overlapping" } as const;

/** One row for each kind of group. */
export function findingsOfDuplicates({ groups }: DuplicateFaces): Finding[] {
    return (["same", "opposite", "overlap"] as const).flatMap((kind): Finding[] => {
        const found = groups.filter((group) => group.kind === kind);
        const faces = found.flatMap(({ pieceIndex, faces: prims }) => prims.map((primIndex) => ({ pieceIndex, primIndex })));
        const shares = new Map(found.flatMap(({ pieceIndex, faces: prims, share }) =>
            prims.map((primIndex): [string, number] => [faceKey({ pieceIndex, primIndex }), share])));
        const fixKind = kind === "same" ? "duplicate" : kind;
        return found.length === 0 ? [] : [{ kind: fixKind, title: GROUPS[kind], status: "warn", count: faces.length, faces, pieces: [], shares }];
    });
}

export function findingOfBleedThrough({ faces: found }: BleedThrough): Finding {
    const faces = found.map(({ pieceIndex, primIndex }) => ({ pieceIndex, primIndex }));
    return {
        kind: "seen-through", title: "Looked through from behind", status: found.length > 0 ? "warn" : "info", count: found.length, faces,
        pieces: [], shares: new Map(found.map((face) => [faceKey(face), face.share])),
    };
}
