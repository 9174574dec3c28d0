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

/// Where a texture stands, as was mounted.
struct TexturePlace {
    std::string path;
    UnitSource source;
};

RequestError unknownTexture(const std::string& name) {
    return RequestError("unknown texture: " + name);
}

TexturePlace placeOf(const MountedData& data, const std::string& name) {
    const GafEntryRef* const ref = data.pictures.textures.locate(name);
    const auto source = ref ? findSource(data.files, ref->path) : std::nullopt;
    if (!source) throw unknownTexture(name);
    return {ref->path, *source};
}

/// Reads the file itself, not what was mounted.
FoundTexture readTexture(const TexturePlace& place, const std::string& name) {
    FoundTexture texture{{name, place.source, 0, 0, {}}, place.path, {}, 0, {}};
    const auto entry = reportingFailure(
        [&]() -> std::optional<std::size_t> {
            auto file = readSourceFile(place.source.location);
            if (!file) return std::nullopt;
            texture.file = std::move(*file);
            return findEntry(texture.file, name);
        },
        fileError(place.path));
    if (!entry) throw unknownTexture(name);
    texture.index = *entry;
    reportingFailure([&] { readEntry(texture); }, fileError(place.path));
    if (texture.firstFrame.pixels.empty()) throw RequestError("texture has no pixels: " + name);
    return texture;
}

FoundTexture findTexture(const UnitViewSession& session, const std::string& name) {
    return readTexture(placeOf(session.data(), name), name);
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
    const TexturePlace place = placeOf(session.data(), name);
    const bool isCopied = place.source.inBaseTa && mod;
    const io::FileLocation target =
        isCopied ? looseFileIn(*mod, place.path) : place.source.location;
    const io::FolderLock lock = lockForEdit(session, target.path);
    const FoundTexture texture = readTexture(place, name);
    const io::Palette& palette = session.palette();
    io::GafRecolored recolored =
        recolor(texture, changesOrSuggestion(texture, changes, palette), palette);
    RemapResult result{{EditOutcome::ok, target.path, {}},
                       recolored.changedPixels,
                       std::move(recolored.alsoChanges)};
    if (place.source.inBaseTa && !isCopied)
        result.edit.outcome = EditOutcome::refusedForBase;
    else if (recolored.changedPixels > 0)
        result.edit = writeUnitFile(session, target, recolored.file, allowBackupCreation);
    return result;
}

}  // namespace orb::unitview
