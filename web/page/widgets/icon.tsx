const PATHS = {
    play: "M4 2.5v11l9-5.5z",
    pause: "M4 3h3v10H4zM9 3h3v10H9z",
    step: "M3 3v10l7-5zM11 3h2v10h-2z",
    instruction: "M7 2h2v7h3l-4 5-4-5h3z",
    raise: "M3 2h10v2H3zM8 5l5 6H3z",
    lower: "M3 12h10v2H3zM8 11L3 5h10z",
    reset: "M13 3v10L6 8zM3 3h2v10H3z",
} as const;

/** Drawn here, since fonts differ in what they have. The button names it. */
export function Icon({ name }: { name: keyof typeof PATHS }) {
    return <svg class="glyph" viewBox="0 0 16 16" width="16" height="16" aria-hidden="true"><path d={PATHS[name]} fill="currentColor" /></svg>;
}
