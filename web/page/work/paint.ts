/** Long enough that a page which nobody sees goes on, too. */
const UNSEEN_MS = 200;

/** Resolves behind the next frames: for what can wait until the user has seen the answer to what he did. */
export function afterPaint(frames = 2): Promise<void> {
    return new Promise((resolve) => {
        setTimeout(resolve, UNSEEN_MS);
        const next = (left: number): void => { requestAnimationFrame(() => left > 1 ? next(left - 1) : setTimeout(resolve)); };
        next(frames);
    });
}
