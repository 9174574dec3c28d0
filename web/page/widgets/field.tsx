import { useId } from "preact/hooks";
import type { ComponentChildren } from "preact";

interface FieldProps {
    label: string;
    value: string;
    onInput: (value: string) => void;
    /** Enter. */
    onEnter?: () => void;
    onEscape?: () => void;
    /** What is wrong with the value. */
    error?: string | undefined;
    hint?: string;
    /** What stands in an empty one; by default a compact one's label. */
    placeholder?: string | undefined;
    type?: "text" | "number" | "search" | "color";
    /** The label is read aloud only; the placeholder shows it. */
    isCompact?: boolean;
    isFocused?: boolean;
    disabled?: boolean;
    /** Suggestions. */
    choices?: readonly string[];
    after?: ComponentChildren;
}

/** A labelled line of input with its error below. */
export function Field(props: FieldProps) {
    const { label, value, onInput, onEnter, onEscape, error, hint, type = "text", isCompact, choices, after } = props;
    const id = useId();
    return (
        <div class={`field ${isCompact ? "compact" : ""}`}>
            {isCompact || <label for={id}>{label}</label>}
            <div class="line">
                <input id={id} type={type} value={value} aria-label={isCompact ? label : undefined}
                    placeholder={props.placeholder ?? (isCompact ? label : undefined)} aria-invalid={error ? true : undefined}
                    aria-describedby={error || hint ? `${id}-note` : undefined} title={hint ?? label} spellcheck={false}
                    autocomplete="off" list={choices ? `${id}-choices` : undefined} disabled={props.disabled}
                    autofocus={props.isFocused}
                    onInput={(event) => onInput(event.currentTarget.value)}
                    onKeyDown={(event) => {
                        if (event.key === "Enter" && onEnter) { event.preventDefault(); onEnter(); }
                        if (event.key === "Escape" && onEscape) { event.stopPropagation(); onEscape(); }
                    }} />
                {after}
            </div>
            {choices && <datalist id={`${id}-choices`}>{choices.map((one) => <option key={one} value={one} />)}</datalist>}
            {(error || hint) && <p id={`${id}-note`} class={error ? "error" : "hint"} role={error ? "alert" : undefined}>{error || hint}</p>}
        </div>
    );
}

interface ChoiceProps {
    label: string;
    value: string;
    options: readonly { value: string; text: string }[];
    onChange: (value: string) => void;
    isCompact?: boolean;
    title?: string;
}

/** One of several. */
export function Choice({ label, value, options, onChange, isCompact, title }: ChoiceProps) {
    const id = useId();
    return (
        <div class={`field ${isCompact ? "compact" : ""}`}>
            {isCompact || <label for={id}>{label}</label>}
            <select id={id} aria-label={isCompact ? label : undefined} title={title ?? label} value={value}
                onChange={(event) => onChange(event.currentTarget.value)}>
                {options.map((one) => <option key={one.value} value={one.value}>{one.text}</option>)}
            </select>
        </div>
    );
}

export function Check({ label, value, onChange, title }:
    { label: string; value: boolean; onChange: (value: boolean) => void; title?: string }) {
    return (
        <label class="check" title={title ?? label}>
            <input type="checkbox" checked={value} onChange={(event) => onChange(event.currentTarget.checked)} />
            {label}
        </label>
    );
}
