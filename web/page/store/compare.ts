// Lifetime: the opened roots. Units whose definitions stand side by side.
import { type ReadonlySignal, signal } from "@preact/signals";
import type { ComparedUnit } from "protocol";
import { ask } from "../ask";
import { resource } from "./resource";

const MAX_COMPARED = 8;

const namesSignal = signal<readonly string[]>([]);
export const comparedNames: ReadonlySignal<readonly string[]> = namesSignal;
export const comparison = resource<readonly ComparedUnit[]>(async () =>
    namesSignal.peek().length === 0 ? [] : (await ask("compare-units", { names: [...namesSignal.peek()] })).units);

export function addCompared(name: string): void {
    const wanted = name.trim();
    if (wanted === "" || namesSignal.peek().some((one) => one.toLowerCase() === wanted.toLowerCase())) return;
    namesSignal.value = [...namesSignal.peek(), wanted].slice(-MAX_COMPARED);
}

export function removeCompared(name: string): void {
    namesSignal.value = namesSignal.peek().filter((one) => one !== name);
}
