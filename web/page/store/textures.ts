// Lifetime: the loaded unit. Its textures, and the change of colours that is prepared for one of them.
import { batch, computed, effect, type ReadonlySignal, signal } from "@preact/signals";
import type { IndexChange, RemapPreview, UnitTexture } from "protocol";
import { ask } from "../ask";
import { messageOf } from "../work/newest";
import { EVERY_INDEX, withChange } from "../work/team_bands";
import { say } from "./connection";
import { askUser, write } from "./question";
import { resource, valueOf } from "./resource";
import { generation, roots } from "./roots";
import { loadedUnit, model, reloadModel, unit } from "./unit";

const chosenSignal = signal("");
const changesSignal = signal<readonly IndexChange[]>([]);
const fromSignal = signal<number | undefined>(undefined);
const failureSignal = signal("");

export const textures = resource<readonly UnitTexture[]>(async () => (await ask("unit-textures")).textures);
export const chosenTexture = computed(() => (valueOf(textures.shown.value) ?? []).find(({ name }) => name === chosenSignal.value));
/** Pixels of the chosen texture by palette index. */
export const usage = resource<ReadonlyMap<number, number>>(async () => {
    const { map } = await ask("texture-preview-remap", { textureName: chosenSignal.peek(), map: [...EVERY_INDEX] });
    return new Map(map.filter(({ pixels }) => pixels > 0).map(({ from, pixels }) => [from, pixels]));
});
/** Before and after, with what each change does. */
export const preview = resource<RemapPreview>(() =>
    ask("texture-preview-remap", { textureName: chosenSignal.peek(), map: [...changesSignal.peek()] }));

export const changes: ReadonlySignal<readonly IndexChange[]> = changesSignal;
/** The colour that is to give way to the next one that is chosen. */
export const goingColor: ReadonlySignal<number | undefined> = fromSignal;
export const textureFailure: ReadonlySignal<string> = failureSignal;

export async function chooseTexture(name: string): Promise<void> {
    batch(() => {
        chosenSignal.value = name;
        forgetChanges();
    });
    const found = chosenTexture.peek();
    if (found?.found) await Promise.all([usage.load(), preview.load()]);
}

function forgetChanges(): void {
    changesSignal.value = [];
    fromSignal.value = undefined;
    failureSignal.value = "";
    usage.reset();
    preview.reset();
}

export function chooseGoing(index: number | undefined): void {
    fromSignal.value = index;
}

export async function changeColor(from: number, to: number): Promise<void> {
    await setChanges(withChange(changesSignal.peek(), from, to));
}

export async function setChanges(next: readonly IndexChange[]): Promise<void> {
    changesSignal.value = next;
    await preview.load();
}

/** "away" from team colours, or "toward" them. */
export function suggest(direction: "away" | "toward"): Promise<void> {
    return carryOut(async (textureName) => {
        const { map } = await ask("texture-suggest-remap", { textureName, direction });
        if (chosenSignal.peek() !== textureName) return;
        if (map.length === 0) say(direction === "away" ? "No pixel has a team colour" : "No colour of this texture suggests itself");
        await setChanges(map.map(({ from, to }) => ({ from, to })));
    });
}

/** Writes the changed texture; one of the base game goes into the first mod. */
export function applyChanges(): Promise<void> {
    return carryOut(async (textureName) => {
        const chosen = chosenTexture.peek();
        const isOfBase = chosen?.found === true && chosen.source?.inBaseTa === true;
        const modPath = isOfBase ? await modForTexture(textureName) : undefined;
        if (isOfBase && modPath === undefined) return;
        const request = { textureName, map: [...changesSignal.peek()], ...(modPath === undefined ? {} : { modPath }) };
        const result = await write(textureName, `the texture ${textureName}`,
            (allowBackupCreation) => ask("texture-apply-remap", { ...request, allowBackupCreation }), showWritten);
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

async function showWritten(): Promise<void> {
    await Promise.all([textures.load(), reloadModel()]);
    await chooseTexture(chosenSignal.peek());
}

async function carryOut(work: (textureName: string) => Promise<void>): Promise<void> {
    failureSignal.value = "";
    try {
        await work(chosenSignal.peek());
    } catch (error) {
        failureSignal.value = messageOf(error);
    }
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
            if (now !== `${generation.peek()} ${model.peek()?.name}` || all.some(({ name }) => name === chosenSignal.peek())) return;
            void chooseTexture(all[0]?.name ?? "");
        });
    });
}
