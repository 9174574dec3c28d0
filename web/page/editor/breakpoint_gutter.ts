// A gutter of breakpoints. They come from the store and move with the text; a click asks for one.
import { type EditorState, type Extension, RangeSet, StateEffect, StateField } from "@codemirror/state";
import { EditorView, gutter, GutterMarker } from "@codemirror/view";
import type { Breakpoint } from "../store/script";

class Mark extends GutterMarker {
    constructor(readonly isVerified: boolean) { super(); }
    override eq(other: Mark): boolean { return other.isVerified === this.isVerified; }
    override toDOM(): Node {
        const mark = document.createElement("span");
        mark.className = this.isVerified ? "breakpoint" : "breakpoint waiting";
        mark.textContent = this.isVerified ? "●" : "○";
        mark.title = this.isVerified ? "stops here" : "no code here, or the text does not run yet";
        return mark;
    }
}

/** Keeps the gutter's width. */
class Spacer extends GutterMarker {
    override toDOM(): Node { return document.createTextNode("●"); }
}

const setMarks = StateEffect.define<readonly Breakpoint[]>();

const marks = StateField.define<RangeSet<Mark>>({
    create: () => RangeSet.empty,
    update(value, transaction) {
        let next = value.map(transaction.changes);
        for (const effect of transaction.effects) if (effect.is(setMarks)) next = rangesOf(transaction.state, effect.value);
        return next;
    },
});

function rangesOf(state: EditorState, points: readonly Breakpoint[]): RangeSet<Mark> {
    return RangeSet.of(points.filter(({ line }) => line >= 1 && line <= state.doc.lines)
        .map(({ line, isVerified }) => new Mark(isVerified).range(state.doc.line(line).from)), true);
}

function linesOf(state: EditorState): number[] {
    const lines: number[] = [];
    state.field(marks).between(0, state.doc.length, (from) => { lines.push(state.doc.lineAt(from).number); });
    return lines;
}

export function breakpointGutter(toggle: (line: number) => void, moved: (lines: number[]) => void): Extension {
    return [
        marks,
        gutter({
            class: "breakpoints",
            markers: (view) => view.state.field(marks),
            initialSpacer: () => new Spacer(),
            domEventHandlers: {
                mousedown(view, block) {
                    toggle(view.state.doc.lineAt(block.from).number);
                    return true;
                },
            },
        }),
        EditorView.updateListener.of((update) => {
            if (update.docChanged && update.state.field(marks).size > 0) moved(linesOf(update.state));
        }),
    ];
}

export function showBreakpoints(view: EditorView, points: readonly Breakpoint[]): void {
    view.dispatch({ effects: setMarks.of(points) });
}
