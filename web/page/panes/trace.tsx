import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";
import type { TraceEntry } from "protocol";
import { report } from "../store/run";
import { clearTrace, fetchTrace, traceEntries, traceFailure } from "../store/trace";
import { Button } from "../widgets/button";
import { Check, Field } from "../widgets/field";
import { List } from "../widgets/list";
import { Failure } from "../widgets/states";

/** While this pane is seen, each report of the script brings what came since. */
export function TracePane() {
    const wanted = useSignal("");
    const follows = useSignal(true);
    useEffect(() => report.subscribe((now) => { if (now) void fetchTrace(); }), []);
    const text = wanted.value.toLowerCase();
    const entries = text === "" ? traceEntries.value
        : traceEntries.value.filter((entry) => describe(entry).toLowerCase().includes(text));
    return (
        <div class="pane">
            <div class="toolbar">
                <Field label="Search in the trace" type="search" isCompact value={wanted.value} onInput={(value) => { wanted.value = value; }} />
                <Check label="Follow" title="Keep the newest entry in sight" value={follows.value} onChange={(on) => { follows.value = on; }} />
                <Button title="Empty this list" onPress={clearTrace}>Clear</Button>
            </div>
            {traceFailure.value && <Failure message={traceFailure.value} retry={fetchTrace} />}
            <List label="Trace" items={entries} keyOf={(entry) => String(entry.seq)} followsEnd={follows.value}
                columns={[
                    { title: "Tick", width: "64px", isNumber: true, cell: (entry) => entry.tick },
                    { title: "Thread", width: "64px", isNumber: true, cell: (entry) => entry.thread },
                    { title: "Event", width: "1fr", cell: (entry) => <span title={entry.event}>{entry.event}</span> },
                    { title: "Value", width: "200px", cell: valueText },
                ]}
                empty={text ? "No entry holds that." : "Run the script: what it does to pieces, sounds and values comes here."} />
        </div>
    );
}

const valueText = ({ valueName, valueId, result }: TraceEntry): string =>
    result === undefined ? "" : `${valueName ?? valueId ?? ""} = ${result}`;
const describe = (entry: TraceEntry): string => `${entry.event} ${entry.piece ?? ""} ${valueText(entry)}`;
