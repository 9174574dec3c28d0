import { MergeView } from "@codemirror/merge";
import { EditorView } from "@codemirror/view";
import type { Extension } from "@codemirror/state";
import { useEffect, useRef } from "preact/hooks";
import { READING } from "./code_editor";

/** Two texts beside one another, what differs marked; what is alike over many lines is folded. */
export function SideBySide({ left, right, leftLabel, rightLabel, language }:
    { left: string; right: string; leftLabel: string; rightLabel: string; language: Extension }) {
    const host = useRef<HTMLDivElement>(null);
    useEffect(() => {
        const side = (doc: string, label: string) =>
            ({ doc, extensions: [language, READING, EditorView.contentAttributes.of({ "aria-label": label })] });
        const view = new MergeView({
            parent: host.current!, a: side(left, leftLabel), b: side(right, rightLabel),
            collapseUnchanged: { margin: 3, minSize: 8 }, gutter: true,
        });
        return () => view.destroy();
    }, [left, right, leftLabel, rightLabel]);
    return <div ref={host} class="side-by-side" />;
}
