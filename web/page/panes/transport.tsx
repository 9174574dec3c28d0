import { useSignal } from "@preact/signals";
import { isPlaying, isStopped, pause, play, report, resetScript, resume, setSpeed, speed, startScript } from "../store/run";
import { SPEEDS } from "../store/clock";
import { stepLine } from "../store/step";
import { parametersOf, scriptNames } from "../store/script";
import { loadedUnit } from "../store/unit";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { Icon } from "../widgets/icon";
import { readArguments } from "../work/arguments";

/** Below the view: run, pause, step, start a script. */
export function Transport() {
    const now = report.value;
    const none = now ? false : loadedUnit.value ? "This unit has no script" : "No unit is loaded";
    return (
        <div class="toolbar transport" role="toolbar" aria-label="Script">
            <Button kind="icon" verb="play" disabled={none} title={isPlaying.value ? "Pause" : isStopped.value ? "Continue" : "Run"}
                onPress={() => isPlaying.peek() ? pause() : void play()}><Icon name={isPlaying.value ? "pause" : "play"} /></Button>
            <Button kind="icon" verb="step-line" disabled={none} title={isStopped.value ? "Step one line" : "Step one tick"} onPress={stepLine}><Icon name="step" /></Button>
            {isStopped.value && <Button kind="icon" verb="step-instruction" title="Step one instruction"
                onPress={() => resume("cob-step-instruction")}><Icon name="instruction" /></Button>}
            <Button kind="icon" verb="reset-script" disabled={none} title="Start over" onPress={resetScript}><Icon name="reset" /></Button>
            <Choice label="Speed" isCompact value={String(speed.value)} onChange={(value) => setSpeed(Number(value))}
                options={SPEEDS.map((value) => ({ value: String(value), text: `${value}×` }))} />
            <span class="tick" aria-label="Tick">{now ? `tick ${now.tick}` : ""}</span>
            <StartScript isDisabled={none} />
        </div>
    );
}

function StartScript({ isDisabled }: { isDisabled: string | false }) {
    const chosen = useSignal("");
    const text = useSignal("");
    const names = scriptNames.value;
    const name = names.includes(chosen.value) ? chosen.value : names.find((one) => one !== "Create") ?? names[0] ?? "";
    const args = readArguments(text.value);
    const begin = (): void => {
        if (typeof args !== "string" && name) void startScript(name, args).then(() => play());
    };
    return (
        <div class="start">
            <Choice label="Script to start" isCompact value={name} onChange={(value) => { chosen.value = value; }}
                options={names.map((value) => ({ value, text: value }))} />
            <Field label="Arguments" isCompact value={text.value} onInput={(value) => { text.value = value; }} onEnter={begin}
                error={typeof args === "string" ? args : undefined} hint="Whole numbers between blanks or commas"
                placeholder={parametersOf(name).join(", ") || undefined} />
            <Button title="Start this script" disabled={isDisabled || (typeof args === "string" && args)} onPress={begin}>Start</Button>
        </div>
    );
}
