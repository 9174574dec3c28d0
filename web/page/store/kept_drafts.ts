// What is unsaved outlives the page: the browser keeps it with the tab, when that is loaded anew or was lost.

const keyOf = (word: string): string => `drafts of ${word} 1`;

export function keptDrafts<D>(word: string): ReadonlyMap<string, D> {
    try {
        const value: unknown = JSON.parse(sessionStorage.getItem(keyOf(word)) ?? "[]");
        return new Map(value as [string, D][]);
    } catch {
        return new Map();
    }
}

/** What is too much for the browser is kept as it was: the page asks before it is left. */
export function keepDrafts<D>(word: string, drafts: ReadonlyMap<string, D>): void {
    try {
        sessionStorage.setItem(keyOf(word), JSON.stringify([...drafts]));
    } catch { /* said above */ }
}
