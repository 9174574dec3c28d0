/** Whole numbers between blanks or commas, decimal or 0x…; else what is wrong with them. */
export function readArguments(text: string): number[] | string {
    const words = text.split(/[\s,]+/).filter(Boolean);
    const wrong = words.find((word) => !/^-?(\d+|0x[\da-f]+)$/i.test(word));
    if (wrong !== undefined) return `not a whole number: ${wrong}`;
    return words.map((word) => word.startsWith("-") ? -Number(word.slice(1)) : Number(word));
}
