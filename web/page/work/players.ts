import type { TeamColor } from "protocol";

export const PLAYERS = 10;

const COLORS: readonly (readonly [r: number, g: number, b: number])[] = [
    [40, 90, 220], [210, 40, 30], [230, 230, 230], [40, 170, 60], [20, 40, 120],
    [140, 60, 190], [225, 205, 40], [60, 60, 64], [110, 190, 235], [190, 150, 100],
];

/** By the number of a player, from 1. */
export function playerColor(player: number): TeamColor {
    const [r, g, b] = COLORS[(player - 1 + PLAYERS) % PLAYERS]!;
    return { r, g, b };
}
