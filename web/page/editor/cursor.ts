// The script's editor that is there, for commands that concern its cursor.
import type { EditorView } from "@codemirror/view";
import { toggleBreakpoint } from "../store/script";

let view: EditorView | undefined;

/** Returns what ends it: the next editor may be there before the last one goes. */
export function setScriptEditor(value: EditorView): () => void {
    view = value;
    return () => { if (view === value) view = undefined; };
}

export function toggleAtCursor(): boolean {
    if (!view) return false;
    void toggleBreakpoint(view.state.doc.lineAt(view.state.selection.main.head).number);
    return true;
}

export function showLine(line: number): void {
    if (!view || line < 1 || line > view.state.doc.lines) return;
    view.dispatch({ selection: { anchor: view.state.doc.line(line).from }, scrollIntoView: true });
    view.focus();
}
