// Stepping by lines. The program's own step stops wherever a line ends, in whichever thread; here it is the thread
// that stopped which goes on, while the others run as they do.
import type { ScriptReport } from "protocol";
import { ask } from "../ask";
import { carryOut, isStopped, report, stepTick } from "./run";
import { breakpoints } from "./script";

/** Lines of other threads that a step passes at most. */
const MAX_PASSED = 500;

/** One line of the thread that has stopped; one tick while nothing is. */
export function stepLine(): Promise<boolean> {
    if (!isStopped.peek()) return stepTick();
    const thread = report.peek()?.pausedThread;
    return carryOut(async () => {
        for (let passed = 0; ; passed++) {
            const { report: next } = await ask("cob-step-line", { report: true });
            if (!next?.isPaused || next.pausedThread === thread || isAtBreakpoint(next) || passed === MAX_PASSED) return next ? { report: next } : {};
            const { threads } = await ask("cob-inspect", { stackLimit: 0 });
            if (!threads.some(({ id }) => id === thread)) return { report: next };
        }
    });
}

const isAtBreakpoint = ({ line, file }: ScriptReport): boolean =>
    file === undefined && breakpoints.peek().some((one) => one.isVerified && one.line === line);
