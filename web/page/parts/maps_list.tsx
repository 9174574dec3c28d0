import { useSignal } from "@preact/signals";
import type { MapEntry } from "protocol";
import { closeMap, isMapShown, loadedMap, maps, openMap, showMap } from "../store/map";
import { roots } from "../store/roots";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Check, Choice } from "../widgets/field";
import { List } from "../widgets/list";
import { States } from "../widgets/states";

/** Maps of the game; one is loaded with the units of a schema or without. */
export function MapsList() {
    const chosen = useSignal<string | undefined>(undefined);
    const schema = useSignal(0);
    const withUnits = useSignal(true);
    const open = (map: MapEntry): Promise<void> =>
        openMap({ name: map.name, schema: schema.peek() < map.schemas.length ? schema.peek() : 0, placeUnits: withUnits.peek() });
    const choose = (map: MapEntry): void => { chosen.value = map.name; schema.value = 0; };
    return (
        <States of={maps.shown.value} empty="Open a game: its maps are listed here." retry={maps.load}>
            {(all) => {
                const one = all.find(({ name }) => name === (chosen.value ?? loadedMap.value?.name)) ?? all[0];
                return (
                    <div class="pane">
                        <List label="Maps" items={all} keyOf={(map) => map.name} selected={one?.name} textOf={(map) => map.title || map.name}
                            onSelect={choose} onActivate={(map) => void open(map)}
                            empty={roots.value?.mapsPath ? "No maps here." : "No maps here. Name a maps folder in Open… (Ctrl+O)."}
                            columns={[
                                { title: "Map", width: "minmax(64px, 1fr)", cell: (map) => <span title={aboutMap(map)}>{map.title || map.name}</span> },
                                { title: "Players", width: "48px", isNumber: true, cell: (map) => map.players },
                            ]} />
                        <div class="toolbar">
                            {one && one.schemas.length > 1 && <Choice label="Schema" isCompact value={String(schema.value)}
                                onChange={(value) => { schema.value = Number(value); }}
                                options={one.schemas.map((type, i) => ({ value: String(i), text: type || `schema ${i}` }))} />}
                            <Check label="Its units" title="Place the units of the schema" value={withUnits.value}
                                onChange={(on) => { withUnits.value = on; }} />
                            <Button kind="main" title="Load the chosen map" onPress={() => one && open(one)}
                                disabled={!one ? "No map" : !one.hasTerrain && "Its ground is missing"}>Load</Button>
                            {all.length === 0 && <Button title="Open a game and mods" verb="open-roots" onPress={() => showDialog("roots")}>Open…</Button>}
                            {loadedMap.value && <LoadedButtons />}
                        </div>
                    </div>
                );
            }}
        </States>
    );
}

const aboutMap = ({ size, description }: MapEntry): string => [size, description].filter(Boolean).join(": ");

function LoadedButtons() {
    const isShown = isMapShown.value;
    return (
        <>
            <Button title={isShown ? "Show the unit again; the map stays loaded" : "Show the map in the place of the unit"} verb="show-map"
                onPress={() => showMap(!isShown)}>{isShown ? "Show unit" : "Show map"}</Button>
            <Button title="Leave the map" onPress={closeMap}>Leave</Button>
        </>
    );
}
