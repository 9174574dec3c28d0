#include "session/unit_bos.h"

#include "session/request_error.h"
#include "session/unit_script.h"

namespace orb::unitview {
namespace {

bos::SourceComparison compare(const UnitViewSession& session, const UnitScript& script,
                              const std::string& source) {
    return bos::compareSource(*script.cob, source, script.sourcePath, includeFiles(session));
}

}  // namespace

UnitBos readUnitBos(const UnitViewSession& session, const std::optional<std::string>& name) {
    UnitScript script = readUnitScript(session, name);
    UnitBos result;
    result.unitName = std::move(script.unitName);
    if (!script.source) {
        bos::BosDisassembly text = bos::disassembleCob(*script.cob);
        result.source = std::move(text.source);
        if (text.isExact || !text.lineSpans.empty()) result.lineSpans = std::move(text.lineSpans);
        result.symbols = std::move(text.symbols);
        return result;
    }
    bos::SourceComparison compared = compare(session, script, script.source->text);
    result.source = std::move(script.source->text);
    result.path = std::move(script.sourcePath);
    result.encoding = script.source->encoding;
    result.version = std::move(script.source->version);
    result.files = std::move(compared.files);
    if (!compared.ok) return result;
    if (compared.isSameCode || !compared.lineSpans.empty())
        result.lineSpans = std::move(compared.lineSpans);
    result.symbols = std::move(compared.symbols);
    return result;
}

bos::BosDisassembly disassembleScript(const UnitViewSession& session,
                                      const std::optional<io::Bytes>& cob,
                                      const bos::BosOptionChoices& choices) {
    return reportingFailure([&] {
        return cob ? bos::disassembleCob(io::parseCob(*cob), choices)
                   : bos::disassembleCob(*readUnitScript(session, std::nullopt).cob, choices);
    });
}

UnitSourceComparison compareUnitSource(const UnitViewSession& session,
                                       const std::optional<std::string>& name,
                                       const std::optional<std::string>& source) {
    UnitScript script = readUnitScript(session, name);
    if (!source && !script.source) throw RequestError("BOS source not found: " + script.sourcePath);
    bos::SourceComparison comparison =
        compare(session, script, source ? *source : script.source->text);
    return {std::move(script.unitName), std::move(comparison)};
}

}  // namespace orb::unitview
