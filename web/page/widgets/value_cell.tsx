import { useSignal } from "@preact/signals";
import { complain, endComplaint } from "../store/connection";
import { readInteger } from "../work/arguments";
import { messageOf } from "../work/newest";

interface CellProps<T> {
    label: string;
    value: T;
    isActive: boolean;
    write: (value: T) => unknown;
}

/** A whole number in a row that can be written. */
export function ValueCell({ label, value, isActive, write }: CellProps<number>) {
    return <TextCell label={label} value={String(value)} isActive={isActive} isNumber
        faultOf={(text) => wordsOf(readInteger(text))} write={(text) => write(Number(readInteger(text)))} />;
}

const wordsOf = (result: number | string): string => typeof result === "string" ? result : "";

/** A text in a row that can be written: Enter writes, Escape takes back. */
export function TextCell({ label, value, isActive, write, faultOf, isNumber, isQuiet }:
    CellProps<string> & { faultOf?: (text: string) => string; isNumber?: boolean; isQuiet?: boolean }) {
    const typed = useSignal<string | undefined>(undefined);
    const error = useSignal("");

    async function commit(): Promise<void> {
        const text = typed.peek();
        if (text === undefined) return;
        error.value = faultOf?.(text) ?? "";
        if (error.peek() !== "") return complain(`${label}: ${error.peek()}`);
        try {
            if (text !== value) await write(text);
            typed.value = undefined;
            endComplaint();
        } catch (failure) {
            error.value = messageOf(failure);
            complain(error.peek());
        }
    }

    return (
        <input class={`value ${isNumber ? "number" : ""} ${isQuiet ? "quiet" : ""}`} aria-label={label} spellcheck={false}
            title={error.value || `${label}: Enter writes it`} aria-invalid={error.value ? true : undefined}
            tabIndex={isActive ? 0 : -1} value={typed.value ?? value} inputMode={isNumber ? "numeric" : undefined}
            onInput={(event) => { typed.value = event.currentTarget.value; }}
            onKeyDown={(event) => {
                if (event.key === "Enter") void commit();
                else if (event.key === "Escape") { typed.value = undefined; error.value = ""; }
                else return;
                event.stopPropagation();
            }} onBlur={() => void commit()} />
    );
}
