import { useSignal } from "@preact/signals";
import { clearLog, log } from "../store/connection";
import { Button } from "../widgets/button";
import { Check, Field } from "../widgets/field";
import { List } from "../widgets/list";

interface Line {
    number: number;
    text: string;
}

/** The back end's standard error. */
export function LogPane() {
    const wanted = useSignal("");
    const follows = useSignal(true);
    const lines = log.value.map((text, number): Line => ({ number, text }))
        .filter(({ text }) => text.toLowerCase().includes(wanted.value.toLowerCase()));
    return (
        <div class="pane">
            <div class="toolbar">
                <Field label="Search in the log" type="search" isCompact value={wanted.value} onInput={(text) => { wanted.value = text; }} />
                <Check label="Follow" title="Keep the newest line in sight" value={follows.value} onChange={(on) => { follows.value = on; }} />
                <Button title="Empty this log" onPress={clearLog}>Clear</Button>
            </div>
            <List label="Log" items={lines} keyOf={(line) => String(line.number)} followsEnd={follows.value}
                columns={[{ width: "1fr", cell: (line) => <code title={line.text}>{line.text}</code> }]}
                empty={wanted.value ? "No line holds that." : "The editor has written nothing yet."} />
        </div>
    );
}
