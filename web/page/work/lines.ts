import type { LineSpan, SourceSymbols } from "protocol";

/** The line that an instruction belongs to, with the included file that it is in. */
export function spanAt(spans: readonly LineSpan[], offset: number): LineSpan | undefined {
    return spans.find(({ from, to }) => from <= offset && offset <= to);
}

/** Lines with one more, or without it. */
export function toggled(lines: readonly number[], line: number): number[] {
    return lines.includes(line) ? lines.filter((one) => one !== line) : [...lines, line].sort((a, b) => a - b);
}

/** Names as they stand in a line, in the order of the line. */
function namesIn(line: string): string[] {
    return line.replace(/\/\/.*/, "").match(/[A-Za-z_][\w-]*/g) ?? [];
}

/** Index of the first piece that a line of source names. */
export function pieceNamedIn(line: string, pieceNames: readonly string[]): number | undefined {
    const lower = pieceNames.map((name) => name.toLowerCase());
    for (const name of namesIn(line)) {
        const index = lower.indexOf(name.toLowerCase());
        if (index >= 0) return index;
    }
    return undefined;
}

/** What a script calls its local variable of that number. */
export function localName(symbols: SourceSymbols | undefined, script: string, index: number): string {
    const found = symbols?.scripts.find(({ name }) => name.toLowerCase() === script.toLowerCase());
    return [...found?.parameters ?? [], ...found?.locals ?? []][index] ?? `local ${index}`;
}

export const staticName = (symbols: SourceSymbols | undefined, index: number): string =>
    symbols?.statics[index] ?? `static ${index}`;
