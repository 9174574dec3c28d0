#include "authoring/unit_parts.h"

#include <algorithm>

#include <fmt/format.h>

#include "authoring/source_file.h"
#include "io/formats/gaf.h"
#include "io/game_paths.h"
#include "session/loaded_unit.h"
#include "session/model_file.h"
#include "session/unit_details.h"
#include "session/unit_pictures.h"

namespace orb::unitview {
namespace {

/// By UnitPart.
constexpr std::string_view kPartNames[] = {"model", "script", "picture"};

class PartFinder {
public:
    PartFinder(const MountedData& data, const io::FbiUnitInfo& info, const std::string& unitName)
        : data_(data), info_(info), unitName_(unitName) {}

    void find(UnitPart part) {
        if (part == UnitPart::model)
            findModel();
        else if (part == UnitPart::script)
            findScript();
        else
            findPictures();
    }

    std::vector<PartFile> found;

private:
    bool add(UnitPart part, std::string_view folder, std::string_view name,
             std::string_view ending) {
        auto location = data_.files.locate(fmt::format("{}/{}{}", folder, name, ending));
        if (!location) return false;
        found.push_back({part, folder, std::string(name), ending, std::move(*location)});
        return true;
    }

    void add(UnitPart part, const io::GameFiles& files, std::string_view name) {
        add(part, files.folder, name, files.extension);
    }

    void findModel() {
        if (!info_.objectName.empty())
            add(UnitPart::model, io::kModelFiles, modelFileName(data_.files, info_.objectName));
    }

    void findScript() {
        const std::string_view name = scriptName(info_, unitName_);
        add(UnitPart::script, io::kScriptFiles, name);
        add(UnitPart::script, io::kScriptSourceFiles, name);
    }

    void findPictures() {
        constexpr std::string_view kFolder = io::kBuildPictureFiles.folder;
        const UnitPictures pictures = findUnitPictures(data_, unitName_, info_.buildPic);
        const std::string_view name = buildPictureStem(pictures.pictureName);
        bool hasGaf = false;
        for (const std::string_view ending : kBuildPictureEndings)
            if (add(UnitPart::picture, kFolder, name, ending)) hasGaf |= ending == ".gaf";
        if (hasGaf) return;
        for (const BuildPictureSource& source : pictures.sources) {
            if (source.format != BuildPictureFormat::gaf) continue;
            if (auto location = data_.files.locate(source.path))
                found.push_back({UnitPart::picture, kFolder, std::string(name), ".gaf",
                                 std::move(*location), source.gafIndex});
        }
    }

    const MountedData& data_;
    const io::FbiUnitInfo& info_;
    const std::string& unitName_;
};

}  // namespace

std::string_view partName(UnitPart part) {
    return kPartNames[static_cast<std::size_t>(part)];
}

std::optional<UnitPart> unitPartNamed(std::string_view name) {
    const auto* const found = std::ranges::find(kPartNames, name);
    if (found == std::end(kPartNames)) return std::nullopt;
    return static_cast<UnitPart>(found - std::begin(kPartNames));
}

std::string PartFile::pathFor(std::string_view otherName) const {
    return fmt::format("{}/{}{}", folder, otherName, ending);
}

std::vector<PartFile> findPartFiles(const MountedData& data, const io::FbiUnitInfo& info,
                                    const std::string& unitName, std::span<const UnitPart> parts) {
    PartFinder finder(data, info, unitName);
    for (const UnitPart part : kAllUnitParts)
        if (std::ranges::find(parts, part) != parts.end()) finder.find(part);
    return std::move(finder.found);
}

io::Bytes readPartFile(const PartFile& file, const std::string& name) {
    return reportingFailure([&] {
        auto bytes = readSourceFile(file.location);
        if (!bytes) throw RequestError("file not found: " + locationText(file.location));
        if (!file.gafIndex) return std::move(*bytes);
        io::GafFile picture{{io::readGafEntry(*bytes, *file.gafIndex)}};
        picture.entries[0].name = name;
        return io::writeGaf(picture, io::GafEncoding::compressed);
    });
}

std::string buildPicturePath(const io::FbiUnitInfo& info, const std::string& unitName) {
    return io::kBuildPictureFiles.path(buildPictureStem(buildPictureName(info.buildPic, unitName)));
}

}  // namespace orb::unitview
