import { useSignal } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { createUnitView, type UnitView } from "../view3d/unit_view";
import { messageOf } from "../work/newest";

/** A model to turn with the mouse. */
export function ModelPreview({ label, glb }: { label: string; glb: ArrayBuffer }) {
    const canvas = useRef<HTMLCanvasElement>(null);
    const view = useRef<UnitView | undefined>(undefined);
    const failure = useSignal("");
    const isDrawn = useSignal(false);
    useEffect(() => {
        const made = createUnitView(canvas.current!, () => {});
        view.current = made;
        return () => { view.current = undefined; made.free(); };
    }, []);
    useEffect(() => {
        isDrawn.value = false;
        view.current?.show(glb, [0, 0], false).then(
            () => { failure.value = ""; isDrawn.value = true; }, (error) => { failure.value = messageOf(error); });
    }, [glb]);
    return (
        <div class="stage">
            <canvas ref={canvas} class="view-canvas" tabIndex={0} role="img" data-drawn={isDrawn.value} aria-label={`${label} in 3D; drag turns it`} />
            {failure.value && <p class="failure middle" role="alert">{failure.value}</p>}
        </div>
    );
}
