// Time that passes while something plays: one request in flight, as many ticks as are due, none while the page is
// not seen.
import type { ReadonlySignal } from "@preact/signals";
import { createClock } from "../work/clock";
import { newestNext } from "../work/newest";
import { state } from "./state";

export const SPEEDS = [0.25, 0.5, 1, 2, 4] as const;

interface Playing {
    isPlaying: ReadonlySignal<boolean>;
    /** Ticks a thirtieth of a second. */
    speed: ReadonlySignal<number>;
    setSpeed(value: number): void;
    play(): Promise<void>;
    pause(): void;
}

/** `pass` resolves with whether time can go on. */
export function playing(pass: (ticks: number) => Promise<boolean>): Playing {
    const [isPlaying, setPlaying] = state(false);
    const [speed, setSpeed] = state(1);
    const run = newestNext(async () => {
        const clock = createClock();
        while (isPlaying.peek()) {
            const ticks = clock.due(await new Promise<number>(requestAnimationFrame), speed.peek());
            if (ticks > 0 && isPlaying.peek() && !await pass(ticks)) setPlaying(false);
        }
    });
    return {
        isPlaying, speed, setSpeed,
        async play() {
            if (isPlaying.peek()) return;
            setPlaying(true);
            await run();
        },
        pause: () => setPlaying(false),
    };
}
