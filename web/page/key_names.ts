// What keys are called, and what is wrong with a table of them.

/** Where a key counts: everywhere, or while the focus is within a region of that name. */
export type Where = "page" | "view" | "script" | "definition" | "model" | "map";

export interface Command {
    id: string;
    title: string;
    /** As "Ctrl+K"; on a Mac Ctrl is Command. */
    key?: string;
    where: Where;
    /** False when there was nothing to do: the key goes on to the browser. */
    run: () => boolean | void;
}

/** A key press in the table's words. */
export function nameOfKey(event: Pick<KeyboardEvent, "key" | "ctrlKey" | "metaKey" | "altKey" | "shiftKey">): string {
    const key = event.key.length === 1 ? event.key.toUpperCase() : event.key;
    // what Shift has made of a character is told by the character
    const hasShift = event.shiftKey && (event.key.length > 1 || /[A-Z]/.test(key));
    return [event.ctrlKey || event.metaKey ? "Ctrl" : "", event.altKey ? "Alt" : "", hasShift ? "Shift" : "", key]
        .filter(Boolean).join("+");
}

/** Two commands on one key of one place, or a row that says too little. */
export function findKeyFaults(rows: readonly Command[]): string[] {
    const faults = rows.filter((row) => row.title === "").map((row) => `${row.id} has no title`);
    rows.forEach((row, i) => rows.slice(i + 1).forEach((other) => {
        if (row.id === other.id) faults.push(`${row.id} is there twice`);
        const meet = row.where === other.where || row.where === "page" || other.where === "page" ||
            [row.where, other.where].sort().join() === "model,view"; // the view is a place of both
        if (row.key && row.key === other.key && meet) faults.push(`${row.key} is ${row.id} and ${other.id}`);
    }));
    return faults;
}
