import { useSignal } from "@preact/signals";
import { mapUnits, selectUnits } from "../store/map";
import { clearEvents, mapEvents, type NumberedEvent } from "../store/map_play";
import { Check } from "../widgets/field";
import { Stream } from "../widgets/stream";
import { describeEvent } from "../work/map_orders";

/** What has happened on the map; choosing an event chooses its unit. */
export function MapEvents() {
    const withShow = useSignal(false);
    const names = new Map(mapUnits.value.map(({ unitId, unitName }) => [unitId, unitName]));
    const whoOf = ({ unitId }: NumberedEvent): string => unitId === undefined ? "" : `${names.get(unitId) ?? "gone"} ${unitId}`;
    return <Stream label="Events" searchLabel="Search in the events" keyOf={(one) => String(one.row)}
        items={withShow.value ? mapEvents.value : mapEvents.value.filter(({ kind }) => kind !== "effect" && kind !== "sound")}
        textOf={(one) => `${one.kind} ${whoOf(one)} ${describeEvent(one)}`} onClear={clearEvents}
        tools={<Check label="Effects" title="Smoke, flashes and sounds too" value={withShow.value}
            onChange={(on) => { withShow.value = on; }} />}
        onSelect={({ unitId }) => { if (unitId !== undefined && names.has(unitId)) selectUnits([unitId]); }}
        empty="Let time pass: what happens comes here." emptyFound="No event holds that." columns={[
            { title: "Tick", width: "44px", isNumber: true, cell: (one) => one.tick },
            { title: "Unit", width: "minmax(0, 1fr)", cell: whoOf },
            { title: "Event", width: "minmax(0, 1.6fr)", cell: (one) =>
                <span title={describeEvent(one)}>{describeEvent(one)}</span> },
        ]} />;
}
