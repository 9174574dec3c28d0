import { useSignal, useSignalEffect } from "@preact/signals";
import type { ComparedUnit } from "protocol";
import { isAlive } from "../store/connection";
import { compare, comparedNames, comparison } from "../store/compare";
import { generation, units } from "../store/roots";
import { loadedUnit } from "../store/unit";
import { Check } from "../widgets/field";
import { List } from "../widgets/list";
import { States, StatusMark } from "../widgets/states";
import { UnitChips } from "../widgets/unit_chips";
import { comparedKeys, type ComparedKey } from "../work/compared_keys";

type Found = Extract<ComparedUnit, { found: true }>;

/** Definitions side by side, key for key. */
export function ComparePane() {
    const onlyDifferent = useSignal(true);
    useSignalEffect(() => {
        comparedNames.value;
        if (isAlive.value && generation.value > 0) void comparison.load();
    });
    return (
        <div class="pane flow">
            <div class="toolbar">
                <UnitChips label="Add a unit" names={comparedNames.value} known={units.value}
                    own={loadedUnit.value?.unitName} onChange={compare} />
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
