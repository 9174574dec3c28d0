import { useComputed, useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import { healthOf } from "../store/health_sweep";
import { openAndShow } from "../begin";
import type { Roots } from "../../wire";
import { gameBelow, generation, pathsOf, roots, sides, units } from "../store/roots";
import { openUnit, unit, wantedUnit } from "../store/unit";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { filterUnits } from "../work/filter_units";
import { shortNames } from "../work/paths";
import { counted } from "../work/words";

/** Every unit of the opened roots. Arrows load. */
export function UnitsPane() {
    const search = useSignal("");
    const side = useSignal("");
    const root = useSignal("");
    const folders = roots.value ? pathsOf(roots.value) : [];
    const names = shortNames(folders);
    const shown = useComputed(() => filterUnits(units.value, search.value, side.value, root.value));
    const failed = unit.value.state === "failed" ? wantedUnit.value : "";
    return (
        <section class="pane units" aria-label="Units">
            <div class="toolbar">
                <Field label="Search units" type="search" isCompact value={search.value}
                    onInput={(text) => { search.value = text; }}
                    onEnter={() => { const [first] = shown.peek(); if (first) void openUnit(first.name); }} />
                {sides.value.length > 1 && <Choice label="Side" isCompact value={side.value} onChange={(value) => { side.value = value; }}
                    options={[{ value: "", text: "All sides" }, ...sides.value.map((value) => ({ value, text: value }))]} />}
                {folders.length > 1 && <Choice label="Folder" isCompact value={root.value} onChange={(value) => { root.value = value; }}
                    options={[{ value: "", text: "All folders" }, ...folders.map((value, i) => ({ value, text: names[i]! }))]} />}
            </div>
            <List label="Units" items={shown.value} keyOf={(one) => one.name} textOf={(one) => one.name}
                selected={wantedUnit.value || undefined} onSelect={(one) => void openUnit(one.name)}
                rowClass={(one) => one.name === failed ? "failed" : ""}
                columns={[
                    { width: "14px", cell: (one) => <HealthDot name={one.name} /> },
                    { width: "minmax(80px, 1fr)", cell: (one) => one.name },
                    { width: "minmax(0, 1.2fr)", cell: (one) => <span class="quiet" title={one.title}>{one.displayName || one.title}</span> },
                ]}
                empty={units.value.length === 0 ? "0 units here." : "No unit has that in its name or title."} />
            {units.value.length === 0 && roots.value && <GameBelow key={generation.value} roots={roots.value} />}
            <div class="foot">
                <span>{shown.value.length === units.value.length ? "" : `${shown.value.length} of `}{counted(units.value.length, "unit")}</span>
                {units.value.length === 0 && <Button title="Open a game and mods" verb="open-roots" onPress={() => showDialog("roots")}>Open…</Button>}
            </div>
        </section>
    );
}

function HealthDot({ name }: { name: string }) {
    const health = healthOf(name);
    if (!health) return <span class="dot unknown" title="not looked at yet" />;
    return <span class={`dot ${health.status}`} role="img" aria-label={health.verdict} title={health.verdict} />;
}

/** For who has opened the folder around the game. */
function GameBelow({ roots: opened }: { roots: Roots }) {
    const path = useSignal("");
    useEffect(() => { gameBelow(opened.taDataPath).then((found) => { path.value = found ?? ""; }, () => {}); }, []);
    return path.value === "" ? null : <p class="empty">A game lies in {path.value}. <Button title={`Open ${path.value}`}
        onPress={() => openAndShow({ ...opened, taDataPath: path.peek() })}>Open it</Button></p>;
}
