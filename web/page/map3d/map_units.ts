// The units of a map as three.js draws them: a model each, in its player's colour, with its pose, on its footprint.
import { Box3, BufferGeometry, Float32BufferAttribute, Group, LineBasicMaterial, LineLoop, type Material, type Object3D, Vector3 } from "three";
import type { MapUnit } from "protocol";
import { buildModel, type UnitModel3d } from "../view3d/unit_model";
import { styleColor } from "../view3d/stage";
import { hexOf } from "../work/colors";
import { playerColor } from "../work/players";

interface MapUnits {
    root: Group;
    /** Shows these and no others; whoever has no new pose keeps the one it has. */
    update(units: readonly MapUnit[], selected: ReadonlySet<number>): void;
    /** The unit that a hit belongs to. */
    unitOf(hit: Object3D): number | undefined;
    free(): void;
}

/** The model of a unit in a player's colour, fetched once. */
export type ModelSource = (unitName: string, player: number) => Promise<ArrayBuffer>;

interface Shown {
    group: Group;
    frame: LineLoop;
    model?: UnitModel3d;
    unit: MapUnit;
}

/** Half a side of the frame around a unit whose model is not there yet. */
const FRAME = 12;
const ROOM = 1.1;
/** So many models are drawn, the others are frames alone. */
const MAX_MODELS = 300;

export function createMapUnits(modelOf: ModelSource, changed: () => void): MapUnits {
    const root = new Group();
    const shown = new Map<number, Shown>();
    const square = new BufferGeometry().setAttribute("position",
        new Float32BufferAttribute([-FRAME, 1, -FRAME, FRAME, 1, -FRAME, FRAME, 1, FRAME, 0, 1, FRAME + 6, -FRAME, 1, FRAME], 3));
    let isOver = false;

    function add(unit: MapUnit): Shown {
        // seen through the ground, which is seldom level
        const frame = new LineLoop(square, new LineBasicMaterial({ depthTest: false }));
        frame.renderOrder = 1;
        frame.raycast = () => {};
        const one: Shown = { group: new Group().add(frame), frame, unit };
        one.group.userData["unitId"] = unit.unitId;
        root.add(one.group);
        shown.set(unit.unitId, one);
        if (shown.size <= MAX_MODELS) void modelOf(unit.unitName, unit.player).then(buildModel).then((model) => {
            if (isOver || shown.get(unit.unitId) !== one) return model.free();
            one.model = model;
            model.setPose(one.unit.transforms ?? []);
            one.group.add(model.root);
            fitFrame(one.frame, model.root);
            changed();
        }).catch(() => {}); // its frame is there
        return one;
    }

    /** Around the model as it stands at first. */
    function fitFrame(frame: LineLoop, model: Object3D): void {
        frame.parent?.updateMatrixWorld(true);
        const size = new Box3().setFromObject(model).getSize(new Vector3());
        const side = Math.max(size.x, size.z, FRAME) / 2 * ROOM;
        frame.scale.set(side / FRAME, 1, side / FRAME);
    }

    function remove(id: number, { group, frame, model }: Shown): void {
        model?.free();
        (frame.material as Material).dispose();
        group.removeFromParent();
        shown.delete(id);
    }

    return {
        root,
        update(units, selected) {
            const ids = new Set(units.map(({ unitId }) => unitId));
            for (const [id, one] of [...shown]) if (!ids.has(id)) remove(id, one);
            for (const unit of units) {
                const one = shown.get(unit.unitId) ?? add(unit);
                one.unit = unit;
                one.group.position.set(unit.x, unit.y, unit.z);
                one.group.rotation.set(unit.pitch, unit.heading, unit.roll, "YXZ");
                (one.frame.material as LineBasicMaterial).color.set(selected.has(unit.unitId) ? styleColor("--lit") : hexOf(playerColor(unit.player)));
                if (unit.transforms) one.model?.setPose(unit.transforms);
            }
        },
        unitOf(hit) {
            for (let at: Object3D | null = hit; at; at = at.parent) {
                const id: unknown = at.userData["unitId"];
                if (typeof id === "number") return id;
            }
            return undefined;
        },
        free() {
            isOver = true;
            for (const [id, one] of [...shown]) remove(id, one);
            square.dispose();
            root.removeFromParent();
        },
    };
}
