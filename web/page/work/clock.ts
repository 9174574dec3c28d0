const TICKS_A_SECOND = 30;
/** What time leaves undone after a stall is dropped rather than caught up with. */
const MOST_AT_ONCE = 12;

/** Tells how many ticks are due at a time, given in milliseconds. */
export function createClock(): { due(now: number, speed: number): number } {
    let last: number | undefined;
    let left = 0;
    return {
        due(now, speed) {
            left += last === undefined ? 0 : ((now - last) / 1000) * TICKS_A_SECOND * speed;
            last = now;
            const whole = Math.floor(left);
            left -= whole;
            return Math.min(whole, MOST_AT_ONCE);
        },
    };
}
