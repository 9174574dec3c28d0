// What page and server take, after each has cleared up; it must not grow without end.
import type { World } from "./world";

export interface Figures {
    /** When the page was opened: another number, another life. */
    life: number;
    pageMiB: number;
    nodes: number;
    listeners: number;
    serverMiB: number;
}

const MIB = 2 ** 20;

export async function figures({ desks, bench }: World): Promise<Figures> {
    const [desk] = desks;
    const devtools = await bench.context.newCDPSession(desk!.page);
    await devtools.send("HeapProfiler.collectGarbage");
    const { usedSize } = await devtools.send("Runtime.getHeapUsage");
    const { nodes, jsEventListeners } = await devtools.send("Memory.getDOMCounters");
    await devtools.detach();
    const round = (bytes: number): number => Math.round(bytes / MIB * 10) / 10;
    return { life: desk!.openedAt, pageMiB: round(usedSize), nodes, listeners: jsEventListeners, serverMiB: round(process.memoryUsage().heapUsed) };
}

/** Within one life, so many measures behind the first, a page may take so much more. */
const MOST_TIMES = 2.5;
const MOST_NODES_TIMES = 4;

export function grown(sizes: readonly Figures[]): string[] {
    return sizes.flatMap((now) => {
        const first = sizes.find(({ life }) => life === now.life)!;
        const isLarge = now.pageMiB > MOST_TIMES * first.pageMiB + 20 || now.nodes > MOST_NODES_TIMES * first.nodes + 5_000;
        return isLarge ? [`the page grows: from ${JSON.stringify(first)} to ${JSON.stringify(now)}`] : [];
    }).slice(-1);
}
