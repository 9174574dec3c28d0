// Every text that is edited and not saved, also of units and folders that are not open.
import { definitions } from "../store/definition";
import type { Documents, SavedText } from "../store/document";
import { scripts } from "../store/script";
import { closeDialog } from "../store/view";
import { copyText } from "../parts/document_state";
import { Button } from "../widgets/button";
import { Dialog } from "../widgets/dialog";
import { List } from "../widgets/list";

const rowsOf = <S extends SavedText, F>(of: Documents<S, F>) =>
    of.drafts.value.map(({ base: { file }, text }) => ({ word: of.word, file, text, drop: () => of.drop(file) }));

export function DraftsDialog() {
    const rows = [...rowsOf(scripts), ...rowsOf(definitions)];
    return (
        <Dialog title="Texts that are not saved" onClose={closeDialog} actions={
            <Button kind="main" title="Leave them as they are" onPress={closeDialog}>Close</Button>}>
            <p>A text is shown again when its unit is chosen and its folders are open.</p>
            <div class="short"><List label="Texts" items={rows} keyOf={({ word, file }) => `${word} ${file}`}
                hasControls empty="Everything is saved." columns={[
                    { title: "Text", width: "auto", cell: ({ word }) => word },
                    { title: "File", width: "1fr", cell: ({ file }) => <span title={file}>{file}</span> },
                    { width: "auto", cell: ({ text, drop }, isActive) => <span class="row-buttons">
                        <Button title="Copy this text" tabIndex={isActive ? 0 : -1}
                            onPress={() => copyText(text)}>Copy</Button>
                        <Button title="Give these changes up" tabIndex={isActive ? 0 : -1}
                            onPress={drop}>Give up</Button>
                    </span> },
                ]} /></div>
        </Dialog>
    );
}
