import { useComputed, useSignal } from "@preact/signals";
import type { IndexChange, RemapPreview, UnitTexture } from "protocol";
import { colorOf } from "../store/palette";
import { valueOf } from "../store/resource";
import {
    applyChanges, changeColor, changes, chosenTexture, chooseGoing, chooseTexture, goingColor, preview, recoloured,
    setChanges, suggest, textureFailure, textures, usage,
} from "../store/textures";
import { model } from "../store/unit";
import { readGlb } from "../view3d/glb";
import { Button } from "../widgets/button";
import { List } from "../widgets/list";
import { PaletteGrid } from "../widgets/palette_grid";
import { Picture } from "../widgets/picture";
import { Failure, States, StatusMark } from "../widgets/states";
import { Tiles } from "../widgets/tiles";
import { teamShare, withChange } from "../work/team_bands";
import { counted } from "../work/words";

/** The model's textures in the player's colour, and how one gets into or out of it. */
export function TexturesPane() {
    return (
        <States of={textures.shown.value} empty="Choose a unit: its textures come here." retry={textures.load}>
            {(all) => (
                <div class="three textures">
                    <Atlas all={all} />
                    <Remap />
                    <Palette />
                </div>
            )}
        </States>
    );
}

/** As the model that is shown has them. */
function Atlas({ all }: { all: readonly UnitTexture[] }) {
    const pictures = useComputed(() => model.value ? picturesOf(model.value.glb) : new Map<string, Uint8Array>());
    return <Tiles label="Textures" items={all} keyOf={(one) => one.name} selected={chosenTexture.value?.name} onSelect={(one) => void chooseTexture(one.name)}
        titleOf={describe} empty="This model has no textures: its faces are coloured."
        cell={(one) => <>
            <Picture png={pictures.value.get(one.name.toLowerCase())} label="" />
            <span>{one.name}{recoloured.value.includes(one.name) && " •"}</span>
            {!one.found && <StatusMark status="missing" word="missing" />}
        </>} />;
}

function picturesOf(glb: ArrayBuffer): Map<string, Uint8Array> {
    const { materials, images } = readGlb(glb);
    return new Map(materials.flatMap(({ name, image }): [string, Uint8Array][] => {
        const picture = image === undefined ? undefined : images[image];
        return picture ? [[name.replace(/^tex_/, "").replace(/_twin$/, "").toLowerCase(), picture]] : [];
    }));
}

function describe(one: UnitTexture): string {
    if (!one.found) return `${one.name}: no file has it`;
    return `${one.name}: ${one.width} × ${one.height}, ${counted(one.frames, "frame")}, ${teamShare(one.teamPixels, one.totalPixels)}`;
}

function Remap() {
    const chosen = chosenTexture.value;
    if (!chosen?.found) return <p class="empty">{chosen ? `No file has ${chosen.name}.` : "Choose a texture."}</p>;
    const none = changes.value.length === 0 && "No colour is changed yet";
    return (
        <div class="pane" role="group" aria-label={`Colours of ${chosen.name}`}>
            <div class="toolbar">
                <Button title="Give each team colour the colour that looks most like it" disabled={chosen.teamPixels === 0 && "It has no team colour"}
                    onPress={() => suggest("away")}>Out of team colour</Button>
                <Button title="Let its most colourful part take the owner's colour" onPress={() => suggest("toward")}>Into team colour</Button>
                <Button title="Change no colour" disabled={none} onPress={() => setChanges([])}>Clear</Button>
                <Button kind="main" title="Write the changed texture" disabled={none} onPress={applyChanges}>Apply…</Button>
                <span class="quiet" title={placeOf(chosen)}>{describe(chosen)}</span>
            </div>
            <States of={preview.shown.value} empty="" retry={preview.load}>
                {(shown) => <div class="remap"><BeforeAfter shown={shown} /><Changes shown={shown} /></div>}
            </States>
            {textureFailure.value && <Failure message={textureFailure.value} />}
        </div>
    );
}

const placeOf = ({ source }: UnitTexture & { found: true }): string =>
    source ? source.kind === "archive" ? `${source.path} :: ${source.internalPath}` : source.path : "";

function BeforeAfter({ shown }: { shown: RemapPreview }) {
    return (
        <div class="before-after">
            <figure><Picture png={shown.before_b64} label="Before" /><figcaption>Before</figcaption></figure>
            <figure><Picture png={shown.after_b64} label="After" /><figcaption>After</figcaption></figure>
            <p role="status" aria-label="What changes">{counted(shown.changedPixels, "pixel")} changed, then {teamShare(shown.teamPixels, shown.totalPixels)}</p>
        </div>
    );
}

function Changes({ shown }: { shown: RemapPreview }) {
    const leaveOut = (event: KeyboardEvent, row: IndexChange | undefined): boolean => {
        if (event.key !== "Delete" || !row) return false;
        void setChanges(withChange(changes.peek(), row.from, row.from));
        return true;
    };
    return <List label="Changed colours" items={shown.map} keyOf={(row) => String(row.from)}
        selected={goingColor.value === undefined ? undefined : String(goingColor.value)}
        onSelect={(row) => chooseGoing(row.from)} onKey={leaveOut}
        empty="Choose the colour that goes in the palette, then the one that comes."
        columns={[
            { title: "Goes", width: "48px", cell: ({ from }) => <Swatch index={from} /> },
            { title: "Comes", width: "48px", cell: ({ to }) => <Swatch index={to} /> },
            { title: "Pixels", width: "44px", isNumber: true, cell: ({ pixels }) => pixels.toLocaleString("en") },
            { title: "Differs", width: "minmax(44px, 1fr)", isNumber: true,
                cell: ({ distance }) => distance.toFixed(3) },
        ]} />;
}

const Swatch = ({ index }: { index: number }) => <><span class="swatch" style={{ background: colorOf(index) }} /> {index}</>;

function Palette() {
    const here = useSignal("");
    const used = valueOf(usage.shown.value);
    const going = goingColor.value;
    const choose = (index: number): void => {
        if (going === undefined) chooseGoing(index);
        else void changeColor(going, index).then(() => chooseGoing(undefined));
    };
    const noteOf = (index: number): string => {
        const pixels = used?.get(index);
        const change = changes.value.find(({ from }) => from === index);
        return [pixels === undefined ? "" : counted(pixels, "pixel"), change ? `becomes ${change.to}` : ""].filter(Boolean).join(", ");
    };
    return (
        <div class="pane">
            <PaletteGrid label="Palette" colorOf={colorOf} noteOf={noteOf} isUsed={(index) => used?.has(index) === true} chosen={going}
                onHere={(title) => { here.value = title; }} onChoose={choose} onEscape={() => chooseGoing(undefined)} />
            <p class="foot"><span>{going === undefined ? here.value || "Dot: used. Frame: team colour."
                : `${going} goes: choose what comes (Escape: nothing)`}</span></p>
        </div>
    );
}
