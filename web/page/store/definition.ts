// Lifetime: the page. Definitions of units. Form and text are views of one text.
import { computed } from "@preact/signals";
import type { RawDefinition, SaveResult } from "protocol";
import { ask } from "../ask";
import { definitionRows, withoutKey, withValue } from "../work/definition";
import { locationOf } from "../work/locations";
import { say } from "./connection";
import { documents, type SavedText, savedText } from "./document";
import { askUser } from "./question";
import { refreshUnits } from "./roots";
import { loadedUnit, reloadUnit } from "./unit";

export type DefinitionText = RawDefinition & SavedText;

/** Every definition that was looked at, and what it was edited to. */
export const definitions = documents<DefinitionText, SaveResult["warnings"][number]>({
    word: "definition",
    checksUnedited: true,
    writesAnew: false,
    async read(name) {
        const known = await ask("fbi-raw", { name });
        return { ...known, ...savedText(locationOf(known.source), known.version, known.text) };
    },
    check: async (name, text) => (await ask("save-fbi-raw", { name, text, checkOnly: true })).warnings,
    write: (name, text, { version }, allowBackupCreation) =>
        ask("save-fbi-raw", { name, text, ifVersion: version, allowBackupCreation }),
});

export const definitionForm = computed(() => {
    const [unit, shown] = [loadedUnit.value, definitions.shown.value];
    const isSame = unit?.unitName.toLowerCase() === shown?.unit.toLowerCase();
    return definitionRows(shown?.text ?? "", isSame ? unit?.fbi : undefined, isSame ? unit?.baselineFbi : undefined);
});

const editBy = (change: (text: string) => string): void => definitions.edit(change(definitions.text.peek() ?? ""));
export const setKey = (key: string, value: string): void => editBy((text) => withValue(text, key, value));
export const removeKey = (key: string): void => editBy((text) => withoutKey(text, key));

/** Moves the backup back into its place, when the user agrees to all that it undoes. */
export async function restoreBackup(): Promise<void> {
    const base = definitions.shown.peek()?.base;
    if (!base?.hasBackup) return;
    const { path } = base.source;
    const agrees = await askUser({
        title: `Restore ${path}?`, yes: "Restore",
        text: [`${path} becomes what it was before its first change, and its backup is gone.`,
            `That undoes every change of: ${base.backupCovers.join(", ") || base.name}.`],
    });
    if (!agrees) return;
    const { restoredPath, warning } = await ask("restore-source-from-backup", { name: base.name });
    definitions.drop(base.file);
    await refreshUnits();
    await reloadUnit();
    say(warning ?? `${restoredPath} is restored`);
}
