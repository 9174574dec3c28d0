// Every key and command of the page, one row each. Titles of buttons, the list behind Ctrl+K and its help
// come from here.
import { commands } from "./commands";
import { nameOfKey } from "./key_names";

export function keyText(id: string): string {
    return commands.find((command) => command.id === id)?.key ?? "";
}

export function runCommand(id: string): void {
    commands.find((command) => command.id === id)?.run();
}

/** Bare letters are text wherever text is typed. */
function isTyping(event: KeyboardEvent): boolean {
    const target = event.target as Element | null;
    return target?.closest("input, textarea, select, [contenteditable=true], [role=textbox]") != null;
}

/** The page's one listener. */
export function listenToKeys(root: Document): () => void {
    const press = (event: KeyboardEvent): void => {
        if (event.defaultPrevented) return;
        const name = nameOfKey(event);
        const isBare = name.length === 1;
        if (isBare && isTyping(event)) return;
        const region = (event.target as Element | null)?.closest("[data-region]")?.getAttribute("data-region");
        const command = commands.find((one) => one.key === name && (one.where === "page" || one.where === region));
        if (command && command.run() !== false) event.preventDefault();
    };
    root.addEventListener("keydown", press);
    return () => root.removeEventListener("keydown", press);
}
