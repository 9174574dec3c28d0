/** The last component of a path, with either slash. */
export const baseName = (path: string): string => path.split(/[\\/]/).filter(Boolean).at(-1) ?? path;
