#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "diagnostics/declared_files.h"
#include "diagnostics/health_checks.h"
#include "diagnostics/references.h"
#include "io/ascii.h"
#include "io/game_paths.h"
#include "io/path_text.h"
#include "session/model_file.h"
#include "session/unit_details.h"
#include "session/unit_pictures.h"

namespace orb::unitview::health {
namespace {

constexpr std::string_view kUnknownFormat = "?";

bool fileExists(const Context& context, const std::string& path) {
    return context.data.files.locate(path).has_value();
}

/// What a report says of the pictures that there are.
struct PictureList {
    /// Each with its format; one that its format's reader refuses is of no known format.
    std::string text;
    bool hasPcx = false;
};

PictureList describePictures(const Context& context,
                             const std::vector<BuildPictureSource>& pictures) {
    PictureList list;
    for (const BuildPictureSource& picture : pictures) {
        const bool readable = isReadable(context.data.files, picture);
        list.hasPcx |= readable && picture.format == BuildPictureFormat::pcx;
        list.text +=
            fmt::format("{}{} {}", list.text.empty() ? "" : "; ",
                        readable ? formatName(picture.format) : kUnknownFormat, picture.path);
    }
    return list;
}

/// The row of a file that may be there, and may have been read in vain.
HealthRow describeFile(const Context& context, std::string ref, const std::string& path,
                       const std::string& fault, CheckStatus absent, std::string_view consequence) {
    if (!fileExists(context, path))
        return {std::move(ref), absent, path + " not found" + std::string(consequence)};
    if (!fault.empty()) return {std::move(ref), CheckStatus::missing, path + ": " + fault};
    return {std::move(ref), CheckStatus::ok, path};
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
    const std::string name = io::upperCased(context.unit.fbi.unitName);
    if (name.empty()) {
        rows.push_back({context.unit.name, CheckStatus::warn,
                        "FBI is missing the `UnitName=` key — the unit can't be referenced by "
                        "other units' BuildList / Corpse / weapon references."});
        return;
    }
    const std::vector<std::string> files = declaringFiles(context.data.catalogue, name);
    if (files.size() < 2) {
        rows.push_back({name, CheckStatus::ok, "no UnitName collisions across mounted data roots"});
        return;
    }
    rows.push_back(
        {name, CheckStatus::warn,
         fmt::format("UnitName={} is declared by {} FBIs across mounted data roots: {}. Engine "
                     "load order decides which one wins; the others are unreachable. Rename the "
                     "duplicates or unmount the conflicting mod folder.",
                     name, files.size(), fmt::join(files, ", "))});
}

void checkModel(const Context& context, Rows& rows) {
    const std::string& name = context.unit.fbi.objectName;
    const std::string path = io::kModelFiles.path(modelFileName(context.data.files, name));
    if (name.empty())
        rows.push_back({"", CheckStatus::missing, std::string(kNoObjectName)});
    else
        rows.push_back(describeFile(context, name, path, context.options.faults.model,
                                    CheckStatus::missing, ""));
}

void checkScript(const Context& context, Rows& rows) {
    const LoadedUnit& unit = context.unit;
    const std::string path = scriptPath(unit.fbi, unit.name);
    rows.push_back(describeFile(context, std::string(scriptName(unit.fbi, unit.name)), path,
                                context.options.faults.script, CheckStatus::warn,
                                " — no animation/aiming"));
}

void checkBuildPicture(const Context& context, Rows& rows) {
    const std::string& unitName = context.unit.name;
    const std::string& buildPic = context.unit.fbi.buildPic;
    const std::string& name = buildPictureName(buildPic, unitName);
    const UnitPictures found = findUnitPictures(context.data, unitName, buildPic);

    const auto add = [&](CheckStatus status, std::string detail) {
        rows.push_back({name, status, std::move(detail)});
    };
    const PictureList list = describePictures(context, found.sources);
    if (found.sources.empty())
        add(CheckStatus::warn, "no build picture in any source — blank build-menu icon");
    else if (found.isFallback)
        add(CheckStatus::warn,
            fmt::format("BuildPic '{}' has no art; using the unit-name fallback ({})", name,
                        list.text));
    else if (list.hasPcx)
        add(CheckStatus::ok, list.text);
    else
        add(CheckStatus::warn,
            fmt::format("only non-PCX art ({}) — the classic engine needs unitpics/*.pcx",
                        list.text));
}

void checkSource(const Context& context, Rows& rows) {
    const std::string& name = context.unit.name;
    if (!context.source) {
        rows.push_back({name, CheckStatus::warn, "could not resolve the FBI source file"});
        return;
    }
    const std::string location = locationText(context.source->location);
    if (context.source->inBaseTa)
        rows.push_back(
            {name, CheckStatus::warn,
             fmt::format("resolved from BASE TA ({}) — edits affect the base game", location),
             HealthAction{.kind = HealthAction::Kind::promoteToMod, .unit = name}});
    else
        rows.push_back({name, CheckStatus::info, "resolved from " + location});
}

void checkSourceShadow(const Context& context, Rows& rows) {
    const std::string& name = context.unit.name;
    std::vector<std::string> directories;
    for (const io::LayeredLocation& found : context.data.files.locateAll(io::kUnitFiles.path(name)))
        directories.push_back(directoryText(found.location));
    if (directories.size() < 2) return;
    rows.push_back({name, CheckStatus::warn,
                    fmt::format("{} units dirs define this unit ({}) — first wins, the rest are "
                                "shadowed",
                                directories.size(), fmt::join(directories, ", "))});
}

}  // namespace orb::unitview::health
