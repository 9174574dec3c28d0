const ROW_BYTES = 16;

interface HexRow {
    offset: string;
    hex: string;
    text: string;
}

/** Rows of sixteen bytes, as numbers and as what can be printed of them. */
export function hexRows(hex: string): HexRow[] {
    const bytes = (hex.match(/../g) ?? []).map((pair) => Number.parseInt(pair, 16));
    const rows: HexRow[] = [];
    for (let at = 0; at < bytes.length; at += ROW_BYTES) {
        const row = bytes.slice(at, at + ROW_BYTES);
        rows.push({
            offset: at.toString(16).padStart(4, "0"),
            hex: row.map((byte) => byte.toString(16).padStart(2, "0")).join(" "),
            text: row.map((byte) => byte >= 32 && byte < 127 ? String.fromCharCode(byte) : ".").join(""),
        });
    }
    return rows;
}
