import { useSignal } from "@preact/signals";
import type { MapEntry, MapUnit } from "protocol";
import { lookAtPlace } from "../map3d/handle";
import { MapEvents } from "../parts/map_events";
import { OrderForm } from "../parts/order_form";
import { PlaceForm } from "../parts/place_form";
import { closeMap, ground, isMapShown, loadedMap, mapFailure, maps, mapUnits, openMap, selectedUnits, selectUnits, showMap, toggleUnit } from "../store/map";
import { roots } from "../store/roots";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Check, Choice } from "../widgets/field";
import { List } from "../widgets/list";
import { Failure, States } from "../widgets/states";
import { Tabs } from "../widgets/tabs";
import { hexOf } from "../work/colors";
import { playerColor } from "../work/players";
import { counted } from "../work/words";

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
                <Maps />
                {loadedMap.value ? <Units /> : <p class="empty">{ground.value.state === "loading" ? "Loading the map…" : "Load a map: it takes the place of the unit above, and its units are listed here."}</p>}
                {loadedMap.value ? <Tabs label="Map tools" tabs={TOOLS.map(({ id, title, hint }) => ({ id, title, hint }))} chosen={tool.value} onChoose={(id) => { tool.value = id; }}>
                    <Tool />
                </Tabs> : <span />}
            </div>
            {mapFailure.value && <Failure message={mapFailure.value} />}
        </div>
    );
}

function Maps() {
    const chosen = useSignal<string | undefined>(undefined);
    const schema = useSignal("0");
    const withUnits = useSignal(true);
    return (
        <States of={maps.shown.value} empty="Open a game: its maps are listed here." retry={maps.load}>
            {(all) => {
                const one = all.find(({ name }) => name === (chosen.value ?? loadedMap.value?.name)) ?? all[0];
                const open = (map: MapEntry) => openMap({ name: map.name, schema: map.schemas[Number(schema.peek())] === undefined ? 0 : Number(schema.peek()), placeUnits: withUnits.peek() });
                return (
                    <div class="pane">
                        <List label="Maps" items={all} keyOf={(map) => map.name} selected={one?.name} textOf={(map) => map.title || map.name}
                            onSelect={(map) => { chosen.value = map.name; schema.value = "0"; }} onActivate={(map) => void open(map)}
                            empty={roots.value?.mapsPath ? "No maps here." : "No maps here. Name a maps folder in Open… (Ctrl+O)."}
                            columns={[
                                { title: "Map", width: "minmax(64px, 1fr)", cell: (map) => <span title={[map.size, map.description].filter(Boolean).join(": ")}>{map.title || map.name}</span> },
                                { title: "Players", width: "48px", isNumber: true, cell: (map) => map.players },
                            ]} />
                        <div class="toolbar">
                            {one && one.schemas.length > 1 && <Choice label="Schema" isCompact value={schema.value} onChange={(value) => { schema.value = value; }}
                                options={one.schemas.map((type, i) => ({ value: String(i), text: type || `schema ${i}` }))} />}
                            <Check label="Its units" title="Place the units of the schema" value={withUnits.value} onChange={(on) => { withUnits.value = on; }} />
                            <Button kind="main" title="Load the chosen map" disabled={!one ? "No map" : !one.hasTerrain && "Its ground is missing"} onPress={() => one && open(one)}>Load</Button>
                            {all.length === 0 && <Button title="Open a game and mods" verb="open-roots" onPress={() => showDialog("roots")}>Open…</Button>}
                            {loadedMap.value && <Button title={isMapShown.value ? "Show the unit again; the map stays loaded" : "Show the map in the place of the unit"}
                                onPress={() => showMap(!isMapShown.peek())}>{isMapShown.value ? "Show unit" : "Show map"}</Button>}
                            {loadedMap.value && <Button title="Leave the map" onPress={closeMap}>Leave</Button>}
                        </div>
                    </div>
                );
            }}
        </States>
    );
}

function Units() {
    const chosen = selectedUnits.value;
    const look = ({ x, y, z }: MapUnit): void => lookAtPlace(x, z, y);
    return (
        <div class="pane">
            <List label="Units on the map" items={mapUnits.value} keyOf={(one) => String(one.unitId)} selected={chosen.length > 0 ? String(chosen.at(-1)) : undefined}
                onSelect={(one) => selectUnits([one.unitId])} onActivate={look} textOf={(one) => one.unitName}
                rowClass={(one) => chosen.includes(one.unitId) ? "picked" : ""}
                onKey={(event, one) => event.key === " " && one !== undefined && (toggleUnit(one.unitId), true)}
                empty="No units yet: place some."
                columns={[
                    { title: "Id", width: "32px", isNumber: true, cell: (one) => one.unitId },
                    { title: "Unit", width: "minmax(72px, 1fr)", cell: (one) => <><span class="swatch" title={`player ${one.player}`} style={{ background: hexOf(playerColor(one.player)) }} /> {one.unitName}</> },
                    { title: "State", width: "minmax(60px, 1fr)", cell: stateOf },
                    { title: "Health", width: "80px", isNumber: true, cell: (one) => `${one.health} / ${one.maxHealth}` },
                    { title: "Place", width: "84px", isNumber: true, cell: (one) => `${Math.round(one.x)}, ${Math.round(one.z)}` },
                ]} />
            <div class="foot">
                <span>{counted(mapUnits.value.length, "unit")}{chosen.length > 0 && `, ${chosen.length} chosen`}</span>
                <Button title="Choose every unit" disabled={mapUnits.value.length === 0 && "No units"} onPress={() => selectUnits(mapUnits.peek().map(({ unitId }) => unitId))}>Choose all</Button>
            </div>
        </div>
    );
}

function stateOf({ state, order, buildFraction, queued }: MapUnit): string {
    if (state === "nanoframe") return `frame, ${Math.round(buildFraction * 100)} % built`;
    return `${order ?? state}${queued > 0 ? `, ${queued} queued` : ""}`;
}
