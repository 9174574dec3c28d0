import { useSignal, useSignalEffect } from "@preact/signals";
import type { UnitWeapon } from "protocol";
import { askFrame } from "../ask";
import { isAlive } from "../store/connection";
import { resource } from "../store/resource";
import { loadedUnit, unit } from "../store/unit";
import { Field } from "../widgets/field";
import { List } from "../widgets/list";
import { ModelPreview } from "../widgets/model_preview";
import { Split } from "../widgets/split";
import { States, StatusMark } from "../widgets/states";

interface WeaponKey {
    key: string;
    section: string;
    name: string;
    value: string;
}

/** What a weapon looks like as it flies; one without model and sprite is drawn by the game. */
type Look = { glb: ArrayBuffer; model: string } | { png: string; sprite: string; frames: number } | undefined;

let looked = "";
let picture = "";
const look = resource<Look>(() => fetchLook(looked));

async function fetchLook(name: string): Promise<Look> {
    const weapon = loadedUnit.peek()?.weapons.find((one) => one.name === name);
    if (valueOf(weapon, "model")) {
        const { reply, frame } = await askFrame("get-weapon-model-glb", { weapon: name });
        return { glb: frame, model: reply.model };
    }
    if (!valueOf(weapon, "bitmap")) return undefined;
    const { reply, frame } = await askFrame("get-projectile-sprite", { weapon: name });
    if (picture) URL.revokeObjectURL(picture);
    picture = URL.createObjectURL(new Blob([frame], { type: "image/png" }));
    return { png: picture, sprite: reply.name, frames: reply.frames };
}

/** The unit's weapons with all that their tables say. */
export function WeaponsPane() {
    const chosen = useSignal(0);
    useSignalEffect(() => {
        const weapons = loadedUnit.value?.weapons ?? [];
        const name = (weapons[chosen.value] ?? weapons[0])?.name ?? "";
        if (!isAlive.value) return;
        looked = name;
        look.reset();
        if (name !== "") void look.load();
    });
    return (
        <States of={unit.value} empty="Choose a unit: its weapons stand here.">
            {({ weapons }) => {
                // one weapon can stand in two slots
                const slots = weapons.map((weapon, slot) => ({ weapon, slot }));
                const { weapon, slot } = slots[chosen.value] ?? slots[0] ?? {};
                return (
                    <Split id="weapons" label="Width of the weapons" usual={260} least={160} most={600} of="before" direction="row">
                        {[
                            <List label="Weapons" items={slots} keyOf={(one) => String(one.slot)}
                                textOf={(one) => one.weapon.name}
                                selected={slot === undefined ? undefined : String(slot)}
                                onSelect={(one) => { chosen.value = one.slot; }} empty="This unit has no weapons."
                                columns={[
                                    { width: "minmax(0, 1fr)", cell: (one) => one.weapon.name },
                                    { width: "90px", cell: (one) => one.weapon.missing ? <StatusMark status="missing" />
                                        : <span class="quiet">{valueOf(one.weapon, "name")}</span> },
                                ]} />,
                            weapon ? <Weapon weapon={weapon} /> : <p class="empty">Weapon1 to Weapon3 of the definition name a unit's weapons.</p>,
                        ]}
                    </Split>
                );
            }}
        </States>
    );
}

function Weapon({ weapon }: { weapon: UnitWeapon }) {
    const search = useSignal("");
    if (weapon.missing) return <p class="empty"><StatusMark status="missing" word={`no table declares ${weapon.name}`} /></p>;
    const rows = keysOf(weapon).filter(({ section, name }) => `${section} ${name}`.toLowerCase().includes(search.value.toLowerCase()));
    return (
        <Split id="weapon-look" label="Width of the picture" usual={220} least={120} most={600} of="behind" direction="row">
            {[
                <section class="pane flow" aria-label={weapon.name}>
                    <div class="toolbar">
                        <Field label="Search keys of the weapon" type="search" isCompact value={search.value} onInput={(text) => { search.value = text; }} />
                        <span class="quiet" title={weapon.sourcePath}>{weapon.sourcePath}</span>
                    </div>
                    <List label={`Keys of ${weapon.name}`} items={rows} keyOf={({ key }) => key} textOf={({ name }) => name} empty="No key is called so."
                        columns={[
                            { title: "Key", width: "minmax(0, 1fr)", cell: ({ section, name }) => <>{section && <span class="quiet">{section} › </span>}{name}</> },
                            { title: "Value", width: "minmax(0, 1fr)", cell: ({ value }) => <span title={value}>{value}</span> },
                        ]} />
                </section>,
                <States of={look.shown.value} empty="Nothing to be seen." retry={look.load}>{(seen) => <Flying look={seen} name={weapon.name} />}</States>,
            ]}
        </Split>
    );
}

function Flying({ look: seen, name }: { look: Look; name: string }) {
    if (!seen) return <p class="empty">Neither a model nor a sprite: the game draws it.</p>;
    if ("glb" in seen) return <ModelPreview label={`Model ${seen.model} of ${name}`} glb={seen.glb} />;
    return <div class="picture"><img src={seen.png} alt={`Sprite ${seen.sprite} of ${name}, ${seen.frames} frames`} /></div>;
}

/** Of a key in any case. */
const valueOf = (weapon: UnitWeapon | undefined, key: string): string =>
    weapon && !weapon.missing ? Object.entries(weapon.values).find(([name]) => name.toLowerCase() === key)?.[1] ?? "" : "";

function keysOf({ values, sections }: Exclude<UnitWeapon, { missing: true }>): WeaponKey[] {
    const rows = (section: string, of: Record<string, string>): WeaponKey[] =>
        Object.entries(of).map(([name, value]) => ({ key: `${section}|${name}`, section, name, value }));
    return [...rows("", values), ...Object.entries(sections).flatMap(([section, of]) => rows(section, of))];
}
