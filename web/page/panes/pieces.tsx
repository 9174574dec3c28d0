import { useComputed } from "@preact/signals";
import type { Piece, PieceTransform } from "protocol";
import { report } from "../store/run";
import { pieces, selectedPiece, selectPiece, unitOrNothing } from "../store/unit";
import { States } from "../widgets/states";
import { Tree } from "../widgets/tree";

/** The model's pieces with the pose that the script gives them. */
export function PiecesPane() {
    const selected = selectedPiece.value;
    const piece = selected === undefined ? undefined : pieces.value[selected];
    return (
        <section class="pane" aria-label="Pieces">
            <States of={unitOrNothing.value} empty="The pieces of the chosen unit come here.">
                {({ pieceTree }) => (
                    <Tree label="Pieces" roots={[pieceTree]} keyOf={(one) => String(one.index)} childrenOf={(one) => one.children}
                        textOf={(one) => one.name} openLevels={99} selected={selected === undefined ? undefined : String(selected)}
                        onSelect={(one) => selectPiece(one.index)} cell={(one) => <PieceRow piece={one} />}
                        onKey={(event) => event.key === "Escape" && (selectPiece(undefined), true)}
                        empty="The model has no pieces." />
                )}
            </States>
            {piece && <PosePart piece={piece} pose={report.value?.transforms[piece.index]} />}
        </section>
    );
}

function PieceRow({ piece }: { piece: Piece }) {
    // a row is drawn anew only when this changes, not with every pose
    const isHidden = useComputed(() => report.value?.transforms[piece.index]?.visible === false).value;
    return (
        <>
            <span class={isHidden ? "quiet" : ""}>{piece.name}</span>
            <span class="quiet end">{isHidden ? "hidden" : piece.primitiveCount > 0 ? `${piece.primitiveCount} faces` : ""}</span>
        </>
    );
}

function PosePart({ piece, pose }: { piece: Piece; pose: PieceTransform | undefined }) {
    const degrees = (radians: number): string => `${(radians * 180 / Math.PI).toFixed(1)}°`;
    return (
        <dl class="facts" aria-label={`Pose of ${piece.name}`}>
            <dt title="from its parent, in model units">offset</dt><dd>{piece.position.map((value) => value.toFixed(2)).join(", ")}</dd>
            {pose && <><dt>moved</dt><dd>{[pose.tx, pose.ty, pose.tz].map((value) => value.toFixed(2)).join(", ")}</dd>
                <dt>turned</dt><dd>{[pose.rx, pose.ry, pose.rz].map(degrees).join(", ")}</dd></>}
        </dl>
    );
}
