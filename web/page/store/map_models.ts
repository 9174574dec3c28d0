// Lifetime: the opened data roots. Models and pictures of what stands on maps, fetched once each in the background.
import type { FeatureType } from "protocol";
import { askFrameInBackground, askInBackground } from "../ask";
import { playerColor } from "../work/players";
import { generation } from "./roots";

const models = new Map<string, Promise<ArrayBuffer>>();
const pictures = new Map<string, Promise<FeaturePicture | undefined>>();
let knownGeneration = -1;

interface FeaturePicture {
    png: Blob;
    width: number;
    height: number;
}

function forgetOld(): void {
    if (knownGeneration === generation.peek()) return;
    knownGeneration = generation.peek();
    models.clear();
    pictures.clear();
}

/** The model of a unit in its player's colour. */
export function modelOf(name: string, player: number): Promise<ArrayBuffer> {
    forgetOld();
    const key = `${player} ${name}`;
    const known = models.get(key) ?? askFrameInBackground("get-unit-glb", { name, teamColor: playerColor(player) }).then(({ frame }) => frame);
    models.set(key, known);
    return known;
}

/** The first picture of a feature's animation; none for a model, and for one that nothing declares. */
export function pictureOf({ filename, sequence }: FeatureType): Promise<FeaturePicture | undefined> {
    forgetOld();
    if (!filename) return Promise.resolve(undefined);
    const key = `${filename} ${sequence}`;
    const known = pictures.get(key) ?? fetchPicture(filename, sequence);
    pictures.set(key, known);
    return known;
}

async function fetchPicture(filename: string, entry: string | undefined): Promise<FeaturePicture | undefined> {
    const shown = await askInBackground("archive-browse-preview",
        { path: "", internalPath: `anims/${filename}.gaf`, ...(entry ? { entry } : {}) });
    if (shown.kind !== "image") return undefined;
    const bytes = Uint8Array.from(atob(shown.png_b64), (letter) => letter.charCodeAt(0));
    return { png: new Blob([bytes], { type: "image/png" }), width: shown.width, height: shown.height };
}
