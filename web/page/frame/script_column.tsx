import { useSignal } from "@preact/signals";
import { debugPanes } from "../panes/registry";
import { ScriptPane } from "../panes/script";
import { Split } from "../widgets/split";
import { Tabs } from "../widgets/tabs";

/** The script's source, and what its threads hold. */
export function ScriptColumn() {
    const chosen = useSignal(debugPanes[0]!.id);
    const pane = debugPanes.find(({ id }) => id === chosen.value) ?? debugPanes[0]!;
    const View = pane.view;
    return (
        <div class="region" data-region="script">
            <Split id="insides" label="Height of the threads" usual={180} share={0.2} least={60} most={500} of="behind"
                direction="column">
                {[
                    <ScriptPane />,
                    <Tabs label="Insides of the script"
                        tabs={debugPanes.map(({ id, title, hint }) => ({ id, title, hint }))} chosen={pane.id}
                        onChoose={(id) => { chosen.value = id; }}><View key={pane.id} /></Tabs>,
                ]}
            </Split>
        </div>
    );
}
