// Which declared members and words never occur in traffic.

/** Names like "reply HealthCheck.action" and "reply WriteResult.outcome = base-ta-refused". */
export function findUnseen(ts, program, declarations, traffic) {
    const checker = program.getTypeChecker();
    const { StringLiteral, Undefined, String: AnyString, NumberLike, BooleanLike, Null } = ts.TypeFlags;
    const file = program.getSourceFile(declarations);
    const exported = new Map(checker.getExportsOfModule(checker.getSymbolAtLocation(file))
        .map((symbol) => [symbol.name, checker.getDeclaredTypeOfSymbol(symbol)]));

    const constituents = (type) =>
        (type.isUnion() ? type.types : [type]).filter((each) => !(each.flags & Undefined));
    const elementsOf = (type, index) =>
        checker.getTypeArguments(type)[checker.isTupleType(type) ? index : 0];
    const isList = (type) => checker.isArrayType(type) || checker.isTupleType(type);
    const recordOf = (type) => checker.getIndexInfosOfType(type)[0]?.type;

    function fits(type, value) {
        return constituents(type).some((each) => {
            if (typeof value === 'string')
                return each.flags & AnyString || (each.flags & StringLiteral && each.value === value);
            if (typeof value === 'number') return each.flags & NumberLike;
            if (typeof value === 'boolean')
                return each.flags & BooleanLike && (each.intrinsicName ?? String(value)) === String(value);
            if (value === null) return each.flags & Null;
            if (Array.isArray(value)) return isList(each);
            if (isList(each) || !(each.flags & (ts.TypeFlags.Object | ts.TypeFlags.Intersection))) return false;
            const record = recordOf(each);
            return each.getProperties().every((member) => member.name in value
                ? fits(checker.getTypeOfSymbol(member), value[member.name])
                : member.flags & ts.SymbolFlags.Optional) &&
                Object.keys(value).every((name) => record || each.getProperty(name));
        });
    }

    /** The member's name after that of the declaration around it. */
    function nameOf(member, type) {
        let node = member.declarations?.[0]?.parent;
        while (node && !node.name) node = node.parent;
        const owner = node?.name?.text ?? type.aliasSymbol?.name ?? checker.typeToString(type).slice(0, 60);
        return `${owner}.${member.name}`;
    }
    const keyOf = (member, type) => member.declarations?.[0]?.pos ?? `${type.id}.${member.name}`;

    const declared = new Map(), seen = new Set();
    function declare(type, way, known = new Set()) {
        for (const each of constituents(type)) {
            if (known.has(each)) continue;
            known.add(each);
            if (isList(each)) {
                checker.getTypeArguments(each).forEach((element) => declare(element, way, known));
                continue;
            }
            if (!(each.flags & (ts.TypeFlags.Object | ts.TypeFlags.Intersection))) continue;
            if (recordOf(each)) declare(recordOf(each), way, known);
            for (const member of each.getProperties()) {
                const memberType = checker.getTypeOfSymbol(member), types = constituents(memberType);
                if (types.length === 0) continue; // only there to be absent
                const key = `${way} ${keyOf(member, each)}`, name = `${way} ${nameOf(member, each)}`;
                declared.set(key, name);
                if (types.length > 1)
                    for (const word of types.filter(({ flags }) => flags & StringLiteral))
                        declared.set(`${key} = ${word.value}`, `${name} = ${word.value}`);
                declare(memberType, way, known);
            }
        }
    }
    function visit(type, value, way) {
        const each = constituents(type).find((candidate) => fits(candidate, value));
        if (!each || value === null || typeof value !== 'object') return;
        if (isList(each)) return value.forEach((element, index) => visit(elementsOf(each, index), element, way));
        for (const [name, member] of Object.entries(value)) {
            const symbol = each.getProperty(name);
            if (!symbol) {
                visit(recordOf(each), member, way);
                continue;
            }
            const key = `${way} ${keyOf(symbol, each)}`;
            seen.add(key);
            if (typeof member === 'string') seen.add(`${key} = ${member}`);
            visit(checker.getTypeOfSymbol(symbol), member, way);
        }
    }

    for (const [group, way] of [['Requests', 'request'], ['Replies', 'reply']])
        for (const message of exported.get(group).getProperties())
            declare(checker.getTypeOfSymbol(message), way);
    declare(exported.get('PieceTransformsEvent'), 'reply');
    const typeOf = (group, name) => checker.getTypeOfSymbol(exported.get(group).getProperty(name));
    for (const { request, reply, event } of traffic) {
        if (event) visit(exported.get('PieceTransformsEvent'), event, 'reply');
        else if (reply.type !== 'error') {
            visit(typeOf('Requests', request.type), request.data ?? {}, 'request');
            visit(typeOf('Replies', request.type), reply.data, 'reply');
        }
    }
    return [...new Set([...declared].filter(([key]) => !seen.has(key)).map(([, name]) => name))];
}
