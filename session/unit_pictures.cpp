#include "session/unit_pictures.h"

#include <algorithm>

#include <fmt/format.h>

#include "session/request_error.h"
#include "session/unit_details.h"

namespace orb::unitview {
namespace {

RequestError notFound(const std::string& unitName, std::string_view format) {
    return RequestError(
        buildPictureNotFound(format.empty() ? unitName : fmt::format("{} ({})", unitName, format)));
}

}  // namespace

UnitPictures findUnitPictures(const MountedData& data, const std::string& unitName,
                              const std::string& buildPic) {
    const auto find = [&](const std::string& name) {
        return findBuildPictures(data.files, data.pictures.animations, name);
    };
    const std::string& name = buildPictureName(buildPic, unitName);
    UnitPictures pictures{unitName, name, false, find(name)};
    if (!pictures.sources.empty() || name == unitName) return pictures;
    return {unitName, unitName, true, find(unitName)};
}

UnitPictures findUnitPictures(const UnitViewSession& session, const std::string& name) {
    if (name.empty()) {
        const LoadedUnit& unit = session.requireUnit();
        return findUnitPictures(session.data(), unit.name, unit.fbi.buildPic);
    }
    const UnitDeclaration* const unit = session.data().catalogue.findLoadable(name);
    return unit ? findUnitPictures(session.data(), unit->name, unit->info.buildPic)
                : findUnitPictures(session.data(), name, "");
}

UnitPicture readUnitPicture(const UnitViewSession& session, const std::string& name,
                            std::string_view format) {
    UnitPictures found = findUnitPictures(session, name);
    const auto source = std::ranges::find_if(found.sources, [&](const auto& candidate) {
        return format.empty() || formatName(candidate.format) == format;
    });
    if (source == found.sources.end()) throw notFound(found.unitName, format);
    PngPicture picture = reportingFailure(
        [&] { return readBuildPicture(session.data().files, *source, session.palette()); });
    return {std::move(found.unitName), std::move(*source), std::move(picture)};
}

UnitButton readUnitButton(const UnitViewSession& session, const std::string& name) {
    UnitPictures found = findUnitPictures(session, name);
    auto pictures = reportingFailure(
        [&] { return readButtonPictures(session.data().files, found.pictureName); });
    if (!pictures) throw notFound(found.unitName, formatName(BuildPictureFormat::png));
    return {std::move(found.unitName), std::move(*pictures)};
}

}  // namespace orb::unitview
