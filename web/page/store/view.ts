// Lifetime: the page. What is shown of it: the tab, the camera, what lies on the ground.
import { keep, kept } from "./connection";
import { state } from "./state";

export type Camera = "orbit" | "game";

/** The id of the pane in front, of those at the bottom. */
export const [tab, showTab] = state("health");
export const [camera, setCamera] = state<Camera>("orbit");
/** The id of the dialog that is open, or "". */
export const [openDialog, showDialog] = state("");
export const closeDialog = (): void => showDialog("");
/** The tabs have most of the room, for a while. */
const [isTall, setTall] = state(false);
export { isTall };
export const toggleTall = (): void => setTall(!isTall.peek());

/** The place of a splitter, in pixels. */
export function sizeOf(id: string, usual: number): number {
    const value = (kept.value["sizes"] as Record<string, unknown> | undefined)?.[id];
    return typeof value === "number" && Number.isFinite(value) ? value : usual;
}

export function keepSize(id: string, value: number): void {
    keep("sizes", { ...(kept.peek()["sizes"] as object | undefined), [id]: value });
}
