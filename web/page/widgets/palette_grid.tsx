import { useSignal } from "@preact/signals";
import { useId } from "preact/hooks";
import { isTeamIndex, PALETTE_SIZE } from "../work/team_bands";

const ACROSS = 16;
const INDICES = Array.from({ length: PALETTE_SIZE }, (_, index) => index);

/** The palette's 256 colours, sixteen a row. One Tab stop; arrows move, Enter chooses. Team colours are framed. */
export function PaletteGrid({ label, colorOf, noteOf, isUsed, chosen, onChoose, onEscape, onHere }: {
    label: string; colorOf: (index: number) => string | undefined;
    /** What else is to be said of a colour. */
    noteOf: (index: number) => string;
    /** Marked with a dot. */
    isUsed: (index: number) => boolean;
    chosen: number | undefined; onChoose: (index: number) => void; onEscape: () => void;
    /** Hears what the pointer is over, and where the arrows go. */
    onHere: (title: string) => void;
}) {
    const id = useId();
    const active = useSignal(chosen ?? 0);

    function press(event: KeyboardEvent): void {
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        const step = { ArrowRight: 1, ArrowLeft: -1, ArrowDown: ACROSS, ArrowUp: -ACROSS }[event.key];
        const at = step === undefined ? { Home: 0, End: PALETTE_SIZE - 1 }[event.key] : active.peek() + step;
        if (at !== undefined) onHere(titleOf(active.value = Math.min(Math.max(at, 0), PALETTE_SIZE - 1)));
        else if (event.key === "Enter" || event.key === " ") onChoose(active.peek());
        else if (event.key === "Escape") onEscape();
        else return;
        event.preventDefault();
        event.stopPropagation();
    }

    const titleOf = (index: number): string => [`colour ${index}`, isTeamIndex(index) ? "team colour" : "", noteOf(index)].filter(Boolean).join(", ");
    return (
        <div class="palette" role="grid" aria-label={label} tabIndex={0} onKeyDown={press}
            onPointerLeave={() => onHere("")} aria-activedescendant={`${id}-${active.value}`}>
            {Array.from({ length: PALETTE_SIZE / ACROSS }, (_, row) => (
                <div key={row} role="row">
                    {INDICES.slice(row * ACROSS, (row + 1) * ACROSS).map((index) => (
                        <span key={index} id={`${id}-${index}`} role="gridcell" aria-label={titleOf(index)} title={titleOf(index)}
                            aria-selected={index === chosen} style={{ background: colorOf(index) }}
                            class={`${isTeamIndex(index) ? "team" : ""} ${isUsed(index) ? "used" : ""} ${index === active.value ? "here" : ""}`}
                            onPointerEnter={() => onHere(titleOf(index))}
                            onClick={() => { active.value = index; onChoose(index); }} />
                    ))}
                </div>
            ))}
        </div>
    );
}
