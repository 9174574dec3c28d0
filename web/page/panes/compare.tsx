import { useSignal, useSignalEffect } from "@preact/signals";
import type { ComparedUnit } from "protocol";
import { isAlive } from "../store/connection";
import { addCompared, comparedNames, comparison, removeCompared } from "../store/compare";
import { generation, units } from "../store/roots";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Check, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { States, StatusMark } from "../widgets/states";
import { comparedKeys, type ComparedKey } from "../work/compared_keys";

type Found = Extract<ComparedUnit, { found: true }>;

/** Definitions side by side, key for key. */
export function ComparePane() {
    const typed = useSignal("");
    const onlyDifferent = useSignal(true);
    useSignalEffect(() => {
        comparedNames.value;
        if (isAlive.value && generation.value > 0) void comparison.load();
    });
    const own = loadedUnit.value?.unitName;
    const add = (name: string): void => { addCompared(name); typed.value = ""; };
    return (
        <div class="pane flow">
            <div class="toolbar">
                <Button title="Compare the unit that is loaded" disabled={!own && "No unit is loaded"} onPress={() => { if (own) add(own); }}>Add {own ?? "the unit"}</Button>
                <Field label="Add a unit" isCompact value={typed.value} onInput={(text) => { typed.value = text; }} onEnter={() => add(typed.peek())}
                    choices={units.value.slice(0, 500).map(({ name }) => name)} hint="A unit's name, then Enter" />
                {comparedNames.value.map((name) => <span key={name} class="chip">{name}
                    <Button kind="icon" title={`Leave ${name} out`} onPress={() => removeCompared(name)}>✕</Button></span>)}
                <Check label="Only what differs" value={onlyDifferent.value} onChange={(on) => { onlyDifferent.value = on; }} />
            </div>
            <States of={comparison.shown.value} empty="Add units: their definitions stand side by side here." retry={comparison.load}>
                {(compared) => <Table compared={compared} onlyDifferent={onlyDifferent.value} />}
            </States>
        </div>
    );
}

function Table({ compared, onlyDifferent }: { compared: readonly ComparedUnit[]; onlyDifferent: boolean }) {
    const found = compared.filter((one): one is Found => one.found);
    const lost = compared.filter((one) => !one.found);
    if (compared.length === 0) return <p class="empty">Add units: their definitions stand side by side here.</p>;
    const rows = comparedKeys(found.map(({ fbi }) => fbi), onlyDifferent && found.length > 1);
    return (
        <>
            <List<ComparedKey> label="Compared keys" items={rows} keyOf={({ key }) => key} textOf={({ key }) => key}
                rowClass={({ differs }) => differs && !onlyDifferent ? "differs" : ""}
                empty={found.length > 1 ? "Their definitions say the same." : "No definition was found."} columns={[
                    { title: "Key", width: "minmax(0, 1fr)", cell: ({ key }) => key },
                    ...found.map(({ name }, i) => ({
                        title: name, width: "minmax(0, 1fr)", isNumber: true,
                        cell: ({ values }: ComparedKey) => <span title={values[i]}>{values[i] || <i class="quiet">none</i>}</span>,
                    })),
                ]} />
            {lost.length > 0 && <p class="foot"><span>{lost.map(({ name }) => <StatusMark key={name} status="missing" word={`no unit ${name}`} />)}</span></p>}
        </>
    );
}
