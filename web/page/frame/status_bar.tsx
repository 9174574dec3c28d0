import { editor, restartEditor, said } from "../store/connection";
import { definitions } from "../store/definition";
import type { Documents, SavedText } from "../store/document";
import { scripts } from "../store/script";
import { recoloured } from "../store/textures";
import { canWrite, isStale, loadedUnit, reloadUnit } from "../store/unit";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { baseName } from "../work/paths";
import { counted } from "../work/words";

/** Where the unit lies, what is unsaved, whether the editor is there. */
export function StatusBar() {
    const source = loadedUnit.value?.source;
    return (
        <footer class="status-bar">
            {source && <span class="file" title={source.kind === "archive" ? `${source.path} :: ${source.internalPath}` : source.path}>
                {source.kind === "archive" ? `${baseName(source.path)} :: ${source.internalPath}` : source.path}
            </span>}
            {source && <span>{source.inBaseTa ? "base game: changes go into a mod" : canWrite.value ? "writable"
                : "cannot be written: the system refuses it"}</span>}
            {isStale.value && <span class="status warn">changed on disk <Button title="Load the unit again" verb="reload-unit" onPress={reloadUnit}>Load again</Button></span>}
            <Unsaved of={scripts} />
            <Unsaved of={definitions} />
            {recoloured.value.length > 0 &&
                <span class="status warn" title={`Textures whose changes are not written: ${recoloured.value.join(", ")}`}>
                {counted(recoloured.value.length, "texture")} unsaved</span>}
            <span class="said" role="status" aria-live="polite">{said.value}</span>
            <EditorPart />
        </footer>
    );
}

function Unsaved<S extends SavedText, F>({ of }: { of: Documents<S, F> }) {
    const drafts = of.drafts.value;
    return drafts.length > 0 && <span class="status warn">
        <Button title={`Texts that differ from what is saved: ${drafts.map(({ base }) => base.file).join(", ")}`}
            onPress={() => showDialog("drafts")}>{counted(drafts.length, of.word)} unsaved</Button>
    </span>;
}

function EditorPart() {
    const now = editor.value;
    if (now.state === "alive") return <span class="status ok" title={`Process ${now.pid}`} data-pid={now.pid}>editor alive</span>;
    if (now.state === "failed")
        return <span role="alert"><span class="status missing">{now.reason}</span> <Button title="Start the editor again" onPress={restartEditor}>Start again</Button></span>;
    const word = { connecting: "connecting…",
        lost: "the server is gone: start it again, and this page goes on; what is unsaved is still here",
        ended: "editor ended; starting again…" }[now.state];
    return <span class="status warn" role="alert">{word}</span>;
}
