import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import type { FolderListing } from "../../wire";
import { ask } from "../ask";
import { Field } from "./field";

/** A path with suggestions; says at once when nothing is there, unless it may be made. */
export function FolderField({ label, value, onInput, onEnter, isFocused, mayBeNew, hint }: {
    label: string; value: string; onInput: (text: string) => void; onEnter?: () => void; isFocused?: boolean; mayBeNew?: boolean; hint?: string;
}) {
    const listing = useSignal<FolderListing | undefined>(undefined);
    const below = useSignal<FolderListing | undefined>(undefined);
    useEffect(() => {
        let isOver = false;
        void look(value.trim()).then(([own, parent]) => {
            if (isOver) return;
            listing.value = own;
            below.value = own?.exists ? own : parent;
        }, () => {}); // without the server there are no suggestions
        return () => { isOver = true; };
    }, [value]);
    const isMissing = !mayBeNew && value.trim() !== "" && listing.value?.exists === false;
    const here = below.value;
    return <Field label={label} value={value} onInput={onInput} {...(onEnter ? { onEnter } : {})} {...(isFocused ? { isFocused } : {})} {...(hint ? { hint } : {})}
        error={isMissing ? "no such folder" : undefined}
        choices={here?.exists ? here.folders.slice(0, 200).map((name) => `${here.path.replace(/\/$/, "")}/${name}`) : []} />;
}

/** What lies in the folder, and in the one that its name begins in. */
async function look(path: string): Promise<FolderListing[]> {
    const parent = path.replace(/[^\\/]*$/, "") || "/";
    return path === "" ? [] : Promise.all([path, parent].map((one) => ask("server-folders", { path: one })));
}
