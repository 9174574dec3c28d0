import { ground, mapUnits, place, pointer, setPointer } from "../store/map";
import { type Placing, placing, setPlacing, spawnAt } from "../store/map_clicks";
import { units } from "../store/roots";
import { valueOf } from "../store/resource";
import { wantedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { readPlace } from "../work/map_orders";
import { PLAYERS } from "../work/players";

const NUMBERS: readonly { key: "count" | "heading" | "health" | "built"; label: string; hint: string }[] = [
    { key: "count", label: "Count", hint: "1 to 1,000, in a block" }, { key: "heading", label: "Heading", hint: "degrees; 0 faces south" },
    { key: "health", label: "Health", hint: "percent" }, { key: "built", label: "Built", hint: "percent; less than 100 is a frame" },
];

/** Who comes onto the map, and how; a click on it then says where. */
export function PlaceForm() {
    const now = placing.value;
    const name = now.name || (now.kind === "unit" ? wantedUnit.value : "");
    const names = now.kind === "unit" ? units.value.map((unit) => unit.name) : valueOf(ground.value)?.features.types.map((type) => type.name) ?? [];
    const at = readPlace(now.where, mapUnits.value);
    const missing = name ? typeof at === "string" && at : `Name a ${now.kind}`;
    const press = (): unknown => {
        setPlacing({ name });
        if (typeof at === "object") return place(spawnAt({ ...now, name }, at.x, at.z));
        return setPointer(pointer.peek() === "place" ? "select" : "place");
    };
    return (
        <form class="fix" aria-label="Place" onSubmit={(event) => event.preventDefault()}>
            <div class="words">
                <Choice label="What" value={now.kind} onChange={(kind) => setPlacing({ kind: kind as Placing["kind"], name: "" })}
                    options={[{ value: "unit", text: "Unit" }, { value: "feature", text: "Feature" }]} />
                <Field label="Name" value={name} onInput={(text) => setPlacing({ name: text })} choices={names} />
                {now.kind === "unit" && <Choice label="Player" value={String(now.player)}
                    onChange={(player) => setPlacing({ player: Number(player) })}
                    options={Array.from({ length: PLAYERS }, (_, i) => ({ value: String(i + 1), text: String(i + 1) }))} />}
                {now.kind === "unit" && NUMBERS.map(({ key, label, hint }) =>
                    <Field key={key} label={label} type="number" value={String(now[key])} hint={hint} onInput={(text) => setPlacing({ [key]: Number(text) || 0 })} />)}
                <Field label="Where" value={now.where} error={typeof at === "string" ? at : undefined} hint="x and z; empty: by click on the map"
                    onInput={(where) => setPlacing({ where })} onEnter={() => void press()} />
            </div>
            <Button kind="main" title={at ? "At the place that is named" : "Then click on the map, as often as you like"}
                disabled={missing} isPressed={pointer.value === "place"} onPress={press}>
                {at ? "Place" : pointer.value === "place" ? "Placing…" : "Place by click"}</Button>
        </form>
    );
}
