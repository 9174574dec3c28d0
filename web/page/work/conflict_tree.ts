import type { Conflict } from "protocol";

export interface ConflictNode {
    key: string;
    text: string;
    note: string;
    severity: Conflict["severity"];
    /** Absent for a kind. */
    conflict?: Conflict;
    children: ConflictNode[];
}

const KINDS: Record<Conflict["kind"], string> = {
    "unit-name-collision": "Units declared more than once",
    "weapon-name-collision": "Weapons declared more than once",
    "missing-3do": "Models that are missing",
    "missing-cob": "Scripts that are missing",
    "missing-weapon-ref": "Weapons that are missing",
    "missing-buildpic": "Build pictures that are missing",
    "missing-corpse": "Wrecks that are missing",
    "missing-explode-as": "Explosions that are missing",
};

const nameOfConflict = (one: Conflict): string => one.kind === "weapon-name-collision" ? one.asset : one.unitName;

/** By kind, warnings before notes; within a kind as found. */
export function conflictTree(found: readonly Conflict[], search: string): ConflictNode[] {
    const text = search.trim().toLowerCase();
    const shown = found.filter((one) => text === "" || `${nameOfConflict(one)} ${one.detail}`.toLowerCase().includes(text));
    return (Object.keys(KINDS) as Conflict["kind"][]).flatMap((kind): ConflictNode[] => {
        const inside = shown.filter((one) => one.kind === kind);
        const [first] = inside;
        if (!first) return [];
        return [{
            key: kind, text: KINDS[kind], note: String(inside.length), severity: first.severity,
            children: inside.map((conflict, i) => ({
                key: `${kind}|${nameOfConflict(conflict)}|${i}`, text: nameOfConflict(conflict), note: conflict.detail,
                severity: conflict.severity, conflict, children: [],
            })),
        }];
    });
}
