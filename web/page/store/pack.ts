// Lifetime: the opened roots. What units need, the pack that is made of them, what is said of a pack.
import { batch } from "@preact/signals";
import type { MinModPack, ModPack, PackValidation, UnitDependencies } from "protocol";
import { ask, IN_BACKGROUND } from "../ask";
import { counted } from "../work/words";
import { resource } from "./resource";
import { refreshUnits } from "./roots";
import { state } from "./state";
import { task } from "./task";

export const [packUnits, setPackUnits] = state<readonly string[]>([]);
export const [isRecursive, setRecursive] = state(false);
const [writtenPack, setWritten] = state<ModPack | MinModPack | undefined>(undefined);
const [validation, setValidation] = state<PackValidation | undefined>(undefined);

export { validation, writtenPack };
export const packing = task();
export const validating = task();

export const dependencies = resource<UnitDependencies>(() =>
    ask("unit-deps", { units: [...packUnits.peek()], recursive: isRecursive.peek() }, IN_BACKGROUND));

interface PackWish {
    /** A mod as a whole, else only what the units need. */
    modPath?: string;
    destination: string;
    overwrite: boolean;
    compression: "zlib" | "lz77" | "none";
}

export async function exportPack({ modPath, ...wish }: PackWish): Promise<void> {
    batch(() => { setWritten(undefined); setValidation(undefined); validating.reset(); });
    await packing.run("Packing", async (told) => {
        const request = { ...wish, progress: true };
        const pack = modPath === undefined
            ? await ask("export-min-mod-pack", { ...request, units: [...packUnits.peek()],
                recursive: isRecursive.peek() }, { told })
            : await ask("export-mod-pack", { ...request, modPath }, { told });
        setWritten(pack);
        void refreshUnits(); // it may lie in a root, or have taken a mounted archive's place
        return `${counted(pack.fileCount, "file")}, ${counted(pack.byteSize, "byte")} in ${pack.path}`;
    });
}

export async function validatePack(path: string): Promise<void> {
    setValidation(undefined);
    await validating.run("Looking at the pack", async (told) => {
        const report = await ask("validate-mod-pack", { path, progress: true }, { inBackground: true, told });
        setValidation(report);
        const verdict = report.isValid ? "can be given to others" : "cannot be given to others as it is";
        return `${verdict}: ${counted(report.unitCount, "unit")}, ${counted(report.fileCount, "file")}`;
    });
}
