/** Heights at the north-western corners of a map's cells, a byte each, rows from the north. */
export interface Heights {
    columns: number;
    rows: number;
    bytes: Uint8Array;
    /** Map pixels to a side of a cell. */
    cellSize: number;
}

interface GroundGeometry {
    /** Map pixels: x to the east, y up, z to the south. */
    positions: Float32Array;
    /** From 0 to 1 over the picture of the whole map, v downwards. */
    texCoords: Float32Array;
    indices: Uint32Array;
}

/** At most so many corners to a side: more are not seen, and a large map has four million. */
const MAX_CORNERS = 257;

/** The ground as triangles, coarser for large maps; it reaches to the far edges of the last cells. */
export function groundGeometry(heights: Heights): GroundGeometry {
    const { columns, rows, cellSize } = heights;
    const step = Math.ceil(Math.max(columns, rows) / (MAX_CORNERS - 1));
    const [across, down] = [Math.ceil(columns / step) + 1, Math.ceil(rows / step) + 1];
    const positions = new Float32Array(across * down * 3);
    const texCoords = new Float32Array(across * down * 2);
    for (let row = 0, at = 0; row < down; row++)
        for (let column = 0; column < across; column++, at++) {
            const [cellX, cellZ] = [Math.min(column * step, columns), Math.min(row * step, rows)];
            positions.set([cellX * cellSize, cornerHeight(heights, cellX, cellZ), cellZ * cellSize], at * 3);
            texCoords.set([cellX / columns, cellZ / rows], at * 2);
        }
    const indices = new Uint32Array((across - 1) * (down - 1) * 6);
    for (let row = 0, at = 0; row < down - 1; row++)
        for (let column = 0; column < across - 1; column++, at += 6) {
            const corner = row * across + column;
            indices.set([corner, corner + across, corner + 1, corner + 1, corner + across, corner + across + 1], at);
        }
    return { positions, texCoords, indices };
}

/** Beyond the last corner the ground goes on level. */
function cornerHeight({ columns, rows, bytes }: Heights, cellX: number, cellZ: number): number {
    return bytes[Math.min(cellZ, rows - 1) * columns + Math.min(cellX, columns - 1)] ?? 0;
}

/** Between corners the ground runs straight along both axes; places are in map pixels. */
export function heightAt(heights: Heights, x: number, z: number): number {
    const [u, v] = [Math.max(x / heights.cellSize, 0), Math.max(z / heights.cellSize, 0)];
    const [cellX, cellZ] = [Math.floor(u), Math.floor(v)];
    const [fractionX, fractionZ] = [u - cellX, v - cellZ];
    const along = (row: number): number =>
        cornerHeight(heights, cellX, row) * (1 - fractionX) + cornerHeight(heights, cellX + 1, row) * fractionX;
    return along(cellZ) * (1 - fractionZ) + along(cellZ + 1) * fractionZ;
}
