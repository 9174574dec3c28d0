// Logic of definitions that needs no browser: merging two changes, and editing one key of a text.
import assert from "node:assert/strict";
import { test } from "node:test";
import { definitionRows, valueFault, withoutKey, withValue } from "../page/work/definition";
import { plainText, withEndsOf } from "../page/work/line_ends";
import { type Choice, isConflict, merge3, mergedText } from "../page/work/merge";
import { scanTdf, sectionNamed } from "../page/work/tdf";
import { wellFormed } from "../page/work/well_formed";

const lines = (text: string): string => text.split(" ").join("\n");
const merged = (base: string, mine: string, theirs: string, ...choices: Choice[]): string =>
    mergedText(merge3(lines(base), lines(mine), lines(theirs)), choices).split("\n").join(" ");
const conflictsOf = (base: string, mine: string, theirs: string): number =>
    merge3(lines(base), lines(mine), lines(theirs)).filter(isConflict).length;

test("takes from each side what only it has changed", () => {
    assert.equal(merged("a b c d", "a B c d", "a b c D"), "a B c D");
    assert.equal(merged("a b c d", "a B c d", "a b C d"), "a B C d");
    assert.equal(merged("a b c", "a c", "a b c d"), "a c d");
    assert.equal(merged("a b", "x a b", "a b y"), "x a b y");
    assert.equal(merged("a b", "a x b", "a B"), "a x B");
    assert.equal(merged("a a a", "a a", "a a a b"), "a a b");
    assert.equal(merged("a", "a", "b"), "b");
    assert.equal(merged("a b c", "a X c", "a X c"), "a X c");
});

test("leaves to the user what both have changed, and loses neither", () => {
    assert.equal(conflictsOf("a b c", "a X c", "a Y c"), 1);
    assert.equal(merged("a b c", "a X c", "a Y c", "mine"), "a X c");
    assert.equal(merged("a b c", "a X c", "a Y c", "theirs"), "a Y c");
    assert.equal(merged("a b c", "a X c", "a Y c", "both"), "a X Y c");
    assert.equal(merged("a c", "a x c", "a y c", "both"), "a x y c");
    assert.equal(merged("a b c d", "a d", "a b C d", "theirs"), "a b C d");
    assert.equal(merged("a b c d e", "A b c d X", "a Y c d Z", "theirs"), "A Y c d Z");
});

test("keeps every line of random changes that do not meet", () => {
    const base = Array.from({ length: 60 }, (_, i) => `line ${i % 7}`);
    for (let seed = 0; seed < 200; seed++) {
        const [mine, theirs, both] = [[...base], [...base], [...base]];
        mine[seed % 29] = both[seed % 29] = "mine";
        theirs[31 + seed % 29] = both[31 + seed % 29] = "theirs";
        assert.equal(mergedText(merge3(base.join("\n"), mine.join("\n"), theirs.join("\n")), []), both.join("\n"), `seed ${seed}`);
    }
});

test("a text goes back with the line ends that its file has", () => {
    assert.equal(withEndsOf("a\r\nb\r\n", "a\nB\nnew\n"), "a\r\nB\r\nnew\r\n");
    assert.equal(withEndsOf("a\nb", "a\nb\nc\n"), "a\nb\nc\n");
    assert.equal(withEndsOf("a\nb\r\nc\nd", "a\nB\nc\nd"), "a\nB\r\nc\nd");
    assert.equal(withEndsOf("a\nb\r\nc\nd", "a\nb\nnew\nnewer\nd\n"), "a\nb\r\nnew\nnewer\nd\n");
    assert.equal(withEndsOf("a\nb\r\nc\n", "b\nx\nc"), "b\r\nx\r\nc");
    for (let seed = 0; seed < 300; seed++) {
        const raw = Array.from({ length: 12 }, (_, i) => ["a", "b", "\n", "\r\n", "\r"][(seed * 7 + i * i * (seed + 3)) % 5]).join("");
        assert.equal(withEndsOf(raw, plainText(raw)), raw, JSON.stringify(raw));
    }
});

test("halves of characters are replaced, whole ones stay", () => {
    assert.equal(wellFormed("a\ud83d b\ude00 \ud83d\ude00"), "a\ufffd b\ufffd \ud83d\ude00");
});

const TEXT = "// head [UNITINFO]\n[UNITINFO]\n\t{\n\tName=Raft; // shown\n\tMaxDamage = 680 ;\n\t[SUB] { Name=inner; }\n\tmaxdamage=700;\n\t}\n";

test("reads a definition as the game does", () => {
    const set = definitionRows(TEXT, undefined, undefined).map(({ key, value }) => `${key}=${value}`);
    assert.deepEqual(set, ["Name=Raft", "maxdamage=700"]);
    assert.equal(sectionNamed("[A]{x=1;[B]{y=2;}} [a] { z = 3; }", "A"), "[a] { z = 3; }");
    for (const broken of ["[UNITINFO]", "[UNITINFO]{ a=1", "}[UNITINFO]{a=1;}", "/* [UNITINFO]{a=1;}", "=;{]", "[", "[UNITINFO]{[[[[a=;"])
        assert.ok(scanTdf(broken).assignments.length <= 1, broken);
});

test("changes one key and leaves every other byte alone", () => {
    assert.equal(withValue(TEXT, "MAXDAMAGE", "900"), TEXT.replace("700", "900"));
    assert.equal(withValue(TEXT, "Side", "FEN"), TEXT.replace("maxdamage=700;", "maxdamage=700;\n\tSide=FEN;"));
    assert.equal(withValue("[UNITINFO]\r\n{\r\n}", "A", "1"), "[UNITINFO]\r\n{\r\n\tA=1;\r\n}");
    assert.equal(withValue("[UNITINFO] { A=1; }", "B", "2"), "[UNITINFO] { A=1; B=2; }");
    assert.equal(withoutKey(TEXT, "MaxDamage"), TEXT.replace("\tMaxDamage = 680 ;\n", "").replace("\tmaxdamage=700;\n", ""));
    assert.equal(withoutKey(TEXT, "name"), TEXT.replace("Name=Raft; // shown", " // shown"));
    assert.deepEqual([valueFault("number", "2.5"), valueFault("number", "two"), valueFault("text", "a;b")],
        ["", "not a number", "a value holds no \";\" and no line break"]);
});
