// The line where the script has stopped, marked and scrolled to.
import { type Extension, StateEffect, StateField } from "@codemirror/state";
import { Decoration, type DecorationSet, EditorView } from "@codemirror/view";

const setLine = StateEffect.define<number | undefined>();
const LOOK = Decoration.line({ class: "stopped-line", attributes: { "aria-current": "step" } });

const field = StateField.define<DecorationSet>({
    create: () => Decoration.none,
    update(value, transaction) {
        let next = value.map(transaction.changes);
        for (const effect of transaction.effects) {
            if (!effect.is(setLine)) continue;
            const { doc } = transaction.state;
            const line = effect.value;
            next = line === undefined || line < 1 || line > doc.lines ? Decoration.none : Decoration.set(LOOK.range(doc.line(line).from));
        }
        return next;
    },
    provide: (self) => EditorView.decorations.from(self),
});

// more than the line with the cursor
const looks = EditorView.theme({ ".cm-line.stopped-line": { backgroundColor: "var(--line-stopped)" } });

export const stoppedLineMark: Extension = [field, looks];

export function showStop(view: EditorView, line: number | undefined): void {
    const isThere = line !== undefined && line >= 1 && line <= view.state.doc.lines;
    view.dispatch({ effects: [
        setLine.of(line), ...(isThere ? [EditorView.scrollIntoView(view.state.doc.line(line).from, { y: "nearest", yMargin: 54 })] : []),
    ] });
}
