// A model as three.js draws it: a group a piece, so that poses move them and hiding one hides no other.
import {
    BufferAttribute, BufferGeometry, DoubleSide, Group, LinearMipmapLinearFilter, type Material, Mesh, MeshBasicMaterial,
    MeshLambertMaterial, NearestFilter, RepeatWrapping, Texture,
} from "three";
import type { PieceTransform } from "protocol";
import { type GlbModel, type PieceGeometry, readGlb } from "./glb";
import { AT_REST, pieceMatrix } from "./pose";

export interface UnitModel3d {
    root: Group;
    /** Meshes by piece; a mesh's `userData.piece` is its index. */
    meshes: (Mesh | undefined)[];
    setPose(transforms: readonly PieceTransform[]): void;
    /** Lights up pieces and faces, in place of what was lit up before. */
    mark(marks: readonly Mark[]): void;
    free(): void;
}

export interface Mark {
    color: string;
    opacity: number;
    /** A whole piece, else these faces. */
    piece?: number | undefined;
    faces?: readonly { pieceIndex: number; primIndex: number }[];
}

interface ReadModel {
    glb: GlbModel;
    pictures: ImageBitmap[];
}

/** Read files, for as long as somebody keeps them: a unit that is shown again costs no reading. */
const readModels = new WeakMap<ArrayBuffer, Promise<ReadModel>>();

function readModel(file: ArrayBuffer): Promise<ReadModel> {
    let found = readModels.get(file);
    if (!found) readModels.set(file, found = (async () => {
        const glb = readGlb(file);
        return { glb, pictures: await Promise.all(glb.images.map(readPicture)) };
    })());
    return found;
}

export async function buildModel(file: ArrayBuffer): Promise<UnitModel3d> {
    const { glb, pictures } = await readModel(file);
    const textures = pictures.map(textureOf);
    const materials = glb.materials.map(({ image }) => materialOf(image === undefined ? undefined : textures[image]));
    const meshes: (Mesh | undefined)[] = [];
    const groups = glb.pieces.map(({ name, geometry }, index) => {
        const group = new Group();
        group.name = name;
        group.matrixAutoUpdate = false;
        if (geometry) {
            const mesh = new Mesh(geometryOf(geometry), materials);
            mesh.userData["piece"] = index;
            mesh.userData["primIndices"] = geometry.primIndices;
            meshes[index] = mesh;
            group.add(mesh);
        }
        return group;
    });
    glb.pieces.forEach(({ parent }, i) => { if (parent >= 0) groups[parent]!.add(groups[i]!); });
    const root = groups[0] ?? new Group();
    let marks: Mesh[] = [];

    function setPose(transforms: readonly PieceTransform[]): void {
        glb.pieces.forEach(({ offset }, i) => {
            const pose = transforms[i] ?? AT_REST;
            groups[i]!.matrix.fromArray(pieceMatrix(offset, pose));
            const mesh = meshes[i];
            if (mesh) mesh.visible = pose.visible;
        });
        root.matrixWorldNeedsUpdate = true;
    }

    function clearMarks(): void {
        for (const mark of marks) {
            mark.removeFromParent();
            mark.geometry.dispose();
            (mark.material as Material).dispose();
        }
        marks = [];
    }

    function addMark(index: number, chosen: (primIndex: number) => boolean, color: string, opacity: number): void {
        const geometry = glb.pieces[index]?.geometry;
        if (!geometry) return;
        const mark = new Mesh(facesOf(geometry, chosen), markMaterial(color, opacity));
        mark.raycast = () => {}; // invisible to picking
        marks.push(mark);
        groups[index]!.add(mark);
    }

    setPose([]);
    return {
        root, meshes, setPose,
        mark(wanted) {
            clearMarks();
            for (const { piece, faces, color, opacity } of wanted) {
                if (piece !== undefined) addMark(piece, () => true, color, opacity);
                const prims = new Map<number, Set<number>>();
                for (const { pieceIndex, primIndex } of faces ?? [])
                    prims.set(pieceIndex, (prims.get(pieceIndex) ?? new Set()).add(primIndex));
                for (const [index, some] of prims) addMark(index, (prim) => some.has(prim), color, opacity);
            }
        },
        free() {
            clearMarks();
            root.removeFromParent();
            for (const mesh of meshes) mesh?.geometry.dispose();
            for (const material of materials) material.dispose();
            for (const texture of textures) texture.dispose();
        },
    };
}

/** Untextured faces are lit so that they show their form, textures are drawn as they are. */
function materialOf(texture: Texture | undefined): Material {
    return texture ? new MeshBasicMaterial({ map: texture, alphaTest: 0.5 }) : new MeshLambertMaterial({ vertexColors: true });
}

const markMaterial = (color: string, opacity: number): Material => new MeshBasicMaterial({
    color, opacity, transparent: true, side: DoubleSide, polygonOffset: true, polygonOffsetFactor: -2, polygonOffsetUnits: -2,
    depthWrite: false,
});

function geometryOf(piece: PieceGeometry): BufferGeometry {
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(piece.positions, 3));
    geometry.setAttribute("normal", new BufferAttribute(piece.normals, 3));
    geometry.setAttribute("uv", new BufferAttribute(piece.texCoords, 2));
    geometry.setAttribute("color", new BufferAttribute(piece.colors, 3));
    for (const { start, count, material } of piece.groups) geometry.addGroup(start, count, material);
    return geometry;
}

/** Only the chosen faces' positions. */
function facesOf({ positions, primIndices }: PieceGeometry, chosen: (primIndex: number) => boolean): BufferGeometry {
    const kept: number[] = [];
    primIndices.forEach((prim, triangle) => {
        if (chosen(prim)) for (let i = 0; i < 9; i++) kept.push(positions[triangle * 9 + i]!);
    });
    return new BufferGeometry().setAttribute("position", new BufferAttribute(new Float32Array(kept), 3));
}

function readPicture(png: Uint8Array): Promise<ImageBitmap> {
    const blob = new Blob([png as Uint8Array<ArrayBuffer>], { type: "image/png" });
    return createImageBitmap(blob, { premultiplyAlpha: "none", colorSpaceConversion: "none" });
}

function textureOf(picture: ImageBitmap): Texture {
    const texture = new Texture(picture);
    texture.flipY = false;
    texture.wrapS = texture.wrapT = RepeatWrapping;
    texture.magFilter = NearestFilter; // pixels stay sharp
    texture.minFilter = LinearMipmapLinearFilter;
    texture.needsUpdate = true;
    return texture;
}

/**
 * One mesh of each kind of material. Compiled once and never freed, it keeps the graphics' programs, which would
 * otherwise go with each model and be made anew, at many times the cost of the rest, for the next.
 */
export function sampleOfMaterials(): Group {
    const sample = new Group();
    const blank = geometryOf({
        positions: new Float32Array(9), normals: new Float32Array(9), texCoords: new Float32Array(6), colors: new Float32Array(9),
        groups: [], primIndices: new Int32Array(1),
    });
    for (const material of [materialOf(undefined), materialOf(new Texture()), markMaterial("white", 0.5)])
        sample.add(new Mesh(blank, material));
    return sample;
}
