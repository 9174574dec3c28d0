// Lifetime: a dialog. A unit that is to be copied into a mod.
import { type ReadonlySignal, signal } from "@preact/signals";

export interface CopyWish {
    unitName: string;
    /** Because it is to be changed: it keeps its name and hides the base game's. */
    isToEdit: boolean;
}

export interface OpenCopy extends CopyWish {
    /** Closes the dialog. */
    done(isCopied: boolean): void;
}

const copyingSignal = signal<OpenCopy | undefined>(undefined);
export const copying: ReadonlySignal<OpenCopy | undefined> = copyingSignal;

/** Resolves with whether the unit has been copied. */
export function askCopy(wish: CopyWish): Promise<boolean> {
    copyingSignal.peek()?.done(false);
    return new Promise((resolve) => {
        copyingSignal.value = { ...wish, done(isCopied) { copyingSignal.value = undefined; resolve(isCopied); } };
    });
}
