import { useSignal, useSignalEffect } from "@preact/signals";
import type { HealthAction } from "protocol";
import { isAlive } from "../store/connection";
import { health, lookAtHealth, mend, suppressEverywhere } from "../store/health";
import { generation } from "../store/roots";
import { unit, wantedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Check } from "../widgets/field";
import { List } from "../widgets/list";
import { States, StatusMark, type Status } from "../widgets/states";
import { actionText, type HealthRow, healthRows } from "../work/health_rows";
import { withPlurals } from "../work/words";

/** What keeps the unit from being ready, what is doubtful, and a button for whatever can be mended here. */
export function HealthPane() {
    const withOk = useSignal(true);
    const chosen = useSignal<string | undefined>(undefined);
    useSignalEffect(() => {
        const { state } = unit.value;
        if (isAlive.value && generation.value > 0 && (state === "ready" || state === "failed")) void lookAtHealth(wantedUnit.peek());
    });
    return (
        <States of={health.shown.value} empty="Choose a unit: what is sound and what is not stands here." retry={health.load}>
            {({ checks, summary }) => {
                const rows = healthRows(checks, withOk.value);
                const row = rows.find(({ key }) => key === chosen.value);
                return (
                    <div class="pane flow">
                        <div class="toolbar">
                            <StatusMark status={summary.missing > 0 ? "missing" : summary.warnings > 0 ? "warn" : "ok"}
                                word={withPlurals(summary.verdict)} />
                            <Check label="Show what is sound" value={withOk.value} onChange={(on) => { withOk.value = on; }} />
                            <Button title="Look again" onPress={health.load}>Again</Button>
                        </div>
                        <List label="Health" items={rows} keyOf={({ key }) => key} selected={chosen.value} onSelect={({ key }) => { chosen.value = key; }}
                            textOf={({ check }) => check.category} hasControls rowClass={({ status }) => status === "suppressed" ? "suppressed" : ""}
                            empty="Nothing is wrong." columns={[
                                { title: "Status", width: "80px",
                                    cell: ({ status }) => <StatusMark {...LOOKS[status]} /> },
                                { title: "Check", width: "92px",
                                    cell: ({ check }) => <span title={check.category}>{check.category}</span> },
                                { title: "Of", width: "minmax(48px, 0.18fr)",
                                    cell: ({ check }) => <span title={check.ref}>{withPlurals(check.ref)}</span> },
                                { title: "Finding", width: "minmax(0, 1fr)",
                                    cell: ({ check }, isActive) => <span class="finding">
                                    <span title={check.detail}>{check.detail}</span>
                                    {check.action && <Actions action={check.action} isActive={isActive} />}</span> },
                            ]} />
                        {row && <p class="detail"><b>{row.check.category}</b> {row.check.detail}</p>}
                    </div>
                );
            }}
        </States>
    );
}

const LOOKS: Record<HealthRow["status"], { status: Status; word: string }> = {
    missing: { status: "missing", word: "missing" }, warn: { status: "warn", word: "warning" }, info: { status: "info", word: "info" },
    ok: { status: "ok", word: "ok" }, suppressed: { status: "info", word: "suppressed" },
};

function Actions({ action, isActive }: { action: HealthAction; isActive: boolean }) {
    const { text, title } = actionText(action);
    const tabIndex = isActive ? 0 : -1;
    return (
        <span class="row-buttons">
            <Button title={title} tabIndex={tabIndex} onPress={() => mend(action)}>{text}</Button>
            {action.kind === "lint-suppress" && <Button title={`Leave ${action.code} of ${action.target} out of every unit's report`}
                tabIndex={tabIndex} onPress={() => suppressEverywhere(action)}>For all units</Button>}
        </span>
    );
}
