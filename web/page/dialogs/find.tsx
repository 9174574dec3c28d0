import { useComputed, useSignal } from "@preact/signals";
import { commands } from "../commands";
import { units } from "../store/roots";
import { openUnit } from "../store/unit";
import { closeDialog } from "../store/view";
import { Dialog } from "../widgets/dialog";
import { List } from "../widgets/list";
import { Field } from "../widgets/field";
import { filterUnits } from "../work/filter_units";

interface Found {
    key: string;
    text: string;
    note: string;
    run: () => unknown;
}

/** Units and commands by what is typed; the list of commands is the help for keys as well. */
export function FindDialog() {
    const wanted = useSignal("");
    const chosen = useSignal(0);
    const found = useComputed((): Found[] => [
        ...filterUnits(units.value, wanted.value).map((unit): Found =>
            ({ key: `u ${unit.name}`, text: unit.name, note: unit.displayName || unit.title, run: () => openUnit(unit.name) })),
        ...commands.filter(({ title }) => title.toLowerCase().includes(wanted.value.toLowerCase())).map((command): Found =>
            ({ key: `c ${command.id}`, text: command.title, note: command.key ?? "", run: command.run })),
    ].sort((a, b) => rank(a, wanted.value) - rank(b, wanted.value)));
    const at = Math.min(chosen.value, found.value.length - 1);
    const run = (one: Found | undefined): void => {
        if (!one) return;
        closeDialog();
        void one.run();
    };
    return (
        <Dialog title="Find a unit or a command" onClose={closeDialog}>
            <div onKeyDown={(event) => {
                const step = { ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10 }[event.key];
                if (step === undefined || event.target instanceof HTMLDivElement) return;
                event.preventDefault();
                chosen.value = Math.min(Math.max(at + step, 0), found.value.length - 1);
            }}>
                <Field label="Search" isCompact isFocused type="search" value={wanted.value}
                    onInput={(text) => { wanted.value = text; chosen.value = 0; }} onEnter={() => run(found.peek()[at])} onEscape={closeDialog} />
            </div>
            <div class="tall">
                <List label="Found" items={found.value} keyOf={(one) => one.key} selected={found.value[at]?.key}
                    onSelect={(one) => { chosen.value = found.peek().indexOf(one); }} onActivate={run}
                    columns={[{ width: "1fr", cell: (one) => one.text }, { width: "auto", cell: (one) => <span class="quiet">{one.note}</span> }]}
                    empty="Nothing is called so." />
            </div>
        </Dialog>
    );
}

/** Names that begin so come first, commands behind units. */
function rank({ key, text }: Found, wanted: string): number {
    return (wanted !== "" && text.toLowerCase().startsWith(wanted.toLowerCase()) ? 0 : 2) + (key.startsWith("u") ? 0 : 1);
}
