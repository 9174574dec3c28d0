// Every key and command of the page, one row each. Titles of buttons, the list behind Ctrl+K and its help
// come from here.
import { commands } from "./commands";

/** Where a key counts: everywhere, or while the focus is within a region of that name. */
export type Where = "page" | "view" | "script" | "model" | "map";

export interface Command {
    id: string;
    title: string;
    /** As "Ctrl+K"; on a Mac Ctrl is Command. */
    key?: string;
    where: Where;
    /** False when there was nothing to do: the key goes on to the browser. */
    run: () => boolean | void;
}

export function keyText(id: string): string {
    return commands.find((command) => command.id === id)?.key ?? "";
}

export function runCommand(id: string): void {
    commands.find((command) => command.id === id)?.run();
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

/** Bare letters are text wherever text is typed. */
function isTyping(event: KeyboardEvent): boolean {
    const target = event.target as Element | null;
    return target?.closest("input, textarea, select, [contenteditable=true], [role=textbox]") != null;
}

/** What these keys undo is the text, where text is typed. */
const TEXT_KEYS: ReadonlySet<string> = new Set(["Ctrl+Z", "Ctrl+Y", "Ctrl+Shift+Z", "Delete", "Backspace"]);

/** The page's one listener. */
export function listenToKeys(root: Document): () => void {
    const press = (event: KeyboardEvent): void => {
        if (event.defaultPrevented) return;
        const name = nameOfKey(event);
        const isBare = name.length === 1;
        if ((isBare || TEXT_KEYS.has(name)) && isTyping(event)) return;
        // places that hold others are told in one attribute, as "view model"
        const regions: readonly string[] = (event.target as Element | null)?.closest("[data-region]")?.getAttribute("data-region")?.split(" ") ?? [];
        const command = commands.find((one) => one.key === name && (one.where === "page" || regions.includes(one.where)));
        if (command && command.run() !== false) event.preventDefault();
    };
    root.addEventListener("keydown", press);
    return () => root.removeEventListener("keydown", press);
}
