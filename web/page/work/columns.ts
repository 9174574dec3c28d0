/** The place in a text of a line and a column that counts bytes of UTF-8, both from 1; kept within the line. */
export function placeOf(text: string, line: number, byteColumn: number): number {
    let start = 0;
    for (let i = 1; i < line; i++) {
        const end = text.indexOf("\n", start);
        if (end < 0) return text.length;
        start = end + 1;
    }
    let place = start;
    for (let bytes = byteColumn - 1; bytes > 0 && place < text.length && text[place] !== "\n";) {
        const code = text.codePointAt(place)!;
        bytes -= code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
        place += code < 0x10000 ? 1 : 2;
    }
    return place;
}
