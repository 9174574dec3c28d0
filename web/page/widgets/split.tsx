import type { ComponentChildren } from "preact";
import { sizeOf } from "../store/view";
import { clampSize, Splitter, type SplitterProps } from "./splitter";

interface SplitProps extends SplitterProps {
    children: [ComponentChildren, ComponentChildren];
    /** Of the window: at first the part takes no more, however small that is. */
    share?: number;
    /** In place of the size that is kept. */
    tracks?: string | false;
}

/** Two parts with a line between them that can be moved. */
export function Split({ children: [first, second], share = 0.33, tracks, ...given }: SplitProps) {
    const room = given.direction === "row" ? innerWidth : innerHeight;
    const splitter = { ...given, usual: Math.round(Math.min(given.usual, room * share)) };
    const size = `minmax(0, ${clampSize(sizeOf(splitter.id, splitter.usual), splitter.least, splitter.most)}px)`;
    const kept = splitter.of === "before" ? `${size} 1px minmax(0, 1fr)` : `minmax(0, 1fr) 1px ${size}`;
    return (
        <div class="split" style={{ [splitter.direction === "row" ? "gridTemplateColumns" : "gridTemplateRows"]: tracks || kept }}>
            <div class="part">{first}</div>
            <Splitter {...splitter} />
            <div class="part">{second}</div>
        </div>
    );
}
