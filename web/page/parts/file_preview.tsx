import { useComputed, useSignal } from "@preact/signals";
import { useMemo } from "preact/hooks";
import type { ArchivePreview } from "protocol";
import { chosenFile, look, preview, showFrame } from "../store/files";
import { bos } from "../lang/bos";
import { fbi } from "../lang/fbi";
import { bytesOfBase64 } from "../work/base64";
import { hexRows } from "../work/hex";
import { locationOf } from "../work/locations";
import { counted } from "../work/words";
import { CodeEditor } from "../widgets/code_editor";
import { Choice } from "../widgets/field";
import { List } from "../widgets/list";
import { ModelPreview } from "../widgets/model_preview";
import { States } from "../widgets/states";

type Of<K extends ArchivePreview["kind"]> = Extract<ArchivePreview, { kind: K }>;

/** What the chosen file holds, as far as it can be shown. */
export function FilePreview() {
    const file = chosenFile.value;
    return (
        <section class="pane flow" aria-label="Preview">
            <States of={preview.shown.value} retry={preview.load}
                empty={file?.folder ? `${file.path} is a folder of ${counted(file.folder.files.length, "file")} and ${counted(file.folder.directories.length, "folder")}.` : "Choose a file: what it holds is shown here."}>
                {(shown) => <>
                    <p class="toolbar one-line"><b>{shown.internalPath}</b> <span class="quiet">{factsOf(shown)}</span>
                        {file?.file?.source && <span class="quiet end" title={locationOf(file.file.source)}>{locationOf(file.file.source)}</span>}</p>
                    <Content shown={shown} />
                </>}
            </States>
        </section>
    );
}

function factsOf(shown: ArchivePreview): string {
    const size = counted(shown.size, "byte");
    switch (shown.kind) {
        case "image": return `${shown.width} × ${shown.height} pixels, ${size}`;
        case "model": return `${counted(shown.pieces.length, "piece")}, ${counted(shown.vertexCount, "vertex", "vertices")}, ${counted(shown.primitiveCount, "face")}, ${size}`;
        case "text": return shown.truncated ? `${size}, the beginning` : size;
        default: return size;
    }
}

function Content({ shown }: { shown: ArchivePreview }) {
    switch (shown.kind) {
        case "text": return <Text key={shown.internalPath} shown={shown} />;
        case "image": return <Picture shown={shown} />;
        case "model": return <Model shown={shown} />;
        case "sound": return <div class="picture"><audio controls src={`data:audio/wav;base64,${shown.wav_b64}`} aria-label={`Sound ${shown.internalPath}`} /></div>;
        case "script": return <Names label="Scripts and pieces" names={[...shown.scripts.map((name) => ["script", name] as const), ...shown.pieces.map((name) => ["piece", name] as const)]} />;
        case "binary": return <Hex hex={shown.hex} />;
    }
}

function Text({ shown }: { shown: Of<"text"> }) {
    const text = useSignal(shown.text);
    text.value = shown.text;
    return <CodeEditor label={`Text of ${shown.internalPath}`} text={useComputed(() => text.value)} extensions={/\.(bos|h)$/i.test(shown.internalPath) ? bos : fbi} />;
}

function Picture({ shown }: { shown: Of<"image"> }) {
    const { entries } = shown;
    const entry = typeof look.value.entry === "number" ? look.value.entry : 0;
    const frame = look.value.frame ?? 0;
    const frames = entries?.[entry]?.frames ?? 1;
    return (
        <div class="picture">
            {entries && <div class="toolbar">
                <Choice label="Entry" isCompact value={String(entry)} onChange={(value) => void showFrame(Number(value), 0)}
                    options={entries.map(({ name, width, height }, i) => ({ value: String(i), text: `${name} ${width} × ${height}` }))} />
                {frames > 1 && <Choice label="Frame" isCompact value={String(frame)} onChange={(value) => void showFrame(entry, Number(value))}
                    options={Array.from({ length: frames }, (_, i) => ({ value: String(i), text: `frame ${i + 1} of ${frames}` }))} />}
            </div>}
            <img src={`data:image/png;base64,${shown.png_b64}`} alt={`Picture ${shown.internalPath}`} style={{ width: `${shown.width * enlargement(shown)}px` }} />
        </div>
    );
}

const AT_LEAST_PX = 96;
const MOST_TIMES = 8;

/** Small pictures are shown in whole multiples of their size. */
const enlargement = ({ width, height }: Of<"image">): number =>
    Math.min(Math.max(Math.floor(AT_LEAST_PX / Math.max(width, height, 1)), 1), MOST_TIMES);

function Model({ shown }: { shown: Of<"model"> }) {
    const glb = useMemo(() => shown.glb_b64 === undefined ? undefined : bytesOfBase64(shown.glb_b64), [shown.glb_b64]);
    return glb ? <ModelPreview label={shown.internalPath} glb={glb} /> : <Names label="Pieces" names={shown.pieces.map((name) => ["piece", name] as const)} />;
}

function Names({ label, names }: { label: string; names: readonly (readonly [string, string])[] }) {
    const rows = names.map(([kind, name], i) => ({ key: String(i), kind, name }));
    return <List label={label} items={rows} keyOf={({ key }) => key} textOf={({ name }) => name} empty="It names nothing."
        columns={[{ width: "80px", cell: ({ kind }) => <span class="quiet">{kind}</span> }, { width: "1fr", cell: ({ name }) => name }]} />;
}

function Hex({ hex }: { hex: string }) {
    return <List label="First bytes" items={hexRows(hex)} keyOf={({ offset }) => offset} empty="The file is empty." columns={[
        { title: "At", width: "48px", cell: ({ offset }) => <code class="quiet">{offset}</code> },
        { title: "Bytes", width: "400px", cell: (row) => <code>{row.hex}</code> },
        { title: "Text", width: "minmax(0, 1fr)", cell: ({ text }) => <code>{text}</code> },
    ]} />;
}
