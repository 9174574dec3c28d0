import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { useEffect, useId, useMemo, useRef } from "preact/hooks";
import { flattenTree } from "../work/tree_rows";
import { AT_FIRST, ROW_HEIGHT, rowsInSight, showRow, useSight } from "./rows";

export interface TreeProps<T> {
    label: string;
    roots: readonly T[];
    keyOf: (node: T) => string;
    childrenOf: (node: T) => readonly T[];
    textOf: (node: T) => string;
    cell: (node: T) => ComponentChildren;
    selected?: string | undefined;
    onSelect?: (node: T) => void;
    onActivate?: (node: T) => void;
    /** Levels that are open at first. */
    openLevels?: number;
    empty: string;
    onKey?: (event: KeyboardEvent, node: T | undefined) => boolean;
}

const INDENT = 14;

/** A tree, of which only the rows in sight exist. Right opens, Left closes or goes to the parent. */
export function Tree<T>(props: TreeProps<T>) {
    const { label, roots, keyOf, childrenOf, textOf, openLevels = 1 } = props;
    const id = useId();
    const scroller = useRef<HTMLDivElement>(null);
    const sight = useSignal(AT_FIRST);
    /** Those that differ from what `openLevels` says. */
    const toggled = useSignal<ReadonlySet<string>>(new Set());
    const active = useSignal<string | undefined>(undefined);
    const rows = useMemo(() => flattenTree(roots, keyOf, childrenOf, openLevels, toggled.value),
        [roots, toggled.value, openLevels]);
    const activeKey = props.selected ?? active.value;
    const at = activeKey === undefined ? -1 : rows.findIndex((row) => row.key === activeKey);

    useSight(scroller, sight);
    useEffect(() => showRow(scroller.current, at), [at]);

    function choose(index: number): void {
        const row = rows[Math.min(Math.max(index, 0), rows.length - 1)];
        if (!row) return;
        active.value = row.key;
        props.onSelect?.(row.node);
    }

    function toggle(key: string): void {
        const next = new Set(toggled.peek());
        if (!next.delete(key)) next.add(key);
        toggled.value = next;
    }

    function press(event: KeyboardEvent): void {
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        const row = rows[at];
        const next = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: rows.length - 1, PageDown: at + 10, PageUp: at - 10 }[event.key];
        if (next !== undefined) choose(next);
        else if (event.key === "ArrowRight" && row) { if (row.isOpen === false) toggle(row.key); else choose(at + 1); }
        else if (event.key === "ArrowLeft" && row) { if (row.isOpen) toggle(row.key); else if (row.parent >= 0) choose(row.parent); }
        else if (event.key === "Enter" && row) { if (props.onActivate) props.onActivate(row.node); else if (row.isOpen !== undefined) toggle(row.key); }
        else if (props.onKey?.(event, row?.node)) { /* handled */ }
        else if (event.key.length === 1 && event.key !== " ") {
            const letter = event.key.toLowerCase();
            const found = rows.findIndex((one, i) => i > at && textOf(one.node).toLowerCase().startsWith(letter));
            choose(found >= 0 ? found : Math.max(0, rows.findIndex((one) => textOf(one.node).toLowerCase().startsWith(letter))));
        } else return;
        event.preventDefault();
        event.stopPropagation();
    }

    const [first, last] = rowsInSight(sight.value, rows.length);
    return (
        <div class="list">
            <div ref={scroller} class="scroller" role="tree" aria-label={label} tabIndex={0}
                aria-activedescendant={at >= 0 ? `${id}-${at}` : undefined} onKeyDown={press}>
                {rows.length === 0 && <p class="empty">{props.empty}</p>}
                <div class="rows" role="presentation" style={{ height: `${rows.length * ROW_HEIGHT}px` }}>
                    {rows.slice(first, last).map((row, i) => (
                        <div key={row.key} id={`${id}-${first + i}`} role="treeitem" class="row tree-row"
                            aria-level={row.level + 1} aria-expanded={row.isOpen} aria-selected={first + i === at}
                            aria-setsize={row.siblings} aria-posinset={row.place + 1}
                            style={{ top: `${(first + i) * ROW_HEIGHT}px`, paddingLeft: `${row.level * INDENT + 4}px` }}
                            onClick={() => choose(first + i)} onDblClick={() => props.onActivate?.(row.node)}>
                            <span aria-hidden="true" class={`twist ${row.isOpen === undefined ? "leaf" : row.isOpen ? "open" : "closed"}`}
                                onClick={(event) => { event.stopPropagation(); if (row.isOpen !== undefined) toggle(row.key); }} />
                            {props.cell(row.node)}
                        </div>
                    ))}
                </div>
            </div>
        </div>
    );
}
