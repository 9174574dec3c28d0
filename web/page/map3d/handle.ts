// The one map view that is there, for commands and lists that bring a place into sight.
import type { MapView } from "./map_view";

let view: MapView | undefined;

/** Returns what ends it. */
export function setMapView(value: MapView): () => void {
    view = value;
    return () => { if (view === value) view = undefined; };
}

export function fitMap(): boolean {
    view?.fit();
    return view !== undefined;
}

export function lookAtPlace(x: number, z: number, y: number): void {
    view?.lookAt(x, z, y);
}
