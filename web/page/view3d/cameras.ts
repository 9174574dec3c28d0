// Two ways to look at a unit: around it with the mouse, or as the game does.
import { Box3, type Camera, Matrix4, OrthographicCamera, PerspectiveCamera, Vector3 } from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";

export interface ViewCamera {
    camera: Camera;
    resize(width: number, height: number): void;
    /** Shows all of the box. */
    fit(box: Box3): void;
    /** Before each frame. */
    update(): void;
    setActive(isActive: boolean): void;
    /** The game's view, column-major. */
    setView?(matrix: readonly number[]): void;
    free(): void;
}

const FIELD_OF_VIEW = 35;
/** From the front left and above. */
const FROM = new Vector3(-0.8, 0.65, 1).normalize();
const ROOM = 1.15;

export function createOrbitCamera(canvas: HTMLCanvasElement, changed: () => void): ViewCamera {
    const camera = new PerspectiveCamera(FIELD_OF_VIEW, 1, 0.5, 10_000);
    const controls = new OrbitControls(camera, canvas);
    controls.keyPanSpeed = 20;
    controls.listenToKeyEvents(canvas);
    controls.addEventListener("change", changed);
    return {
        camera,
        resize(width, height) { camera.aspect = width / height; camera.updateProjectionMatrix(); },
        fit(box) {
            const radius = box.getSize(new Vector3()).length() / 2;
            const angle = Math.min(FIELD_OF_VIEW, FIELD_OF_VIEW * camera.aspect) * Math.PI / 360;
            box.getCenter(controls.target);
            camera.position.copy(controls.target).addScaledVector(FROM, radius / Math.sin(angle) * ROOM);
            camera.near = Math.max(radius / 50, 0.05);
            camera.far = radius * 60;
            camera.updateProjectionMatrix();
            controls.update();
        },
        update() {},
        setActive(isActive) { controls.enabled = isActive; },
        free() { controls.dispose(); },
    };
}

/** Parallel, from the game's own direction; the wheel brings it nearer, dragging moves it. */
export function createGameCamera(canvas: HTMLCanvasElement, changed: () => void): ViewCamera {
    const camera = new OrthographicCamera();
    camera.matrixAutoUpdate = false;
    camera.matrixWorldAutoUpdate = false;
    const view = new Matrix4();
    let [width, height, unitsHigh] = [1, 1, 64];
    const center = { x: 0, y: 0 };
    let isActive = false;

    function update(): void {
        const [halfHeight, halfWidth] = [unitsHigh / 2, unitsHigh / 2 * width / height];
        camera.left = center.x - halfWidth;
        camera.right = center.x + halfWidth;
        camera.top = center.y + halfHeight;
        camera.bottom = center.y - halfHeight;
        [camera.near, camera.far] = [-5_000, 5_000];
        camera.updateProjectionMatrix();
        camera.matrixWorldInverse.copy(view);
        camera.matrixWorld.copy(view).invert();
    }

    const wheel = (event: WheelEvent): void => {
        if (!isActive) return;
        event.preventDefault();
        unitsHigh = Math.min(Math.max(unitsHigh * Math.exp(event.deltaY / 500), 4), 4_000);
        changed();
    };
    const drag = (event: PointerEvent): void => {
        if (!isActive || event.buttons === 0) return;
        center.x -= event.movementX * unitsHigh / height;
        center.y += event.movementY * unitsHigh / height;
        changed();
    };
    canvas.addEventListener("wheel", wheel, { passive: false });
    canvas.addEventListener("pointermove", drag);
    return {
        camera, update,
        resize(newWidth, newHeight) { [width, height] = [newWidth, newHeight]; },
        fit(box) {
            const seen = box.clone().applyMatrix4(view);
            const size = seen.getSize(new Vector3());
            const middle = seen.getCenter(new Vector3());
            [center.x, center.y] = [middle.x, middle.y];
            unitsHigh = Math.max(size.y, size.x * height / width, 1) * ROOM * ROOM;
        },
        setActive(value) { isActive = value; },
        setView(matrix) { view.fromArray(matrix); },
        free() {
            canvas.removeEventListener("wheel", wheel);
            canvas.removeEventListener("pointermove", drag);
        },
    };
}
