import { useSignal } from "@preact/signals";
import { say } from "../store/connection";
import { messageOf } from "../work/newest";

/** A number in a row that can be written: Enter writes, Escape takes back. */
export function ValueCell({ label, value, isActive, write }:
    { label: string; value: number; isActive: boolean; write: (value: number) => Promise<void> }) {
    const typed = useSignal<string | undefined>(undefined);
    const error = useSignal("");

    async function commit(): Promise<void> {
        const text = typed.peek();
        if (text === undefined) return;
        if (!/^-?\d+$/.test(text.trim())) { error.value = "not a whole number"; return; }
        try {
            await write(Number(text));
            typed.value = undefined;
            error.value = "";
        } catch (failure) {
            error.value = messageOf(failure);
            say(error.peek());
        }
    }

    return (
        <input class="value" aria-label={label} title={error.value || `${label}: Enter writes it`} aria-invalid={error.value ? true : undefined}
            tabIndex={isActive ? 0 : -1} value={typed.value ?? String(value)} inputMode="numeric"
            onInput={(event) => { typed.value = event.currentTarget.value; }}
            onKeyDown={(event) => {
                if (event.key === "Enter") void commit();
                else if (event.key === "Escape") { typed.value = undefined; error.value = ""; }
                else return;
                event.stopPropagation();
            }} onBlur={() => void commit()} />
    );
}
