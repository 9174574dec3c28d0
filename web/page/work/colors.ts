import type { TeamColor } from "protocol";

/** As "#rrggbb". */
export const hexOf = ({ r, g, b }: TeamColor): string =>
    "#" + [r, g, b].map((value) => value.toString(16).padStart(2, "0")).join("");

export function readHex(text: string): TeamColor {
    const value = Number.parseInt(text.slice(1), 16);
    return { r: (value >> 16) & 255, g: (value >> 8) & 255, b: value & 255 };
}
