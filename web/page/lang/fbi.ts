import { StreamLanguage } from "@codemirror/language";

interface State {
    isInComment: boolean;
    /** Behind "=" up to ";". */
    isValue: boolean;
}

/** Definitions and tables: sections in brackets, and `key=value;`. */
export const fbi = StreamLanguage.define<State>({
    name: "fbi",
    startState: () => ({ isInComment: false, isValue: false }),
    token(stream, state) {
        if (state.isInComment || stream.match("/*")) {
            state.isInComment = !stream.match(/^.*?\*\//);
            if (state.isInComment) stream.skipToEnd();
            return "comment";
        }
        if (stream.match("//")) { stream.skipToEnd(); return "comment"; }
        if (stream.eatSpace()) return null;
        if (state.isValue) {
            if (stream.eat(";")) { state.isValue = false; return "punctuation"; }
            if (stream.match(/^-?[\d.]+(?=\s*;)/)) return "number";
            stream.match(/^[^;/]+/) || stream.next();
            return "string";
        }
        if (stream.match(/^\[[^\]]*\]?/)) return "heading";
        if (stream.eat("=")) { state.isValue = true; return "operator"; }
        if (stream.match(/^[^=;{}[\]\s/]+/)) return "propertyName";
        stream.next();
        return "punctuation";
    },
    languageData: { commentTokens: { line: "//", block: { open: "/*", close: "*/" } } },
});
