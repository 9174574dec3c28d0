// Above a text that is edited: what stands between it and its file.
import type { ComponentChildren } from "preact";
import { say } from "../store/connection";
import type { Documents, SavedText } from "../store/document";
import { showDialog } from "../store/view";
import { Button } from "../widgets/button";
import { Failure, States, StatusMark } from "../widgets/states";

export const copyText = (text: string): Promise<void> => navigator.clipboard.writeText(text)
    .then(() => say("The text is in the clipboard"), () => say("The browser keeps the clipboard from the page"));

/** The text, or why there is none; an edited one stays whatever becomes of its file. */
export function DocumentState<S extends SavedText, F>({ of, empty, children }: {
    of: Documents<S, F>; empty: string; children: ComponentChildren;
}) {
    if (!of.shown.value) return <States of={of.loaded.value} empty={empty} retry={of.reload}>{() => null}</States>;
    return <>{children}</>;
}

/** What stands in the way of saving, or undefined. */
export function documentFault<S extends SavedText, F>(of: Documents<S, F>) {
    const [now, read] = [of.shown.value, of.loaded.value];
    if (!now) return undefined;
    if (now.theirs) return <Changed of={of} theirs={now.theirs} />;
    const isGone = read.state === "failed";
    const lost = now.failure || (isGone ? read.message : "");
    if (!lost) return of.fault.value ? <Failure message={of.fault.value} /> : undefined;
    return (
        <div class="banner" role="alert">
            <StatusMark status="missing" word="failed" /> <span>{lost}</span>
            {isGone && <Button title="Look again for the file" onPress={of.reload}>Try again</Button>}
            {isGone && of.writesAnew && <Button title="Make the file of this text" onPress={of.save}>Write it anew</Button>}
            <Button title="Copy this text, to keep it elsewhere" onPress={() => copyText(now.text)}>Copy text</Button>
        </div>
    );
}

function Changed<S extends SavedText, F>({ of, theirs }: { of: Documents<S, F>; theirs: S }) {
    const isOther = theirs.file !== of.shown.value?.base.file;
    return (
        <div class="banner" role="alert">
            <span title={theirs.file}><StatusMark status="warn"
                word={isOther ? "Another file has taken its place." : "Another program has changed the file."} /></span>
            <Button kind="main" title="See both changes and bring them together"
                onPress={() => showDialog(`merge-${of.word}`)}>Merge…</Button>
            <Button title="Give your changes up and take the file as it is" onPress={of.revert}>Take theirs</Button>
            <Button title="Go on with your text; saving it writes over theirs"
                onPress={() => of.takeMerged(of.text.peek() ?? "", theirs)}>Keep mine</Button>
        </div>
    );
}
