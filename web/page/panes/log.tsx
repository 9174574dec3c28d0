import { useSignal } from "@preact/signals";
import { clearLog, log } from "../store/connection";
import { Choice } from "../widgets/field";
import { type Status, StatusMark } from "../widgets/states";
import { Stream } from "../widgets/stream";
import { LEVELS } from "../work/log_lines";

const MARKS: readonly Status[] = ["info", "info", "warn", "missing"];
const CHOICES = ["Everything", "Not debugging", "Warnings and errors", "Errors"];

/** The back end's standard error. */
export function LogPane() {
    const least = useSignal(0);
    return <Stream label="Log" searchLabel="Search in the log"
        items={log.value.filter(({ level }) => level >= least.value)}
        keyOf={({ number }) => String(number)} textOf={({ text }) => text} onClear={clearLog}
        tools={<Choice label="Level" isCompact value={String(least.value)}
            onChange={(value) => { least.value = Number(value); }}
            options={CHOICES.map((text, level) => ({ value: String(level), text }))} />}
        empty={least.value > 0 ? "The editor has written nothing of this kind." : "The editor has written nothing yet."}
        emptyFound="No line holds that." columns={[
            { width: "100px", cell: ({ time }) => <code class="quiet">{time}</code> },
            { width: "72px", cell: ({ level }) => level < 2 ? <span class="quiet">{LEVELS[level]}</span>
                : <StatusMark status={MARKS[level]!} word={LEVELS[level]!} /> },
            { width: "minmax(0, 1fr)", cell: ({ text }) => <code title={text}>{text}</code> },
        ]} />;
}
