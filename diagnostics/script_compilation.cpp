#include "diagnostics/script_compilation.h"

#include "io/out_of_memory.h"
#include "model/piece_list.h"
#include "server/logger.h"
#include "session/unit_script.h"

namespace orb::unitview {
namespace {

CobAnalysis analyseOrWarn(const io::CobFile& cob, std::size_t pieceCount) {
    try {
        return analyseCob(cob, pieceCount);
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        LogLine(LogLevel::warn) << "[lints] script not analysed: " << error.what();
        return {};
    }
}

}  // namespace

ScriptCompilation compileScript(const UnitViewSession& session, std::string_view source,
                                const std::optional<std::string>& path,
                                const bos::BosOptionChoices& choices) {
    ScriptCompilation result;
    result.compilation = bos::compileBos(source, path ? *path : scriptSourcePath(session),
                                         includeFiles(session), choices);
    if (!result.compilation.ok) return result;
    const io::CobFile& cob = result.compilation.code.cob;
    const LoadedUnit* const unit = session.unit();
    result.analysis =
        analyseOrWarn(cob, unit ? flattenPieces(unit->model).size() : cob.pieces.size());
    return result;
}

}  // namespace orb::unitview
