// Reads the back end's models. The file has a primitive for each face; here each piece becomes one geometry
// whose faces are sorted by material, so that it is drawn in as few calls as it has materials.

export interface GlbModel {
    pieces: GlbPiece[];
    materials: { name: string; image: number | undefined }[];
    /** PNG files. */
    images: Uint8Array[];
}

interface GlbPiece {
    name: string;
    /** Index, -1 for the root. */
    parent: number;
    offset: [x: number, y: number, z: number];
    geometry: PieceGeometry | undefined;
}

/** Three corners a triangle, none shared. */
export interface PieceGeometry {
    positions: Float32Array;
    normals: Float32Array;
    texCoords: Float32Array;
    /** As a screen shows them, 0 to 1; the file has linear light. */
    colors: Float32Array;
    /** Runs of corners of one material. */
    groups: { start: number; count: number; material: number }[];
    /** The face in its piece that each triangle belongs to. */
    primIndices: Int32Array;
}

interface Gltf {
    nodes: { name?: string; translation?: [number, number, number]; children?: number[]; mesh?: number }[];
    meshes?: { primitives: Primitive[] }[];
    accessors?: { bufferView: number; componentType: number; count: number; type: string }[];
    bufferViews?: { byteOffset?: number; byteLength: number }[];
    materials?: { name?: string; pbrMetallicRoughness?: { baseColorTexture?: { index: number } } }[];
    textures?: { source: number }[];
    images?: { bufferView: number }[];
}

interface Primitive {
    attributes: { POSITION: number; COLOR_0: number; TEXCOORD_0: number };
    indices: number;
    material: number;
    extras?: { primIndex?: number };
}

const JSON_AT = 20;
const CHUNK_HEAD = 8;

export function readGlb(file: ArrayBuffer): GlbModel {
    const view = new DataView(file);
    if (file.byteLength < JSON_AT || view.getUint32(0, true) !== 0x46546c67) throw new Error("not a binary glTF file");
    const jsonLength = view.getUint32(12, true);
    const gltf: Gltf = JSON.parse(new TextDecoder().decode(new Uint8Array(file, JSON_AT, jsonLength)));
    const binary = JSON_AT + jsonLength + CHUNK_HEAD;

    const bytesOf = (bufferView: number): Uint8Array => {
        const { byteOffset = 0, byteLength } = gltf.bufferViews![bufferView]!;
        return new Uint8Array(file, binary + byteOffset, byteLength);
    };
    const floatsOf = (accessor: number): Float32Array => {
        const bytes = bytesOf(gltf.accessors![accessor]!.bufferView);
        return new Float32Array(file, bytes.byteOffset, bytes.byteLength / 4);
    };
    const indicesOf = (accessor: number): Uint16Array => {
        const { bufferView, count } = gltf.accessors![accessor]!;
        return new Uint16Array(file, bytesOf(bufferView).byteOffset, count);
    };

    const parents = new Map<number, number>();
    gltf.nodes.forEach((node, i) => node.children?.forEach((child) => parents.set(child, i)));
    return {
        pieces: gltf.nodes.map((node, i) => ({
            name: node.name ?? "", parent: parents.get(i) ?? -1, offset: node.translation ?? [0, 0, 0],
            geometry: node.mesh === undefined ? undefined
                : joinFaces(gltf.meshes![node.mesh]!.primitives, floatsOf, indicesOf),
        })),
        materials: (gltf.materials ?? []).map((material) => {
            const texture = material.pbrMetallicRoughness?.baseColorTexture?.index;
            return { name: material.name ?? "", image: texture === undefined ? undefined : gltf.textures![texture]!.source };
        }),
        images: (gltf.images ?? []).map((image) => bytesOf(image.bufferView)),
    };
}

/** One geometry of many faces, ordered by material; within one the faces keep their order. */
export function joinFaces(primitives: readonly Primitive[], floatsOf: (accessor: number) => Float32Array,
    indicesOf: (accessor: number) => Uint16Array): PieceGeometry {
    const ordered = [...primitives].sort((a, b) => a.material - b.material);
    const corners = ordered.reduce((sum, one) => sum + indicesOf(one.indices).length, 0);
    const joined: PieceGeometry = {
        positions: new Float32Array(corners * 3), normals: new Float32Array(corners * 3),
        texCoords: new Float32Array(corners * 2), colors: new Float32Array(corners * 3),
        groups: [], primIndices: new Int32Array(corners / 3),
    };
    let at = 0;
    for (const { attributes, indices, material, extras } of ordered) {
        const order = indicesOf(indices);
        copy(joined.positions, floatsOf(attributes.POSITION), order, at, 3);
        copy(joined.colors, floatsOf(attributes.COLOR_0).map(screenLight), order, at, 3);
        copy(joined.texCoords, floatsOf(attributes.TEXCOORD_0), order, at, 2);
        joined.primIndices.fill(extras?.primIndex ?? -1, at / 3, (at + order.length) / 3);
        const group = joined.groups.at(-1);
        if (group?.material === material) group.count += order.length;
        else joined.groups.push({ start: at, count: order.length, material });
        at += order.length;
    }
    setFlatNormals(joined.positions, joined.normals);
    return joined;
}

function copy(to: Float32Array, from: Float32Array, order: Uint16Array, at: number, width: number): void {
    for (let i = 0; i < order.length; i++)
        for (let axis = 0; axis < width; axis++) to[(at + i) * width + axis] = from[order[i]! * width + axis]!;
}

/** What sRGB makes of linear light. */
const screenLight = (linear: number): number =>
    linear <= 0.0031308 ? linear * 12.92 : 1.055 * linear ** (1 / 2.4) - 0.055;

/** Each triangle's own normal at its three corners. */
function setFlatNormals(positions: Float32Array, normals: Float32Array): void {
    for (let i = 0; i < positions.length; i += 9) {
        const at = (corner: number, axis: number): number => positions[i + corner * 3 + axis]!;
        const [ax, ay, az] = [at(1, 0) - at(0, 0), at(1, 1) - at(0, 1), at(1, 2) - at(0, 2)];
        const [bx, by, bz] = [at(2, 0) - at(0, 0), at(2, 1) - at(0, 1), at(2, 2) - at(0, 2)];
        const [nx, ny, nz] = [ay * bz - az * by, az * bx - ax * bz, ax * by - ay * bx];
        const length = Math.hypot(nx, ny, nz) || 1;
        for (let corner = 0; corner < 9; corner += 3) {
            normals[i + corner] = nx / length;
            normals[i + corner + 1] = ny / length;
            normals[i + corner + 2] = nz / length;
        }
    }
}
