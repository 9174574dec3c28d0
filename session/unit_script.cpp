#include "session/unit_script.h"

#include "io/ascii.h"
#include "io/content_version.h"
#include "io/game_paths.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kUntitled = "untitled";

RequestError scriptNotFound(const std::string& path) {
    return RequestError("COB script not found: " + path);
}

/// The loaded unit, when it is the one that is asked for.
const LoadedUnit* loadedUnit(const UnitViewSession& session,
                             const std::optional<std::string>& name) {
    if (!name) return &session.requireUnit();
    const LoadedUnit* const unit = session.unit();
    return unit && io::equalsIgnoringCase(*name, unit->name) ? unit : nullptr;
}

std::string sourcePath(const io::FbiUnitInfo& fbi, std::string_view unitName) {
    return io::kScriptSourceFiles.path(scriptName(fbi, unitName));
}

ScriptSource decodeSource(const io::Bytes& file) {
    auto [text, encoding] = io::decodeGameText(io::asText(file));
    return {std::move(text), encoding, io::contentVersion(file)};
}

/// The script alone.
UnitScript readScript(const UnitViewSession& session, const std::optional<std::string>& name) {
    if (const LoadedUnit* const unit = loadedUnit(session, name)) {
        if (!unit->cob) throw scriptNotFound(scriptPath(unit->fbi, unit->name));
        return {unit->name, unit->cob, sourcePath(unit->fbi, unit->name), {}};
    }
    const UnitDeclaration* const unit = session.data().catalogue.findLoadable(*name);
    if (!unit) throw unitNotFound(*name);
    const std::string path = scriptPath(unit->info, unit->name);
    const auto bytes = session.data().files.readFile(path);
    if (!bytes) throw scriptNotFound(path);
    return {unit->name,
            std::make_shared<const io::CobFile>(io::parseCob(*bytes)),
            sourcePath(unit->info, unit->name),
            {}};
}

}  // namespace

UnitScript readUnitScript(const UnitViewSession& session, const std::optional<std::string>& name) {
    return reportingFailure([&] {
        UnitScript script = readScript(session, name);
        if (const auto file = session.data().files.readFile(script.sourcePath))
            script.source = decodeSource(*file);
        return script;
    });
}

std::string scriptSourcePath(const UnitViewSession& session) {
    const LoadedUnit* const unit = session.unit();
    return unit ? sourcePath(unit->fbi, unit->name) : io::kScriptSourceFiles.path(kUntitled);
}

const io::AbstractVirtualFileSystem* includeFiles(const UnitViewSession& session) {
    return session.hasData() ? &session.data().files : nullptr;
}

}  // namespace orb::unitview
