// Lifetime: the opened roots. What units need, the pack that is made of them, what is said of a pack.
import { batch, type ReadonlySignal, signal } from "@preact/signals";
import type { MinModPack, ModPack, PackValidation, UnitDependencies } from "protocol";
import { askInBackground, askWithProgress } from "../ask";
import { counted } from "../work/words";
import { resource } from "./resource";
import { refreshUnits } from "./roots";
import { task } from "./task";

const unitsSignal = signal<readonly string[]>([]);
const recursiveSignal = signal(false);
const resultSignal = signal<ModPack | MinModPack | undefined>(undefined);
const validationSignal = signal<PackValidation | undefined>(undefined);

export const packUnits: ReadonlySignal<readonly string[]> = unitsSignal;
export const isRecursive: ReadonlySignal<boolean> = recursiveSignal;
export const writtenPack: ReadonlySignal<ModPack | MinModPack | undefined> = resultSignal;
export const validation: ReadonlySignal<PackValidation | undefined> = validationSignal;
export const packing = task();
export const validating = task();

export const dependencies = resource<UnitDependencies>(() =>
    askInBackground("unit-deps", { units: [...unitsSignal.peek()], recursive: recursiveSignal.peek() }));

export function setPackUnits(units: readonly string[]): void {
    unitsSignal.value = units;
}

export function setRecursive(value: boolean): void {
    recursiveSignal.value = value;
}

export interface PackWish {
    /** A mod as a whole, else only what the units need. */
    modPath?: string;
    destination: string;
    overwrite: boolean;
    compression: "zlib" | "lz77" | "none";
}

export async function exportPack({ modPath, ...wish }: PackWish): Promise<void> {
    batch(() => { resultSignal.value = undefined; validationSignal.value = undefined; validating.reset(); });
    await packing.run("Packing", async (told) => {
        const request = { ...wish, progress: true };
        const pack = modPath === undefined
            ? await askWithProgress("export-min-mod-pack", { ...request, units: [...unitsSignal.peek()], recursive: recursiveSignal.peek() }, told)
            : await askWithProgress("export-mod-pack", { ...request, modPath }, told);
        resultSignal.value = pack;
        void refreshUnits(); // it may lie in a root, or have taken a mounted archive's place
        return `${counted(pack.fileCount, "file")}, ${counted(pack.byteSize, "byte")} in ${pack.path}`;
    });
}

export async function validatePack(path: string): Promise<void> {
    validationSignal.value = undefined;
    await validating.run("Looking at the pack", async (told) => {
        const report = await askWithProgress("validate-mod-pack", { path, progress: true }, told, true);
        validationSignal.value = report;
        return `${report.isValid ? "can be given to others" : "cannot be given to others as it is"}: ${counted(report.unitCount, "unit")}, ${counted(report.fileCount, "file")}`;
    });
}
