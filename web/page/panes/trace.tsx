import { useEffect } from "preact/hooks";
import type { TraceEntry } from "protocol";
import { report } from "../store/run";
import { clearTrace, fetchTrace, traceEntries, traceFailure } from "../store/trace";
import { Failure } from "../widgets/states";
import { Stream } from "../widgets/stream";

/** While this pane is seen, each report of the script brings what came since. */
export function TracePane() {
    useEffect(() => report.subscribe((now) => { if (now) void fetchTrace(); }), []);
    return (
        <Stream label="Trace" searchLabel="Search in the trace" items={traceEntries.value}
            keyOf={(entry) => String(entry.seq)} textOf={describe}
            onClear={clearTrace} emptyFound="No entry holds that."
            empty="Run the script: what it does to pieces, sounds and values comes here." columns={[
                { title: "Tick", width: "64px", isNumber: true, cell: (entry) => entry.tick },
                { title: "Thread", width: "64px", isNumber: true, cell: (entry) => entry.thread },
                { title: "Event", width: "minmax(0, 1fr)", cell: (entry) =>
                    <span title={entry.event}>{entry.event}</span> },
                { title: "Value", width: "200px", cell: valueText },
            ]}>
            {traceFailure.value && <Failure message={traceFailure.value} retry={fetchTrace} />}
        </Stream>
    );
}

const valueText = ({ valueName, valueId, result }: TraceEntry): string =>
    result === undefined ? "" : `${valueName ?? valueId ?? ""} = ${result}`;
const describe = (entry: TraceEntry): string => `${entry.event} ${entry.piece ?? ""} ${valueText(entry)}`;
