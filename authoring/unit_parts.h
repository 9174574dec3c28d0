#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "session/mounted_data.h"

/// The files that a unit consists of beside its definition.
namespace orb::unitview {

enum class UnitPart { model, script, picture };

inline constexpr UnitPart kAllUnitParts[] = {UnitPart::model, UnitPart::script, UnitPart::picture};

/// "model", "script" or "picture".
std::string_view partName(UnitPart part);
std::optional<UnitPart> unitPartNamed(std::string_view name);

struct PartFile {
    UnitPart part = UnitPart::model;
    std::string_view folder;
    /// What of the file's name is the part's, and what follows it.
    std::string name;
    std::string_view ending;
    io::FileLocation location;
    /// The entry that is the part, in a file that holds those of many units.
    std::optional<std::size_t> gafIndex = std::nullopt;

    /// The virtual path of the file for a part of another name.
    std::string pathFor(std::string_view otherName) const;
};

/// The files that the stack has of these parts: the model; the script and the source beside it; the
/// build pictures in every format.
std::vector<PartFile> findPartFiles(const MountedData& data, const io::FbiUnitInfo& info,
                                    const std::string& unitName, std::span<const UnitPart> parts);

/// The content of the file as it stands on disk; of a picture among others, a file of its own that
/// names it `name`. Throws RequestError "file not found: …" or a reader's text.
io::Bytes readPartFile(const PartFile& file, const std::string& name);

/// The path of the PCX picture that a definition means, whether there is such a file or not.
std::string buildPicturePath(const io::FbiUnitInfo& info, const std::string& unitName);

}  // namespace orb::unitview
