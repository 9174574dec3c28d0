import { effect, useSignal } from "@preact/signals";
import type { RefObject } from "preact";
import { useEffect, useRef } from "preact/hooks";
import type { RenderConstants } from "protocol";
import { ask } from "../ask";
import { isAlive } from "../store/connection";
import type { Current } from "../view3d/current";
import { messageOf } from "../work/newest";

interface View {
    setLight(constants: RenderConstants): void;
    recolor(): void;
    free(): void;
}

interface StageCanvas {
    canvas: RefObject<HTMLCanvasElement | null>;
    failure: string;
    /** What is drawn. */
    shown: string;
}

/** How a view tells what came of drawing. */
export interface Drawn {
    failed(error: unknown): void;
    shown(name: string): void;
}

/**
 * A 3D view in a canvas, for as long as its pane is there: in the light of the game and the colours of the style
 * sheet. `follow` brings the store to it by effects and returns what ends them.
 */
export function useStage<V extends View>(
    create: (canvas: HTMLCanvasElement) => V, holder: Current<V>, follow: (view: V, drawn: Drawn) => (() => void)[],
): StageCanvas {
    const canvas = useRef<HTMLCanvasElement>(null);
    const failure = useSignal("");
    const shown = useSignal("");
    useEffect(() => {
        try {
            const view = create(canvas.current!);
            const dark = matchMedia("(prefers-color-scheme: dark)");
            dark.addEventListener("change", view.recolor);
            const ends = [
                holder.set(view),
                ...follow(view, {
                    failed: (error) => { failure.value = messageOf(error); },
                    shown: (name) => { failure.value = ""; shown.value = name; },
                }),
                effect(() => { if (isAlive.value) ask("render-constants").then(view.setLight, () => {}); }),
                () => dark.removeEventListener("change", view.recolor),
            ];
            return () => { ends.forEach((end) => end()); view.free(); };
        } catch (error) {
            failure.value = `this browser draws no 3D: ${messageOf(error)}`;
            return undefined;
        }
    }, []);
    return { canvas, failure: failure.value, shown: shown.value };
}
