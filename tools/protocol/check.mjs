// Checks docs/protocol.d.ts against the program: plays the transcripts, compiles what went over the
// wire against the declarations, and asks that every declared member was met. The names of the
// messages are compared with the program's own and with the table in docs/protocol.md.
//
// usage: node check.mjs PYTHON PROGRAM MESSAGES DATA_DIR TRANSCRIPT...
//
// MESSAGES is what orb-list-messages prints.
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

import { sampleTraffic } from './traffic.mjs';

const SKIPPED = 77;
const ROOT = resolve(dirname(fileURLToPath(import.meta.url)), '../..');
const DECLARATIONS = join(ROOT, 'docs/protocol.d.ts');
const PAGE = join(ROOT, 'docs/protocol.md');

const { default: ts } = await import('typescript').catch(() => {
    console.log('typescript is not installed: npm ci');
    process.exit(SKIPPED);
});
const { findUnseen } = await import('./coverage.mjs');

// What the transcripts ask although the declarations forbid it, and the program forgives.
const FORGIVEN = [
    { type: 'list-units', data: { side: 5, search: 'MORTAR' } },
];

// What transcripts cannot bring about.
const NEVER_SEEN = [
    'reply RestoredSource.warning', // a backup that cannot be removed
    'reply RestoredSource.reloadError',
    'reply RawDefinition.backupIsOlder', // not every file system keeps notes
    'reply UnitSourceText.encoding', // transcripts are UTF-8
    'reply ModPack.reloadError',
    'reply ModPack.editsDropped',
    'reply ModelSummary.unknown', // tens of thousands of faces in one place
    'reply ModelPieceHead.unknown',
    'reply DuplicateFaces.unknown',
    'reply Thread.state = dead', // such threads are gone when a tick ends
    // What happens on maps: battles and walks end as they do.
    'reply MapEvent.reason = unit limit reached',
    'request MapTickRequest.until = sound',
    'request MapTickRequest.until = corpse',
    'request MapTickRequest.until = blocked',
    'request MapTickRequest.until = aim-failed',
    'request MapTickRequest.until = explode',
    'request MapTickRequest.until = effect',
    'request MapTickRequest.until = script-missing',
    'reply Ticked.stopped = time',
    'reply MapEvent.order = patrol',
    'reply MapEvent.order = attack',
    'reply MapEvent.order = guard',
    'reply MapEvent.order = load',
    'reply MapEvent.kind',
    'reply MapEvent.order = move',
    'reply MapEvent.order = fire',
    'reply MapEvent.reason = blocked',
    'reply MapEvent.reason = void', // the sample map has ground everywhere
    'reply MapEvent.reason = no way',
    'reply MapEvent.kind = blocked',
    'reply MapEvent.reason = script returned 0',
    'reply MapEvent.reason = no script',
    'reply MapEvent.moreDamaged',
    'reply MapEvent.name',
    'reply MapEvent.number',
    'reply MapEvent.script',
    'reply weapons.state = aimed',
    'reply weapons.state = firing',
];

// How a front end uses the declarations.
const USE = [
    'declare function ask<T extends P.MessageType>(type: T, ...data: P.Payload<T>): Promise<P.Replies[T]>;',
    'ask("ping"); ask("get-unit-glb");',
    'ask("list-units", { side: "X" }).then(({ units }) => units[0]!.name.length);',
    '// @ts-expect-error a name is required\nask("load-unit");',
    '// @ts-expect-error it takes no members\nask("ping", { x: 1 });',
    'declare const line: P.Line; if (line.type === "error") line.data.message.length;',
].join('\n').split('\n');

function playTranscripts(python, program, data, transcripts) {
    const folder = mkdtempSync(join(tmpdir(), 'orb-protocol-'));
    try {
        const file = join(folder, 'traffic.jsonl');
        const played = spawnSync(python, [join(ROOT, 'tests/sessions/run.py'), '--record', file, program,
                                          data, ...transcripts], { encoding: 'utf8' });
        if (played.status !== 0) throw new Error(`the transcripts fail:\n${played.stdout}${played.stderr}`);
        return readFileSync(file, 'utf8').trimEnd().split('\n').map((line) => JSON.parse(line));
    } finally {
        rmSync(folder, { recursive: true });
    }
}

/** The types in the page's table of families. */
function readPage() {
    const names = new Set();
    const [table] = readFileSync(PAGE, 'utf8').match(/^\| family \|[^]*?\n\n/m);
    for (const [, messages] of table.matchAll(/^\| .+ \| ([a-z].*) \|$/gm))
        for (const name of messages.replace(/\(#.*?\)/g, '').match(/[a-z][a-z0-9-]+/g) ?? []) names.add(name);
    names.delete('messages'); // the table's head
    return names;
}

/** Lines of TypeScript which compile when declarations, command table and traffic agree. */
function generateChecks(commands, traffic) {
    const object = (rows, value) =>
        `{${rows.map((row) => `${JSON.stringify(row.type)}: ${value(row)}`).join(', ')}}`;
    const withEffect = (effect) => commands.filter((row) => row.effect === effect);
    const lines = [
        `import type * as P from './protocol';`,
        `const replyTypes: P.ReplyTypes = ${object(commands, (row) => JSON.stringify(row.replyType))};`,
        `const declared: { [T in P.MessageType]: unknown extends P.Replies[T] ? false : true } = ` +
            `${object(commands, () => true)};`,
        `const frames: Record<P.FrameMessage, 1> = ${object(withEffect('frame'), () => 1)};`,
        `const transforms: Record<P.TransformsMessage, 1> = ${object(withEffect('transforms'), () => 1)};`,
        ...USE,
    ];
    const places = lines.map((line) => USE.includes(line) ? 'use' : 'the messages');
    for (const { place, type, value } of traffic) {
        lines.push(`const l${lines.length}: ${type} = ${JSON.stringify(value)};`);
        places.push(place);
    }
    return { lines, places };
}

function compile(text) {
    const generated = join(dirname(DECLARATIONS), 'traffic.ts');
    const options = {
        strict: true, exactOptionalPropertyTypes: true, noEmit: true, types: [],
        skipDefaultLibCheck: true, lib: ['lib.es5.d.ts'], target: ts.ScriptTarget.ES2020,
        module: ts.ModuleKind.ES2020, moduleResolution: ts.ModuleResolutionKind.Bundler,
    };
    const host = ts.createCompilerHost(options);
    const { getSourceFile, fileExists } = host;
    host.fileExists = (name) => name === generated || fileExists(name);
    host.getSourceFile = (name, ...rest) => name === generated
        ? ts.createSourceFile(name, text, ts.ScriptTarget.ES2020) : getSourceFile(name, ...rest);
    const program = ts.createProgram([DECLARATIONS, generated], options, host);
    const errors = ts.getPreEmitDiagnostics(program).map(({ file, start, messageText }) => ({
        file: file ? basename(file.fileName) : '',
        line: file ? file.getLineAndCharacterOfPosition(start).line : 0,
        text: ts.flattenDiagnosticMessageText(messageText, '\n    '),
    }));
    return { program, errors };
}

function checkPage(commands, traffic) {
    const listed = readPage();
    const shown = new Set(traffic.filter(({ file, reply }) =>
        file === basename(PAGE) && reply && reply.type !== 'error').map(({ request }) => request.type));
    const faults = [...listed].filter((name) => !commands.some(({ type }) => type === name))
        .map((name) => `protocol.md lists ${name}, which no row has`);
    for (const { type } of commands) {
        if (!listed.has(type)) faults.push(`protocol.md does not list ${type}`);
        if (!shown.has(type)) faults.push(`protocol.md has no example of ${type}`);
    }
    return faults;
}

const [python, program, messages, data, ...transcripts] = process.argv.slice(2);
const traffic = playTranscripts(python, program, data, transcripts);
const commands = JSON.parse(readFileSync(messages, 'utf8'));
const samples = sampleTraffic(traffic, readFileSync(DECLARATIONS, 'utf8'), FORGIVEN);
const { lines, places } = generateChecks(commands, samples);
const compiled = compile(lines.join('\n'));
const faults = compiled.errors.map(({ file, line, text }) => file === 'traffic.ts'
    ? `${places[line]}: ${text}\n    in ${lines[line].slice(0, 300)}` : `${file}:${line + 1}: ${text}`);
faults.push(...checkPage(commands, traffic));
if (compiled.errors.length === 0) {
    const unseen = findUnseen(ts, compiled.program, DECLARATIONS, traffic);
    faults.push(...unseen.filter((name) => !NEVER_SEEN.includes(name)).map((name) => `never seen: ${name}`));
    faults.push(...NEVER_SEEN.filter((name) => !unseen.includes(name)).map((name) => `seen after all: ${name}`));
}
for (const fault of faults) console.error(fault);
console.log(`${commands.length} messages, ${traffic.length} lines of traffic of ${samples.length} shapes, ` +
            `${faults.length} faults`);
process.exit(faults.length === 0 ? 0 : 1);
