/** The same numbers for the same seed. */
export interface Random {
    /** From 0 up to but without `end`. */
    below(end: number): number;
    /** True so many times of a hundred. */
    percent(share: number): boolean;
    pick<T>(items: readonly T[]): T;
    /** By the weight that each has. */
    weighted<T extends { weight: number }>(items: readonly T[]): T;
}

export function random(seed: number): Random {
    let now = seed >>> 0;
    const next = (): number => {
        now = (now + 0x6d2b79f5) >>> 0;
        let mixed = Math.imul(now ^ (now >>> 15), now | 1);
        mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
        return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
    };
    const below = (end: number): number => Math.floor(next() * end);
    return {
        below,
        percent: (share) => below(100) < share,
        pick: (items) => items[below(items.length)]!,
        weighted(items) {
            let at = next() * items.reduce((sum, { weight }) => sum + weight, 0);
            return items.find(({ weight }) => (at -= weight) < 0) ?? items.at(-1)!;
        },
    };
}
