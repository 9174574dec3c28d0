// Two changed texts and what both came from: lines that only one side changed are taken from it. Lines end in "\n".
import { type Change, diff } from "@codemirror/merge";

export type MergePart =
    | { kind: "agreed"; lines: string[] }
    | { kind: "conflict"; base: string[]; mine: string[]; theirs: string[] };

export type Choice = "mine" | "theirs" | "both";

interface LineChange {
    from: number;
    to: number;
    /** By how much the side's text is longer afterwards. */
    delta: number;
    isMine: boolean;
}

/** Nothing that either side wrote is lost: where both changed the same lines in different ways, they are a conflict. */
export function merge3(base: string, mine: string, theirs: string): MergePart[] {
    const [baseLines, mineLines, theirLines] = [base.split("\n"), mine.split("\n"), theirs.split("\n")];
    const letters = new Map<string, string>();
    const changesTo = (lines: string[], isMine: boolean): LineChange[] => lineChanges(baseLines, lines, letters)
        .map(({ fromA, toA, fromB, toB }) => ({ from: fromA, to: toA, delta: (toB - fromB) - (toA - fromA), isMine }));
    const changes = [...changesTo(mineLines, true), ...changesTo(theirLines, false)]
        .sort((a, b) => a.from - b.from || a.to - b.to);
    const parts: MergePart[] = [];
    const agree = (lines: string[]): void => {
        const last = parts.at(-1);
        if (last?.kind === "agreed") last.lines.push(...lines);
        else if (lines.length > 0) parts.push({ kind: "agreed", lines });
    };
    let at = 0;
    let [mineShift, theirShift] = [0, 0];
    for (let i = 0; i < changes.length;) {
        const { from } = changes[i]!;
        let to = from;
        let [mineDelta, theirDelta] = [0, 0];
        let [isMine, isTheirs] = [false, false];
        for (; i < changes.length && belongs(changes[i]!, from, to, isMine || isTheirs); i++) {
            const one = changes[i]!;
            to = Math.max(to, one.to);
            if (one.isMine) { isMine = true; mineDelta += one.delta; } else { isTheirs = true; theirDelta += one.delta; }
        }
        agree(baseLines.slice(at, from));
        const mineHere = mineLines.slice(from + mineShift, to + mineShift + mineDelta);
        const theirsHere = theirLines.slice(from + theirShift, to + theirShift + theirDelta);
        if (!isTheirs || sameLines(mineHere, theirsHere)) agree(mineHere);
        else if (!isMine) agree(theirsHere);
        else parts.push({ kind: "conflict", base: baseLines.slice(from, to), mine: mineHere, theirs: theirsHere });
        mineShift += mineDelta;
        theirShift += theirDelta;
        at = to;
    }
    agree(baseLines.slice(at));
    return parts;
}

/** Whether a change meets what has been gathered: it overlaps, or both only insert at the same place. */
function belongs(next: LineChange, from: number, to: number, hasAny: boolean): boolean {
    return !hasAny || next.from < to || (from === to && next.from === from && next.to === from);
}

/** The changed lines, each line a letter so that whole lines are compared. */
export function lineChanges(
    before: readonly string[], after: readonly string[], letters = new Map<string, string>(),
): readonly Change[] {
    return diff(spell(before, letters), spell(after, letters));
}

/** So many lines can differ from one another; letters that are half a character are left out. */
const FIRST_LETTER = 0x100;
const LETTERS = 0xd800 - FIRST_LETTER;

function spell(lines: readonly string[], letters: Map<string, string>): string {
    return lines.map((line) => {
        const known = letters.get(line);
        if (known !== undefined) return known;
        if (letters.size >= LETTERS) throw new Error("these texts have too many lines to merge");
        const letter = String.fromCharCode(FIRST_LETTER + letters.size);
        letters.set(line, letter);
        return letter;
    }).join("");
}

const sameLines = (a: readonly string[], b: readonly string[]): boolean =>
    a.length === b.length && a.every((line, i) => line === b[i]);

export const isConflict = (part: MergePart): part is MergePart & { kind: "conflict" } => part.kind === "conflict";

/** The merged text; `choices` are those for the conflicts in their order. */
export function mergedText(parts: readonly MergePart[], choices: readonly Choice[]): string {
    let next = 0;
    return parts.flatMap((part) => {
        if (part.kind === "agreed") return part.lines;
        const choice = choices[next++] ?? "mine";
        return [...choice === "theirs" ? [] : part.mine, ...choice === "mine" ? [] : part.theirs];
    }).join("\n");
}
