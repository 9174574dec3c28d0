// Lifetime: the chosen unit. What its health report says, and what mends a finding.
import { computed } from "@preact/signals";
import type { HealthAction, UnitHealth } from "protocol";
import { ask } from "../ask";
import { say } from "./connection";
import { askCopy } from "./copy_unit";
import { write } from "./question";
import { resource, valueOf } from "./resource";
import { chooseTexture } from "./textures";
import { reloadUnit, wantedUnit } from "./unit";
import { showTab } from "./view";

/** By name, so that a unit that cannot be loaded has a report, too. */
export const health = resource<UnitHealth>(() => ask("unit-health", { name: wantedUnit.peek(), withSuppressed: true }));

/** What is to be mended of the chosen unit, as the tab says it. */
export const healthNote = computed(() => {
    const report = valueOf(health.shown.value);
    const count = report?.unit.toLowerCase() === wantedUnit.value.toLowerCase() ? report.summary.missing + report.summary.warnings : 0;
    return count > 0 ? String(count) : undefined;
});

export async function lookAtHealth(name: string): Promise<void> {
    if (valueOf(health.shown.peek())?.unit.toLowerCase() !== name.toLowerCase()) health.reset();
    if (name !== "") await health.load();
}

/** Does what a finding's button says; afterwards the report is a fresh one. */
export async function mend(action: HealthAction): Promise<void> {
    switch (action.kind) {
        case "create-corpse-stub": {
            const { parentUnit } = action;
            await write(parentUnit, `a wreck for ${parentUnit}`, (allowBackupCreation) =>
                ask("create-corpse-stub", { parentUnit, allowBackupCreation }));
            break;
        }
        case "promote-to-mod":
            if (await askCopy({ unitName: action.unitName, isToEdit: true })) await reloadUnit();
            break;
        case "lint-suppress": {
            const { code, target, unitName } = action;
            const { resolvedPath } = await ask("lint-suppress", { code, target, unitName });
            say(`${code} of ${target} is suppressed${resolvedPath ? ` in ${resolvedPath}` : ""}`);
            break;
        }
        case "lint-unsuppress": {
            const { kind: _, ...rule } = action;
            await ask("lint-unsuppress", rule);
            say(`${action.code} of ${action.target} is reported again`);
            break;
        }
        case "palette-remap":
            void chooseTexture(action.textureName);
            showTab("remap");
            return;
    }
    await health.load();
}

/** The same rule for all units. */
export async function suppressEverywhere({ code, target }: { code: string; target: string }): Promise<void> {
    await ask("lint-suppress", { code, target, scope: "global" });
    say(`${code} of ${target} is suppressed for all units`);
    await health.load();
}
