import { ground, mapUnits, place, pointer, setPointer } from "../store/map";
import { placing, setPlacing } from "../store/map_clicks";
import { units } from "../store/roots";
import { valueOf } from "../store/resource";
import { wantedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { readPlace } from "../work/map_orders";
import { NUMBERS, numberFault, type Placing, placingFault, spawnAt } from "../work/placing";
import { PLAYERS } from "../work/players";

/** Who comes onto the map, and how; a click on it then says where. */
export function PlaceForm() {
    const { kind, where } = placing.value;
    const now: Placing = { ...placing.value, name: placing.value.name || (kind === "unit" ? wantedUnit.value : "") };
    const names = kind === "unit" ? units.value.map((unit) => unit.name)
        : valueOf(ground.value)?.features.types.map((type) => type.name) ?? [];
    const at = readPlace(where, mapUnits.value);
    const fault = placingFault(now, mapUnits.value);
    const press = (): unknown => {
        if (fault) return undefined;
        setPlacing({ name: now.name });
        if (typeof at === "object") return place(() => spawnAt(now, at.x, at.z));
        return setPointer(pointer.peek() === "place" ? "select" : "place");
    };
    return (
        <form class="fix placing" aria-label="Place" onSubmit={(event) => event.preventDefault()}>
            <div class="words">
                <Choice label="What" value={kind}
                    onChange={(next) => setPlacing({ kind: next as Placing["kind"], name: "" })}
                    options={[{ value: "unit", text: "Unit" }, { value: "feature", text: "Feature" }]} />
                <Field label="Name" value={now.name} onInput={(name) => setPlacing({ name })} choices={names} />
                {kind === "unit" && <Choice label="Player" value={String(now.player)} onChange={(player) =>
                    setPlacing({ player: Number(player) })}
                    options={Array.from({ length: PLAYERS }, (_, i) => ({ value: String(i + 1), text: String(i + 1) }))} />}
                {kind === "unit" && NUMBERS.map((field) =>
                    <Field key={field.key} label={field.label} value={now[field.key]} hint={field.hint}
                    error={numberFault(field, now) || undefined}
                    onInput={(text) => setPlacing({ [field.key]: text })} />)}
                <Field label="Where" value={where} error={typeof at === "string" ? at : undefined}
                    hint="x and z; empty: by click on the map"
                    onInput={(text) => setPlacing({ where: text })} onEnter={() => void press()} />
            </div>
            <Button kind="main" title={at ? "At the place that is named" : "Then click on the map, as often as you like"}
                disabled={fault} isPressed={pointer.value === "place"} onPress={press}>
                {at ? "Place" : pointer.value === "place" ? "Placing…" : "Place by click"}</Button>
        </form>
    );
}
