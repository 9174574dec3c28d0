export interface TreeRow<T> {
    node: T;
    key: string;
    level: number;
    /** Index of the parent's row, -1 at the top. */
    parent: number;
    /** Absent for a leaf. */
    isOpen: boolean | undefined;
    place: number;
    siblings: number;
}

/** The rows of a tree that are in sight when these nodes are not as `openLevels` says; without recursion. */
export function flattenTree<T>(roots: readonly T[], keyOf: (node: T) => string, childrenOf: (node: T) => readonly T[],
    openLevels: number, toggled: ReadonlySet<string>): TreeRow<T>[] {
    const rows: TreeRow<T>[] = [];
    const rest: Omit<TreeRow<T>, "key" | "isOpen">[] = [];
    const push = (nodes: readonly T[], level: number, parent: number): void => {
        for (let i = nodes.length; i-- > 0;)
            rest.push({ node: nodes[i]!, level, parent, place: i, siblings: nodes.length });
    };
    push(roots, 0, -1);
    for (let next; (next = rest.pop());) {
        const key = keyOf(next.node);
        const children = childrenOf(next.node);
        const isOpen = children.length === 0 ? undefined : next.level < openLevels !== toggled.has(key);
        rows.push({ ...next, key, isOpen });
        if (isOpen) push(children, next.level + 1, rows.length - 1);
    }
    return rows;
}
