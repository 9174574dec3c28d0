import { useSignal } from "@preact/signals";
import { Button } from "./button";
import { Field } from "./field";

const MAX_SUGGESTED = 500;

/** Units by name, each once: one more is typed, or the one at hand is taken. */
export function UnitChips({ label, names, known, own, onChange }: {
    label: string; names: readonly string[]; known: readonly { name: string }[];
    /** The unit that is loaded. */
    own: string | undefined;
    onChange: (names: readonly string[]) => void;
}) {
    const typed = useSignal("");
    const has = (name: string): boolean => names.some((one) => one.toLowerCase() === name.toLowerCase());
    const add = (name: string): void => {
        if (name !== "" && !has(name)) onChange([...names, name]);
        typed.value = "";
    };
    return <>
        <Field label={label} isCompact value={typed.value} onInput={(text) => { typed.value = text; }}
            onEnter={() => add(typed.peek().trim())}
            choices={known.slice(0, MAX_SUGGESTED).map(({ name }) => name)} hint="A unit's name, then Enter" />
        {own !== undefined && !has(own) && <Button title="Add the unit that is loaded" onPress={() =>
            add(own)}>Add {own}</Button>}
        {names.map((name) => <span key={name} class="chip">{name}
            <Button kind="icon" title={`Leave ${name} out`}
                onPress={() => onChange(names.filter((one) => one !== name))}>✕</Button></span>)}
    </>;
}
