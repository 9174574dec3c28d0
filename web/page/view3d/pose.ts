import type { PieceTransform } from "protocol";

type Point = readonly [x: number, y: number, z: number];

/**
 * A piece's matrix within its parent's, column-major: the translation by its offset plus the pose's, then the
 * rotations about y, x and z, in the axes of the exported model.
 */
export function pieceMatrix([ox, oy, oz]: Point, { tx, ty, tz, rx, ry, rz }: PieceTransform): number[] {
    const [cx, sx] = [Math.cos(rx), Math.sin(rx)];
    const [cy, sy] = [Math.cos(ry), Math.sin(ry)];
    const [cz, sz] = [Math.cos(rz), Math.sin(rz)];
    return [
        cy * cz + sy * sx * sz, cx * sz, cy * sx * sz - sy * cz, 0,
        sy * sx * cz - cy * sz, cx * cz, sy * sz + cy * sx * cz, 0,
        sy * cx, -sx, cy * cx, 0,
        ox + tx, oy + ty, oz + tz, 1,
    ];
}

export const AT_REST = { piece: "", tx: 0, ty: 0, tz: 0, rx: 0, ry: 0, rz: 0, visible: true } satisfies PieceTransform;
