#include "session/unit_script.h"

#include <string_view>

#include "io/ascii.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kCobSuffix = ".cob";

}  // namespace

std::string bosPath(const std::string& cobPath) {
    std::string_view stem = cobPath;
    if (io::endsWithIgnoringCase(stem, kCobSuffix)) stem.remove_suffix(kCobSuffix.size());
    return std::string(stem) + ".bos";
}

UnitScript readUnitScript(const UnitViewSession& session, const std::optional<std::string>& name) {
    const LoadedUnit* const unit = session.unit();
    UnitScript script;
    std::string path;
    try {
        if (unit && (!name || io::equalsIgnoringCase(*name, unit->name))) {
            script.unitName = unit->name;
            script.cob = unit->cob;
            path = scriptPath(unit->fbi, unit->name);
        } else {
            if (!name) throw RequestError("no unit loaded; call load-unit first");
            const UnitDeclaration* const found = session.data().catalogue.findLoadable(*name);
            if (!found) throw RequestError("FBI not found for unit: " + *name);
            script.unitName = found->name;
            path = scriptPath(found->info, found->name);
            if (const auto bytes = session.data().files.readFile(path))
                script.cob = std::make_shared<const io::CobFile>(io::parseCob(*bytes));
        }
        if (!script.cob) throw RequestError("COB script not found: " + path);
        script.sourcePath = bosPath(path);
        if (const auto text = session.data().files.readFile(script.sourcePath))
            script.source = std::string(io::asText(*text));
    } catch (const std::exception& error) {
        throw RequestError(error.what());
    }
    return script;
}

}  // namespace orb::unitview
