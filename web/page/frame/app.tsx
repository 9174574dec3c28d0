import { CopyUnitDialog } from "../dialogs/copy_unit";
import { DraftsDialog } from "../dialogs/drafts";
import { ExtractDialog } from "../dialogs/extract";
import { FindDialog } from "../dialogs/find";
import { MergeDialog } from "../dialogs/merge";
import { QuestionDialog } from "../dialogs/question";
import { RootsDialog } from "../dialogs/roots";
import { bos } from "../lang/bos";
import { fbi } from "../lang/fbi";
import { bottomPanes } from "../panes/registry";
import { PiecesPane } from "../panes/pieces";
import { MapStage } from "../panes/map_stage";
import { MapTransport } from "../panes/map_transport";
import { RootsBar } from "./roots_bar";
import { StatusBar } from "./status_bar";
import { Transport } from "../panes/transport";
import { UnitsPane } from "../panes/units";
import { View3dPane } from "../panes/view3d";
import { ScriptColumn } from "./script_column";
import { definitions } from "../store/definition";
import { isMapShown } from "../store/map";
import { scripts } from "../store/script";
import { isTall, openDialog, showTab, tab, toggleTall } from "../store/view";
import { Button } from "../widgets/button";
import { Icon } from "../widgets/icon";
import { Split } from "../widgets/split";
import { Tabs } from "../widgets/tabs";

const TALL = "minmax(0, 1fr) 1px minmax(0, 3fr)";

/** The frame: lists at the left, the unit in the middle, its script at the right, everything else in tabs. */
export function App() {
    return (
        <div class="frame">
            <RootsBar />
            <main>
                <Split id="left" label="Width of the lists" usual={260} share={0.2} least={160} most={480} of="before"
                    direction="row">
                    {[
                        <Split id="pieces" label="Height of the pieces" usual={280} least={80} most={700} of="behind"
                            direction="column">
                            {[<UnitsPane />, <PiecesPane />]}
                        </Split>,
                        <Split id="bottom" label="Height of the tabs" usual={300} share={0.36} least={80} most={700}
                            of="behind" direction="column"
                            tracks={isTall.value && TALL}>
                            {[<Middle />, <BottomTabs />]}
                        </Split>,
                    ]}
                </Split>
            </main>
            <StatusBar />
            {openDialog.value === "roots" && <RootsDialog />}
            {openDialog.value === "find" && <FindDialog />}
            {openDialog.value === "merge-script" && <MergeDialog of={scripts} language={bos} />}
            {openDialog.value === "merge-definition" && <MergeDialog of={definitions} language={fbi} />}
            {openDialog.value === "drafts" && <DraftsDialog />}
            {openDialog.value === "extract" && <ExtractDialog />}
            <CopyUnitDialog />
            <QuestionDialog />
        </div>
    );
}

/** The unit or the map, and the unit's script. */
function Middle() {
    return (
        <Split id="right" label="Width of the script" usual={440} share={0.35} least={240} most={900} of="behind"
            direction="row">
            {[
                isMapShown.value ? <div class="viewing" data-region="map"><MapStage /><MapTransport /></div>
                    : <div class="viewing" data-region="view model"><View3dPane /><Transport /></div>,
                <ScriptColumn />,
            ]}
        </Split>
    );
}

function BottomTabs() {
    const pane = bottomPanes.find(({ id }) => id === tab.value) ?? bottomPanes[0]!;
    const View = pane.view;
    return (
        <div class="bottom">
            <Tabs label="Panes" chosen={pane.id} onChoose={showTab}
                tabs={bottomPanes.map(({ id, title, hint, note }) => ({ id, title, hint, note: note?.value }))}
                after={<Button kind="icon" verb="tall-tabs" title="Give the tabs most of the room"
                    isPressed={isTall.value} onPress={toggleTall}>
                    <Icon name={isTall.value ? "lower" : "raise"} /></Button>}>
                <View key={pane.id} />
            </Tabs>
        </div>
    );
}
