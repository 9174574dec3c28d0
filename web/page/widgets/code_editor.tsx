// The text editor, the same wherever text is edited. The store reaches it by effects, it the store by one listener.
import { defaultKeymap, history, historyKeymap, indentWithTab } from "@codemirror/commands";
import { bracketMatching, HighlightStyle, indentUnit, syntaxHighlighting } from "@codemirror/language";
import { highlightSelectionMatches, searchKeymap } from "@codemirror/search";
import { Annotation, Compartment, EditorState, type Extension } from "@codemirror/state";
import {
    drawSelection, EditorView, highlightActiveLine, highlightSpecialChars, keymap, lineNumbers,
} from "@codemirror/view";
import { type ReadonlySignal, effect } from "@preact/signals";
import { useEffect, useRef } from "preact/hooks";
import { tags } from "@lezer/highlight";

export interface CodeEditorProps {
    label: string;
    /** Lines end in "\n"; while it is undefined what is there stays. */
    text: ReadonlySignal<string | undefined>;
    /** Absent: the text is only read. */
    onChange?: (text: string) => void;
    /** A language, and what else the text needs; the first ones given stay. */
    extensions: Extension;
    /** Gets the view, and what it returns runs at the end: for effects that bring marks from the store. */
    follow?: (view: EditorView) => () => void;
    isReadOnly?: ReadonlySignal<boolean>;
}

/** Marks what comes from the store, so that it does not echo. */
const fromStore = Annotation.define<boolean>();

export function CodeEditor({ label, text, onChange, extensions, follow, isReadOnly }: CodeEditorProps) {
    const host = useRef<HTMLDivElement>(null);
    // the listener outlives renders: it calls what was given last
    const change = useRef(onChange);
    change.current = onChange;

    useEffect(() => {
        const readOnly = new Compartment();
        const view = new EditorView({
            parent: host.current!,
            doc: text.peek() ?? "",
            extensions: [
                extensions, BASICS, EditorView.contentAttributes.of({ "aria-label": label, spellcheck: "false" }),
                readOnly.of([]),
                EditorView.updateListener.of((update) => {
                    const isEcho = update.transactions.some((one) => one.annotation(fromStore));
                    if (update.docChanged && !isEcho) change.current?.(update.state.doc.toString());
                }),
            ],
        });
        const ends = [
            effect(() => bringText(view, text.value)),
            effect(() => {
                const isLocked = !change.current || isReadOnly?.value === true;
                view.dispatch({ effects: readOnly.reconfigure(isLocked ? [EditorState.readOnly.of(true)] : []) });
            }),
            follow?.(view),
        ];
        return () => { ends.forEach((end) => end?.()); view.destroy(); };
    }, []);

    return <div ref={host} class="code" />;
}

/** Replaces only what differs, so that the cursor and marks elsewhere stay. */
function bringText(view: EditorView, text: string | undefined): void {
    const old = view.state.doc.toString();
    if (text === undefined || old === text) return;
    let from = 0;
    while (from < old.length && from < text.length && old[from] === text[from]) from++;
    let end = 0;
    const most = Math.min(old.length, text.length) - from;
    while (end < most && old[old.length - 1 - end] === text[text.length - 1 - end]) end++;
    view.dispatch({
        changes: { from, to: old.length - end, insert: text.slice(from, text.length - end) },
        annotations: fromStore.of(true),
    });
}

const COLORS = HighlightStyle.define([
    { tag: [tags.keyword, tags.heading], color: "var(--code-keyword)", fontWeight: "600" },
    { tag: tags.operatorKeyword, color: "var(--code-keyword)" },
    { tag: [tags.number, tags.bool], color: "var(--code-number)" },
    { tag: [tags.string, tags.meta], color: "var(--code-string)" },
    { tag: [tags.comment], color: "var(--quiet)", fontStyle: "italic" },
    { tag: tags.constant(tags.variableName), color: "var(--code-number)" },
    { tag: tags.function(tags.variableName), color: "var(--code-name)" },
    { tag: tags.propertyName, color: "var(--code-name)" },
]);

const LOOKS = EditorView.theme({
    "&": { height: "100%", color: "var(--ink)", backgroundColor: "var(--paper)" },
    ".cm-scroller": { font: "var(--code)", lineHeight: "18px" },
    ".cm-gutters": { backgroundColor: "var(--panel)", color: "var(--quiet)", borderRight: "1px solid var(--line)" },
    ".cm-activeLine, .cm-activeLineGutter": { backgroundColor: "var(--line-here)" },
    ".cm-cursor": { borderLeftColor: "var(--ink)" },
    "&.cm-focused > .cm-scroller > .cm-selectionLayer .cm-selectionBackground, .cm-selectionBackground":
        { backgroundColor: "var(--accent-soft)" },
    ".cm-panels": { backgroundColor: "var(--panel)", color: "var(--ink)" },
    ".cm-tooltip": { backgroundColor: "var(--panel)", color: "var(--ink)", border: "1px solid var(--line)" },
});

/** For texts that are only read. */
export const READING: Extension = [
    lineNumbers(), highlightSpecialChars(), syntaxHighlighting(COLORS), LOOKS, EditorState.tabSize.of(4),
    EditorState.readOnly.of(true),
];

/** One kind of line end, so that what is typed and what is compared are the same text. */
const LINES: Extension = [
    EditorState.lineSeparator.of("\n"), EditorView.clipboardInputFilter.of((text) => text.replace(/\r\n?/g, "\n")),
];

const BASICS: Extension = [
    LINES,
    lineNumbers(), history(), drawSelection(), highlightSpecialChars(), highlightActiveLine(), bracketMatching(),
    highlightSelectionMatches(), syntaxHighlighting(COLORS), LOOKS, indentUnit.of("\t"), EditorState.tabSize.of(4),
    // Escape and then Tab leaves the editor
    keymap.of([
        indentWithTab, ...defaultKeymap.filter(({ key }) => key !== "Mod-Enter"), ...historyKeymap, ...searchKeymap,
    ]),
];
