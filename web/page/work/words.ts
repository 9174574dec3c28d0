/** "1 thread", "2 threads". */
export const counted = (count: number, one: string, many = `${one}s`): string =>
    `${count.toLocaleString("en")} ${count === 1 ? one : many}`;
