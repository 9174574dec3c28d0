// Draws a model as a viewer shows it: from the front left and above, from the front, from behind
// and from above. Needs the packages of package.json and Chromium.
//
// usage: node render.mjs MODEL.glb PICTURE.png
import { execFile } from 'node:child_process';
import { createServer } from 'node:http';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { extname, join, normalize } from 'node:path';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';

const SIZE = 512;
const FLAGS = [
    '--headless', '--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader',
    '--disable-quic', '--no-first-run', '--disable-background-networking',
    '--disable-component-update', '--disable-sync', '--hide-scrollbars',
    '--virtual-time-budget=20000', `--window-size=${2 * SIZE},${2 * SIZE}`,
];
const TYPES = { '.js': 'text/javascript', '.html': 'text/html' };

const PAGE = `<!doctype html><body style="margin:0">
<script type="importmap">
{"imports": {"three": "/three/build/three.module.js", "three/addons/": "/three/examples/jsm/"}}
</script>
<script type="module">
import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';

const { scene: model } = await new GLTFLoader().loadAsync('/model.glb');
const scene = new THREE.Scene();
scene.background = new THREE.Color(0x9fb4c4);
scene.add(model, new THREE.AxesHelper(30));
const box = new THREE.Box3().setFromObject(model);
const center = box.getCenter(new THREE.Vector3());
const radius = box.getSize(new THREE.Vector3()).length() * 0.55;
const renderer = new THREE.WebGLRenderer({ preserveDrawingBuffer: true });
renderer.setSize(${2 * SIZE}, ${2 * SIZE});
renderer.setScissorTest(true);
document.body.append(renderer.domElement);
const views = [[-1, 0.8, 1], [0, 0, 1], [0, 0, -1], [0, 1, 0.0001]];
views.forEach((direction, i) => {
    const camera = new THREE.OrthographicCamera(-radius, radius, radius, -radius, 0.1, radius * 10);
    camera.position.copy(center).addScaledVector(
        new THREE.Vector3(...direction).normalize(), radius * 4);
    camera.lookAt(center);
    const area = [(i % 2) * ${SIZE}, (1 - Math.floor(i / 2)) * ${SIZE}, ${SIZE}, ${SIZE}];
    renderer.setViewport(...area);
    renderer.setScissor(...area);
    renderer.render(scene, camera);
});
</script></body>`;

const [model, picture] = process.argv.slice(2);
const three = fileURLToPath(new URL('node_modules/three', import.meta.url));

function contentOf(path) {
    if (path === '/') return PAGE;
    if (path === '/model.glb') return readFileSync(model);
    if (path.startsWith('/three/')) return readFileSync(join(three, normalize(path.slice(6))));
    throw new Error(`nothing at ${path}`);
}

const server = createServer((request, response) => {
    try {
        const content = contentOf(request.url);
        const type = TYPES[extname(request.url) || '.html'] ?? 'application/octet-stream';
        response.setHeader('Content-Type', type).end(content);
    } catch {
        response.writeHead(404).end();
    }
});
await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
const profile = mkdtempSync(join(tmpdir(), 'orb-render-'));
try {
    const url = `http://127.0.0.1:${server.address().port}/`;
    await promisify(execFile)(
        'chromium', [...FLAGS, `--user-data-dir=${profile}`, `--screenshot=${picture}`, url]);
} finally {
    server.close();
    rmSync(profile, { recursive: true, force: true });
}
