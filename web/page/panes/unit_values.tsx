import { inspection, setValues } from "../store/run";
import { List } from "../widgets/list";
import { States } from "../widgets/states";
import { ValueCell } from "../widgets/value_cell";

/** What scripts read of the unit: health, activation and the like. */
export function UnitValuesPane() {
    return (
        <States of={inspection.shown.value} empty="What the script reads of its unit comes here." retry={inspection.load}>
            {({ sysvars }) => (
                <List label="Unit values" items={sysvars} keyOf={(one) => String(one.valueId)} hasControls textOf={(one) => one.valueName}
                    empty="This script reads no unit values."
                    columns={[
                        { title: "Id", width: "32px", isNumber: true, cell: (one) => one.valueId },
                        { title: "Name", width: "minmax(0, 1fr)", cell: (one) => one.valueName },
                        { title: "Value", width: "96px", isNumber: true, cell: (one, isActive) =>
                            <ValueCell label={`Value of ${one.valueName}`} value={one.value} isActive={isActive}
                                write={(value) => setValues({ unitValues: { [one.valueId]: value } })} /> },
                    ]} />
            )}
        </States>
    );
}
