import type { HealthAction, HealthCheck } from "protocol";

export interface HealthRow {
    check: HealthCheck;
    key: string;
    status: HealthCheck["status"] | "suppressed";
}

/** What keeps the unit from being ready first, what was suppressed last; within one status as reported. */
const ORDER: readonly HealthRow["status"][] = ["missing", "warn", "info", "ok", "suppressed"];

export function healthRows(checks: readonly HealthCheck[], withOk: boolean): HealthRow[] {
    const seen = new Map<string, number>();
    const rows = checks.map((check): HealthRow => {
        const name = `${check.category}|${check.ref}|${check.detail}`;
        const count = (seen.get(name) ?? 0) + 1;
        seen.set(name, count);
        return { check, key: `${name}|${count}`, status: check.isSuppressed ? "suppressed" : check.status };
    });
    return rows.filter(({ status }) => withOk || status !== "ok")
        .sort((a, b) => ORDER.indexOf(a.status) - ORDER.indexOf(b.status));
}

/** What a button for an action says, and what it does. */
export function actionText(action: HealthAction): { text: string; title: string } {
    switch (action.kind) {
        case "create-corpse-stub": return { text: "Make a wreck", title: `Write a wreck for ${action.parentUnit}: a unit and a map feature` };
        case "promote-to-mod": return { text: "Copy into a mod…", title: `Copy ${action.unitName} into a mod, where it can be changed` };
        case "lint-suppress": return { text: "Suppress", title: `Leave ${action.code} of ${action.target || action.unitName} out of the report` };
        case "lint-unsuppress": return { text: "Take back", title: `Report ${action.code} of ${action.target} again` };
        case "palette-remap": return { text: "Recolour…", title: `Take team colours out of the texture ${action.textureName}` };
    }
}
