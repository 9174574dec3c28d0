import { effect } from "@preact/signals";
import { useRef } from "preact/hooks";
import { fitMap, lookAtPlace, mapView } from "../map3d/handle";
import { createMapView, type MapView } from "../map3d/map_view";
import { type Drawn, useStage } from "../parts/stage_canvas";
import { ground, groundHeight, loadedMap, mapFeatures, mapUnits, selectedUnits, showMap, snapshot } from "../store/map";
import { clickMap, pointerHint } from "../store/map_clicks";
import { modelOf, pictureOf } from "../store/map_models";
import { valueOf } from "../store/resource";
import { Button } from "../widgets/button";
import { Picture } from "../widgets/picture";
import { Failure } from "../widgets/states";

/** The loaded map in the place of the unit. */
export function MapStage() {
    const { canvas, failure, shown } = useStage((element) => createMapView(element, modelOf, clickMap), mapView,
        followStore);
    const map = loadedMap.value;
    return (
        <section class="view3d" aria-label="Map view">
            <div class="stage">
                <canvas ref={canvas} class="view-canvas" tabIndex={0} role="img" data-map={shown}
                    aria-label={`${map?.title ?? "No map"}: drag moves it, the right button turns it, a click chooses a unit`} />
                <div class="over">
                    <Button title="Bring the whole map into view" verb="fit-map" onPress={fitMap}>Fit</Button>
                    <Button title="Show the unit again; the map stays loaded" onPress={() => showMap(false)}>Unit</Button>
                </div>
                <div class="under chip" role="status" aria-label="What a click does">{pointerHint.value}</div>
                <Minimap />
                {failure && <Failure message={failure} />}
            </div>
        </section>
    );
}

/** Of so many units the minimap shows where they are. */
const MAX_DOTS = 500;

/** A click looks there; its arrows are those of the view. */
function Minimap() {
    const known = valueOf(ground.value);
    const png = useRef<{ of: ArrayBuffer; bytes: Uint8Array } | undefined>(undefined);
    if (!known) return null;
    if (png.current?.of !== known.minimap) png.current = { of: known.minimap, bytes: new Uint8Array(known.minimap) };
    const { width, height } = known.map;
    const percent = (part: number, whole: number): string => `${part / whole * 100}%`;
    return (
        <div class="minimap" title="Click: look there" style={{ aspectRatio: `${width} / ${height}` }}
            onClick={(event) => {
                const box = event.currentTarget.getBoundingClientRect();
                const [x, z] = [(event.clientX - box.left) / box.width * width, (event.clientY - box.top) / box.height * height];
                lookAtPlace(x, z, groundHeight(x, z));
            }}>
            <Picture png={png.current.bytes} label="Minimap" />
            {mapUnits.value.slice(0, MAX_DOTS).map(({ unitId, x, z }) =>
                <i key={unitId} class={selectedUnits.value.includes(unitId) ? "chosen" : ""} style={{ left: percent(x, width), top: percent(z, height) }} />)}
        </div>
    );
}

function followStore(view: MapView, told: Drawn): (() => void)[] {
    return [
        effect(() => {
            const known = valueOf(ground.value);
            view.show(known?.heights, known?.picture, known?.map.seaLevel ?? 0).then(() =>
                told.shown(known?.map.name ?? ""), told.failed);
        }),
        effect(() => {
            const types = valueOf(ground.value)?.features.types ?? [];
            view.setFeatures(mapFeatures.value, (type) => types[type] ? pictureOf(types[type]!)
                : Promise.resolve(undefined), types);
        }),
        effect(() => view.setUnits(mapUnits.value, new Set(selectedUnits.value))),
        effect(() => view.setProjectiles(snapshot.value?.projectiles ?? [])),
        effect(() => {
            const burning = new Set(snapshot.value?.features?.burning);
            view.setFires(burning.size > 0 ? mapFeatures.value.filter(([id]) => burning.has(id)) : []);
        }),
    ];
}
