// Every key and command of the page, one row each. Titles of buttons, the list behind Ctrl+K and its help
// come from here.
import { commands } from "./commands";
import { nameOfKey } from "./key_names";

export function keyText(id: string): string {
    return commands.find((command) => command.id === id)?.key ?? "";
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
