import { isMapPlaying, mapSpeed, mapTime, setMapSpeed, stepMap, timeFailure, toggleMapPlay } from "../store/map_play";
import { SPEEDS } from "../store/clock";
import { Button } from "../widgets/button";
import { Choice } from "../widgets/field";
import { Icon } from "../widgets/icon";
import { StatusMark } from "../widgets/states";

const SECOND = 30;

/** Below the map: run, pause, step; the tick, and the hash by which two runs can be compared. */
export function MapTransport() {
    const now = mapTime.value;
    return (
        <div class="toolbar transport" role="toolbar" aria-label="Map time">
            <Button kind="icon" verb="play" title={isMapPlaying.value ? "Pause" : "Run"} onPress={toggleMapPlay}>
                <Icon name={isMapPlaying.value ? "pause" : "play"} />
            </Button>
            <Button kind="icon" verb="step-line" title="Step one tick" onPress={() => stepMap(1)}><Icon name="step" /></Button>
            <Button title="Let one second pass at once" onPress={() => stepMap(SECOND)}>1 s</Button>
            <Button title="Let ten seconds pass at once" onPress={() => stepMap(10 * SECOND)}>10 s</Button>
            <Choice label="Speed" isCompact value={String(mapSpeed.value)} onChange={(value) => setMapSpeed(Number(value))}
                options={SPEEDS.map((value) => ({ value: String(value), text: `${value}×` }))} />
            <span class="tick" aria-label="Tick">tick {now?.tick ?? 0}</span>
            {now && <code class="quiet" aria-label="Hash" title="Equal for equal runs">{now.hash}</code>}
            {timeFailure.value && <StatusMark status="missing" word={timeFailure.value} />}
        </div>
    );
}
