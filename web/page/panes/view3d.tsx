import { effect } from "@preact/signals";
import { type Drawn, useStage } from "../parts/stage_canvas";
import { units } from "../store/roots";
import { isStopped, placeOfStop, report, runFailure } from "../store/run";
import { litFaces, pickedFaces, pickFace } from "../store/model_edit";
import { loadedUnit, model, selectedPiece, setTeamColor, teamColor, unit } from "../store/unit";
import { camera, setCamera } from "../store/view";
import { createUnitView, type UnitView } from "../view3d/unit_view";
import { fitView, unitView } from "../view3d/handle";
import { Button } from "../widgets/button";
import { Failure, StatusMark } from "../widgets/states";
import { hexOf, readHex } from "../work/colors";
import { counted } from "../work/words";

/** The unit as it stands, and what drives it. */
export function View3dPane() {
    const { canvas, failure, shown } = useStage((element) => createUnitView(element, pickFace), unitView, followStore);
    const name = loadedUnit.value?.unitName;
    const { state } = unit.value;
    return (
        <section class="view3d" aria-label="3D view">
            <div class="stage">
                <canvas ref={canvas} class="view-canvas" tabIndex={0} role="img" data-shown={shown}
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
                {state === "empty" && <p class="empty middle">{units.value.length > 0 ? "Choose a unit in the list."
                    : "Nothing to be seen: open a game."}</p>}
                {unit.value.state === "failed" && <div class="middle"><Failure message={unit.value.message} /></div>}
                {failure && <div class="middle"><Failure message={failure} /></div>}
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
function followStore(view: UnitView, told: Drawn): (() => void)[] {
    let before = "";
    // the picture follows the unit: until then poses and marks are another model's
    let drawn: string | undefined;
    const isDrawn = (): boolean => drawn !== undefined && drawn === model.peek()?.name;
    const mark = (): void => view.mark(selectedPiece.value, pickedFaces.value, litFaces.value, isStopped.value);
    return [
        effect(() => {
            const next = model.value;
            const fbi = loadedUnit.peek()?.fbi;
            const isSame = next?.name === before;
            before = next?.name ?? "";
            view.show(next?.glb, [fbi?.footprintx ?? 0, fbi?.footprintz ?? 0], isSame).then(() => {
                drawn = next?.name;
                view.pose(report.value?.transforms ?? []);
                mark();
                told.shown(next?.name ?? "");
            }, told.failed);
        }),
        effect(() => { if (report.value && isDrawn()) view.pose(report.value.transforms); }),
        // all are read, whether it is drawn or not
        effect(() => {
            void [selectedPiece.value, pickedFaces.value, litFaces.value, isStopped.value];
            if (isDrawn()) mark();
        }),
        effect(() => view.setCamera(camera.value)),
    ];
}
