import { running } from "../store/script";
import { inspection, setValues } from "../store/run";
import { selectedThread } from "../store/selected_thread";
import { List } from "../widgets/list";
import { States } from "../widgets/states";
import { ValueCell } from "../widgets/value_cell";
import { localName, staticName } from "../work/lines";

interface Row {
    key: string;
    name: string;
    where: string;
    value: number;
    write: (value: number) => Promise<void>;
}

/** Variables by name: the chosen thread's own, then those of all threads. */
export function VariablesPane() {
    const thread = selectedThread.value;
    const symbols = running.value?.symbols;
    return (
        <States of={inspection.shown.value} empty="Variables of the unit's script come here." retry={inspection.load}>
            {({ statics }) => {
                const locals = (thread?.locals ?? []).map(({ index, value }): Row => ({
                    key: `l${index}`, name: localName(symbols, thread!.script, index), where: thread!.script, value,
                    write: (next) => setValues({ locals: [{ thread: thread!.id, index, value: next }] }),
                }));
                const shared = statics.map(({ index, value }): Row => ({
                    key: `s${index}`, name: staticName(symbols, index), where: "static", value,
                    write: (next) => setValues({ statics: { [index]: next } }),
                }));
                return <List label="Variables" items={[...locals, ...shared]} keyOf={(row) => row.key} hasControls textOf={(row) => row.name}
                    empty="No variables here: the script has no static ones, and no thread has locals."
                    columns={[
                        { title: "Name", width: "minmax(0, 1fr)", cell: (row) => row.name },
                        { title: "Of", width: "minmax(0, 1fr)", cell: (row) => <span class="quiet">{row.where}</span> },
                        { title: "Value", width: "96px", isNumber: true, cell: (row, isActive) =>
                            <ValueCell label={`Value of ${row.name}`} value={row.value} isActive={isActive} write={row.write} /> },
                    ]} />;
            }}
        </States>
    );
}
