// Lifetime: the opened data roots. The game's palette, by which models and textures are coloured.
import { effect } from "@preact/signals";
import { ask } from "../ask";
import { resource, valueOf } from "./resource";
import { generation } from "./roots";
import { isAlive } from "./connection";
import { hexOf } from "../work/colors";

export const palette = resource(async () => (await ask("get-master-palette")).colors);

/** For style sheets; none while it is not known. */
export function colorOf(index: number): string | undefined {
    const color = valueOf(palette.shown.value)?.[index];
    return color && hexOf({ r: color[0]!, g: color[1]!, b: color[2]! });
}

export function followPalette(): void {
    effect(() => { if (isAlive.value && generation.value > 0) void palette.load(); });
}
