import type { ComponentChildren } from "preact";
import { sizeOf } from "../store/view";
import { clampSize, Splitter, type SplitterProps } from "./splitter";

/** At first a part takes no more of the window, however small that is. */
const MOST_AT_FIRST = 0.33;

/** Two parts with a line between them that can be moved. */
export function Split({ children: [first, second], ...given }: SplitterProps & { children: [ComponentChildren, ComponentChildren] }) {
    const room = given.direction === "row" ? innerWidth : innerHeight;
    const splitter = { ...given, usual: Math.round(Math.min(given.usual, room * MOST_AT_FIRST)) };
    const size = `${clampSize(sizeOf(splitter.id, splitter.usual), splitter.least, splitter.most)}px`;
    const tracks = splitter.of === "before" ? `minmax(0, ${size}) 1px minmax(0, 1fr)` : `minmax(0, 1fr) 1px minmax(0, ${size})`;
    return (
        <div class="split" style={splitter.direction === "row" ? { gridTemplateColumns: tracks } : { gridTemplateRows: tracks }}>
            <div class="part">{first}</div>
            <Splitter {...splitter} />
            <div class="part">{second}</div>
        </div>
    );
}
