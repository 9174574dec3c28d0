// What every 3D view stands on: renderer, light, size, frames that are drawn only when asked for, clicks.
import {
    AmbientLight, type Camera, Color, ColorManagement, DirectionalLight, type Intersection, LinearSRGBColorSpace, type Object3D, Raycaster,
    Scene, Vector2, WebGLRenderer,
} from "three";
import type { RenderConstants } from "protocol";

interface Stage {
    scene: Scene;
    renderer: WebGLRenderer;
    /** The only way to draw: one frame however often it is asked for. */
    requestDraw(): void;
    /** Resolves when the next frame has been drawn. */
    drawn(): Promise<void>;
    /** What lies under the pointer, nearest first. */
    pick(event: MouseEvent, object: Object3D): Intersection[];
    /** Clicks, not drags. */
    onClick(clicked: (event: PointerEvent) => void): void;
    setLight(light: RenderConstants["light"]): void;
    /** Takes the background of the style sheet again. */
    recolor(): void;
    free(): void;
}

interface StageCamera {
    camera: () => Camera;
    resize(width: number, height: number): void;
    /** Before each frame. */
    update(): void;
}

const TREMBLE_PX = 4;

// the game mixes light and colour as stored, not as linear light
ColorManagement.enabled = false;

/** A colour of the style sheet. */
export const styleColor = (variable: string): string => getComputedStyle(document.documentElement).getPropertyValue(variable).trim();

export function createStage(canvas: HTMLCanvasElement, view: StageCamera): Stage {
    const renderer = new WebGLRenderer({ canvas, antialias: true });
    renderer.outputColorSpace = LinearSRGBColorSpace;
    const scene = new Scene();
    const sun = new DirectionalLight(0xffffff, 0.6 * Math.PI);
    const sky = new AmbientLight(0xffffff, 0.4 * Math.PI);
    sun.position.set(-0.5, 1, 0.4);
    scene.add(sun, sky);
    let frame = 0;
    let frames = 0;
    let waiting: (() => void)[] = [];

    function requestDraw(): void {
        frame ||= requestAnimationFrame(() => {
            frame = 0;
            frames++;
            view.update();
            renderer.render(scene, view.camera());
            // for tests
            Object.assign(canvas.dataset, { frames, geometries: renderer.info.memory.geometries, textures: renderer.info.memory.textures });
            for (const tell of waiting.splice(0)) tell();
        });
    }

    const size = new ResizeObserver(() => {
        const { clientWidth: width, clientHeight: height } = canvas.parentElement!;
        if (width === 0 || height === 0) return;
        renderer.setPixelRatio(devicePixelRatio);
        renderer.setSize(width, height, false);
        view.resize(width, height);
        requestDraw();
    });
    size.observe(canvas.parentElement!);

    return {
        scene, renderer, requestDraw,
        drawn: () => new Promise((resolve) => { waiting.push(resolve); requestDraw(); }),
        pick({ clientX, clientY }, object) {
            const box = canvas.getBoundingClientRect();
            const caster = new Raycaster();
            const at = new Vector2((clientX - box.left) / box.width * 2 - 1, 1 - (clientY - box.top) / box.height * 2);
            caster.setFromCamera(at, view.camera());
            return caster.intersectObject(object).filter(({ object: hit }) => hit.visible);
        },
        onClick(clicked) {
            let pressed: PointerEvent | undefined;
            canvas.addEventListener("pointerdown", (event) => { pressed = event; });
            canvas.addEventListener("pointerup", (event) => {
                const isClick = pressed && Math.hypot(event.clientX - pressed.clientX, event.clientY - pressed.clientY) <= TREMBLE_PX;
                pressed = undefined;
                if (isClick) clicked(event);
            });
        },
        setLight({ direction, diffuse, ambient }) {
            sun.position.fromArray(direction);
            sun.intensity = diffuse * Math.PI;
            sky.intensity = ambient * Math.PI;
            requestDraw();
        },
        recolor() {
            scene.background = new Color(styleColor("--sky"));
            requestDraw();
        },
        free() {
            size.disconnect();
            cancelAnimationFrame(frame);
            renderer.dispose();
        },
    };
}
