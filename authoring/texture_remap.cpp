#include "authoring/texture_remap.h"

#include <algorithm>

#include "authoring/mod_folder.h"
#include "authoring/source_file.h"
#include "io/ascii.h"
#include "io/formats/gaf.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

/// A texture in its file.
struct FoundTexture {
    TextureFacts facts;
    /// The file, by its virtual path.
    std::string path;
    io::Bytes file;
    /// The entry in it.
    std::size_t index = 0;
    io::GafFrame firstFrame;
};

std::string fileError(const std::string& path) {
    return "texture file " + path + ": ";
}

/// The place of a name among the entries, as the game finds it.
std::optional<std::size_t> findEntry(io::ByteView file, std::string_view name) {
    const std::vector<std::string> names = io::readGafEntryNames(file);
    const auto found = std::ranges::find_if(
        names, [&](const std::string& entry) { return io::equalsIgnoringCase(entry, name); });
    if (found == names.end()) return std::nullopt;
    return static_cast<std::size_t>(found - names.begin());
}

void readEntry(FoundTexture& texture) {
    texture.facts.use = io::readGafColorUse(texture.file, texture.index);
    if (texture.facts.use.frameCount == 0) return;
    io::GafPicture picture = io::readGafPicture(texture.file, texture.index);
    texture.facts.name = std::move(picture.name);
    texture.facts.width = picture.firstFrame.width;
    texture.facts.height = picture.firstFrame.height;
    texture.firstFrame = std::move(picture.firstFrame);
}

/// Reads the file itself, not what was mounted.
FoundTexture findTexture(const UnitViewSession& session, const std::string& name) {
    const MountedData& data = session.data();
    const RequestError unknown("unknown texture: " + name);
    const GafEntryRef* const ref = data.pictures.textures.locate(name);
    const auto source = ref ? findSource(data.files, ref->path) : std::nullopt;
    if (!source) throw unknown;
    FoundTexture texture{{name, *source, 0, 0, {}}, ref->path, {}, 0, {}};
    auto file =
        reportingFailure([&] { return readSourceFile(source->location); }, fileError(ref->path));
    if (!file) throw unknown;
    texture.file = std::move(*file);
    const auto entry =
        reportingFailure([&] { return findEntry(texture.file, name); }, fileError(ref->path));
    if (!entry) throw unknown;
    texture.index = *entry;
    reportingFailure([&] { readEntry(texture); }, fileError(ref->path));
    if (texture.firstFrame.pixels.empty()) throw RequestError("texture has no pixels: " + name);
    return texture;
}

std::vector<RemapRow> describe(const FoundTexture& texture, std::span<const IndexChange> changes,
                               const io::Palette& palette) {
    std::vector<RemapRow> rows;
    for (const IndexChange& change : changes)
        rows.push_back(
            {change, texture.facts.use.pixels[change.from], colorDistance(palette, change)});
    return rows;
}

std::vector<IndexChange> changesOrSuggestion(const FoundTexture& texture,
                                             const std::optional<std::vector<IndexChange>>& changes,
                                             const io::Palette& palette) {
    return changes ? *changes : suggestRecolor(texture.facts.use, palette, RecolorDirection::away);
}

io::GafRecolored recolor(const FoundTexture& texture, std::span<const IndexChange> changes,
                         const io::Palette& palette) {
    return reportingFailure(
        [&] { return recolorTexture(texture.file, texture.index, changes, palette); },
        fileError(texture.path));
}

}  // namespace

RemapSuggestion suggestTextureRemap(const UnitViewSession& session, const std::string& name,
                                    RecolorDirection direction) {
    FoundTexture texture = findTexture(session, name);
    const io::Palette& palette = session.palette();
    auto map = describe(texture, suggestRecolor(texture.facts.use, palette, direction), palette);
    return {std::move(texture.facts), std::move(map)};
}

RemapPreview previewTextureRemap(const UnitViewSession& session, const std::string& name,
                                 const std::optional<std::vector<IndexChange>>& changes) {
    FoundTexture texture = findTexture(session, name);
    const io::Palette& palette = session.palette();
    const auto map = changesOrSuggestion(texture, changes, palette);
    const io::GafRecolored recolored = recolor(texture, map, palette);
    const io::GafFrame after = io::readGafPicture(recolored.file, texture.index).firstFrame;
    RemapPreview preview;
    preview.map = describe(texture, map, palette);
    preview.before = pngFromGafFrame(texture.firstFrame, palette);
    preview.after = pngFromGafFrame(after, palette);
    preview.changedPixels = recolored.changedPixels;
    preview.teamPixelsAfter = teamPixels(io::readGafColorUse(recolored.file, texture.index));
    preview.texture = std::move(texture.facts);
    return preview;
}

RemapResult applyTextureRemap(UnitViewSession& session, const std::string& name,
                              const std::optional<std::vector<IndexChange>>& changes,
                              const std::optional<std::filesystem::path>& modPath,
                              bool allowBackupCreation) {
    const io::VfsLayer* const mod = modPath ? &requireModFolder(session.data(), *modPath) : nullptr;
    const FoundTexture texture = findTexture(session, name);
    const io::Palette& palette = session.palette();
    io::GafRecolored recolored =
        recolor(texture, changesOrSuggestion(texture, changes, palette), palette);

    const UnitSource& source = texture.facts.source;
    const io::FileLocation target =
        source.inBaseTa && mod ? looseFileIn(*mod, texture.path) : source.location;
    RemapResult result{{EditOutcome::ok, target.path, {}},
                       recolored.changedPixels,
                       std::move(recolored.alsoChanges)};
    if (source.inBaseTa && !mod)
        result.edit.outcome = EditOutcome::refusedForBase;
    else if (recolored.changedPixels > 0)
        result.edit = writeUnitFile(session, target, recolored.file, allowBackupCreation);
    return result;
}

}  // namespace orb::unitview
