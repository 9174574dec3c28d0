// Lifetime: the loaded unit. Its textures, and the changes of colours that are prepared; those outlive it.
import { batch, computed, effect } from "@preact/signals";
import type { IndexChange, RemapPreview, UnitTexture } from "protocol";
import { ask } from "../ask";
import { EVERY_INDEX, withChange } from "../work/team_bands";
import { say } from "./connection";
import { askUser, write } from "./question";
import { resource, valueOf } from "./resource";
import { generation, roots } from "./roots";
import { state, wishes } from "./state";
import { loadedUnit, model, reloadModel, unit } from "./unit";

type Changes = readonly IndexChange[];

const [chosenName, setChosen] = state("");
/** By texture, so that looking at another one, or another unit, loses nothing. */
const [prepared, setPrepared] = state<ReadonlyMap<string, Changes>>(new Map());
const { failure: textureFailure, attempt, forget } = wishes();

export { textureFailure };
/** The colour that is to give way to the next one that is chosen. */
export const [goingColor, chooseGoing] = state<number | undefined>(undefined);
/** Textures whose changes are not written. */
export const recoloured = computed(() => [...prepared.value.keys()]);
export const changes = computed(() => prepared.value.get(chosenName.value) ?? []);
export const textures = resource<readonly UnitTexture[]>(async () => (await ask("unit-textures")).textures);
export const chosenTexture = computed(() =>
    (valueOf(textures.shown.value) ?? []).find(({ name }) => name === chosenName.value));
/** Pixels of the chosen texture by palette index. */
export const usage = resource<ReadonlyMap<number, number>>(async () => {
    const { map } = await ask("texture-preview-remap", { textureName: chosenName.peek(), map: [...EVERY_INDEX] });
    return new Map(map.filter(({ pixels }) => pixels > 0).map(({ from, pixels }) => [from, pixels]));
});
/** Before and after, with what each change does. */
export const preview = resource<RemapPreview>(() =>
    ask("texture-preview-remap", { textureName: chosenName.peek(), map: [...changes.peek()] }));

export async function chooseTexture(name: string): Promise<void> {
    batch(() => {
        setChosen(name);
        chooseGoing(undefined);
        forget();
        usage.reset();
        preview.reset();
    });
    const found = chosenTexture.peek();
    if (found?.found) await Promise.all([usage.load(), preview.load()]);
}

export const changeColor = (from: number, to: number): Promise<void> =>
    setChanges(withChange(changes.peek(), from, to));

export async function setChanges(next: Changes): Promise<void> {
    prepare(chosenName.peek(), next);
    await preview.load();
}

function prepare(textureName: string, next: Changes): void {
    const all = new Map(prepared.peek());
    if (next.length > 0) all.set(textureName, next);
    else all.delete(textureName);
    setPrepared(all);
}

/** "away" from team colours, or "toward" them. */
export function suggest(direction: "away" | "toward"): Promise<boolean> {
    const textureName = chosenName.peek();
    return attempt(async () => {
        const { map } = await ask("texture-suggest-remap", { textureName, direction });
        if (chosenName.peek() !== textureName) return;
        if (map.length === 0) say(direction === "away" ? "No pixel has a team colour" : "No colour of this texture suggests itself");
        await setChanges(map.map(({ from, to }) => ({ from, to })));
    });
}

/** Writes the changed texture; one of the base game goes into the first mod. */
export function applyChanges(): Promise<boolean> {
    const textureName = chosenName.peek();
    return attempt(async () => {
        const chosen = chosenTexture.peek();
        const isOfBase = chosen?.found === true && chosen.source?.inBaseTa === true;
        const modPath = isOfBase ? await modForTexture(textureName) : undefined;
        if (isOfBase && modPath === undefined) return;
        const request = { textureName, map: [...changes.peek()], ...(modPath === undefined ? {} : { modPath }) };
        const result = await write(textureName, `the texture ${textureName}`,
            (allowBackupCreation) => ask("texture-apply-remap", { ...request, allowBackupCreation }),
                () => showWritten(textureName));
        if (result.outcome === "ok" && result.alsoChanges.length > 0)
            say(`${textureName} is written; of the same file ${result.alsoChanges.join(", ")} changed, too`);
    });
}

async function modForTexture(name: string): Promise<string | undefined> {
    const [modPath] = roots.peek()?.modPaths ?? [];
    if (modPath === undefined) {
        await askUser({ title: `${name} belongs to the base game`, yes: "I see",
            text: ["The base game is never changed. Open a mod folder over it (Ctrl+O): the texture can then be copied into it."] });
        return undefined;
    }
    const agrees = await askUser({
        title: `Copy ${name} into a mod?`, yes: "Copy into the mod",
        text: [`${name} belongs to the base game, which is never changed.`, `A changed copy of its file goes into ${modPath} and hides it.`],
    });
    return agrees ? modPath : undefined;
}

async function showWritten(textureName: string): Promise<void> {
    prepare(textureName, []);
    await Promise.all([textures.load(), reloadModel()]);
    await chooseTexture(chosenName.peek());
}

/** Textures follow unit, model and files; one that both units have stays chosen. */
export function followTextures(): void {
    let seen: unknown;
    effect(() => {
        const now = `${generation.value} ${model.value?.name}`;
        const shown = model.value?.glb;
        if (unit.value.state !== "ready" || !loadedUnit.peek() || shown === undefined) return;
        if (seen === shown) return;
        seen = shown;
        void textures.load().then(() => {
            const all = valueOf(textures.shown.peek()) ?? [];
            if (now !== `${generation.peek()} ${model.peek()?.name}` ||
                all.some(({ name }) => name === chosenName.peek())) return;
            void chooseTexture(all[0]?.name ?? "");
        });
    });
}
