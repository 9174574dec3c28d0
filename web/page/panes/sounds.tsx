import type { SoundEvent } from "protocol";
import { askFrame } from "../ask";
import { complain } from "../store/connection";
import { unitOrNothing } from "../store/unit";
import { Button } from "../widgets/button";
import { List } from "../widgets/list";
import { States } from "../widgets/states";
import { messageOf } from "../work/newest";

const NAMES: Record<SoundEvent["event"], string> = {
    select: "Selected", ok: "Order taken", arrived: "Arrived", cant: "Cannot", build: "Builds", engineLoop: "Engine",
};

/** The unit's sounds, each to be heard. */
export function SoundsPane() {
    return (
        <States of={unitOrNothing.value} empty="Choose a unit: its sounds are listed here.">
            {({ sounds }) => (
                <div class="pane">
                    <p class="toolbar">{sounds.category ? <>Sound category <b>{sounds.category}</b></> : "The definition names no sound category."}</p>
                    <List label="Sounds" items={sounds.events} keyOf={(sound) => sound.event} hasControls
                        onActivate={(sound) => { play(sound).catch((error) => complain(messageOf(error))); }}
                        empty="No sounds."
                        columns={[
                            { title: "Event", width: "140px", cell: (sound) => NAMES[sound.event] },
                            { title: "Sound", width: "1fr", cell: (sound) => sound.name || <i class="quiet">none</i> },
                            { title: "Variants", width: "72px", isNumber: true, cell: (sound) => sound.count },
                            { width: "80px", cell: (sound, isActive) => sound.name &&
                                <Button title={`Play ${sound.name}`} tabIndex={isActive ? 0 : -1} onPress={() => play(sound)}>Play</Button> },
                        ]} />
                </div>
            )}
        </States>
    );
}

async function play({ name }: SoundEvent): Promise<void> {
    if (!name) return;
    const { frame } = await askFrame("get-sound", { name });
    const address = URL.createObjectURL(new Blob([frame], { type: "audio/wav" }));
    const sound = new Audio(address);
    sound.onended = sound.onerror = () => URL.revokeObjectURL(address);
    await sound.play();
}
