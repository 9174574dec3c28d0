// Lifetime: the opened data roots. Models and pictures of what stands on maps, fetched once each in the background.
import type { FeatureType } from "protocol";
import { ask, askFrame, IN_BACKGROUND } from "../ask";
import { bytesOfBase64 } from "../work/base64";
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

/** What is known of this key, else what is fetched; what could not be fetched is fetched again the next time. */
function known<T>(all: Map<string, Promise<T>>, key: string, fetch: () => Promise<T>): Promise<T> {
    if (knownGeneration !== generation.peek()) {
        knownGeneration = generation.peek();
        models.clear();
        pictures.clear();
    }
    const found = all.get(key) ?? fetch();
    all.set(key, found);
    found.catch(() => { if (all.get(key) === found) all.delete(key); });
    return found;
}

/** The model of a unit in its player's colour. */
export const modelOf = (name: string, player: number): Promise<ArrayBuffer> =>
    known(models, `${player} ${name}`, async () =>
    (await askFrame("get-unit-glb", { name, teamColor: playerColor(player) }, IN_BACKGROUND)).frame);

/** The first picture of a feature's animation; none for a model, and for one that nothing declares. */
export const pictureOf = ({ filename, sequence }: FeatureType): Promise<FeaturePicture | undefined> =>
    filename ? known(pictures, `${filename} ${sequence}`, () => fetchPicture(filename, sequence))
        : Promise.resolve(undefined);

async function fetchPicture(filename: string, entry: string | undefined): Promise<FeaturePicture | undefined> {
    const shown = await ask("archive-browse-preview",
        { path: "", internalPath: `anims/${filename}.gaf`, ...(entry ? { entry } : {}) }, IN_BACKGROUND);
    if (shown.kind !== "image") return undefined;
    return { png: new Blob([bytesOfBase64(shown.png_b64)], { type: "image/png" }), width: shown.width,
        height: shown.height };
}
