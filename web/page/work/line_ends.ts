// Line ends. Texts are edited with "\n" alone and saved with the ends that their file has.
import { lineChanges } from "./merge";

export const plainText = (raw: string): string => raw.replaceAll("\r\n", "\n");

/**
 * `text` with the ends of `original`: a line that both have keeps its own, a changed one that of the line whose
 * place it takes, a new one ends like the line before it.
 */
export function withEndsOf(original: string, text: string): string {
    const ends = original.match(/\r?\n/g) ?? [];
    const [usual = "\n"] = ends;
    if (ends.every((end) => end === usual)) return text.replaceAll("\n", usual);
    const [before, after] = [plainText(original).split("\n"), text.split("\n")];
    const parts: string[] = [];
    let [a, b, end] = [0, 0, usual];
    const take = (line: string, own: string | undefined): void => { parts.push(line, end = own ?? end); };
    for (const { fromA, toA, fromB, toB } of lineChanges(before, after)) {
        for (; b < fromB; a++, b++) take(after[b]!, ends[a]);
        for (; b < toB; b++) take(after[b]!, fromA + b - fromB < toA ? ends[fromA + b - fromB] : undefined);
        a = toA;
    }
    for (; b < after.length; a++, b++) take(after[b]!, ends[a]);
    return parts.slice(0, -1).join("");
}
