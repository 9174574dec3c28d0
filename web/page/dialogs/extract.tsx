import { useSignal } from "@preact/signals";
import { start } from "../store/roots";
import { extract, extractedWhat, extraction, place, skipped } from "../store/files";
import { closeDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Dialog } from "../widgets/dialog";
import { Check } from "../widgets/field";
import { FolderField } from "../widgets/folder_field";
import { List } from "../widgets/list";
import { TaskLine } from "../widgets/task_line";

/** Where the chosen file, folder or archive is extracted to. */
export function ExtractDialog() {
    const destination = useSignal(start.peek()?.home ?? "");
    const overwrite = useSignal(false);
    const isRunning = extraction.state.value.state === "running";
    const lacks = destination.value.trim() === "" && "Name a folder";
    const begin = (): void => { if (!lacks) void extract(destination.peek().trim(), overwrite.peek()); };
    return (
        <Dialog title={`Extract ${extractedWhat.value}`} onClose={closeDialog} actions={<>
            <Button title="Close this; what is being extracted goes on" onPress={closeDialog}>Close</Button>
            <Button kind="main" title="Write the files" disabled={lacks || (isRunning && "Extracting")} onPress={begin}>Extract</Button>
        </>}>
            <p class="quiet">From {place.value || "the stack, of each path the file that wins"}</p>
            <FolderField label="Into the folder" value={destination.value} mayBeNew isFocused hint="It is made when it is not there; files keep their paths below it."
                onInput={(text) => { destination.value = text; extraction.reset(); }} onEnter={begin} />
            <Check label="Overwrite files that exist" value={overwrite.value} onChange={(on) => { overwrite.value = on; }} />
            <TaskLine of={extraction.state.value} label="Extraction" />
            {skipped.value.length > 0 && <div class="field"><span>Left out</span><div class="short">
                <List label="Left out" items={skipped.value} keyOf={({ internalPath }) => internalPath} empty="" columns={[
                    { width: "minmax(0, 1fr)", cell: ({ internalPath }) => internalPath },
                    { width: "minmax(0, 1fr)", cell: ({ reason }) => <span class="quiet" title={reason}>{reason}</span> },
                ]} />
            </div></div>}
        </Dialog>
    );
}
