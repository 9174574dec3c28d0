// The one map view that is there, for commands and lists that bring a place into sight.
import { current } from "../view3d/current";
import type { MapView } from "./map_view";

export const mapView = current<MapView>();

export function fitMap(): boolean {
    mapView.get()?.fit();
    return mapView.get() !== undefined;
}

export function lookAtPlace(x: number, z: number, y: number): void {
    mapView.get()?.lookAt(x, z, y);
}
