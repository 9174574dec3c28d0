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
import { isTall, openDialog, showTab, sizeOf, tab, toggleTall } from "../store/view";
import { clampSize, Splitter, type SplitterProps } from "../widgets/splitter";
import { Button } from "../widgets/button";
import { Icon } from "../widgets/icon";
import { Tabs } from "../widgets/tabs";

/** At first the unit is the largest thing, on small screens too. */
const atMost = (pixels: number, share: number, of: number): number => Math.round(Math.min(pixels, share * of));

const LEFT: SplitterProps = { id: "left", label: "Width of the lists", usual: atMost(260, 0.2, innerWidth), least: 160, most: 480, of: "before", direction: "row" };
const RIGHT: SplitterProps = { id: "right", label: "Width of the script", usual: atMost(440, 0.32, innerWidth), least: 240, most: 900, of: "behind", direction: "row" };
const BOTTOM: SplitterProps = { id: "bottom", label: "Height of the tabs", usual: atMost(250, 0.28, innerHeight), least: 80, most: 700, of: "behind", direction: "column" };
const PIECES: SplitterProps = { id: "pieces", label: "Height of the pieces", usual: atMost(280, 0.33, innerHeight), least: 80, most: 700, of: "behind", direction: "column" };

const TALL = "minmax(0, 1fr) 1px minmax(0, 3fr)";

const tracks = (splitter: SplitterProps): string => {
    const size = `${clampSize(sizeOf(splitter.id, splitter.usual), splitter.least, splitter.most)}px`;
    return splitter.of === "before" ? `minmax(0, ${size}) 1px minmax(0, 1fr)` : `minmax(0, 1fr) 1px minmax(0, ${size})`;
};

/** The frame: lists at the left, the unit in the middle, its script at the right, everything else in tabs. */
export function App() {
    return (
        <div class="frame">
            <RootsBar />
            <main style={{ gridTemplateColumns: tracks(LEFT) }}>
                <div class="column" style={{ gridTemplateRows: tracks(PIECES) }}>
                    <UnitsPane />
                    <Splitter {...PIECES} />
                    <PiecesPane />
                </div>
                <Splitter {...LEFT} />
                <div class="column" style={{ gridTemplateRows: isTall.value ? TALL : tracks(BOTTOM) }}>
                    <div class="across" style={{ gridTemplateColumns: tracks(RIGHT) }}>
                        {isMapShown.value ? <div class="viewing" data-region="map"><MapStage /><MapTransport /></div> : <div class="viewing" data-region="view model">
                            <View3dPane />
                            <Transport />
                        </div>}
                        <Splitter {...RIGHT} />
                        <ScriptColumn />
                    </div>
                    <Splitter {...BOTTOM} />
                    <BottomTabs />
                </div>
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

function BottomTabs() {
    const pane = bottomPanes.find(({ id }) => id === tab.value) ?? bottomPanes[0]!;
    const View = pane.view;
    return (
        <div class="bottom">
            <Tabs label="Panes" chosen={pane.id} onChoose={showTab}
                tabs={bottomPanes.map(({ id, title, hint, note }) => ({ id, title, hint, note: note?.value }))}
                after={<Button kind="icon" verb="tall-tabs" title="Give the tabs most of the room" isPressed={isTall.value} onPress={toggleTall}><Icon name={isTall.value ? "lower" : "raise"} /></Button>}>
                <View key={pane.id} />
            </Tabs>
        </div>
    );
}
