// What List and Tree share: rows of one height, of which only those in sight exist.
import type { Signal } from "@preact/signals";
import type { RefObject } from "preact";
import { useLayoutEffect } from "preact/hooks";

export const ROW_HEIGHT = 24;
/** Rows beyond the edges that are drawn, so that scrolling shows no gaps. */
const SPARE_ROWS = 12;

interface Sight {
    first: number;
    count: number;
}

export const AT_FIRST: Sight = { first: 0, count: 60 };

/** The rows to draw: from the first up to, not including, the second. */
export function rowsInSight({ first, count }: Sight, total: number): [number, number] {
    const top = Math.min(first, Math.max(0, total - count));
    return [Math.max(0, top - SPARE_ROWS), Math.min(total, top + count + SPARE_ROWS)];
}

/** Which rows are in sight, as it scrolls and changes its size. */
export function useSight(scroller: RefObject<HTMLDivElement | null>, sight: Signal<Sight>): void {
    useLayoutEffect(() => {
        const element = scroller.current;
        if (!element) return;
        const look = (): void => {
            const first = Math.floor(element.scrollTop / ROW_HEIGHT);
            const count = Math.ceil(element.clientHeight / ROW_HEIGHT) + 1;
            if (first !== sight.value.first || count !== sight.value.count) sight.value = { first, count };
        };
        look();
        const observer = new ResizeObserver(look);
        observer.observe(element);
        element.addEventListener("scroll", look, { passive: true });
        return () => { observer.disconnect(); element.removeEventListener("scroll", look); };
    }, []);
}

/** Scrolls as little as it takes. */
export function showRow(element: HTMLElement | null, index: number): void {
    if (!element || index < 0) return;
    const top = index * ROW_HEIGHT;
    if (top < element.scrollTop) element.scrollTop = top;
    else if (top + ROW_HEIGHT > element.scrollTop + element.clientHeight)
        element.scrollTop = top + ROW_HEIGHT - element.clientHeight;
}
