#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "io/formats/model3do.h"
#include "io/game_paths.h"
#include "io/vfs/virtual_file_system.h"
#include "session/unit_source.h"

namespace orb::unitview {

/// The name, without ".3do", of the model file that a definition's `name` means: the name as it
/// stands or, where no file goes by that, the name without the ".3do" that it may end in; as it
/// stands where there is neither. `exists` tells whether there is a file of a name.
template <typename Exists>
std::string_view modelFileName(std::string_view name, Exists&& exists) {
    const std::string_view stem = io::kModelFiles.stem(name);
    return stem.size() == name.size() || exists(name) || !exists(stem) ? name : stem;
}

/// The same for a model in the stack.
std::string_view modelFileName(const io::AbstractVirtualFileSystem& files, std::string_view name);

/// The file of the model that a definition names. Throws RequestError "3DO not found: …".
io::Bytes readModelFile(const io::AbstractVirtualFileSystem& files, std::string_view name);

/// The model that a unit's or a weapon's definition names. Throws what readModelFile and reading
/// the file throw.
io::Model3doObject readModel(const io::AbstractVirtualFileSystem& files, std::string_view name);

/// Where that model's file lies, or none.
std::optional<UnitSource> findModelSource(const io::CompositeVirtualFileSystem& files,
                                          std::string_view name);

}  // namespace orb::unitview
