import { useSignal } from "@preact/signals";
import type { ClonedUnit, Requests } from "protocol";
import { ask } from "../ask";
import { copying, type OpenCopy } from "../store/copy_unit";
import { say } from "../store/connection";
import { agreesToBackup } from "../store/question";
import { openRoots, refreshUnits, roots } from "../store/roots";
import { openUnit, reloadUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Dialog } from "../widgets/dialog";
import { Check, Choice, Field } from "../widgets/field";
import { FolderField } from "../widgets/folder_field";
import { messageOf } from "../work/newest";

type Part = NonNullable<Requests["unit-clone"]["with"]>[number];

const PARTS: readonly Part[] = ["model", "script", "picture"];
const NEW_FOLDER = "";

export function CopyUnitDialog() {
    const wish = copying.value;
    return wish ? <CopyUnit key={wish.unitName} wish={wish} /> : null;
}

/** Into which mod, under which name, with which parts. */
function CopyUnit({ wish }: { wish: OpenCopy }) {
    const { unitName, isToEdit, done } = wish;
    const mods = roots.peek()?.modPaths ?? [];
    const mod = useSignal(mods[0] ?? NEW_FOLDER);
    const folder = useSignal("");
    const newName = useSignal("");
    const displayName = useSignal("");
    const parts = useSignal<readonly Part[]>(isToEdit ? [] : PARTS);
    const failure = useSignal("");
    const isRenamed = newName.value.trim() !== "" && newName.value.trim().toLowerCase() !== unitName.toLowerCase();
    const lacks = mod.value === NEW_FOLDER && folder.value.trim() === "" && "Name the new mod's folder";

    async function copy(): Promise<void> {
        if (lacks) return;
        failure.value = "";
        try {
            const modPath = mod.peek() === NEW_FOLDER ? await makeMod(folder.peek().trim()) : mod.peek();
            const request = {
                name: unitName, modPath, with: [...parts.peek()],
                ...(newName.peek().trim() ? { newName: newName.peek().trim() } : {}),
                ...(isRenamed && displayName.peek().trim() ? { displayName: displayName.peek().trim() } : {}),
            };
            const { outcome, name, files } = await cloneUnit(request);
            if (outcome !== "ok") return;
            done(true);
            say(`${unitName} is copied: ${files.map(({ to }) => to).join(", ")}`);
            await refreshUnits();
            if (isRenamed) await openUnit(name);
            else if (!isToEdit) await reloadUnit(); // who edits goes on, and loads it at the end
        } catch (error) {
            failure.value = messageOf(error);
        }
    }

    return (
        <Dialog title={isToEdit ? `Copy ${unitName} into a mod?` : `Copy ${unitName}`} onClose={() => done(false)} actions={<>
            <Button title="Leave everything as it is" onPress={() => done(false)}>Cancel</Button>
            <Button kind="main" title="Write the copy" disabled={lacks} onPress={copy}>{isToEdit ? "Copy into the mod" : "Copy"}</Button>
        </>}>
            <p>{isToEdit ? `${unitName} belongs to the base game, which is never changed. A copy of its definition in a mod hides it there, and can be edited.`
                : "Without a new name the definition goes into the mod and hides the base game's there."}</p>
            <Choice label="Into" value={mod.value} onChange={(value) => { mod.value = value; }}
                options={[...mods.map((path) => ({ value: path, text: path })), { value: NEW_FOLDER, text: "a new mod folder" }]} />
            {mod.value === NEW_FOLDER && <FolderField label="New mod folder" value={folder.value} mayBeNew
                hint="In a folder that is there. It is mounted before the other mods." onInput={(text) => { folder.value = text; }} onEnter={() => void copy()} />}
            {isToEdit || <Field label="New name" value={newName.value} isFocused onInput={(text) => { newName.value = text; }} onEnter={() => void copy()}
                hint="Up to 31 letters, digits, “_” or “-”; empty keeps the name" />}
            {isRenamed && <Field label="Name that players see" value={displayName.value} onInput={(text) => { displayName.value = text; }} onEnter={() => void copy()} />}
            <div class="field"><span>Together with its own copy of</span><div class="line checks">
                {PARTS.map((part) => <Check key={part} label={part} value={parts.value.includes(part)}
                    onChange={(on) => { parts.value = PARTS.filter((one) => one === part ? on : parts.peek().includes(one)); }} />)}
            </div></div>
            {failure.value && <p class="failure" role="alert">{failure.value}</p>}
        </Dialog>
    );
}

/** Asks for consent where a file of the mod is changed for the first time. */
async function cloneUnit(request: Requests["unit-clone"]): Promise<ClonedUnit> {
    const first = await ask("unit-clone", request);
    if (first.outcome !== "needs-backup-consent" || !await agreesToBackup(`the copy of ${request.name ?? "the unit"}`, first.resolvedPath)) return first;
    return ask("unit-clone", { ...request, allowBackupCreation: true });
}

/** Makes a mod's folder and opens it in front of the other mods. */
async function makeMod(path: string): Promise<string> {
    const made = await ask("create-mod-folder", { path, mount: false });
    const open = roots.peek();
    if (open) await openRoots({ ...open, modPaths: [made.path, ...open.modPaths] });
    return made.path;
}
