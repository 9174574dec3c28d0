/** The script's source, and what its threads hold. */
export function ScriptColumn() {
    return <section class="pane" aria-label="Script" data-region="script"><p class="empty">The script comes here.</p></section>;
}
