#include "bos/symbols.h"

namespace orb::unitview::bos {
namespace {

std::vector<std::string> textsOf(const std::vector<Name>& names) {
    std::vector<std::string> texts;
    texts.reserve(names.size());
    for (const Name& name : names) texts.emplace_back(name.text);
    return texts;
}

/// Nests as deep as the parser lets statements nest.
void collectLocals(const std::vector<Statement>& statements, std::vector<std::string>& locals) {
    for (const Statement& each : statements) {
        if (each.kind == Statement::Kind::locals)
            for (const Name& name : each.names) locals.emplace_back(name.text);
        collectLocals(each.body, locals);
        collectLocals(each.otherwise, locals);
    }
}

}  // namespace

SourceSymbols symbolsOf(const Program& program) {
    SourceSymbols symbols{textsOf(program.statics), {}};
    symbols.scripts.reserve(program.scripts.size());
    for (const Script& script : program.scripts) {
        ScriptSymbols each{std::string(script.name.text), textsOf(script.parameters), {}};
        collectLocals(script.body, each.locals);
        symbols.scripts.push_back(std::move(each));
    }
    return symbols;
}

}  // namespace orb::unitview::bos
