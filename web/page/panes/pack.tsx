import { useSignal, useSignalEffect } from "@preact/signals";
import type { MinModPack, ModPack, PackValidation } from "protocol";
import { isAlive } from "../store/connection";
import {
    dependencies, exportPack, isRecursive, packing, packUnits, setPackUnits, setRecursive, validatePack, validating, validation, writtenPack,
} from "../store/pack";
import { generation, roots, units } from "../store/roots";
import { loadedUnit, openUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Check, Choice, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { Split } from "../widgets/split";
import { States, StatusMark, type Status } from "../widgets/states";
import { TaskLine } from "../widgets/task_line";
import { Tree } from "../widgets/tree";
import { UnitChips } from "../widgets/unit_chips";
import { type DependencyNode, dependencyTree } from "../work/dependency_rows";
import { shortNames } from "../work/paths";
import { counted } from "../work/words";

/** What units need, and one archive of it or of a whole mod. */
export function PackPane() {
    useSignalEffect(() => {
        const own = loadedUnit.value?.unitName;
        if (packUnits.value.length === 0 && own) setPackUnits([own]);
        isRecursive.value;
        if (isAlive.value && generation.value > 0 && packUnits.value.length > 0) void dependencies.load();
    });
    return (
        <Split id="pack" label="Width of what is needed" usual={460} least={240} most={900} of="before" direction="row">
            {[<Needs />, <Archive />]}
        </Split>
    );
}

function Needs() {
    return (
        <section class="pane flow" aria-label="What the units need">
            <div class="toolbar">
                <UnitChips label="Add a unit to the pack" names={packUnits.value} known={units.value}
                    own={loadedUnit.value?.unitName} onChange={setPackUnits} />
                <Check label="What they build too" value={isRecursive.value} onChange={setRecursive} />
            </div>
            <States of={dependencies.shown.value} empty="Add a unit: all that it needs stands here." retry={dependencies.load}>
                {(needed) => <>
                    <Tree<DependencyNode> label="Needed" roots={dependencyTree(needed)} keyOf={({ key }) => key} childrenOf={({ children }) => children}
                        textOf={({ text }) => text} openLevels={1} cell={(node) => <NeedRow node={node} />} empty="Add a unit." />
                    <p class="foot"><span>{counted(needed.files.length, "file")}, {counted(needed.totalSize, "byte")}</span>
                        {needed.missing.length > 0 && <StatusMark status="missing" word={`${needed.missing.length} missing`} />}
                        {needed.damaged.length > 0 && <StatusMark status="warn" word={`${needed.damaged.length} damaged`} />}</p>
                </>}
            </States>
        </section>
    );
}

function NeedRow({ node: { text, note, status, size } }: { node: DependencyNode }) {
    return <>{status ? <StatusMark status={status} word={text} /> : <span title={text}>{text}</span>}
        <span class="quiet end" title={note}>{note}{size !== undefined && ` ${size.toLocaleString("en")}`}</span></>;
}

type Compression = "zlib" | "lz77" | "none";
const ONLY_NEEDED = "";

function Archive() {
    const mods = roots.value?.modPaths ?? [];
    const names = shortNames(mods);
    const what = useSignal(ONLY_NEEDED);
    const destination = useSignal("");
    const overwrite = useSignal(false);
    const compression = useSignal<Compression>("zlib");
    const path = destination.value.trim();
    const lacks = path === "" ? "Name the archive, as /folder/mymod.ufo" : what.value === ONLY_NEEDED && packUnits.value.length === 0 ? "Add a unit" : false;
    const begin = (): void => {
        if (lacks) return;
        void exportPack({ destination: path, overwrite: overwrite.peek(), compression: compression.peek(), ...(what.peek() ? { modPath: what.peek() } : {}) });
    };
    return (
        <section class="pane flow" aria-label="Archive">
            <div class="toolbar">
                <div class="wide"><Choice label="What to pack" isCompact value={what.value} onChange={(value) => { what.value = value; }}
                    options={[{ value: ONLY_NEEDED, text: "what the units need" }, ...mods.map((mod, i) => ({ value: mod, text: `all of ${names[i]}` }))]} /></div>
                <div class="wide"><Field label="Archive" isCompact value={destination.value} onInput={(text) => { destination.value = text; }} onEnter={begin}
                    hint="Of the pack to be written or looked at, as /folder/mymod.ufo" /></div>
                <Choice label="Compression" isCompact value={compression.value} onChange={(value) => { compression.value = value as Compression; }}
                    options={[{ value: "zlib", text: "zlib" }, { value: "lz77", text: "LZ77" }, { value: "none", text: "not compressed" }]} />
                <Check label="Overwrite" title="Take the place of a file that is there" value={overwrite.value} onChange={(on) => { overwrite.value = on; }} />
                <Button kind="main" title="Write the archive" disabled={lacks || (packing.state.value.state === "running" && "Packing")} onPress={begin}>Pack</Button>
                <Button title="Look at an archive as the game will meet it: alone over the base game" disabled={path === "" && "Name the archive"}
                    onPress={() => void validatePack(path)}>Validate</Button>
            </div>
            <TaskLine of={packing.state.value} label="Packing" />
            <TaskLine of={validating.state.value} label="Validation" />
            {validation.value ? <Validation of={validation.value} /> : writtenPack.value ? <Written pack={writtenPack.value} />
                : <p class="empty">Pack writes one archive for others to lay beside their game, Validate looks at one.</p>}
        </section>
    );
}

interface PackRow {
    key: string;
    status: Status;
    word: string;
    what: string;
    why: string;
}

/** What did not go along and why, then what did. */
function Written({ pack }: { pack: ModPack | MinModPack }) {
    const rows: PackRow[] = [
        ...("missing" in pack ? pack.missing.map(({ role, name, usedBy }) => row("missing", "missing", `${role} ${name}`, `used by ${usedBy.join(", ")}`)) : []),
        ...("warnings" in pack ? pack.warnings.map((text) => row("warn", "warning", "a whole table", text)) : []),
        ...pack.leftOut.map(({ path, reason }) => row("info", "left out", path, reason)),
        ...("files" in pack ? pack.files.map(({ path, roles, size }) => row("ok", "packed", path, `${roles.join(", ")}, ${counted(size, "byte")}`)) : []),
    ];
    return <Rows label="What was packed" rows={rows} empty="Every file of the mod is in the pack." />;
}

function Validation({ of: { findings, units: found } }: { of: PackValidation }) {
    const statuses = { error: "missing", warning: "warn", info: "info" } as const;
    const rows: PackRow[] = [
        ...findings.map(({ severity, path, unit, code, message }) => row(statuses[severity], severity, path ?? unit ?? code, message)),
        ...found.map(({ name, isReady, missing, warnings }) => row(isReady ? "ok" : "missing", isReady ? "ready" : "not ready", name,
            `${missing} blocking, ${counted(warnings, "warning")}`)),
    ];
    return <Rows label="What was found" rows={rows} empty="There is nothing in this pack." />;
}

const row = (status: Status, word: string, what: string, why: string): PackRow => ({ key: `${word}|${what}|${why}`, status, word, what, why });

function Rows({ label, rows, empty }: { label: string; rows: readonly PackRow[]; empty: string }) {
    return <List label={label} items={rows} keyOf={({ key }) => key} textOf={({ what }) => what} empty={empty}
        onActivate={({ what }) => { if (units.peek().some(({ name }) => name === what)) void openUnit(what); }} columns={[
            { width: "90px", cell: ({ status, word }) => <StatusMark status={status} word={word} /> },
            { width: "minmax(0, 1fr)", cell: ({ what }) => <span title={what}>{what}</span> },
            { width: "minmax(0, 1.4fr)", cell: ({ why }) => <span class="quiet" title={why}>{why}</span> },
        ]} />;
}
