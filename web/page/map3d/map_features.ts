// Features of a map: all of one type are points with its picture, drawn in one call.
import { BufferGeometry, Float32BufferAttribute, Group, NearestFilter, Points, PointsMaterial, Texture } from "three";
import type { MapFeature } from "protocol";

export interface MapFeatures3d {
    root: Group;
    /** Shows these and no others; of a type that is as it was nothing is made anew. */
    update(features: readonly MapFeature[]): void;
    free(): void;
}

/** A picture of a type, or nothing when it has none. */
export type FeaturePicture = (type: number) => Promise<{ png: Blob; width: number; height: number } | undefined>;

interface Kind {
    points: Points<BufferGeometry, PointsMaterial>;
    features: readonly MapFeature[];
    /** Half the height of what stands on the ground. */
    lift: number;
    texture?: Texture;
}

const PLAIN_SIZE = 10;

/** `magnify`: points are drawn so many times too small by a camera of a narrow field of view. */
export function createMapFeatures(pictureOf: FeaturePicture, magnify: number, changed: () => void): MapFeatures3d {
    const root = new Group();
    const kinds = new Map<number, Kind>();

    function place(kind: Kind): void {
        kind.points.geometry.dispose();
        kind.points.geometry = geometryAt(kind.features, kind.lift);
    }

    function add(type: number): Kind {
        const material = new PointsMaterial({ color: 0x6f7f5a, size: PLAIN_SIZE * magnify });
        const kind: Kind = { points: new Points(new BufferGeometry(), material), features: [], lift: PLAIN_SIZE / 2 };
        kind.points.raycast = () => {};
        kinds.set(type, kind);
        root.add(kind.points);
        void pictureOf(type).then(async (picture) => {
            if (!picture) return;
            const side = Math.max(picture.width, picture.height);
            const texture = await squareTexture(picture.png, side);
            if (kinds.get(type) !== kind) return texture.dispose();
            kind.texture = texture;
            kind.lift = side / 2;
            place(kind);
            material.setValues({ map: texture, color: 0xffffff, size: side * magnify, alphaTest: 0.5 });
            material.needsUpdate = true;
            changed();
        }).catch(() => {}); // plain points stay
        return kind;
    }

    return {
        root,
        update(features) {
            const byType = new Map<number, MapFeature[]>([...kinds.keys()].map((type) => [type, []]));
            for (const feature of features) {
                const same = byType.get(feature[1]);
                if (same) same.push(feature);
                else byType.set(feature[1], [feature]);
            }
            for (const [type, all] of byType) {
                const kind = kinds.get(type) ?? add(type);
                if (all.length === kind.features.length && all.every((one, i) =>
                    one[0] === kind.features[i]![0])) continue;
                kind.features = all;
                place(kind);
            }
        },
        free() {
            for (const { points, texture } of kinds.values()) {
                points.geometry.dispose();
                points.material.dispose();
                texture?.dispose();
            }
            kinds.clear();
            root.removeFromParent();
        },
    };
}

function geometryAt(features: readonly MapFeature[], lift: number): BufferGeometry {
    return new BufferGeometry().setAttribute("position",
        new Float32BufferAttribute(features.flatMap(([, , x, y, z]) => [x, y + lift, z]), 3));
}

/** Points are square: the picture stands in the middle of one, on its lower edge. */
async function squareTexture(png: Blob, side: number): Promise<Texture> {
    const picture = await createImageBitmap(png);
    const canvas = new OffscreenCanvas(side, side);
    canvas.getContext("2d")!.drawImage(picture, Math.floor((side - picture.width) / 2), side - picture.height);
    picture.close();
    const texture = new Texture(canvas);
    texture.magFilter = NearestFilter; // pixels stay sharp
    texture.needsUpdate = true;
    return texture;
}
