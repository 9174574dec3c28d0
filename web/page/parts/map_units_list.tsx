import type { MapUnit } from "protocol";
import { lookAtPlace } from "../map3d/handle";
import { mapUnits, selectedUnits, selectUnits, toggleUnit } from "../store/map";
import { Button } from "../widgets/button";
import { List } from "../widgets/list";
import { hexOf } from "../work/colors";
import { describeState } from "../work/map_orders";
import { playerColor } from "../work/players";
import { counted } from "../work/words";

/** What stands on the map. Enter looks there, the space bar chooses several. */
export function MapUnitsList() {
    const chosen = selectedUnits.value;
    const all = mapUnits.value;
    return (
        <div class="pane">
            <List label="Units on the map" items={all} keyOf={(one) => String(one.unitId)} selected={chosen.length > 0 ? String(chosen.at(-1)) : undefined}
                onSelect={(one) => selectUnits([one.unitId])} onActivate={({ x, y, z }) => lookAtPlace(x, z, y)} textOf={(one) => one.unitName}
                several={{ keys: new Set(chosen.map(String)), toggle: ({ unitId }) => toggleUnit(unitId),
                    choose: (some) => selectUnits(some.map(({ unitId }) => unitId)) }}
                empty="No units yet: place some."
                columns={[
                    { title: "Id", width: "32px", isNumber: true, cell: (one) => one.unitId },
                    { title: "Unit", width: "minmax(72px, 1fr)", cell: (one) => <><Player of={one} /> {one.unitName}</> },
                    { title: "State", width: "minmax(60px, 1fr)", cell: describeState },
                    { title: "Health", width: "80px", isNumber: true, cell: (one) => `${one.health} / ${one.maxHealth}` },
                    { title: "Place", width: "84px", isNumber: true, cell: (one) => `${Math.round(one.x)}, ${Math.round(one.z)}` },
                ]} />
            <div class="foot">
                <span>{counted(all.length, "unit")}{chosen.length > 0 && `, ${chosen.length} chosen`}</span>
                <Button title="Choose every unit (Ctrl+A)" disabled={all.length === 0 && "No units"}
                    onPress={() => selectUnits(mapUnits.peek().map(({ unitId }) => unitId))}>Choose all</Button>
            </div>
        </div>
    );
}

const Player = ({ of: { player } }: { of: MapUnit }) =>
    <span class="swatch" role="img" aria-label={`player ${player}`} title={`player ${player}`} style={{ background: hexOf(playerColor(player)) }} />;
