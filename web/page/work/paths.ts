/** Components of a path, with either slash. */
const parts = (path: string): string[] => path.split(/[\\/]/).filter(Boolean);

/** The last component. */
export const baseName = (path: string): string => parts(path).at(-1) ?? path;

/** Whether a path lies in a folder, however deep, or is it. */
export function isBelow(path: string, folder: string): boolean {
    const inside = path.slice(folder.length);
    return path.startsWith(folder) && (inside === "" || /^[\\/]/.test(inside) || /[\\/]$/.test(folder));
}

/** The last components of each, as many as it takes to tell it from the others. */
export function shortNames(paths: readonly string[]): string[] {
    return paths.map((path) => {
        const own = parts(path);
        const others = paths.filter((one) => one !== path).map(parts);
        for (let count = 1; count <= own.length; count++) {
            const name = own.slice(-count).join("/");
            if (!others.some((other) => other.slice(-count).join("/") === name)) return name;
        }
        return path;
    });
}
