import { useSignal } from "@preact/signals";
import type { MapUnit } from "protocol";
import { mapUnits, pointer, selectedUnits, setPointer } from "../store/map";
import { give, orderWords, preparedOrder, prepareOrder, typeOrderWord } from "../store/map_play";
import { units } from "../store/roots";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { ORDERS, readPlace } from "../work/map_orders";

/** An order for the chosen units; one that needs a place waits for a click on the map. */
export function OrderForm() {
    const row = preparedOrder.value;
    const words = orderWords.value;
    const where = useSignal("");
    const chosen = mapUnits.value.filter(({ unitId }) => selectedUnits.value.includes(unitId));
    const none = chosen.length === 0 && "Choose units: click them on the map or in the list";
    const at = row.aim ? readPlace(where.value, mapUnits.value) : undefined;
    const press = (): unknown => !row.aim || typeof at === "object" ? give(row, false, typeof at === "object" ? at : undefined)
        : setPointer(pointer.peek() === "order" ? "select" : "order");
    return (
        <form class="fix" aria-label="Order" onSubmit={(event) => event.preventDefault()}>
            <Choice label="Order" value={row.order} onChange={(word) => prepareOrder(ORDERS.find(({ order }) => order === word)!)}
                options={ORDERS.map(({ order, title }) => ({ value: order, text: title }))} />
            {row.takes && <div class="words">
                {row.takes === "value" && <Field label="Value" value={words.value} onInput={(value) => typeOrderWord({ value })} />}
                {row.takes === "unit" && <Field label="Unit" value={words.unit}
                    onInput={(unit) => typeOrderWord({ unit })} choices={units.value.map(({ name }) => name)} />}
                {row.takes === "unit" && <Field label="Count" value={words.count} onInput={(count) => typeOrderWord({ count })} hint="Of a factory" />}
                {row.takes === "script" && <Field label="Script" value={words.script} onInput={(script) => typeOrderWord({ script })} />}
                {row.takes === "script" && <Field label="Arguments" value={words.args} onInput={(args) => typeOrderWord({ args })}
                    hint="Whole numbers between blanks or commas" />}
            </div>}
            {row.aim && <Field label="Where" value={where.value} error={typeof at === "string" ? at : undefined}
                hint="x and z, or # and a unit's id; empty: by click on the map"
                onInput={(text) => { where.value = text; }} onEnter={() => void press()} />}
            <p>{none || `To ${sayUnits(chosen)}`}</p>
            <Button kind="main" title={row.note} disabled={none || (typeof at === "string" && at)} isPressed={pointer.value === "order"} onPress={press}>
                {row.aim && !at ? pointer.value === "order" ? "Click where…" : `${row.title} by click` : row.title}</Button>
            <p class="quiet">{row.note}</p>
        </form>
    );
}

const SAID_UNITS = 3;

function sayUnits(all: readonly MapUnit[]): string {
    const names = all.slice(0, SAID_UNITS).map(({ unitName, unitId }) => `${unitName} ${unitId}`).join(", ");
    return all.length > SAID_UNITS ? `${names} and ${all.length - SAID_UNITS} more` : names;
}
