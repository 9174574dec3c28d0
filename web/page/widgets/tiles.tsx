import type { ComponentChildren } from "preact";
import { useEffect, useId, useRef } from "preact/hooks";

/** Pictures of which one is chosen. One Tab stop; arrows, Home and End choose. */
export function Tiles<T>({ label, items, keyOf, selected, onSelect, cell, titleOf, empty }: {
    label: string; items: readonly T[]; keyOf: (item: T) => string; selected: string | undefined; onSelect: (item: T) => void;
    cell: (item: T) => ComponentChildren; titleOf: (item: T) => string; empty: string;
}) {
    const id = useId();
    const list = useRef<HTMLDivElement>(null);
    const at = items.findIndex((item) => keyOf(item) === selected);
    useEffect(() => list.current?.children[at]?.scrollIntoView({ block: "nearest" }), [at]);

    function press(event: KeyboardEvent): void {
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        const next = { ArrowRight: at + 1, ArrowDown: at + 1, ArrowLeft: at - 1, ArrowUp: at - 1, Home: 0, End: items.length - 1 }[event.key];
        if (next === undefined || items.length === 0) return;
        event.preventDefault();
        onSelect(items[Math.min(Math.max(next, 0), items.length - 1)]!);
    }

    return (
        <div ref={list} class="tiles" role="listbox" aria-label={label} tabIndex={0} onKeyDown={press}
            aria-activedescendant={at >= 0 ? `${id}-${at}` : undefined}>
            {items.length === 0 && <p class="empty">{empty}</p>}
            {items.map((item, i) => (
                <div key={keyOf(item)} id={`${id}-${i}`} role="option" class="tile" aria-selected={i === at} title={titleOf(item)}
                    onClick={() => onSelect(item)}>{cell(item)}</div>
            ))}
        </div>
    );
}
