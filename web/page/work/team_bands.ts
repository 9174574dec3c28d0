import type { IndexChange } from "protocol";

export const PALETTE_SIZE = 256;
/** Palette indices that take the colour of the owning player, first to last. */
const TEAM_BANDS: readonly (readonly [first: number, last: number])[] = [[96, 111], [128, 143], [224, 229]];

export const isTeamIndex = (index: number): boolean => TEAM_BANDS.some(([first, last]) => first <= index && index <= last);

/** A map that changes nothing: its preview counts the pixels of every index. */
export const EVERY_INDEX: readonly IndexChange[] = Array.from({ length: PALETTE_SIZE }, (_, index) => ({ from: index, to: index }));

/** The changes with one more, in place of what `from` had; in the order of the palette. */
export function withChange(changes: readonly IndexChange[], from: number, to: number): IndexChange[] {
    const others = changes.filter((one) => one.from !== from);
    return [...others, ...(from === to ? [] : [{ from, to }])].sort((a, b) => a.from - b.from);
}

/** Pixels that take the owner's colour, as a share in words. */
export function teamShare(teamPixels: number, totalPixels: number): string {
    if (teamPixels === 0 || totalPixels === 0) return "no team colour";
    return `${Math.max(1, Math.round(teamPixels / totalPixels * 100))} % team colour`;
}
