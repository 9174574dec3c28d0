import type { ModelFix } from "protocol";

/** What was done to a model since its file was read or written, and what of that was undone. */
export interface UnsavedFixes {
    /** None is known once steps that are in the file were undone. */
    made: readonly ModelFix[] | undefined;
    undone: readonly ModelFix[];
}

export const NO_FIXES: UnsavedFixes = { made: [], undone: [] };
export const UNKNOWN_FIXES: UnsavedFixes = { made: undefined, undone: [] };

export const withFix = ({ made }: UnsavedFixes, fix: ModelFix): UnsavedFixes =>
    ({ made: made && [...made, fix], undone: [] });

export function withoutLast({ made = [], undone }: UnsavedFixes): UnsavedFixes {
    const last = made.at(-1);
    return last ? { made: made.slice(0, -1), undone: [...undone, last] } : UNKNOWN_FIXES;
}

export function withAgain({ made, undone }: UnsavedFixes): UnsavedFixes {
    const next = undone.at(-1);
    return made && next ? { made: [...made, next], undone: undone.slice(0, -1) } : UNKNOWN_FIXES;
}

/** All of it is in the file now. */
export const asSaved = ({ undone }: UnsavedFixes): UnsavedFixes => ({ made: [], undone });
