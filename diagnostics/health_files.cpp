#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "diagnostics/declared_files.h"
#include "diagnostics/health_checks.h"
#include "io/ascii.h"
#include "io/path_text.h"
#include "session/unit_details.h"
#include "session/unit_pictures.h"

namespace orb::unitview::health {
namespace {

bool fileExists(const Context& context, const std::string& path) {
    return context.data.files.locate(path).has_value();
}

std::string describePictures(const std::vector<BuildPictureSource>& pictures) {
    std::string text;
    for (const BuildPictureSource& picture : pictures)
        text += fmt::format("{}{} {}", text.empty() ? "" : "; ", formatName(picture.format),
                            picture.path);
    return text;
}

/// The directory that a file lies in, as readable text.
std::string directoryText(io::FileLocation file) {
    if (file.kind == io::FileLocation::Kind::loose)
        return io::textFromPath(file.path.parent_path());
    file.internalPath.erase(std::min(file.internalPath.rfind('/'), file.internalPath.size()));
    return locationText(file);
}

}  // namespace

void checkIdentity(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Unit identity";
    const std::string name = io::upperCased(context.unit.fbi.unitName);
    if (name.empty()) {
        rows.push_back({kTitle, context.unit.name, CheckStatus::warn,
                        "FBI is missing the `UnitName=` key — the unit can't be referenced by "
                        "other units' BuildList / Corpse / weapon references."});
        return;
    }
    const std::vector<std::string> files = declaringFiles(context.data.catalogue, name);
    if (files.size() < 2) {
        rows.push_back(
            {kTitle, name, CheckStatus::ok, "no UnitName collisions across mounted data roots"});
        return;
    }
    rows.push_back(
        {kTitle, name, CheckStatus::warn,
         fmt::format("UnitName={} is declared by {} FBIs across mounted data roots: {}. Engine "
                     "load order decides which one wins; the others are unreachable. Rename the "
                     "duplicates or unmount the conflicting mod folder.",
                     name, files.size(), fmt::join(files, ", "))});
}

void checkModel(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Model (3DO)";
    const std::string& name = context.unit.fbi.objectName;
    const std::string path = fmt::format("objects3d/{}.3do", name);
    if (name.empty())
        rows.push_back({kTitle, "", CheckStatus::missing, "FBI has no ObjectName"});
    else if (fileExists(context, path))
        rows.push_back({kTitle, name, CheckStatus::ok, path});
    else
        rows.push_back({kTitle, name, CheckStatus::missing, path + " not found"});
}

void checkScript(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "COB script";
    const LoadedUnit& unit = context.unit;
    const std::string path = scriptPath(unit.fbi, unit.name);
    const std::string name(scriptName(unit.fbi, unit.name));
    if (fileExists(context, path))
        rows.push_back({kTitle, name, CheckStatus::ok, path});
    else
        rows.push_back(
            {kTitle, name, CheckStatus::warn, path + " not found — no animation/aiming"});
}

void checkBuildPicture(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Build picture";
    const std::string& unitName = context.unit.name;
    const std::string& buildPic = context.unit.fbi.buildPic;
    const std::string& name = buildPictureName(buildPic, unitName);
    const UnitPictures found = findUnitPictures(context.data, unitName, buildPic);
    const std::vector<BuildPictureSource>& pictures = found.sources;

    const auto add = [&](CheckStatus status, std::string detail) {
        rows.push_back({kTitle, name, status, std::move(detail)});
    };
    const std::string list = describePictures(pictures);
    if (pictures.empty())
        add(CheckStatus::warn, "no build picture in any source — blank build-menu icon");
    else if (found.isFallback)
        add(CheckStatus::warn,
            fmt::format("BuildPic '{}' has no art; using the unit-name fallback ({})", name, list));
    else if (std::ranges::find(pictures, BuildPictureFormat::pcx, &BuildPictureSource::format) !=
             pictures.end())
        add(CheckStatus::ok, list);
    else
        add(CheckStatus::warn,
            fmt::format("only non-PCX art ({}) — the classic engine needs unitpics/*.pcx", list));
}

void checkSource(const Context& context, Rows& rows) {
    constexpr std::string_view kTitle = "Source";
    const std::string& name = context.unit.name;
    if (!context.source) {
        rows.push_back({kTitle, name, CheckStatus::warn, "could not resolve the FBI source file"});
        return;
    }
    const std::string location = locationText(context.source->location);
    if (context.source->inBaseTa)
        rows.push_back(
            {kTitle, name, CheckStatus::warn,
             fmt::format("resolved from BASE TA ({}) — edits affect the base game", location),
             HealthAction{"promote-to-mod", {{"unitName", name}}}});
    else
        rows.push_back({kTitle, name, CheckStatus::info, "resolved from " + location});
}

void checkSourceShadow(const Context& context, Rows& rows) {
    const std::string& name = context.unit.name;
    std::vector<std::string> directories;
    for (const io::LayeredLocation& found :
         context.data.files.locateAll(fmt::format("units/{}.fbi", name)))
        directories.push_back(directoryText(found.location));
    if (directories.size() < 2) return;
    rows.push_back({"Source shadow", name, CheckStatus::warn,
                    fmt::format("{} units dirs define this unit ({}) — first wins, the rest are "
                                "shadowed",
                                directories.size(), fmt::join(directories, ", "))});
}

}  // namespace orb::unitview::health
