/** A line of the back end's log: "[DATE TIME] [LEVEL] text". */
export interface LogLine {
    number: number;
    time: string;
    /** Index into LEVELS. */
    level: number;
    text: string;
}

/** From what matters least. */
export const LEVELS = ["debug", "info", "warning", "error"] as const;
const INFO = 1;

/** A line without time and level, as of a crash, is an error's. */
export function readLogLine(line: string, number: number): LogLine {
    const [, time = "", word = "", text = line] = /^\[\S+ ([\d:.]+)\] \[(\w+)\] (.*)$/s.exec(line) ?? [];
    const level = LEVELS.findIndex((name) => name.startsWith(word.toLowerCase().slice(0, 4)));
    return { number, time, text, level: word === "" ? LEVELS.length - 1 : level < 0 ? INFO : level };
}
