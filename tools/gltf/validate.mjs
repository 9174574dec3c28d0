// Validates every model that orb-export-samples writes: no errors, no warnings.
//
// usage: node validate.mjs EXPORT_PROGRAM DATA_DIR
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readdirSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const SKIPPED = 77;
const WARNING = 1;

const { default: validator } = await import('gltf-validator').catch(() => {
    console.log('gltf-validator is not installed: npm ci --omit=optional');
    process.exit(SKIPPED);
});
const [program, data] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), 'orb-gltf-'));
let failures = 0;
try {
    execFileSync(program, [data, folder], { stdio: 'inherit' });
    const files = readdirSync(folder);
    if (files.length === 0) throw new Error('no models were written');
    for (const file of files) {
        const { issues } = await validator.validateBytes(readFileSync(join(folder, file)));
        const found = issues.messages.filter((message) => message.severity <= WARNING);
        for (const { code, message, pointer } of found)
            console.error(`${file}: ${code} at ${pointer}: ${message}`);
        failures += found.length;
    }
    console.log(`${files.length} models, ${failures} errors and warnings`);
} finally {
    rmSync(folder, { recursive: true });
}
process.exit(failures === 0 ? 0 : 1);
