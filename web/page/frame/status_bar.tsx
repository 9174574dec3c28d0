import { editor, restartEditor, said } from "../store/connection";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { baseName } from "../work/paths";

/** Where the unit lies, what is unsaved, whether the editor is there. */
export function StatusBar() {
    const source = loadedUnit.value?.source;
    return (
        <footer class="status-bar">
            {source && <span class="file" title={source.kind === "archive" ? `${source.path} :: ${source.internalPath}` : source.path}>
                {source.kind === "archive" ? `${baseName(source.path)} :: ${source.internalPath}` : source.path}
            </span>}
            {source && <span>{source.inBaseTa ? "base game, copied into a mod for changes" : "writable"}</span>}
            <span class="said" role="status" aria-live="polite">{said.value}</span>
            <EditorPart />
        </footer>
    );
}

function EditorPart() {
    const now = editor.value;
    if (now.state === "alive") return <span class="status ok" title={`Process ${now.pid}`} data-pid={now.pid}>editor alive</span>;
    if (now.state === "failed")
        return <span role="alert"><span class="status missing">{now.reason}</span> <Button title="Start the editor again" onPress={restartEditor}>Start again</Button></span>;
    const word = { connecting: "connecting…", lost: "the server is gone; trying again…", ended: "editor ended; starting again…" }[now.state];
    return <span class="status warn" role="alert">{word}</span>;
}
