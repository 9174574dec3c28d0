// A front end's day: a modder works at the page while things go wrong around it. day.mjs [SECONDS] [--seed N]
import { mkdirSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { browser, OUT } from "./bench";
import { DEEDS, lookAt, NotNow, reload } from "./day/deeds";
import { FAULTS, pause } from "./day/faults";
import { comeToRest, contradictions, lookAround } from "./day/invariants";
import { figures, grown, type Figures } from "./day/memory";
import { random } from "./day/random";
import { type Desk, openWorld, OWN_UNITS, rememberArchive, type World } from "./day/world";

const words = process.argv.slice(2);
const seedAt = words.indexOf("--seed");
const seed = seedAt >= 0 ? Number(words[seedAt + 1]) : Date.now() % 1_000_000;
const seconds = Number(words.find((word, i) => i !== seedAt + 1 && /^\d+$/.test(word)) ?? 3_600);
const MOST_FINDINGS = 40;
const DEED_MS = 180_000;

const began = Date.now();
const clock = (): string => ((Date.now() - began) / 1000).toFixed(1).padStart(7);
const recent: string[] = [];
const findings: string[] = [];
const counts = new Map<string, { done: number; notNow: number; failed: number }>();
const sizes: Figures[] = [];

function note(text: string): void {
    recent.push(`${clock()} ${text}`);
    if (recent.length > 60) recent.shift();
    if (process.env["ORB_DAY_TOLD"]) console.log(recent.at(-1));
}

function count(name: string, how: "done" | "notNow" | "failed"): void {
    const one = counts.get(name) ?? { done: 0, notNow: 0, failed: 0 };
    one[how]++;
    counts.set(name, one);
}

async function find(world: World, text: string): Promise<void> {
    findings.push(text);
    console.log(`\n${clock()} FOUND ${text}\n  ${recent.slice(-25).join("\n  ")}`);
    const folder = join(OUT, "failures");
    mkdirSync(folder, { recursive: true });
    writeFileSync(join(folder, `day_${seed}_${findings.length}.log`), [text, ...recent].join("\n"));
    for (const [i, { page }] of world.desks.entries())
        await page.screenshot({ path: join(folder, `day_${seed}_${findings.length}_${i}.png`) }).catch(() => {});
}

/** In one line, as far as it says what was waited for. */
const messageOf = (error: unknown): string => error instanceof Error
    ? error.message.replace(/\x1b\[\d+m/g, "").split("\n").filter(Boolean).slice(0, 6).join(" | ") : String(error);

/** One deed; without a fault around, it must succeed or be impossible. */
async function doDeed(world: World, mustSucceed: boolean): Promise<void> {
    const deed = world.chance.weighted(DEEDS);
    const desk = world.chance.pick(world.desks);
    note(`page ${world.desks.indexOf(desk) + 1}: ${deed.name}`);
    try {
        await Promise.race([deed.do(world, desk), pause(DEED_MS).then(() => { throw new Error(`not done within ${DEED_MS / 1000} s`); })]);
        count(deed.name, "done");
    } catch (error) {
        const isNotNow = error instanceof NotNow;
        count(deed.name, isNotNow ? "notNow" : "failed");
        note(`    ${isNotNow ? "not now" : messageOf(error)}`);
        if (mustSucceed && !isNotNow) await find(world, `${deed.name}: ${messageOf(error)}`);
        await desk.page.keyboard.press("Escape").catch(() => {});
    }
}

/** Some deeds, and while they are done up to two faults. */
async function hour(world: World): Promise<void> {
    const { chance } = world;
    const faults = chance.percent(25) ? 0 : 1 + chance.below(2);
    const deeds = 1 + chance.below(7);
    const going = Array.from({ length: faults }, async () => {
        const fault = chance.weighted(FAULTS.filter(({ needsDisk }) => world.isMounted || !needsDisk));
        const after = chance.below(3_000);
        const lasts = chance.below(2_500);
        await pause(after);
        note(`    !! ${fault.name}`);
        count(`! ${fault.name}`, "done");
        const end = await fault.begin(world, chance.pick(world.desks));
        await pause(lasts);
        await end();
        note(`    !! over: ${fault.name}`);
    });
    for (let i = 0; i < deeds; i++) await doDeed(world, faults === 0);
    await Promise.all(going);
}

async function calm(world: World): Promise<void> {
    const rest = async (desk: Desk): Promise<void> => { for (const fault of await comeToRest(desk)) await find(world, fault); };
    for (const desk of world.desks) {
        await rest(desk);
        await lookAround(desk).catch(async (error) => find(world, `cannot look around: ${messageOf(error)}`));
        await rest(desk);
    }
    let wrong = await contradictions(world);
    for (const text of wrong) await find(world, text);
    if (wrong.length > 0) return startOver(world);
    rememberArchive(world);
}

/** What was found would be found again in each page. */
async function startOver(world: World): Promise<void> {
    for (const desk of world.desks) await reload(world, desk).catch(() => {});
    world.ledger.marks.clear();
}

// a fault at the wrong moment must not end the day without a word
process.on("unhandledRejection", (error) => { findings.push(`nobody took care of: ${error instanceof Error ? error.stack : String(error)}`); });
const chance = random(seed);
console.log(`A day of ${seconds} s with seed ${seed}`);
const world = await openWorld(chance, note);
console.log(world.isMounted ? "on a small disk of its own" : "no disk can be mounted here: it is never full");
world.bench.expectErrors(/WebSocket connection|ERR_CONNECTION_REFUSED/);
let rounds = 0;
try {
    await lookAt(await world.openDesk(), OWN_UNITS[0]);
    for (let measured = 0; Date.now() - began < seconds * 1_000 && findings.length < MOST_FINDINGS; rounds++) {
        await hour(world);
        await calm(world).catch((error) => find(world, `cannot be looked at: ${messageOf(error)}`));
        if (Date.now() - measured < 60_000) continue;
        measured = Date.now();
        sizes.push(await figures(world));
        console.log(`${clock()} ${rounds + 1} rounds, ${findings.length} found, ${JSON.stringify(sizes.at(-1))}`);
    }
    for (const text of grown(sizes)) await find(world, text);
} catch (error) {
    await find(world, `the day ended early: ${error instanceof Error ? error.stack : String(error)}`);
}
await world.close();
await (await browser()).close();

console.log(`\n${rounds} rounds in ${((Date.now() - began) / 1000).toFixed(0)} s, seed ${seed}; done, not possible then, failed:`);
for (const [name, { done, notNow, failed }] of [...counts].sort()) console.log(`${String(done).padStart(6)} ${String(notNow).padStart(5)} ${String(failed).padStart(5)}  ${name}`);
console.log(findings.length === 0 ? "nothing lost" : `\n${findings.length} found:\n${findings.join("\n")}`);
process.exit(findings.length === 0 ? 0 : 1);
