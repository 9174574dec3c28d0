// The ground of a map: its heights under its picture, the sea over it.
import {
    BufferAttribute, BufferGeometry, Group, LinearFilter, LinearMipmapLinearFilter, Mesh, MeshBasicMaterial, PlaneGeometry, Texture,
} from "three";
import { groundGeometry, type Heights } from "../work/ground";
import { styleColor } from "../view3d/stage";

export interface GroundMesh {
    root: Group;
    /** What clicks meet. */
    land: Mesh;
    free(): void;
}

const SEA_OPACITY = 0.35;

export async function buildGround(heights: Heights, picture: ArrayBuffer, seaLevel: number): Promise<GroundMesh> {
    const texture = new Texture(await createImageBitmap(new Blob([picture], { type: "image/png" }), { colorSpaceConversion: "none" }));
    texture.flipY = false;
    texture.magFilter = LinearFilter;
    texture.minFilter = LinearMipmapLinearFilter;
    texture.needsUpdate = true;
    const { positions, texCoords, indices } = groundGeometry(heights);
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(positions, 3));
    geometry.setAttribute("uv", new BufferAttribute(texCoords, 2));
    geometry.setIndex(new BufferAttribute(indices, 1));
    const land = new Mesh(geometry, new MeshBasicMaterial({ map: texture }));
    const [width, depth] = [heights.columns * heights.cellSize, heights.rows * heights.cellSize];
    const sea = new Mesh(new PlaneGeometry(width, depth).rotateX(-Math.PI / 2),
        new MeshBasicMaterial({ color: styleColor("--sea"), transparent: true, opacity: SEA_OPACITY, depthWrite: false }));
    sea.position.set(width / 2, seaLevel, depth / 2);
    sea.raycast = () => {};
    const root = new Group();
    root.add(land);
    if (seaLevel > 0) root.add(sea);
    return {
        root, land,
        free() {
            root.removeFromParent();
            for (const one of [land, sea]) { one.geometry.dispose(); one.material.dispose(); }
            (texture.image as ImageBitmap).close();
            texture.dispose();
        },
    };
}
