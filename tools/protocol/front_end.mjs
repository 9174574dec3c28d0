// Compiles docs/front_end.ts, as strictly as TypeScript can, and runs it with the program.
//
// usage: node front_end.mjs PROGRAM DATA_ROOT UNIT
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const SKIPPED = 77;
const PACKAGES = join(dirname(fileURLToPath(import.meta.url)), 'node_modules');
const FRONT_END = resolve(PACKAGES, '../../../docs/front_end.ts');

if (!['typescript', '@types/node'].every((name) => existsSync(join(PACKAGES, name)))) {
    console.log('typescript or @types/node is not installed: npm ci');
    process.exit(SKIPPED);
}

function run(...command) {
    const { status } = spawnSync(process.execPath, command, { stdio: 'inherit', timeout: 60_000 });
    return status === 0;
}

const folder = mkdtempSync(join(tmpdir(), 'orb-front-end-'));
writeFileSync(join(folder, 'package.json'), '{"type": "module"}');
const isFine = run(join(PACKAGES, 'typescript/bin/tsc'), '--strict', '--exactOptionalPropertyTypes',
                   '--noUncheckedIndexedAccess', '--skipLibCheck', '--target', 'es2022', '--module', 'es2022',
                   '--moduleResolution', 'bundler', '--typeRoots', join(PACKAGES, '@types'),
                   '--types', 'node', '--outDir', folder, FRONT_END) &&
    run(join(folder, 'front_end.js'), ...process.argv.slice(2));
rmSync(folder, { recursive: true });
process.exit(isFine ? 0 : 1);
