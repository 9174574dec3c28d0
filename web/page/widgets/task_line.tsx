import type { TaskState } from "../store/task";
import { Failure, StatusMark } from "./states";

/** How far something has come, how it ended. */
export function TaskLine({ of, label }: { of: TaskState; label: string }) {
    if (of.state === "idle") return null;
    if (of.state === "failed") return <Failure message={of.message} />;
    if (of.state === "done") return <p class="task" role="status">
        <StatusMark status={of.isPartial ? "warn" : "ok"} word={of.isPartial ? "in part" : "done"} /> {of.message}</p>;
    const { step } = of;
    return (
        <p class="task" aria-busy="true">
            <progress aria-label={label} {...(step && step.total > 0 ? { value: step.done, max: step.total } : {})} />
            <span>{of.label}{step && <span class="quiet"> {step.done} of {step.total} · {step.label}</span>}</span>
        </p>
    );
}
