import { StreamLanguage } from "@codemirror/language";

const DECLARATIONS = words("piece static-var var");
const STATEMENTS = words("if else while for return start-script call-script move turn spin stop-spin wait-for-turn " +
    "wait-for-move show hide cache dont-cache shade dont-shade emit-sfx explode sleep signal set-signal-mask " +
    "attach-unit drop-unit set get play-sound rand __words");
const PARTS = words("to along around speed now accelerate decelerate from type x-axis y-axis z-axis");
const VALUES = words("true false");

function words(text: string): ReadonlySet<string> {
    return new Set(text.split(" "));
}

interface State {
    isInComment: boolean;
}

/** Scripts in source. Names hold hyphens; `[1]` is a length and `<1>` an angle. */
export const bos = StreamLanguage.define<State>({
    name: "bos",
    startState: () => ({ isInComment: false }),
    token(stream, state) {
        if (state.isInComment || stream.match("/*")) {
            state.isInComment = !stream.match(/^.*?\*\//);
            if (state.isInComment) stream.skipToEnd();
            return "comment";
        }
        if (stream.eatSpace()) return null;
        if (stream.match("//")) { stream.skipToEnd(); return "comment"; }
        if (stream.sol() && stream.match(/^#\s*\w+/)) return "meta";
        if (stream.match(/^"[^"]*"?/)) return "string";
        if (stream.match(/^<\s*-?[\d.]+\s*>/) || stream.match(/^\[\s*-?[\d.]+\s*\]/)) return "number";
        if (stream.match(/^(0x[\da-f]+|\d+(\.\d+)?)/i)) return "number";
        const name = stream.match(/^[A-Za-z_][\w-]*/);
        if (!name || name === true) { stream.next(); return null; }
        const word = name[0].toLowerCase();
        if (DECLARATIONS.has(word) || STATEMENTS.has(word)) return "keyword";
        if (PARTS.has(word)) return "operatorKeyword";
        if (VALUES.has(word)) return "bool";
        if (stream.match(/^\s*\(/, false)) return "variableName.function";
        return /^[A-Z][A-Z0-9_]*$/.test(name[0]) ? "variableName.constant" : "variableName";
    },
    languageData: { commentTokens: { line: "//", block: { open: "/*", close: "*/" } }, wordChars: "-" },
});
