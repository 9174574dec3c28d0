import { effect, useSignal } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { ask } from "../ask";
import { isAlive } from "../store/connection";
import { placeOfStop, report, runFailure } from "../store/run";
import { litFaces, pickedFaces, pickFace } from "../store/model_edit";
import { loadedUnit, model, selectedPiece, setTeamColor, teamColor, unit } from "../store/unit";
import { camera, setCamera } from "../store/view";
import { createUnitView, type UnitView } from "../view3d/unit_view";
import { fitView, setView } from "../view3d/handle";
import { Button } from "../widgets/button";
import { Failure, StatusMark } from "../widgets/states";
import { messageOf } from "../work/newest";
import { hexOf, readHex } from "../work/colors";
import { counted } from "../work/words";

/** The unit as it stands, and what drives it. */
export function View3dPane() {
    const canvas = useRef<HTMLCanvasElement>(null);
    const failure = useSignal("");
    const shown = useSignal("");

    useEffect(() => {
        try {
            const view = createUnitView(canvas.current!, pickFace);
            const unset = setView(view);
            const stop = followStore(view, (text) => { failure.value = text; }, (name) => { shown.value = name; });
            return () => { stop(); unset(); view.free(); };
        } catch (error) {
            failure.value = `this browser draws no 3D: ${messageOf(error)}`;
            return undefined;
        }
    }, []);

    const name = loadedUnit.value?.unitName;
    const { state } = unit.value;
    return (
        <section class="view3d" aria-label="3D view">
            <div class="stage">
                <canvas ref={canvas} class="view-canvas" tabIndex={0} role="img" data-shown={shown.value}
                    aria-label={name ? `${name} in 3D; drag turns it, a click chooses a piece` : "No unit is shown"} />
                <div class="over">
                    <Button title="Change between orbit and game camera" verb="camera" isPressed={camera.value === "game"}
                        onPress={() => setCamera(camera.peek() === "orbit" ? "game" : "orbit")}>Game camera</Button>
                    <Button title="Bring the whole unit into view" verb="fit" onPress={fitView}>Fit</Button>
                    <label class="check" title="The colour of the owning player">Team
                        <input type="color" value={hexOf(teamColor.value)}
                            onChange={(event) => setTeamColor(readHex(event.currentTarget.value))} />
                    </label>
                </div>
                <ScriptState />
                {state === "empty" && <p class="empty middle">Choose a unit in the list.</p>}
                {unit.value.state === "failed" && <div class="middle"><Failure message={unit.value.message} /></div>}
                {failure.value && <div class="middle"><Failure message={failure.value} /></div>}
            </div>
        </section>
    );
}

/** What the script is at. */
function ScriptState() {
    const now = report.value;
    if (runFailure.value) return <div class="under"><StatusMark status="missing" word={runFailure.value} /></div>;
    if (!now) return null;
    return <div class="under">{now.isPaused ? <StatusMark status="warn" word={placeOfStop(now)} /> : counted(now.threadCount, "thread")}</div>;
}

/** The store reaches the view by effects; returns what ends them. */
function followStore(view: UnitView, failed: (text: string) => void, shown: (name: string) => void): () => void {
    let before = "";
    // the picture follows the unit: until then poses and marks are another model's
    let drawn: string | undefined;
    const isDrawn = (): boolean => drawn !== undefined && drawn === model.peek()?.name;
    const dark = matchMedia("(prefers-color-scheme: dark)");
    dark.addEventListener("change", view.recolor);
    const ends = [
        effect(() => {
            const next = model.value;
            const fbi = loadedUnit.peek()?.fbi;
            const isSame = next?.name === before;
            before = next?.name ?? "";
            view.show(next?.glb, [fbi?.footprintx ?? 0, fbi?.footprintz ?? 0], isSame).then(() => {
                failed("");
                drawn = next?.name;
                view.pose(report.peek()?.transforms ?? []);
                view.mark(selectedPiece.peek(), pickedFaces.peek(), litFaces.peek());
                shown(next?.name ?? "");
            }, (error) => failed(messageOf(error)));
        }),
        effect(() => { if (report.value && isDrawn()) view.pose(report.value.transforms); }),
        effect(() => {
            const [piece, picked, lit] = [selectedPiece.value, pickedFaces.value, litFaces.value];
            if (isDrawn()) view.mark(piece, picked, lit);
        }),
        effect(() => view.setCamera(camera.value)),
        effect(() => { if (isAlive.value) ask("render-constants").then(view.setLight, () => {}); }),
        () => dark.removeEventListener("change", view.recolor),
    ];
    return () => ends.forEach((end) => end());
}
