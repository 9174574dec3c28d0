import type { ComponentChildren } from "preact";
import { isAlive } from "../store/connection";
import { type Loaded, valueOf } from "../store/resource";
import { Button } from "./button";

/** What a pane shows while there is nothing, while it loads, when that failed, and when the editor is away. */
export function States<T>({ of, empty, retry, children }: {
    of: Loaded<T>; empty: string; retry?: () => unknown; children: (value: T) => ComponentChildren;
}) {
    const value = valueOf(of);
    if (value !== undefined) return <>{children(value)}</>;
    if (!isAlive.value) return <p class="empty">The editor is away; this comes back with it.</p>;
    if (of.state === "loading") return <p class="empty" aria-busy="true">Loading…</p>;
    if (of.state === "failed") return <Failure message={of.message} retry={retry} />;
    return <p class="empty">{empty}</p>;
}

/** One line of what went wrong, in the back end's own words, with a way to try again. */
export function Failure({ message, retry }: { message: string; retry?: (() => unknown) | undefined }) {
    return (
        <p class="failure" role="alert">
            <span class="status missing">failed</span> {message}{" "}
            {retry && <Button title="Try again" onPress={retry}>Try again</Button>}
        </p>
    );
}

export type Status = "ok" | "info" | "warn" | "missing";

/** A status told by shape and word as well as colour. */
export function StatusMark({ status, word }: { status: Status; word?: string }) {
    return <span class={`status ${status}`}>{word ?? status}</span>;
}
