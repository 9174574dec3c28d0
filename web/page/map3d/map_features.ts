// Features of a map: all of one type are points with its picture, drawn in one call.
import { BufferGeometry, Float32BufferAttribute, Group, NearestFilter, Points, PointsMaterial, Texture } from "three";
import type { MapFeature } from "protocol";

export interface MapFeatures3d {
    root: Group;
    free(): void;
}

/** A picture of a type, or nothing when it has none. */
export type FeaturePicture = (type: number) => Promise<{ png: Blob; width: number; height: number } | undefined>;

const PLAIN_SIZE = 10;

/** `magnify`: points are drawn so many times too small by a camera of a narrow field of view. */
export function createMapFeatures(
    features: readonly MapFeature[], pictureOf: FeaturePicture, magnify: number, changed: () => void,
): MapFeatures3d {
    const root = new Group();
    const textures: Texture[] = [];
    const byType = new Map<number, MapFeature[]>();
    for (const feature of features) byType.set(feature[1], [...byType.get(feature[1]) ?? [], feature]);
    let isOver = false;

    for (const [type, all] of byType) {
        const material = new PointsMaterial({ color: 0x6f7f5a, size: PLAIN_SIZE * magnify });
        const points = new Points(geometryAt(all, PLAIN_SIZE / 2), material);
        points.raycast = () => {};
        root.add(points);
        void pictureOf(type).then(async (picture) => {
            if (!picture) return;
            const side = Math.max(picture.width, picture.height);
            const texture = await squareTexture(picture.png, side);
            if (isOver) return texture.dispose();
            textures.push(texture);
            points.geometry.dispose();
            points.geometry = geometryAt(all, side / 2);
            material.setValues({ map: texture, color: 0xffffff, size: side * magnify, alphaTest: 0.5 });
            material.needsUpdate = true;
            changed();
        }).catch(() => {}); // plain points stay
    }
    return {
        root,
        free() {
            isOver = true;
            for (const one of root.children as Points<BufferGeometry, PointsMaterial>[]) { one.geometry.dispose(); one.material.dispose(); }
            for (const texture of textures) texture.dispose();
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
