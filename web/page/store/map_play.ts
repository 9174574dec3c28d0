// Lifetime: the loaded map. Time on it: orders, ticks, what happened.
import { batch, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { MapEvent, MoveRequest, Ticked } from "protocol";
import { ask } from "../ask";
import { createClock } from "../work/clock";
import { type OrderRow, buildOrder, type OrderPlace, ORDERS, type OrderWords } from "../work/map_orders";
import { messageOf, newestNext } from "../work/newest";
import { counted } from "../work/words";
import { say } from "./connection";
import { carryOut, forgetPoses, loadedMap, lookAtUnits, selectedUnits } from "./map";

export type NumberedEvent = MapEvent & { row: number };

const MAX_EVENTS = 2_000;

const timeSignal = signal<Ticked | undefined>(undefined);
const eventsSignal = signal<readonly NumberedEvent[]>([]);
const playingSignal = signal(false);
const speedSignal = signal(1);
const failureSignal = signal("");
const orderSignal = signal<OrderRow>(ORDERS[0]!);
const wordsSignal = signal<OrderWords>({ value: "", unit: "", count: "", script: "", args: "" });
let lastRow = 0;

/** What the newest ticks told; none before the first. */
export const mapTime: ReadonlySignal<Ticked | undefined> = timeSignal;
export const mapEvents: ReadonlySignal<readonly NumberedEvent[]> = eventsSignal;
export const isMapPlaying: ReadonlySignal<boolean> = playingSignal;
export const mapSpeed: ReadonlySignal<number> = speedSignal;
export const timeFailure: ReadonlySignal<string> = failureSignal;
/** The order that is prepared, and what is typed for it. */
export const preparedOrder: ReadonlySignal<OrderRow> = orderSignal;
export const orderWords: ReadonlySignal<OrderWords> = wordsSignal;

export function prepareOrder(row: OrderRow): void {
    orderSignal.value = row;
}

export function typeOrderWord(part: Partial<OrderWords>): void {
    wordsSignal.value = { ...wordsSignal.peek(), ...part };
}

/** Gives an order to the chosen units, at the place of a click when it needs one. */
export function give(row: OrderRow, queue: boolean, at?: OrderPlace): Promise<void> {
    return carryOut(async () => {
        const built = buildOrder(row, selectedUnits.peek(), wordsSignal.peek(), queue, at);
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

export function setMapSpeed(value: number): void {
    speedSignal.value = value;
}

export function pauseMap(): void {
    playingSignal.value = false;
}

export async function playMap(): Promise<void> {
    if (!loadedMap.peek() || playingSignal.peek()) return;
    failureSignal.value = "";
    playingSignal.value = true;
    await followTime();
}

export const toggleMapPlay = (): void => playingSignal.peek() ? pauseMap() : void playMap();

/** So many ticks at once, and what came of them. */
export const stepMap = (ticks: number): Promise<void> => pass(ticks);

export function clearEvents(): void {
    eventsSignal.value = [];
}

async function pass(ticks: number): Promise<void> {
    const map = loadedMap.peek();
    try {
        const [time] = await Promise.all([ask("map-tick", { ticks }), lookAtUnits()]);
        if (map !== loadedMap.peek()) return;
        batch(() => {
            timeSignal.value = time;
            if (time.events.length > 0) eventsSignal.value =
                [...eventsSignal.peek(), ...time.events.map((event) => ({ ...event, row: ++lastRow }))].slice(-MAX_EVENTS);
        });
    } catch (error) {
        playingSignal.value = false;
        failureSignal.value = messageOf(error);
    }
}

/** One request in flight; as many ticks as are due, none while the page is not seen. */
const followTime = newestNext(async () => {
    const clock = createClock();
    while (playingSignal.peek()) {
        const ticks = clock.due(await new Promise<number>(requestAnimationFrame), speedSignal.peek());
        if (ticks > 0) await pass(ticks);
    }
});

/** Time ends with the map. */
export function followMapTime(): void {
    effect(() => {
        void loadedMap.value;
        batch(() => {
            playingSignal.value = false;
            timeSignal.value = undefined;
            eventsSignal.value = [];
            failureSignal.value = "";
        });
    });
}
