// Lifetime: a dialog. A unit that is to be copied into a mod.
import { state } from "./state";

interface CopyWish {
    unitName: string;
    /** Because it is to be changed: it keeps its name and hides the base game's. */
    isToEdit: boolean;
}

export interface OpenCopy extends CopyWish {
    /** Closes the dialog. */
    done(isCopied: boolean): void;
}

const [copying, setCopying] = state<OpenCopy | undefined>(undefined);
export { copying };

/** Resolves with whether the unit has been copied. */
export function askCopy(wish: CopyWish): Promise<boolean> {
    copying.peek()?.done(false);
    return new Promise((resolve) => {
        setCopying({ ...wish, done(isCopied) { setCopying(undefined); resolve(isCopied); } });
    });
}
