#include "bos/scope.h"

#include "bos/constants.h"

namespace orb::unitview::bos {
namespace {

void reportDouble(const Name& name, DiagnosticList& diagnostics) {
    diagnostics.report<Problem::declaredTwice>(name.at, name.text);
}

void addAll(const std::vector<Name>& names, NameTable& table, DiagnosticList& diagnostics) {
    for (std::size_t i = 0; i < names.size(); ++i)
        if (!table.add(names[i].text, i) && !names[i].isQuoted) reportDouble(names[i], diagnostics);
}

}  // namespace

Scope::Scope(const Program& program, DiagnosticList& diagnostics) {
    addAll(program.pieces, pieces_, diagnostics);
    addAll(program.statics, statics_, diagnostics);
    for (std::size_t i = 0; i < program.scripts.size(); ++i) {
        const Name& name = program.scripts[i].name;
        // Files with two scripts of a name exist; whoever looks for it finds the first.
        if (!scripts_.add(name.text, i) && !name.isQuoted)
            diagnostics.report<Problem::scriptDeclaredTwice>(name.at, name.text);
    }
}

void Scope::enterScript() {
    locals_.clear();
    localCount_ = 0;
}

void Scope::addLocal(const Name& name, DiagnosticList& diagnostics) {
    if (!locals_.add(name.text, localCount_++)) reportDouble(name, diagnostics);
}

Meaning Scope::meaningOf(std::string_view name) const {
    using Kind = Meaning::Kind;
    Meaning found;
    bool isExact = false;
    const auto lookIn = [&](const NameTable& table, Kind kind) {
        if (isExact) return;
        const NameTable::Entry* const entry = table.find(name);
        if (!entry) return;
        isExact = entry->spelling == name;
        if (isExact || found.kind == Kind::unknown)
            found = {kind, static_cast<std::int32_t>(entry->index)};
    };
    lookIn(locals_, Kind::local);
    lookIn(statics_, Kind::staticVar);
    lookIn(pieces_, Kind::piece);
    if (isExact) return found;
    if (const auto constant = constantNamed(name)) return {Kind::constant, *constant};
    return found;
}

}  // namespace orb::unitview::bos
