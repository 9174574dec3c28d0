// The format of definitions and tables: sections in brackets and `key=value;`, with where each stands in the text.

export interface Assignment {
    key: string;
    value: string;
    keyFrom: number;
    valueFrom: number;
    valueTo: number;
    /** Behind the ";". */
    end: number;
    /** Name of the innermost section, and how many are open. */
    section: string;
    depth: number;
}

export interface Section {
    name: string;
    depth: number;
    /** From "[" to behind "}". */
    from: number;
    to: number;
    /** Behind its last item, or its "{". */
    continuation: number;
}

export interface TdfText {
    assignments: Assignment[];
    sections: Section[];
}

const KEY_END = /[=;{}[\]]/g;

/** Reads as the game does: what has no meaning is skipped, a body also ends with the text. */
export function scanTdf(text: string): TdfText {
    const found: TdfText = { assignments: [], sections: [] };
    const open: Section[] = [];
    let at = 0;
    const indexOr = (token: string, from: number): number => {
        const index = text.indexOf(token, from);
        return index < 0 ? text.length : index;
    };
    const skipBlank = (): void => {
        for (;;) {
            while (at < text.length && text.charCodeAt(at) <= 32) at++;
            if (text.startsWith("//", at)) at = indexOr("\n", at);
            else if (text.startsWith("/*", at)) at = Math.min(indexOr("*/", at + 2) + 2, text.length);
            else return;
        }
    };
    const wentOn = (): void => { const inner = open.at(-1); if (inner) inner.continuation = at; };

    for (skipBlank(); at < text.length; skipBlank()) {
        const from = at;
        if (text[at] === "}") {
            at++;
            const closed = open.pop();
            if (!closed) break; // the text's own body ends
            closed.to = at;
            wentOn();
        } else if (text[at] === "[") {
            const end = indexOr("]", at);
            at = Math.min(end + 1, text.length);
            skipBlank();
            if (text[at] !== "{") continue;
            at++;
            const section = { name: text.slice(from + 1, end).trim(), depth: open.length, from, to: text.length, continuation: at };
            found.sections.push(section);
            open.push(section);
        } else {
            KEY_END.lastIndex = at;
            at = KEY_END.exec(text)?.index ?? text.length;
            if (at === from) at++;
            else if (text[at] === "=") {
                const keyFrom = from;
                const key = text.slice(from, at).trimEnd();
                at++;
                while (at < text.length && text.charCodeAt(at) <= 32) at++;
                const valueFrom = at;
                const value = text.slice(at, at = indexOr(";", at)).trimEnd();
                if (at < text.length) at++;
                found.assignments.push({ key, value, keyFrom, valueFrom, valueTo: valueFrom + value.length, end: at,
                    section: open.at(-1)?.name ?? "", depth: open.length });
                wentOn();
            }
        }
    }
    return found;
}

/** The text of the section of that name, the last one: it is the one that counts. */
export function sectionNamed(text: string, name: string): string | undefined {
    const found = scanTdf(text).sections.filter((one) => one.name.toLowerCase() === name.toLowerCase()).at(-1);
    return found && text.slice(found.from, found.to);
}
