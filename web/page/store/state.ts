import { type ReadonlySignal, signal } from "@preact/signals";
import { messageOf } from "../work/newest";

/** A value that panes read, and the verb by which its group writes it. */
export function state<T>(first: T): readonly [value: ReadonlySignal<T>, set: (next: T) => void] {
    const value = signal(first);
    return [value, (next) => { value.value = next; }];
}

interface Wishes {
    /** Why the last wish could not be carried out, or "". */
    failure: ReadonlySignal<string>;
    fail(message: string): void;
    /** Carries a wish out and takes what came of it; one that fails says why. Resolves with whether it succeeded. */
    attempt<T>(wish: () => Promise<T>, take?: (result: T) => void): Promise<boolean>;
    /** Wishes that are being carried out change nothing any more: what they were about is gone. */
    forget(): void;
}

/** What the user wishes of one group. */
export function wishes(): Wishes {
    const [failure, fail] = state("");
    let age = 0;
    return {
        failure, fail,
        async attempt(wish, take) {
            const asked = age;
            fail("");
            try {
                const result = await wish();
                if (asked === age) take?.(result);
                return true;
            } catch (error) {
                if (asked === age) fail(messageOf(error));
                return false;
            }
        },
        forget() { age++; fail(""); },
    };
}
