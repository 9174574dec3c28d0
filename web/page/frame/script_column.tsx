import { useSignal } from "@preact/signals";
import { debugPanes } from "../panes/registry";
import { ScriptPane } from "../panes/script";
import { sizeOf } from "../store/view";
import { clampSize, Splitter, type SplitterProps } from "../widgets/splitter";
import { Tabs } from "../widgets/tabs";

const INSIDES: SplitterProps = { id: "insides", label: "Height of the threads", usual: Math.round(Math.min(180, 0.2 * innerHeight)), least: 60, most: 500, of: "behind", direction: "column" };

/** The script's source, and what its threads hold. */
export function ScriptColumn() {
    const chosen = useSignal(debugPanes[0]!.id);
    const pane = debugPanes.find(({ id }) => id === chosen.value) ?? debugPanes[0]!;
    const View = pane.view;
    const height = clampSize(sizeOf(INSIDES.id, INSIDES.usual), INSIDES.least, INSIDES.most);
    return (
        <div class="column" data-region="script" style={{ gridTemplateRows: `minmax(0, 1fr) 1px minmax(0, ${height}px)` }}>
            <ScriptPane />
            <Splitter {...INSIDES} />
            <Tabs label="Insides of the script" tabs={debugPanes.map(({ id, title, hint }) => ({ id, title, hint }))} chosen={pane.id} onChoose={(id) => { chosen.value = id; }}>
                <View key={pane.id} />
            </Tabs>
        </div>
    );
}
