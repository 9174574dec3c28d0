/** "1 thread", "2 threads". */
export const counted = (count: number, one: string, many = `${one}s`): string =>
    `${count.toLocaleString("en")} ${count === 1 ? one : many}`;

/** The same words, each once: what comes again gets a number. */
export function distinct(words: readonly string[]): string[] {
    const seen = new Map<string, number>();
    return words.map((word) => {
        const count = (seen.get(word) ?? 0) + 1;
        seen.set(word, count);
        return count === 1 ? word : `${word} (${count})`;
    });
}

/** "1 warning" for "1 warning(s)", as the back end's verdicts have it. */
export const withPlurals = (text: string): string => text.replace(/(\d+)( [\w-]+)\(s\)/g, (_, count, word) =>
    `${count}${word}${count === "1" ? "" : "s"}`);
