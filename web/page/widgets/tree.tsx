import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { useMemo } from "preact/hooks";
import { flattenTree, type TreeRow } from "../work/tree_rows";
import { List } from "./list";

interface TreeProps<T> {
    label: string;
    roots: readonly T[];
    keyOf: (node: T) => string;
    childrenOf: (node: T) => readonly T[];
    textOf: (node: T) => string;
    cell: (node: T) => ComponentChildren;
    selected?: string | undefined;
    onSelect?: (node: T) => void;
    /** Enter, or a double click, on a leaf; others open and close. */
    onActivate?: (node: T) => void;
    /** Levels that are open at first. */
    openLevels?: number;
    empty: string;
    onKey?: (event: KeyboardEvent, node: T | undefined) => boolean;
}

/** A list whose rows lie below one another. */
export function Tree<T>({ label, roots, keyOf, childrenOf, textOf, cell, selected, openLevels = 1, empty,
    ...on }: TreeProps<T>) {
    /** Those that differ from what `openLevels` says. */
    const toggled = useSignal<ReadonlySet<string>>(new Set());
    const rows = useMemo(() => flattenTree(roots, keyOf, childrenOf, openLevels, toggled.value),
        [roots, toggled.value, openLevels]);

    function toggle({ key }: TreeRow<T>): void {
        const next = new Set(toggled.peek());
        if (!next.delete(key)) next.add(key);
        toggled.value = next;
    }

    return <List<TreeRow<T>> label={label} items={rows} keyOf={({ key }) => key} textOf={({ node }) => textOf(node)}
        selected={selected}
        levels={{ rowOf: (row) => row, toggle }} columns={[{ width: "1fr", cell: ({ node }) => cell(node) }]}
        empty={empty}
        onSelect={({ node }) => on.onSelect?.(node)} onActivate={on.onActivate && (({ node }) => on.onActivate!(node))}
        onKey={on.onKey && ((event, row) => on.onKey!(event, row?.node))} />;
}
