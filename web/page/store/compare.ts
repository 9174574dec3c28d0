// Lifetime: the opened roots. Units whose definitions stand side by side.
import type { ComparedUnit } from "protocol";
import { ask } from "../ask";
import { resource } from "./resource";
import { state } from "./state";

const MAX_COMPARED = 8;

const [comparedNames, setNames] = state<readonly string[]>([]);
export { comparedNames };
export const comparison = resource<readonly ComparedUnit[]>(async () =>
    comparedNames.peek().length === 0 ? [] : (await ask("compare-units", { names: [...comparedNames.peek()] })).units);

/** The newest of them. */
export const compare = (names: readonly string[]): void => setNames(names.slice(-MAX_COMPARED));
