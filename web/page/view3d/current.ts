/** The one of its kind that is there, for commands that concern it. */
export interface Current<T> {
    get(): T | undefined;
    /** Returns what ends it: the next one may be there before the last one goes. */
    set(value: T): () => void;
}

export function current<T>(): Current<T> {
    let now: T | undefined;
    return {
        get: () => now,
        set(value) {
            now = value;
            return () => { if (now === value) now = undefined; };
        },
    };
}
