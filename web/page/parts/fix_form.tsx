import { concerned, details, fixKind, fixWords, applyFix, prepared, prepareFix, typeFixWord } from "../store/model_edit";
import { loadedUnit, pieces, selectedPiece } from "../store/unit";
import { textures } from "../store/textures";
import { valueOf } from "../store/resource";
import { Button } from "../widgets/button";
import { Choice, Field } from "../widgets/field";
import { FIXES, type FixKind, type FixWord, sayConcerned, wordTitle } from "../work/model_fixes";

/** A fix with what it takes; the faces that it would change are lit up before it is made. */
export function FixForm() {
    const row = FIXES.find(({ kind }) => kind === fixKind.value)!;
    const ready = prepared.value;
    const missing = "missing" in ready ? ready.missing : "";
    const apply = (): void => { if ("fix" in ready) void applyFix(ready.fix); };
    const piece = selectedPiece.value;
    return (
        <form class="fix" aria-label="What mends it" onSubmit={(event) => event.preventDefault()}>
            <Choice label="Fix" value={row.kind} onChange={(kind) => prepareFix(kind as FixKind)}
                options={FIXES.map(({ kind, title }) => ({ value: kind, text: title }))} />
            {row.piece && <p>Piece: {piece === undefined ? row.piece === "some" ? "all" : "none is chosen" : <b>{pieceName(piece)}</b>}</p>}
            {row.words && <div class="words">
                {row.words.map((name) => <Field key={name} label={wordTitle(name)} value={fixWords.value[name] ?? ""}
                    onInput={(text) => typeFixWord(name, text)} onEnter={apply} hint={HINTS[name] ?? ""}
                    {...(NAMES_TEXTURE.has(name) ? { choices: textureNames() } : {})} />)}
            </div>}
            <p role="status" aria-label="What the fix concerns">{missing || ("fix" in ready && sayConcerned(ready.fix, concerned.value))}</p>
            <Button kind="main" title={row.note} disabled={missing || (details.shown.value.state === "empty" && "No model")} onPress={apply}>{row.title}</Button>
            <p class="quiet">{row.note}</p>
        </form>
    );
}

const NAMES_TEXTURE: ReadonlySet<FixWord> = new Set(["texture", "from", "to"]);
const HINTS: Readonly<Partial<Record<FixWord, string>>> = {
    tolerance: "model units; 0.001 when empty", by: "1 when empty", color: "0 to 255", factor: "1 is as large as now",
    vertices: "numbers; the chosen faces' corners when empty",
};

const textureNames = (): string[] => (valueOf(textures.shown.value) ?? []).map(({ name }) => name);
const pieceName = (index: number): string =>
    valueOf(details.shown.value)?.[index]?.name ?? pieces.value[index]?.name ?? loadedUnit.value?.unitName ?? "";
