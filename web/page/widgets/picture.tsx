import { useSignal } from "@preact/signals";
import { useEffect } from "preact/hooks";

/** A PNG file, pixels kept sharp; it fills what it stands in. */
export function Picture({ png, label }: { png: Uint8Array | string | undefined; label: string }) {
    const address = useSignal("");
    useEffect(() => {
        if (png === undefined || typeof png === "string") { address.value = png ? `data:image/png;base64,${png}` : ""; return undefined; }
        const url = URL.createObjectURL(new Blob([png as Uint8Array<ArrayBuffer>], { type: "image/png" }));
        address.value = url;
        return () => URL.revokeObjectURL(url);
    }, [png]);
    return address.value ? <img class="picture" src={address.value} alt={label} draggable={false} />
        : <span class="picture" role="img" aria-label={`${label}: no picture`} />;
}
