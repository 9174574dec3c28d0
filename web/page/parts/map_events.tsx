import { useSignal } from "@preact/signals";
import { mapUnits, selectUnits } from "../store/map";
import { clearEvents, mapEvents, type NumberedEvent } from "../store/map_play";
import { Button } from "../widgets/button";
import { Check, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { describeEvent } from "../work/map_orders";

/** What has happened on the map; choosing an event chooses its unit. */
export function MapEvents() {
    const wanted = useSignal("");
    const follows = useSignal(true);
    const withShow = useSignal(false);
    const names = new Map(mapUnits.value.map(({ unitId, unitName }) => [unitId, unitName]));
    const whoOf = ({ unitId }: NumberedEvent): string => unitId === undefined ? "" : `${names.get(unitId) ?? "gone"} ${unitId}`;
    const text = wanted.value.toLowerCase();
    const told = withShow.value ? mapEvents.value : mapEvents.value.filter(({ kind }) => kind !== "effect" && kind !== "sound");
    const shown = text === "" ? told : told.filter((one) => `${one.kind} ${whoOf(one)} ${describeEvent(one)}`.toLowerCase().includes(text));
    return (
        <div class="pane">
            <div class="toolbar">
                <Field label="Search in the events" type="search" isCompact value={wanted.value} onInput={(value) => { wanted.value = value; }} />
                <Check label="Follow" title="Keep the newest event in sight" value={follows.value} onChange={(on) => { follows.value = on; }} />
                <Check label="Effects" title="Smoke, flashes and sounds too" value={withShow.value} onChange={(on) => { withShow.value = on; }} />
                <Button title="Empty this list" onPress={clearEvents}>Clear</Button>
            </div>
            <List label="Events" items={shown} keyOf={(one) => String(one.row)} followsEnd={follows.value}
                onSelect={({ unitId }) => { if (unitId !== undefined && names.has(unitId)) selectUnits([unitId]); }}
                columns={[
                    { title: "Tick", width: "44px", isNumber: true, cell: (one) => one.tick },
                    { title: "Unit", width: "minmax(0, 1fr)", cell: whoOf },
                    { title: "Event", width: "minmax(0, 1.6fr)", cell: (one) => <span title={describeEvent(one)}>{describeEvent(one)}</span> },
                ]}
                empty={text ? "No event holds that." : "Let time pass: what happens comes here."} />
        </div>
    );
}
