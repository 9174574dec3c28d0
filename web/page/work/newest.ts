/**
 * One in flight, the newest next: a call while the work runs makes it run once more afterwards, however many
 * calls there were. A failure is told and does not end it.
 */
export function newestNext(work: () => Promise<void>, failed: (error: Error) => void = () => {}): () => Promise<void> {
    let running: Promise<void> | undefined;
    let isAskedAgain = false;

    async function run(): Promise<void> {
        do {
            isAskedAgain = false;
            try {
                await work();
            } catch (error) {
                failed(asError(error));
            }
        } while (isAskedAgain);
        running = undefined;
    }

    return () => {
        if (running) isAskedAgain = true;
        else running = run();
        return running ?? Promise.resolve();
    };
}

/** Calls `work` when no call came for so long: for typing only, never for a stream of events. */
export function whenQuiet(milliseconds: number, work: () => void): { poke(): void; cancel(): void } {
    let timer: ReturnType<typeof setTimeout> | undefined;
    const cancel = (): void => clearTimeout(timer);
    return { poke() { cancel(); timer = setTimeout(work, milliseconds); }, cancel };
}

/** Rejects when there is no answer within that time. What was asked for goes on, and nobody listens. */
export function within<T>(milliseconds: number, answer: Promise<T>): Promise<T> {
    return new Promise((resolve, reject) => {
        const timer = setTimeout(() => reject(new Error(`no answer for ${milliseconds / 1000} s`)), milliseconds);
        answer.then(resolve, reject).finally(() => clearTimeout(timer));
    });
}

export const asError = (error: unknown): Error => error instanceof Error ? error : new Error(String(error));
export const messageOf = (error: unknown): string => asError(error).message;
