// Picks from recorded traffic one sample of each shape, with the type that it must have.

/** A text that names what a value is made of. Texts that are declared as literals count as such. */
function shapeOf(value, literals) {
    if (Array.isArray(value)) {
        const elements = value.map((element) => shapeOf(element, literals));
        if (mayBeTuple(value)) return `[${value.length} ${typeof value[0]}s]`;
        return `[${[...new Set(elements)].sort().join()}]`;
    }
    if (value !== null && typeof value === 'object')
        return `{${Object.keys(value).map((key) => `${key}:${shapeOf(value[key], literals)}`).join()}}`;
    if (typeof value === 'string') return literals.has(value) ? JSON.stringify(value) : 'string';
    return value === null ? 'null' : typeof value === 'boolean' ? String(value) : typeof value;
}

const MAX_TUPLE = 16;

/** A short row of numbers or of truth values, whose length matters. */
function mayBeTuple(row) {
    return row.length <= MAX_TUPLE &&
        ['number', 'boolean'].some((type) => row.every((element) => typeof element === type));
}

/** The value with one element of each shape in its long arrays, and short texts. */
function shrink(value, literals) {
    if (Array.isArray(value)) {
        if (mayBeTuple(value)) return value;
        const distinct = new Map();
        for (const element of value) {
            const shape = shapeOf(element, literals);
            if (!distinct.has(shape)) distinct.set(shape, shrink(element, literals));
        }
        return [...distinct.values()];
    }
    if (value !== null && typeof value === 'object')
        return Object.fromEntries(Object.entries(value).map(([key, member]) => [key, shrink(member, literals)]));
    return typeof value === 'string' ? value.slice(0, 80) : value;
}

/** [{place, type, value}]: replies, events, and the requests that were served. */
export function sampleTraffic(traffic, declarations, forgiven) {
    const literals = new Set([...declarations.matchAll(/"([^"\n]+)"/g)].map(([, text]) => text));
    const forgivenTexts = new Set(forgiven.map((request) => JSON.stringify(request)));
    const samples = new Map();
    const add = (place, type, value) => {
        const key = `${type} ${shapeOf(value, literals)}`;
        if (!samples.has(key)) samples.set(key, { place, type, value: shrink(value, literals) });
    };
    for (const { file, line, request, reply, event } of traffic) {
        const place = `${file}:${line}`;
        if (event) {
            add(place, 'P.PieceTransformsEvent', event);
        } else if (reply.type === 'error') {
            add(place, 'P.ErrorReply', reply);
        } else {
            const { type, data = {} } = request;
            add(place, `P.Reply<${JSON.stringify(type)}>`, reply);
            if (!forgivenTexts.has(JSON.stringify({ type, data })))
                add(place, `P.Requests[${JSON.stringify(type)}]`, data);
        }
    }
    return [...samples.values()];
}
