import { useSignal } from "@preact/signals";
import { MapEvents } from "../parts/map_events";
import { MapUnitsList } from "../parts/map_units_list";
import { MapsList } from "../parts/maps_list";
import { OrderForm } from "../parts/order_form";
import { PlaceForm } from "../parts/place_form";
import { ground, loadedMap, mapFailure } from "../store/map";
import { Failure } from "../widgets/states";
import { Tabs } from "../widgets/tabs";

const TOOLS = [
    { id: "place", title: "Place", hint: "Put units and features onto the map", view: PlaceForm },
    { id: "order", title: "Order", hint: "Tell the chosen units what to do", view: OrderForm },
    { id: "events", title: "Events", hint: "What has happened on the map, newest last", view: MapEvents },
] as const;

/** Maps of the game, and what stands on the loaded one. */
export function MapPane() {
    const tool = useSignal<string>(TOOLS[0].id);
    const Tool = (TOOLS.find(({ id }) => id === tool.value) ?? TOOLS[0]).view;
    return (
        <div class="pane" data-region="map">
            <div class="three">
                <MapsList />
                {loadedMap.value ? <MapUnitsList /> : <p class="empty">{ground.value.state === "loading" ? "Loading the map…"
                    : "Load a map: it takes the place of the unit above, and its units are listed here."}</p>}
                {loadedMap.value ? <Tabs label="Map tools" tabs={TOOLS.map(({ id, title, hint }) => ({ id, title, hint }))}
                    chosen={tool.value} onChoose={(id) => { tool.value = id; }}><Tool /></Tabs> : <span />}
            </div>
            {mapFailure.value && <Failure message={mapFailure.value} />}
        </div>
    );
}
