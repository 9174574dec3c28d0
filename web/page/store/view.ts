// Lifetime: the page. What is shown of it: the tab, the camera, what lies on the ground.
import { type ReadonlySignal, signal } from "@preact/signals";
import { keep, kept } from "./connection";

export type Camera = "orbit" | "game";

const tabSignal = signal("health");
const cameraSignal = signal<Camera>("orbit");
const dialogSignal = signal("");
const tallSignal = signal(false);

/** The id of the pane in front, of those at the bottom. */
export const tab: ReadonlySignal<string> = tabSignal;
export const camera: ReadonlySignal<Camera> = cameraSignal;
/** The id of the dialog that is open, or "". */
export const openDialog: ReadonlySignal<string> = dialogSignal;

/** The tabs have most of the room, for a while. */
export const isTall: ReadonlySignal<boolean> = tallSignal;

export function toggleTall(): void {
    tallSignal.value = !tallSignal.peek();
}

export function showTab(id: string): void {
    tabSignal.value = id;
}

export function setCamera(value: Camera): void {
    cameraSignal.value = value;
}

export function showDialog(id: string): void {
    dialogSignal.value = id;
}

export function closeDialog(): void {
    dialogSignal.value = "";
}

/** The place of a splitter, in pixels. */
export function sizeOf(id: string, usual: number): number {
    const value = (kept.value["sizes"] as Record<string, unknown> | undefined)?.[id];
    return typeof value === "number" && Number.isFinite(value) ? value : usual;
}

export function keepSize(id: string, value: number): void {
    keep("sizes", { ...(kept.peek()["sizes"] as object | undefined), [id]: value });
}
