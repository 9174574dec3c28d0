import type { UnitDependencies } from "protocol";

export interface DependencyNode {
    key: string;
    text: string;
    /** At the right: where it lies, how large it is, or what is wrong. */
    note: string;
    status?: "missing" | "warn";
    children: DependencyNode[];
    /** Bytes, of files. */
    size?: number;
}

/** Unit, role, file. A file that several units use stands below each; what is missing or damaged says so. */
export function dependencyTree({ units, files, missing, damaged }: UnitDependencies): DependencyNode[] {
    const faults = new Map(damaged.map(({ path, message }) => [path.toLowerCase(), message]));
    return units.map((unit) => {
        const uses = ({ usedBy }: { usedBy: string[] }): boolean => usedBy.some((one) => one.toLowerCase() === unit.toLowerCase());
        const byRole = new Map<string, DependencyNode[]>();
        const add = (role: string, node: DependencyNode): void => { byRole.set(role, [...byRole.get(role) ?? [], node]); };
        for (const file of files.filter(uses))
            for (const role of file.roles) {
                const fault = faults.get(file.path.toLowerCase());
                add(role, {
                    key: `${unit}|${role}|${file.path}`, text: file.path, size: file.size, children: [],
                    note: fault ?? (file.source.inBaseTa ? "base game" : "mod"), ...(fault ? { status: "warn" } : {}),
                });
            }
        for (const { role, name } of missing.filter(uses))
            add(role, { key: `${unit}|${role}|missing ${name}`, text: name, note: "missing", status: "missing", children: [] });
        const children = [...byRole].map(([role, inside]): DependencyNode => ({
            key: `${unit}|${role}`, text: role, children: inside, note: inside.length > 1 ? String(inside.length) : "", ...worst(inside),
        }));
        return { key: unit, text: unit, note: "", children, ...worst(children) };
    });
}

function worst(nodes: readonly DependencyNode[]): { status?: "missing" | "warn" } {
    const status = nodes.find((one) => one.status === "missing")?.status ?? nodes.find((one) => one.status)?.status;
    return status ? { status } : {};
}
