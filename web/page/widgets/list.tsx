import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { useEffect, useId, useLayoutEffect, useMemo, useRef } from "preact/hooks";
import type { TreeRow } from "../work/tree_rows";
import { distinct } from "../work/words";
import { AT_FIRST, ROW_HEIGHT, rowsInSight, showRow, useSight } from "./rows";

interface Column<T> {
    /** With a title on any column the list has a head. */
    title?: string;
    /** A grid track, as "1fr" or "80px". */
    width: string;
    isNumber?: boolean;
    cell: (item: T, isActive: boolean) => ComponentChildren;
}

/** Many rows can be chosen: Ctrl and click or the space bar choose one more or less, Shift all from the last one on. */
interface Several<T> {
    keys: ReadonlySet<string>;
    toggle: (item: T) => void;
    /** These and no others. */
    choose: (items: readonly T[]) => void;
}

/** Rows that lie below others: Right opens, Left closes or goes to the parent. */
interface Levels<T> {
    rowOf: (item: T) => TreeRow<unknown>;
    toggle: (item: T) => void;
}

export interface ListProps<T> {
    label: string;
    items: readonly T[];
    /** What tells rows apart; of equal ones each still is a row of its own. */
    keyOf: (item: T) => string;
    columns: readonly Column<T>[];
    /** Key of the row that is chosen. */
    selected?: string | undefined;
    /** Arrows and clicks choose. */
    onSelect?: (item: T) => void;
    several?: Several<T>;
    levels?: Levels<T>;
    /** Enter, or a double click; a row that others lie below opens and closes instead. */
    onActivate?: ((item: T) => void) | undefined;
    /** What typing ahead looks for. */
    textOf?: (item: T) => string;
    /** Rows hold buttons: a grid then, whose active row's buttons can be reached by Tab. */
    hasControls?: boolean;
    /** Of rows that are marked. */
    rowClass?: (item: T) => string;
    /** What to do when there is nothing. */
    empty: string;
    /** Further keys; true when handled. */
    onKey?: ((event: KeyboardEvent, item: T | undefined) => boolean) | undefined;
    /** Keeps the newest, last row in sight. */
    followsEnd?: boolean;
}

const PAGE_ROWS = 10;
const TYPING_MS = 700;
/** Of a level, in pixels. */
const INDENT = 14;

/** How a row is reached: alone, with all since the last one, with or without it, or the focus alone goes there. */
type Way = "one" | "range" | "toggle" | "focus";

/** Rows of one height, of which only those in sight exist. One Tab stop; arrows, pages, Home, End, typing. */
export function List<T>(props: ListProps<T>) {
    const { label, items, columns, hasControls, several, levels } = props;
    const id = useId();
    const scroller = useRef<HTMLDivElement>(null);
    const sight = useSignal(AT_FIRST);
    const active = useSignal<string | undefined>(undefined);
    const lastIndex = useRef(0);
    const anchor = useRef<string | undefined>(undefined);
    const isOwnChoice = useRef(false);
    const typed = useRef({ text: "", at: 0 });
    const keys = useMemo(() => distinct(items.map(props.keyOf)), [items]);

    const activeKey = several ? active.value ?? props.selected : props.selected ?? active.value;
    const found = activeKey === undefined ? -1 : keys.indexOf(activeKey);
    // what vanished hands over to its neighbour
    const at = found >= 0 ? found : activeKey === undefined || levels ? -1
        : Math.min(lastIndex.current, items.length - 1);
    if (at >= 0) lastIndex.current = at;

    useSight(scroller, sight);
    useEffect(() => showRow(scroller.current, at), [at, items.length > 0]);
    useEffect(() => {
        if (!isOwnChoice.current && several && props.selected !== undefined) active.value = props.selected;
    }, [props.selected]);
    useEffect(() => { isOwnChoice.current = false; });
    useLayoutEffect(() => {
        if (props.followsEnd && scroller.current) scroller.current.scrollTop = scroller.current.scrollHeight;
    }, [items, props.followsEnd]);

    function go(index: number, wanted: Way = "one"): void {
        const way = several ? wanted : "one";
        const to = Math.min(Math.max(index, 0), items.length - 1);
        const item = items[to];
        if (item === undefined) return;
        active.value = keys[to];
        isOwnChoice.current = true;
        const from = anchor.current === undefined ? -1 : keys.indexOf(anchor.current);
        if (way === "range" && from >= 0) return several?.choose(between(items, from, to));
        anchor.current = keys[to];
        if (way === "toggle") several?.toggle(item);
        else if (way !== "focus") props.onSelect?.(item);
    }

    function activate(item: T): void {
        if (levels && levels.rowOf(item).isOpen !== undefined) levels.toggle(item);
        else props.onActivate?.(item);
    }

    function changeLevel({ rowOf, toggle }: Levels<T>, isRight: boolean, item: T): void {
        const { isOpen, parent } = rowOf(item);
        if (isRight ? isOpen === false : isOpen) toggle(item);
        else if (isRight || parent >= 0) go(isRight ? at + 1 : parent);
    }

    function press(event: KeyboardEvent): void {
        if (event.target !== event.currentTarget || event.altKey) return; // a control in a row
        const { key } = event;
        const isCtrl = event.ctrlKey || event.metaKey;
        const item = items[at];
        const next = { ArrowDown: at + 1, ArrowUp: at < 0 ? 0 : at - 1, Home: 0, End: items.length - 1,
            PageDown: at + PAGE_ROWS, PageUp: at - PAGE_ROWS }[key];
        if (isCtrl && !several) return;
        if (next !== undefined) go(next, event.shiftKey ? "range" : isCtrl ? "focus" : "one");
        else if (isCtrl && key.toLowerCase() === "a" && several) several.choose(items);
        else if (isCtrl) return;
        else if (levels && item !== undefined && /^Arrow(Right|Left)$/.test(key))
            changeLevel(levels, key === "ArrowRight", item);
        else if (key === "Enter" && item !== undefined && (props.onActivate || levels)) activate(item);
        else if (key === " " && several && item !== undefined) go(at, "toggle");
        else if (props.onKey?.(event, item)) { /* handled */ }
        else if (key.length === 1 && key !== " " && props.textOf) typeAhead(key);
        else return;
        event.preventDefault();
        event.stopPropagation();
    }

    function typeAhead(letter: string): void {
        const now = Date.now();
        const before = now - typed.current.at < TYPING_MS ? typed.current.text : "";
        const text = before + letter.toLowerCase();
        typed.current = { text, at: now };
        const from = text.length === 1 ? at + 1 : Math.max(at, 0);
        for (let i = 0; i < items.length; i++) {
            const index = (from + i) % items.length;
            if (props.textOf!(items[index]!).toLowerCase().startsWith(text)) return go(index);
        }
    }

    const tracks = levels ? {} : { gridTemplateColumns: columns.map((column) => column.width).join(" ") };
    const [first, last] = rowsInSight(sight.value, items.length);
    const [role, rowRole] = levels ? ["tree", "treeitem"] as const : hasControls ? ["grid", "row"] as const
        : ["listbox", "option"] as const;

    function places(item: T, index: number) {
        if (hasControls) return { "aria-rowindex": index + 1 };
        const row = levels?.rowOf(item);
        if (!row) return { "aria-setsize": items.length, "aria-posinset": index + 1 };
        return { "aria-level": row.level + 1, "aria-expanded": row.isOpen, "aria-setsize": row.siblings,
            "aria-posinset": row.place + 1 };
    }

    function renderRow(item: T, index: number) {
        const isActive = index === at;
        const row = levels?.rowOf(item);
        const top = `${index * ROW_HEIGHT}px`;
        return (
            <div key={keys[index]} id={`${id}-${index}`} role={rowRole} {...places(item, index)}
                aria-selected={several ? several.keys.has(keys[index]!) : isActive}
                class={["row", row && "tree-row", several && isActive && "here", props.rowClass?.(item)].filter(Boolean).join(" ")}
                style={row ? { top, paddingLeft: `${row.level * INDENT + 4}px` } : { ...tracks, top }}
                onClick={(event) => go(index, event.shiftKey ? "range" : event.ctrlKey || event.metaKey ? "toggle" : "one")}
                onDblClick={() => activate(item)}>
                {row && <span aria-hidden="true" class={`twist ${row.isOpen ? "open" : row.isOpen === false ? "closed" : ""}`}
                    onClick={(event) => { event.stopPropagation(); if (row.isOpen !== undefined) levels?.toggle(item); }} />}
                {row ? columns[0]?.cell(item, isActive) : columns.map((column, c) => (
                    <span key={c} role={hasControls ? "gridcell" : undefined}
                        class={column.isNumber ? "number" : ""}>{column.cell(item, isActive)}</span>
                ))}
            </div>
        );
    }

    return (
        <div class="list">
            {columns.some((column) => column.title) && (
                <div class="head" style={tracks} aria-hidden="true">
                    {columns.map((column, i) => <span key={i} class={column.isNumber ? "number" : ""}>{column.title}</span>)}
                </div>
            )}
            <div ref={scroller} class="scroller" role={role} aria-label={label} tabIndex={0}
                aria-multiselectable={several ? true : undefined}
                aria-rowcount={hasControls ? items.length : undefined}
                aria-activedescendant={at >= 0 ? `${id}-${at}` : undefined} onKeyDown={press}>
                {items.length === 0 && <p class="empty">{props.empty}</p>}
                <div class="rows" role="presentation" style={{ height: `${items.length * ROW_HEIGHT}px` }}>
                    {items.slice(first, last).map((item, i) => renderRow(item, first + i))}
                </div>
            </div>
        </div>
    );
}

/** From one row to another, the one that is reached last. */
function between<T>(items: readonly T[], from: number, to: number): T[] {
    const all = items.slice(Math.min(from, to), Math.max(from, to) + 1);
    return from <= to ? all : all.reverse();
}
