// What the compiler says, as squiggles. Columns count bytes there and characters here.
import { type Diagnostic, setDiagnostics } from "@codemirror/lint";
import type { EditorView } from "@codemirror/view";
import type { BosDiagnostic } from "protocol";
import { placeOf } from "../work/columns";

/** Of `file`, the source's own; what is wrong with an included file stands in the first line. */
export function marksOf(text: string, found: readonly BosDiagnostic[], file: string): Diagnostic[] {
    return found.map(({ severity, code, message, file: where, line, column }) => {
        const isHere = where === file || where === "";
        const from = isHere ? placeOf(text, line, column) : 0;
        const word = /^[\w-]+/.exec(text.slice(from, from + 64))?.[0].length ?? 1;
        return {
            from, to: Math.min(text.length, from + word), severity,
            message: isHere ? `${code}: ${message}` : `${where}, line ${line}: ${code}: ${message}`,
        };
    });
}

/** `path` of the source in the stack, if it has one. */
export function showProblems(view: EditorView, found: readonly BosDiagnostic[], path: string | undefined): void {
    const file = path ?? found.find((one) => /\.bos$/i.test(one.file))?.file ?? "";
    view.dispatch(setDiagnostics(view.state, marksOf(view.state.doc.toString(), found, file)));
}
