import { useId, useRef } from "preact/hooks";
import type { ComponentChildren } from "preact";

export interface Tab {
    id: string;
    title: string;
    /** Beside the title, as a count. */
    note?: string | undefined;
    hint?: string;
}

/** One Tab stop; arrows, Home and End choose. */
export function Tabs({ label, tabs, chosen, onChoose, children, after }: {
    label: string; tabs: readonly Tab[]; chosen: string; onChoose: (id: string) => void;
    children: ComponentChildren; after?: ComponentChildren;
}) {
    const id = useId();
    const list = useRef<HTMLDivElement>(null);
    const at = Math.max(0, tabs.findIndex((tab) => tab.id === chosen));

    function move(event: KeyboardEvent): void {
        const next = { ArrowRight: at + 1, ArrowLeft: at - 1, Home: 0, End: tabs.length - 1 }[event.key];
        if (next === undefined) return;
        event.preventDefault();
        const to = (next + tabs.length) % tabs.length;
        onChoose(tabs[to]!.id);
        (list.current?.children[to] as HTMLElement | undefined)?.focus();
    }

    return (
        <section class="tabs" aria-label={label}>
            <div class="bar">
                <div ref={list} role="tablist" aria-label={label} onKeyDown={move}>
                    {tabs.map((tab, i) => (
                        <button key={tab.id} type="button" role="tab" id={`${id}-${tab.id}`} aria-selected={i === at}
                            aria-controls={`${id}-panel`} tabIndex={i === at ? 0 : -1} title={tab.hint ?? tab.title}
                            onClick={() => onChoose(tab.id)}>
                            {tab.title}{tab.note && <span class="note"> {tab.note}</span>}
                        </button>
                    ))}
                </div>
                {after}
            </div>
            <div role="tabpanel" id={`${id}-panel`} aria-labelledby={`${id}-${tabs[at]?.id ?? ""}`}>{children}</div>
        </section>
    );
}
