import type { TargetedPointerEvent } from "preact";
import { keepSize, sizeOf } from "../store/view";

const STEP = 16;

export interface SplitterProps {
    /** Under which its place is kept. */
    id: string;
    label: string;
    usual: number;
    least: number;
    most: number;
    /** The size belongs to what is before or behind it. */
    of: "before" | "behind";
    direction: "row" | "column";
}

/** A hairline that can be dragged, or moved by arrows; Home brings it back to where it was at first. */
export function Splitter({ id, label, usual, least, most, of, direction }: SplitterProps) {
    const size = clampSize(sizeOf(id, usual), least, most);
    const sign = of === "before" ? 1 : -1;
    const set = (value: number): void => keepSize(id, clampSize(Math.round(value), least, most));

    function drag(event: TargetedPointerEvent<HTMLDivElement>): void {
        const line = event.currentTarget;
        const from = direction === "row" ? event.clientX : event.clientY;
        line.setPointerCapture(event.pointerId);
        line.onpointermove = (move) => set(size + sign * ((direction === "row" ? move.clientX : move.clientY) - from));
        line.onpointerup = line.onpointercancel = () => { line.onpointermove = null; };
    }

    function move(event: KeyboardEvent): void {
        const step = { ArrowRight: STEP, ArrowDown: STEP, ArrowLeft: -STEP, ArrowUp: -STEP }[event.key];
        if (step === undefined && event.key !== "Home") return;
        event.preventDefault();
        set(step === undefined ? usual : size + sign * step);
    }

    return (
        <div class={`splitter ${direction}`} role="separator" tabIndex={0} aria-label={label} aria-valuenow={size}
            aria-valuemin={least} aria-valuemax={most} aria-orientation={direction === "row" ? "vertical" : "horizontal"}
            title={`${label}: drag it, or arrow keys`} onPointerDown={drag} onKeyDown={move}
            onDblClick={() => set(usual)} />
    );
}

export function clampSize(value: number, least: number, most: number): number {
    return Math.min(Math.max(value, least), most);
}
