const LEAST = -(2 ** 31);
const MOST = 2 ** 31 - 1;
/** Hexadecimal numbers are bits: the upper half is the negative ones. */
const MOST_BITS = 2 ** 32 - 1;

/** A whole number of 32 bits, decimal or 0x…; else what is wrong with it. */
export function readInteger(text: string): number | string {
    const [, sign, digits] = /^(-?)(\d+|0x[\da-f]+)$/i.exec(text.trim()) ?? [];
    if (digits === undefined) return `not a whole number${text.trim() === "" ? "" : `: ${text.trim()}`}`;
    const value = Number(digits) * (sign ? -1 : 1);
    if (/^0x/i.test(digits) && !sign && value <= MOST_BITS) return value | 0;
    return value < LEAST || value > MOST ? `not between ${LEAST} and ${MOST}: ${text.trim()}` : value + 0;
}

/** Whole numbers between blanks or commas; else what is wrong with them. */
export function readArguments(text: string): number[] | string {
    const values = text.split(/[\s,]+/).filter(Boolean).map(readInteger);
    return values.find((value) => typeof value === "string") as string | undefined ?? values as number[];
}
