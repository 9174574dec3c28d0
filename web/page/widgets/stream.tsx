import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { Button } from "./button";
import { Check, Field } from "./field";
import { List, type ListProps } from "./list";

/** What comes row by row, the newest last: it can be searched, followed and emptied. */
export function Stream<T>({ items, textOf, searchLabel, emptyFound, onClear, tools, children, ...list }:
    Omit<ListProps<T>, "followsEnd" | "textOf"> & {
        /** What is searched. */
        textOf: (item: T) => string;
        searchLabel: string;
        /** When nothing is found. */
        emptyFound: string;
        onClear: () => void;
        /** Further ones. */
        tools?: ComponentChildren;
        /** Between them and the rows. */
        children?: ComponentChildren;
    }) {
    const wanted = useSignal("");
    const follows = useSignal(true);
    const text = wanted.value.toLowerCase();
    const shown = text === "" ? items : items.filter((item) => textOf(item).toLowerCase().includes(text));
    return (
        <div class="pane">
            <div class="toolbar">
                <Field label={searchLabel} type="search" isCompact value={wanted.value}
                    onInput={(value) => { wanted.value = value; }} />
                <Check label="Follow" title="Keep the newest row in sight" value={follows.value}
                    onChange={(on) => { follows.value = on; }} />
                {tools}
                <Button title="Empty this list" onPress={onClear}>Clear</Button>
            </div>
            {children}
            <List<T> {...list} items={shown} followsEnd={follows.value} empty={text ? emptyFound : list.empty} />
        </div>
    );
}
