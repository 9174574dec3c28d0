import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import type { FolderListing } from "../../wire";
import { ask } from "../ask";
import { newestNext } from "../work/newest";
import { Field } from "./field";

/** A path with suggestions; says at once when nothing is there, unless it may be made. */
export function FolderField({ label, value, onInput, onEnter, isFocused, mayBeNew, hint }: {
    label: string; value: string; onInput: (text: string) => void; onEnter?: () => void; isFocused?: boolean; mayBeNew?: boolean; hint?: string;
}) {
    const listing = useSignal<FolderListing | undefined>(undefined);
    const below = useSignal<FolderListing | undefined>(undefined);
    useEffect(() => {
        let isOver = false;
        void newestNext(async () => {
            const path = value.trim();
            const [own, parent] = path === "" ? [undefined, undefined]
                : await Promise.all([ask("server-folders", { path }), ask("server-folders", { path: path.replace(/[^\\/]*$/, "") || "/" })]);
            if (isOver) return;
            listing.value = own;
            below.value = own?.exists ? own : parent;
        })();
        return () => { isOver = true; };
    }, [value]);
    const isMissing = !mayBeNew && value.trim() !== "" && listing.value?.exists === false;
    const here = below.value;
    return <Field label={label} value={value} onInput={onInput} {...(onEnter ? { onEnter } : {})} {...(isFocused ? { isFocused } : {})} {...(hint ? { hint } : {})}
        error={isMissing ? "no such folder" : undefined}
        choices={here?.exists ? here.folders.slice(0, 200).map((name) => `${here.path.replace(/\/$/, "")}/${name}`) : []} />;
}
