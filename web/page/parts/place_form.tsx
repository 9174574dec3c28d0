import { loadedMap, place, pointer, setPointer } from "../store/map";
import { type Placing, placing, setPlacing, spawnAt } from "../store/map_clicks";
import { units } from "../store/roots";
import { ground } from "../store/map";
import { valueOf } from "../store/resource";
import { wantedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
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
    const missing = name ? false : `Name a ${now.kind}`;
    const begin = (): void => { setPlacing({ name }); setPointer(pointer.peek() === "place" ? "select" : "place"); };
    const map = loadedMap.value;
    return (
        <form class="fix" aria-label="Place" onSubmit={(event) => event.preventDefault()}>
            <div class="words">
                <Choice label="What" value={now.kind} onChange={(kind) => setPlacing({ kind: kind as Placing["kind"], name: "" })}
                    options={[{ value: "unit", text: "Unit" }, { value: "feature", text: "Feature" }]} />
                <Field label="Name" value={name} onInput={(text) => setPlacing({ name: text })} choices={names} />
                {now.kind === "unit" && <Choice label="Player" value={String(now.player)} onChange={(player) => setPlacing({ player: Number(player) })}
                    options={Array.from({ length: PLAYERS }, (_, i) => ({ value: String(i + 1), text: String(i + 1) }))} />}
                {now.kind === "unit" && NUMBERS.map(({ key, label, hint }) =>
                    <Field key={key} label={label} type="number" value={String(now[key])} hint={hint} onInput={(text) => setPlacing({ [key]: Number(text) || 0 })} />)}
            </div>
            <div class="row-buttons">
                <Button kind="main" title="Then click on the map, as often as you like" disabled={missing} isPressed={pointer.value === "place"} onPress={begin}>
                    {pointer.value === "place" ? "Placing…" : "Place by click"}</Button>
                <Button title="In the middle of the map" disabled={missing || (!map && "No map is loaded")}
                    onPress={() => map && place(spawnAt({ ...now, name }, map.width / 2, map.height / 2))}>Place in the middle</Button>
            </div>
        </form>
    );
}
