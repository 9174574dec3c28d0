#include <algorithm>

#include <fmt/format.h>

#include "io/ascii.h"
#include "model/build_pictures.h"
#include "server/base64.h"
#include "server/handlers/handlers.h"
#include "server/handlers/reporting.h"
#include "server/handlers/require_weapon.h"

namespace orb::unitview::ipc::handlers {
namespace {

using nlohmann::json;

constexpr std::string_view kSoundSuffix = ".wav";

/// The unit whose pictures a request asks for.
struct PictureSubject {
    std::string unitName;
    /// The name that the pictures go by.
    std::string pictureName;
};

std::vector<BuildPictureSource> sourcesOf(const UnitViewSession& session,
                                          const std::string& pictureName) {
    const MountedData& data = session.data();
    return findBuildPictures(data.files, data.animations, pictureName);
}

/// Pictures go by what the definition says; by the unit's name where that leads nowhere.
PictureSubject subjectFor(const UnitViewSession& session, const std::string& unitName,
                          const std::string& buildPic) {
    const bool isUseful = !buildPic.empty() && !sourcesOf(session, buildPic).empty();
    return {unitName, isUseful ? buildPic : unitName};
}

/// The unit that "name" says, catalogued or not; without it the loaded unit.
PictureSubject requireSubject(const UnitViewSession& session, const Payload& payload) {
    const std::string name = payload.text("name").value_or("");
    if (name.empty()) {
        const LoadedUnit& unit = session.requireUnit();
        return subjectFor(session, unit.name, unit.fbi.buildPic);
    }
    const UnitDeclaration* const unit = session.data().catalogue.findLoadable(name);
    return unit ? subjectFor(session, unit->name, unit->info.buildPic)
                : subjectFor(session, name, "");
}

io::Bytes readFile(const UnitViewSession& session, const std::string& path,
                   const std::string& missingText) {
    auto bytes = reportingFailure([&] { return session.data().files.readFile(path); });
    if (!bytes) throw RequestError(missingText);
    return std::move(*bytes);
}

}  // namespace

Reply getUnitBuildpic(UnitViewSession& session, const Payload& payload) {
    const std::string format = payload.text("format").value_or("");
    const PictureSubject subject = requireSubject(session, payload);
    const auto sources = sourcesOf(session, subject.pictureName);
    const auto source = std::ranges::find_if(sources, [&](const BuildPictureSource& candidate) {
        return format.empty() || candidate.format == format;
    });
    if (source == sources.end())
        throw RequestError("build picture not found: " + subject.unitName +
                           (format.empty() ? "" : fmt::format(" ({})", format)));
    const PngPicture picture = reportingFailure(
        [&] { return readBuildPicture(session.data().files, *source, session.palette()); });
    return {{{"name", subject.unitName},
             {"format", source->format},
             {"path", source->path},
             {"width", picture.width},
             {"height", picture.height},
             {"png_b64", encodeBase64(picture.png)}}};
}

Reply listUnitBuildpicSources(UnitViewSession& session, const Payload& payload) {
    const PictureSubject subject = requireSubject(session, payload);
    json sources = json::array();
    for (const BuildPictureSource& source : sourcesOf(session, subject.pictureName))
        sources.push_back({{"format", source.format}, {"path", source.path}});
    return {{{"name", subject.unitName}, {"sources", std::move(sources)}}};
}

Reply getUnitOrbBuildpic(UnitViewSession& session, const Payload& payload) {
    const PictureSubject subject = requireSubject(session, payload);
    const auto pictures = reportingFailure(
        [&] { return readButtonPictures(session.data().files, subject.pictureName); });
    if (!pictures) throw RequestError("build picture not found: " + subject.unitName + " (png)");
    json data = {{"name", subject.unitName}, {"normal_b64", encodeBase64(pictures->normal)}};
    if (pictures->pressed) data["pressed_b64"] = encodeBase64(*pictures->pressed);
    if (pictures->disabled) data["disabled_b64"] = encodeBase64(*pictures->disabled);
    return {std::move(data)};
}

Reply getProjectileSprite(UnitViewSession& session, const Payload& payload) {
    const TableEntry& weapon = requireWeapon(session, payload.text("weapon").value_or(""));
    const std::string name(weapon.section.getString("bitmap").value_or(""));
    if (name.empty()) throw RequestError("weapon has no sprite: " + weapon.name);
    const std::string missingText = "sprite not found: " + name;
    const GafEntryRef* const entry = session.data().animations.find(name);
    if (!entry) throw RequestError(missingText);
    const io::Bytes file = readFile(session, entry->path, missingText);
    SpriteStrip strip = reportingFailure([&] {
        const io::GafEntry animation = io::readGafEntry(file, entry->index);
        requireGafName(animation.name, name);
        return spriteStrip(animation, session.palette());
    });
    return {{{"weapon", weapon.name},
             {"name", name},
             {"frames", strip.frameCount},
             {"width", strip.cellWidth},
             {"height", strip.cellHeight},
             {"byteSize", strip.png.size()}},
            std::move(strip.png)};
}

Reply getSound(UnitViewSession& session, const Payload& payload) {
    std::string name = payload.text("name").value_or("");
    if (io::endsWithIgnoringCase(name, kSoundSuffix))
        name.resize(name.size() - kSoundSuffix.size());
    if (name.empty()) throw RequestError("sound name is required");
    const std::string path = fmt::format("sounds/{}{}", name, kSoundSuffix);
    io::Bytes wave = readFile(session, path, "sound not found: " + name);
    return {{{"name", name}, {"path", path}, {"byteSize", wave.size()}}, std::move(wave)};
}

}  // namespace orb::unitview::ipc::handlers
