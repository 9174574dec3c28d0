import { useEffect, useId, useRef } from "preact/hooks";
import type { ComponentChildren } from "preact";

/** In front of everything until it is closed; focus goes back to where it came from. */
export function Dialog({ title, onClose, children, actions }:
    { title: string; onClose: () => void; children: ComponentChildren; actions?: ComponentChildren }) {
    const element = useRef<HTMLDialogElement>(null);
    const id = useId();
    useEffect(() => {
        const came = document.activeElement;
        element.current?.showModal();
        return () => { if (came instanceof HTMLElement) came.focus(); };
    }, []);
    return (
        <dialog ref={element} aria-labelledby={id} onCancel={(event) => { event.preventDefault(); onClose(); }}
            onKeyDown={(event) => event.stopPropagation()}>
            <h2 id={id}>{title}</h2>
            <div class="content">{children}</div>
            {actions && <div class="actions">{actions}</div>}
        </dialog>
    );
}
