import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { useEffect, useId, useLayoutEffect, useRef } from "preact/hooks";
import { AT_FIRST, ROW_HEIGHT, rowsInSight, showRow, useSight } from "./rows";

export interface Column<T> {
    /** With a title on any column the list has a head. */
    title?: string;
    /** A grid track, as "1fr" or "80px". */
    width: string;
    isNumber?: boolean;
    cell: (item: T, isActive: boolean) => ComponentChildren;
}

export interface ListProps<T> {
    label: string;
    items: readonly T[];
    keyOf: (item: T) => string;
    columns: readonly Column<T>[];
    /** Key of the row that is chosen. */
    selected?: string | undefined;
    /** Arrows and clicks choose. */
    onSelect?: (item: T) => void;
    /** Enter, or a double click. */
    onActivate?: (item: T) => void;
    /** What typing ahead looks for. */
    textOf?: (item: T) => string;
    /** Rows hold buttons: a grid then, whose active row's buttons can be reached by Tab. */
    hasControls?: boolean;
    /** Of rows that are marked. */
    rowClass?: (item: T) => string;
    /** What to do when there is nothing. */
    empty: string;
    /** Further keys; true when handled. */
    onKey?: (event: KeyboardEvent, item: T | undefined) => boolean;
    /** Keeps the newest, last row in sight. */
    followsEnd?: boolean;
}

const PAGE_ROWS = 10;
const TYPING_MS = 700;

/** Rows of one height, of which only those in sight exist. One Tab stop; arrows, pages, Home, End, typing. */
export function List<T>(props: ListProps<T>) {
    const { label, items, keyOf, columns, hasControls, empty } = props;
    const id = useId();
    const scroller = useRef<HTMLDivElement>(null);
    const sight = useSignal(AT_FIRST);
    const active = useSignal<string | undefined>(undefined);
    const lastIndex = useRef(0);
    const typed = useRef({ text: "", at: 0 });

    const activeKey = props.selected ?? active.value;
    const found = activeKey === undefined ? -1 : items.findIndex((item) => keyOf(item) === activeKey);
    // what vanished hands over to its neighbour
    const at = found >= 0 ? found : activeKey === undefined ? -1 : Math.min(lastIndex.current, items.length - 1);
    if (at >= 0) lastIndex.current = at;

    useSight(scroller, sight);
    useEffect(() => showRow(scroller.current, at), [at, items.length > 0]);
    useLayoutEffect(() => {
        if (props.followsEnd && scroller.current) scroller.current.scrollTop = scroller.current.scrollHeight;
    }, [items, props.followsEnd]);

    function choose(index: number): void {
        const item = items[Math.min(Math.max(index, 0), items.length - 1)];
        if (item === undefined) return;
        active.value = keyOf(item);
        props.onSelect?.(item);
    }

    function press(event: KeyboardEvent): void {
        if (event.target !== event.currentTarget) return; // a control in a row
        const item = items[at];
        const next = { ArrowDown: at + 1, ArrowUp: at < 0 ? 0 : at - 1, Home: 0, End: items.length - 1,
            PageDown: at + PAGE_ROWS, PageUp: at - PAGE_ROWS }[event.key];
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        if (next !== undefined) choose(next);
        else if (event.key === "Enter" && item !== undefined && props.onActivate) props.onActivate(item);
        else if (props.onKey?.(event, item)) { /* handled */ }
        else if (event.key.length === 1 && props.textOf) typeAhead(event.key);
        else return;
        event.preventDefault();
        event.stopPropagation();
    }

    function typeAhead(letter: string): void {
        const now = Date.now();
        typed.current = { text: (now - typed.current.at < TYPING_MS ? typed.current.text : "") + letter.toLowerCase(), at: now };
        const { text } = typed.current;
        const from = text.length === 1 ? at + 1 : Math.max(at, 0);
        for (let i = 0; i < items.length; i++) {
            const index = (from + i) % items.length;
            if (props.textOf!(items[index]!).toLowerCase().startsWith(text)) return choose(index);
        }
    }

    const tracks = { gridTemplateColumns: columns.map((column) => column.width).join(" ") };
    const [first, last] = rowsInSight(sight.value, items.length);
    const [rowRole, cellRole] = hasControls ? ["row", "gridcell"] as const : ["option", undefined] as const;
    return (
        <div class="list">
            {columns.some((column) => column.title) && (
                <div class="head" style={tracks} aria-hidden="true">
                    {columns.map((column, i) => <span key={i} class={column.isNumber ? "number" : ""}>{column.title}</span>)}
                </div>
            )}
            <div ref={scroller} class="scroller" role={hasControls ? "grid" : "listbox"} aria-label={label} tabIndex={0}
                aria-rowcount={hasControls ? items.length : undefined}
                aria-activedescendant={at >= 0 ? `${id}-${at}` : undefined} onKeyDown={press}>
                {items.length === 0 && <p class="empty">{empty}</p>}
                <div class="rows" role="presentation" style={{ height: `${items.length * ROW_HEIGHT}px` }}>
                    {items.slice(first, last).map((item, i) => {
                        const index = first + i;
                        return (
                            <div key={keyOf(item)} id={`${id}-${index}`} role={rowRole} aria-selected={index === at}
                                aria-setsize={hasControls ? undefined : items.length}
                                aria-posinset={hasControls ? undefined : index + 1}
                                aria-rowindex={hasControls ? index + 1 : undefined}
                                class={`row ${props.rowClass?.(item) ?? ""}`}
                                style={{ ...tracks, top: `${index * ROW_HEIGHT}px` }}
                                onClick={() => choose(index)} onDblClick={() => props.onActivate?.(item)}>
                                {columns.map((column, c) => (
                                    <span key={c} role={cellRole} class={column.isNumber ? "number" : ""}>
                                        {column.cell(item, index === at)}
                                    </span>
                                ))}
                            </div>
                        );
                    })}
                </div>
            </div>
        </div>
    );
}
