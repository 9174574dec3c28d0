// Lifetime: the loaded map. Time on it: orders, ticks, what happened.
import { batch, effect } from "@preact/signals";
import type { MapEvent, MoveRequest, Ticked } from "protocol";
import { ask } from "../ask";
import { type OrderRow, buildOrder, type OrderPlace, ORDERS, type OrderWords } from "../work/map_orders";
import { counted } from "../work/words";
import { playing } from "./clock";
import { say } from "./connection";
import { attemptOnMap, forgetPoses, loadedMap, lookAtUnits, selectedUnits } from "./map";
import { state, wishes } from "./state";

export type NumberedEvent = MapEvent & { row: number };

const MAX_EVENTS = 2_000;

/** What the newest ticks told; none before the first. */
const [mapTime, setTime] = state<Ticked | undefined>(undefined);
const [mapEvents, setEvents] = state<readonly NumberedEvent[]>([]);
const [orderWords, setWords] = state<OrderWords>({ value: "", unit: "", count: "", script: "", args: "" });
const { failure: timeFailure, attempt, forget } = wishes();
const time = playing((ticks) => stepMap(ticks));
let lastRow = 0;

export { mapEvents, mapTime, orderWords, timeFailure };
export const { isPlaying: isMapPlaying, speed: mapSpeed, setSpeed: setMapSpeed } = time;
/** The order that is prepared, and what is typed for it. */
export const [preparedOrder, prepareOrder] = state<OrderRow>(ORDERS[0]!);
export const typeOrderWord = (part: Partial<OrderWords>): void => setWords({ ...orderWords.peek(), ...part });

/** Gives an order to the chosen units, at the place of a click when it needs one. */
export function give(row: OrderRow, queue: boolean, at?: OrderPlace): Promise<boolean> {
    return attemptOnMap(async () => {
        const built = buildOrder(row, selectedUnits.peek(), orderWords.peek(), queue, at);
        if ("missing" in built) throw new Error(built.missing);
        await send(built.order, row.title);
    });
}

async function send(order: MoveRequest, title: string): Promise<void> {
    const { accepted, refused } = await ask("map-move", order);
    const reasons = [...new Set(refused.map(({ reason }) => reason))].join(", ");
    say(`${title}: ${counted(accepted.length, "unit")}${refused.length > 0 ? `; ${refused.length} refused: ${reasons}` : ""}`);
    forgetPoses();
    await lookAtUnits();
    if (accepted.length === 0 && refused.length > 0) throw new Error(`${title}: ${reasons}`);
}

export const toggleMapPlay = (): void => {
    if (time.isPlaying.peek()) time.pause();
    else if (loadedMap.peek()) void time.play();
};

export const clearEvents = (): void => setEvents([]);

/** So many ticks at once, and what came of them. */
export function stepMap(ticks: number): Promise<boolean> {
    return attempt(() => Promise.all([ask("map-tick", { ticks }), lookAtUnits()]), ([told]) => batch(() => {
        setTime(told);
        if (told.events.length === 0) return;
        setEvents([...mapEvents.peek(),
            ...told.events.map((event) => ({ ...event, row: ++lastRow }))].slice(-MAX_EVENTS));
    }));
}

/** Time ends with the map. */
export function followMapTime(): void {
    effect(() => {
        void loadedMap.value;
        batch(() => {
            time.pause();
            forget();
            setTime(undefined);
            clearEvents();
        });
    });
}
