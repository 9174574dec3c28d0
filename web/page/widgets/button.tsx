import type { ComponentChildren } from "preact";
import { useSignal } from "@preact/signals";
import { keyText } from "../keys";
import { messageOf } from "../work/newest";
import { complain, endComplaint } from "../store/connection";

interface ButtonProps {
    children: ComponentChildren;
    /** What it does; for an icon also its name. */
    title: string;
    /** Of a row in the table of keys: the title then names its key. */
    verb?: string;
    /** May be asynchronous: the button waits, and an error is told. */
    onPress: () => unknown;
    /** Why it cannot be pressed now. */
    disabled?: string | false | undefined;
    kind?: "plain" | "main" | "icon";
    isPressed?: boolean;
    /** Of a dialog's buttons the one that Enter takes. */
    isFocused?: boolean;
    tabIndex?: number;
}

export function Button({ children, title, verb, onPress, disabled, kind = "plain", isPressed, isFocused,
    tabIndex }: ButtonProps) {
    const isBusy = useSignal(false);
    const key = verb ? keyText(verb) : "";

    async function press(event: Event): Promise<void> {
        event.stopPropagation();
        if (disabled || isBusy.peek()) return;
        isBusy.value = true;
        try {
            await onPress();
            endComplaint();
        } catch (error) {
            complain(messageOf(error));
        } finally {
            isBusy.value = false;
        }
    }

    return (
        <button type="button" class={`button ${kind}`} title={(disabled || title) + (key && ` (${key})`)}
            aria-label={kind === "icon" ? title : undefined} aria-disabled={disabled ? true : undefined}
            aria-pressed={isPressed} aria-busy={isBusy.value || undefined} tabIndex={tabIndex} autofocus={isFocused}
            onClick={press}>
            {children}
        </button>
    );
}
